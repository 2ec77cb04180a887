// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef ZQXML_XMLOBJECT_H
#define ZQXML_XMLOBJECT_H

#include <zqxml/zqxml_export.h>

#include <QDomDocument>
#include <QList>
#include <QObject>
#include <QString>

#include <list>

/** Entry point for loaders that look one up. Does nothing and returns 0. */
extern "C" ZQXML_EXPORT int DllMain_zqxml();

/**
 * An object that lives in one element of the DOM, and the helpers that create, read and write such elements.
 *
 * An object owns a document of its own; its element, the node, hangs below that document's root:
 * \code
 * <dummydoc xmlns=""><ui name="main"/></dummydoc>      an XMLUI: its node is "ui"
 * \endcode
 * Elements are handles: a copy of one refers to the same element. Scalar values are kept in two places. A property is
 * the first direct child named by its key, provided that child is an element; its value is the element's text. An
 * attribute is an attribute. Both read as a fixed default when they are missing or malformed; nothing here reports an
 * error. What is created here keeps every character of its name and text whatever QDomImplementation's policy on
 * invalid data is; that policy is neither asked nor changed. Without a name nothing is created.
 *
 * An object and the trees that it touches are used from one thread at a time.
 */
class ZQXML_EXPORT XMLObject : public QObject
{
public:
    /** The kinds of object; each names its elements as rootNodeName() says. */
    enum XMLOBJECT_TYPE : qint32 {
        XML_PACKET = 0, ///< "zqxml", XMLPacket
        XML_PACKETABLE = 1, ///< "packetable", XMLPacketable
        XML_ACTION = 2, ///< "action", XMLAction
        XML_UI = 3, ///< "ui", XMLUI
        XML_IMAGE = 4, ///< "img", XMLImage
        XML_MESSAGE = 5 ///< "msg", XMLMessage
    };

    static const QString ZQ_NAMESPACE; ///< the namespace of a packet document's root element
    static const QString NUMLIST_SEP; ///< separates the numbers of a list, one blank

    /** Makes an object of kind \a type, without parent, whose node is an empty element. */
    explicit XMLObject(XMLOBJECT_TYPE type);

    /**
     * Releases the node and the document. A node that was adopted into another tree lives on there, and one that is
     * still referred to lives on alone; both can be read and changed. Of elements below a node that goes, only their
     * own content may still be read and changed: the toolkit leaves them with links to neighbours that are gone, which
     * printing one, appending it and walking to its siblings would follow.
     */
    ~XMLObject() override;

    /** Returns a handle to the object's own element, shared with the object. */
    QDomElement getNode() const;

    /** Returns the object's own handle to its element, valid while the object lives. */
    const QDomElement &getNodeConst() const;

    /**
     * Makes a deep copy of \a e the object's own element. The copy belongs to the object's document and is attached
     * nowhere; the former element stays where it was. A null \a e leaves the object without an element, so that
     * everything reads as missing and writing does nothing.
     *
     * An element that a second call replaces hangs nowhere: a handle to it is not to be changed once the object is
     * gone, for the toolkit would follow its link to the dead document.
     */
    virtual void setNode(const QDomElement &e);

    /** Returns the tag name of the object's kind. */
    QString rootNodeName();

    bool isXMLPacketable() const; ///< Returns true for kind XML_PACKETABLE.
    bool isXMLAction() const; ///< Returns true for kind XML_ACTION.
    bool isXMLUI() const; ///< Returns true for kind XML_UI.
    bool isXMLImage() const; ///< Returns true for kind XML_IMAGE.
    bool isXMLMessage() const; ///< Returns true for kind XML_MESSAGE.

    /** Returns the object's own element as text, without the document around it. */
    QString toString();

    /** Returns the tag name of kind \a type, and "nobody" for a value that is no kind. */
    static QString rootNodeName(XMLOBJECT_TYPE type);

    /**
     * Returns the first direct child of \a parent named \a name. Null when there is none, or when that child is no
     * element: a processing instruction of the name hides an element behind it.
     * \sa ~XMLObject(), for when the tree is gone
     */
    static QDomElement getElement(const QDomElement &parent, const QString &name);

    /** Returns the root element of \a doc. */
    static QDomElement getDocumentRoot(const QDomDocument &doc);

    /** Returns a new document with one root element \a qualifiedName in \a namespaceURI. \sa createDocumentV() */
    static QDomDocument createDocument(const QString &namespaceURI, const QString &qualifiedName);

    /** Makes the document of createDocument() and drops it. */
    static void createDocumentV(const QString &namespaceURI, const QString &qualifiedName);

    /**
     * Appends a new element \a name, of no namespace, to \a parent and returns it; null for a null \a parent or an
     * empty \a name. \sa createElementV()
     */
    static QDomElement createElement(QDomElement &parent, const QString &name);

    /** Appends a new element as createElement() does. */
    static void createElementV(QDomElement &parent, const QString &name);

    /**
     * Appends a new text node to \a parent, an empty one too, and returns it; null for a null \a parent.
     * \sa createTextNodeV()
     */
    static QDomText createTextNode(QDomElement &parent, const QString &text);

    /** Appends a new text node as createTextNode() does. */
    static void createTextNodeV(QDomElement &parent, const QString &text);

    /**
     * Returns \a n and everything below it as text, indented by one blank a level. The order of attributes is the
     * toolkit's and may change from process to process. The toolkit prints by recursion: a few thousand levels end
     * the process.
     */
    static QString toString(QDomNode &n);

    /**
     * Returns true when \a parent has a direct child that is named as kind \a type.
     * \sa getNodesOfType(), removeNodesOfType()
     */
    static bool hasNodesOfType(QDomElement &parent, XMLOBJECT_TYPE type);

    /**
     * Appends handles to the direct children of \a parent that are named as kind \a type to \a out, in document order,
     * and returns how many. What \a out held stays in front of them.
     */
    static int getNodesOfType(QDomElement &parent, XMLOBJECT_TYPE type, std::list<QDomNode> &out);

    /**
     * Removes every direct child of \a parent that is named as kind \a type. A handle to one is not to be changed once
     * the document of \a parent is gone, unless it was appended elsewhere.
     */
    static void removeNodesOfType(QDomElement &parent, XMLOBJECT_TYPE type);

    /** Returns true when \a e has the property \a key. */
    static bool hasProperty(const QDomElement &e, const QString &key);

    /** Returns the text of the property \a key: null when it is missing, empty but not null when it is empty. */
    static QString getProperty(const QDomElement &e, const QString &key);

    /**
     * Writes \a value as the text of the property \a key of \a e.
     *
     * A missing property is appended, with a text node even for an empty value. Of a present one the first plain text
     * node is changed and nothing else.
     * \code
     * <pagenum>7</pagenum>
     * \endcode
     * On purpose a present property without a text node is left as it is: one that was written empty, printed and
     * parsed again stays empty, because parsing keeps no empty text. A null \a e is left alone, and an empty \a key
     * writes nothing. \sa getProperty(), hasProperty()
     */
    static void setProperty(QDomElement &e, const QString &key, const QString &value);

    /** Writes \a value, UTF-8, as text: without this overload a literal would be taken for a boolean. */
    static void setProperty(QDomElement &e, const QString &key, const char *value);

    /** Writes \a value, UTF-16, as text. \overload */
    static void setProperty(QDomElement &e, const QString &key, const char16_t *value);

#ifdef __cpp_char8_t
    /** Writes \a value, UTF-8, as text. \overload */
    static void setProperty(QDomElement &e, const QString &key, const char8_t *value)
    {
        setProperty(e, key, reinterpret_cast<const char *>(value));
    }
#endif

    /** Not for other pointers, which would all be taken for the boolean true. */
    template <typename T>
    static void setProperty(QDomElement &e, const QString &key, const volatile T *value) = delete;

    /** Writes "1" or "0". \sa getPropertyBool() */
    static void setProperty(QDomElement &e, const QString &key, bool value);

    /** Writes \a value in decimal. \sa getPropertyInt(), getPropertyLong() */
    static void setProperty(QDomElement &e, const QString &key, int value);

    /** Writes \a value in \a base, 2 to 36; every caller in this library uses 16. \sa getPropertyUInt() */
    static void setProperty(QDomElement &e, const QString &key, unsigned int value, int base);

    /**
     * Writes \a value with six significant digits, as `%g` does: 0.1, 1.23457e+06.
     * \sa getPropertyDouble()
     */
    static void setProperty(QDomElement &e, const QString &key, double value);

    /** Writes \a values as toString(const QList<unsigned int> &, int) gives them. \sa getPropertyULongList() */
    static void setProperty(QDomElement &e, const QString &key, const QList<unsigned int> &values, int base);

    /** Writes \a values as toString(const QList<int> &, int) gives them. \sa getPropertyLongList() */
    static void setProperty(QDomElement &e, const QString &key, const QList<int> &values, int base);

    /** Returns true when the property reads as the decimal integer 1: "1" and "01" do, "true" and "2" do not. */
    static bool getPropertyBool(const QDomElement &e, const QString &key);

    /** Returns the property read in decimal; 0 when it is missing or no number. */
    static int getPropertyInt(const QDomElement &e, const QString &key);

    /** Returns the property read in decimal; 0 when it is missing or no number. */
    static long getPropertyLong(const QDomElement &e, const QString &key);

    /** Returns the property read in \a base, 2 to 36; 0 when it is missing or no number. */
    static unsigned int getPropertyUInt(const QDomElement &e, const QString &key, int base);

    /** Returns the property read in \a base, 2 to 36; 0 when it is missing or no number. */
    static unsigned long getPropertyULong(const QDomElement &e, const QString &key, int base);

    /** Returns the property as a number; 0.0 when it is missing or no number. */
    static double getPropertyDouble(const QDomElement &e, const QString &key);

    /**
     * Returns the numbers of the property \a key, read in \a base.
     * \code
     * <jobids>a ff</jobids>      base 16 reads as 10, 255
     * \endcode
     * Missing, empty, or with one part that is no number: an empty list.
     * \param e the element that has the property
     * \param key the property's name
     * \param base 2 to 36; every list of this library uses 16
     * \sa setProperty(), toLongList()
     */
    static QList<int> getPropertyLongList(const QDomElement &e, const QString &key, int base);

    /** Returns the unsigned numbers of the property \a key as getPropertyLongList() does. \sa toULongList() */
    static QList<unsigned int> getPropertyULongList(const QDomElement &e, const QString &key, int base);

    /** Returns the attribute \a key: null when it is missing or \a key is empty. */
    static QString getAttribute(const QDomElement &e, const QString &key);

    /** Returns true when the attribute reads as the decimal integer 1. */
    static bool getAttributeBool(const QDomElement &e, const QString &key);

    /** Returns the attribute read in decimal; 0 when it is missing or no number. */
    static int getAttributeInt(const QDomElement &e, const QString &key);

    /** Returns the attribute read in decimal; 0 when it is missing or no number. */
    static long getAttributeLong(const QDomElement &e, const QString &key);

    /** Returns the attribute read in \a base, 2 to 36; 0 when it is missing or no number. */
    static unsigned int getAttributeUInt(const QDomElement &e, const QString &key, int base);

    /** Returns the attribute read in \a base, 2 to 36; 0 when it is missing or no number. */
    static unsigned long getAttributeULong(const QDomElement &e, const QString &key, int base);

    /**
     * Writes \a value as the attribute \a key. An empty \a key or an empty \a value writes nothing and removes nothing.
     * \sa getAttribute()
     */
    static void setAttribute(QDomElement &e, const QString &key, const QString &value);

    /** Writes \a value, UTF-8, as text: without this overload a literal would be taken for a boolean. */
    static void setAttribute(QDomElement &e, const QString &key, const char *value);

    /** Writes \a value, UTF-16, as text. \overload */
    static void setAttribute(QDomElement &e, const QString &key, const char16_t *value);

#ifdef __cpp_char8_t
    /** Writes \a value, UTF-8, as text. \overload */
    static void setAttribute(QDomElement &e, const QString &key, const char8_t *value)
    {
        setAttribute(e, key, reinterpret_cast<const char *>(value));
    }
#endif

    /** Not for other pointers, which would all be taken for the boolean true. */
    template <typename T>
    static void setAttribute(QDomElement &e, const QString &key, const volatile T *value) = delete;

    /** Writes "1" or "0"; nothing for an empty \a key. \sa getAttributeBool() */
    static void setAttribute(QDomElement &e, const QString &key, bool value);

    /** Writes \a value in decimal; nothing for an empty \a key. \sa getAttributeInt(), getAttributeLong() */
    static void setAttribute(QDomElement &e, const QString &key, int value);

    /** Writes \a value in \a base, 2 to 36; nothing for an empty \a key. \sa getAttributeUInt() */
    static void setAttribute(QDomElement &e, const QString &key, unsigned int value, int base);

    /**
     * Returns \a values in \a base, 2 to 36, joined by NUMLIST_SEP: "1 a ff". An empty list gives an empty text. In
     * another base than 10 Qt 6 writes -10 as "-a", which both versions read; Qt 5 writes "fffffffffffffff6", which
     * neither reads.
     */
    static QString toString(const QList<int> &values, int base);

    /** Returns \a values in \a base as text. \overload */
    static QString toString(const QList<unsigned int> &values, int base);

    /**
     * Returns the numbers of \a text, read in \a base, 2 to 36. Parts that are no numbers are left out; runs of blanks
     * are harmless, tabs and line breaks separate nothing. A number is read as a long and then kept in an int.
     *
     * \a ok, unless null, becomes true, or false when a part was left out; an empty \a text leaves it as it was.
     */
    static QList<int> toLongList(const QString &text, bool *ok, int base);

    /** Returns the unsigned numbers of \a text as toLongList() does. */
    static QList<unsigned int> toULongList(const QString &text, bool *ok, int base);

protected:
    const XMLOBJECT_TYPE objectType; ///< the kind, never changed
    QDomDocument ownDocument; ///< the private document
    QDomElement node; ///< the object's own element
};

#endif
