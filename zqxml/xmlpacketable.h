// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef ZQXML_XMLPACKETABLE_H
#define ZQXML_XMLPACKETABLE_H

#include <recordlib/zqlib.h>
#include <zqxml/xmlobject.h>

#include <QStringList>
#include <QStringRef>

class ZQPacketable;

/**
 * One record of the record library in XML form, and the conversion between the two.
 *
 * Both directions go through the record's packet text: lines of a tag, one blank and a value, in which "SI" and "TI"
 * enclose an item and "SL" and "TL" a list. The lines map onto elements one for one; a field's element is named by its
 * hexadecimal tag.
 * \code
 * SI 1f                <packetable datatype="1f" name="Report">
 * 1 Report              <item datatype="1f">
 * 2 a3 7                 <1 value="Report"/><2 key="a3" hkey="7"/>
 * TI 0                  </item></packetable>
 * \endcode
 * A name that begins with a digit lives in a document but cannot be parsed back from its text. The shape of a field is
 * chosen by its row in the conversion table of its item's data type; a field outside an item, without a row, or of a
 * kind that has no shape, is left out.
 *
 * Lists and items are converted to a nesting depth of NESTING_LIMIT, in both directions; what is nested deeper is left
 * out, with everything in it.
 */
class ZQXML_EXPORT XMLPacketable : public XMLObject
{
public:
    /**
     * Levels of lists and items that are converted. The toolkit prints, copies and frees a tree by recursion; this
     * depth keeps it well inside a stack of 8 MiB.
     */
    static constexpr unsigned int NESTING_LIMIT = 1000;

    static const QString START_LIST; ///< "SL", opens a list in packet text
    static const QString END_LIST; ///< "TL", closes a list
    static const QString START_ITEM; ///< "SI", opens an item
    static const QString END_ITEM; ///< "TI", closes an item
    static const QString LIST; ///< "list", the element of a list
    static const QString SIZE; ///< "size", the attribute of a list and of an array
    static const QString ITEM; ///< "item", the element of an item
    static const QString DATATYPE; ///< "datatype", the attribute of an item and of the object's own element
    static const QString VALUE; ///< "value", the attribute of a simple field and the element of an array's entry
    static const QString NAME; ///< "name", the attribute of the object's own element
    static const QString KEY; ///< "key", the attribute of a key field
    static const QString HKEY; ///< "hkey", the attribute of a key field
    static const QString IS_CURRENT; ///< "is_current", the attribute of the object's own element

    /** Makes an empty "packetable" element. */
    XMLPacketable();

    /** Deletes the record that getDataConst() made. */
    ~XMLPacketable() override;

    /** Marks the record as the current one, or not. */
    virtual void setCurrent(bool current);

    /** Returns true when the record is marked as the current one; false when nothing is marked. */
    virtual bool isCurrent() const;

    /** Writes the record's name; an empty one writes nothing. */
    virtual void setName(const QString &name);

    /** Returns the record's name; null when there is none. */
    virtual QString getName() const;

    /** Writes the record's data type, in base 16. */
    virtual void setType(PACKETDATATYPES type);

    /** Returns the record's data type; 0 when it is missing or no hexadecimal number. */
    virtual PACKETDATATYPES getType() const;

    /**
     * Fills the empty object from \a record, which is only read: data type, name, and the tree of its packet text. A
     * record of data type DBLIST_ENTRY_TYPE without a name of its own is named by its payload. A record that gives no
     * packet text leaves the element without children. A second call adds a second tree.
     * \sa getData()
     */
    void setData(ZQPacketable &record);

    /**
     * Returns the record of the object's XML, which stays with the object and is the same at every call, even if the
     * XML has changed since. Null when the record library does not know the data type or does not accept the text; the
     * next call tries again.
     *
     * Not everything comes back as it was: counts of arrays are written in decimal and read in base 16, the first text
     * of a string array keeps its count in front, and binary data is left out.
     */
    ZQPacketable *getDataConst();

    /** Returns a new copy of the record of getDataConst(), which the caller deletes; null when there is none. */
    ZQPacketable *getData();

    /**
     * Reads the packet text \a lines from index \a start into children of \a parent, and returns the index of the
     * marker that ended this level, or the number of lines.
     *
     * White space around a line is dropped. Fields are read where \a parent is an "item", by the table of its data
     * type. "TI" and "TL" close any level alike. A line without a blank is split where the last line of its level was.
     * An item of data type 6, or of one without a table, stays empty; the line after its opening one is passed over,
     * and the rest is read by the enclosing level.
     */
    static unsigned int toDom(QDomElement &parent, QStringList &lines, unsigned int start);

    /**
     * Returns the packet text of the children of \a element, which is the object's own element, an "item" or a "list".
     * An item of data type 6, or of one without a table, gives its two markers with nothing between them.
     */
    static QString toPacket(const QDomElement &element);

    /** Appends the line of the simple field \a field to \a text: its tag, a blank, its "value". */
    static void appendSimpleValuePacket(QString &text, const QDomElement &field);

    /**
     * Returns the line of the simple field \a field, filled in one text at a time: a tag that holds "%1" takes the
     * value's place. \sa appendSimpleValuePacket()
     */
    static QString toSimpleValuePacket(const QDomElement &field);

    /**
     * Returns the line of the key field \a field: tag, "key" and "hkey", filled in one text at a time.
     * \code
     * <2 key="%1" hkey="b"/>      gives "2 b %3"
     * \endcode
     */
    static QString toZQKEYValuePacket(const QDomElement &field);

    /**
     * Returns the line of the number array \a field: tag, the count of its "value" children in decimal, and their
     * texts. "size" is not read.
     */
    static QString toNumberArrayValuePacket(const QDomElement &field);

    /** Returns the line of the string array \a field; as a number array's, with carriage returns between the texts. */
    static QString toStringArrayValuePacket(const QDomElement &field);

    /** Appends a "list" to \a parent and returns it; \a size is written as it stands. */
    static QDomElement createListElement(QDomElement &parent, const QString &size);
    static void createListElementV(QDomElement &parent, const QString &size); ///< As createListElement().

    /** Appends an "item" to \a parent and returns it; \a datatype is written as it stands. */
    static QDomElement createItemElement(QDomElement &parent, const QString &datatype);
    static void createItemElementV(QDomElement &parent, const QString &datatype); ///< As createItemElement().

    /** Appends the simple field \a tag to \a parent and returns it. */
    static QDomElement createSimpleElement(QDomElement &parent, const QString &tag, const QString &value);
    /** As createSimpleElement(). */
    static void createSimpleElementV(QDomElement &parent, const QString &tag, const QString &value);

    /**
     * Appends the key field \a tag to \a parent and returns it. A \a value of exactly two words gives "key" and
     * "hkey"; any other leaves the element bare.
     */
    static QDomElement createZQKEYElement(QDomElement &parent, const QString &tag, const QString &value);
    /** As createZQKEYElement(). */
    static void createZQKEYElementV(QDomElement &parent, const QString &tag, const QString &value);

    /**
     * Appends the number array \a tag to \a parent and returns it. \a value is a count in base 16 and that many words;
     * anything else leaves the element bare.
     * \code
     * 3 10 20 30      <3 size="3"><value>10</value><value>20</value><value>30</value></3>
     * \endcode
     */
    static QDomElement createNumberArrayElement(QDomElement &parent, const QString &tag, const QString &value);
    /** As createNumberArrayElement(). */
    static void createNumberArrayElementV(QDomElement &parent, const QString &tag, const QString &value);

    /**
     * Appends the string array \a tag to \a parent and returns it. \a value is a count in base 16, a blank, and that
     * many texts separated by carriage returns. On purpose the first text keeps the count and the blank in front. A
     * count that does not fit leaves the element with its "size" only, one that is no number leaves it bare.
     */
    static QDomElement createStringArrayElement(QDomElement &parent, const QString &tag, const QString &value);
    /** As createStringArrayElement(). */
    static void createStringArrayElementV(QDomElement &parent, const QString &tag, const QString &value);

    /**
     * Splits \a line at its first blank: \a tag refers to what stands before it and \a value to what follows. A line
     * without a blank leaves both as they were.
     */
    static void getTagValuePair(QString &line, QStringRef &tag, QStringRef &value);

    /**
     * Returns the first row of \a table whose data tag is \a tag; null when there is none, or no table. The row stays
     * with the table.
     */
    static CONVERTSTRUCTELEMENTINFO *getConvStructFromDataTag(CONVERTSTRUCTELEMENTINFO *table, unsigned int tag);

private:
    ZQPacketable *heldRecord;
};

#endif
