// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef ZQXML_XMLPACKET_H
#define ZQXML_XMLPACKET_H

#include <zqxml/xmlobject.h>

class XMLAction;
class XMLImage;
class XMLMessage;
class XMLPacketable;
class XMLUI;
class ZQPacketable;

/**
 * The envelope in which agents exchange XML: a document of its own, with the numbers of two agents in its header and
 * any number of content elements in its body.
 * \code
 * <zqxml xmlns="http://zqxml.example.org/ns/1.0">
 *  <header><src agent_id="1"/><dst agent_id="-1"/></header>
 *  <body><action type="1000"/></body>
 * </zqxml>
 * \endcode
 * The inherited node, an empty "zqxml" element, plays no part in this document; print() shows the packet, toString()
 * does not. Nothing here removes content, but an object that is appended to a second packet with appendV() takes its
 * element out of the first. An element costs 700 bytes on Qt 5 and up to 2,700 on Qt 6, most of it for the table of its
 * attributes. A packet is used by one thread at a time.
 */
class ZQXML_EXPORT XMLPacket : public XMLObject
{
public:
    static const QString HEADER; ///< "header"
    static const QString SOURCE; ///< "src", in the header
    static const QString DESTINATION; ///< "dst", in the header
    static const QString BODY; ///< "body"
    static const QString AGENT_ID; ///< "agent_id", the attribute of source and destination, in decimal

    /** Makes a packet without agent numbers and with an empty body. */
    XMLPacket();

    /**
     * Releases the document. Whoever still holds the document, its root element or the body finds it unchanged. Of a
     * document that nobody holds, elements of the body that are still referred to live on, each on its own, and can be
     * read, changed and appended elsewhere. Of elements further down only their own content may still be looked at: the
     * toolkit leaves them with links to neighbours that are gone.
     */
    ~XMLPacket() override;

    /**
     * Replaces the document, whose elements live on as ~XMLPacket() says: by that of a new packet for a null \a other,
     * else by a deep copy of that of \a other, with which it shares nothing. A document type, which
     * QDomNode::cloneNode() would keep, is not copied. What a caller removed from \a other is missing in the copy too;
     * its parts then read as 0 or empty, and writing to them does nothing.
     */
    void init(const XMLPacket *other);

    /** Makes this packet a deep copy of \a other, which may be this packet itself. The inherited node stays. */
    virtual XMLPacket &operator=(const XMLPacket &other);

    /**
     * Returns true when both documents, headers included, print alike; the order of attributes does not count, since
     * the toolkit does not keep it.
     */
    virtual bool operator==(const XMLPacket &other) const;

    /** Returns the negation of operator==(). */
    virtual bool operator!=(const XMLPacket &other) const;

    /** Writes the number of the sending agent. \sa getSourceAgentID() */
    void setSourceAgentID(int id);

    /** Returns the number of the sending agent; 0 when it is missing or no number. */
    int getSourceAgentID();

    /** Writes the number of the receiving agent. \sa getDestinationAgentID() */
    void setDestinationAgentID(int id);

    /** Returns the number of the receiving agent; 0 when it is missing or no number. */
    int getDestinationAgentID();

    /**
     * Returns a handle to the body, shared with the packet: the way to its content, and by ownerDocument() to the whole
     * packet document. Null when a caller removed the body from the packet that this one is a copy of.
     */
    QDomElement getBody() const;

    /** Returns true when the body has no child nodes. */
    bool isEmpty();

    /** Returns true when the body has a direct child of kind \a type. */
    bool hasNodesOfType(XMLOBJECT_TYPE type);

    /**
     * Appends handles to the direct children of the body of kind \a type, shared with the packet, to \a out and
     * returns how many. What \a out held stays in front of them.
     */
    int getNodesOfType(XMLOBJECT_TYPE type, std::list<QDomNode> &out);

    QDomElement append(XMLPacketable &object); ///< Appends a deep copy of the object's element and returns the copy.
    QDomElement append(XMLAction &object); ///< Appends a deep copy of the object's element and returns the copy.
    QDomElement append(XMLUI &object); ///< Appends a deep copy of the object's element and returns the copy.
    QDomElement append(XMLImage &object); ///< Appends a deep copy of the object's element and returns the copy.
    QDomElement append(XMLMessage &object); ///< Appends a deep copy of the object's element and returns the copy.

    /**
     * Appends the object's own element, which packet and object share from then on: a later change through either
     * shows in both. An element hangs in one place: a second appendV() moves it. \sa append(XMLPacketable &)
     */
    void appendV(XMLPacketable &object);
    void appendV(XMLAction &object); ///< Appends the object's own element. \sa appendV(XMLPacketable &)
    void appendV(XMLUI &object); ///< Appends the object's own element. \sa appendV(XMLPacketable &)
    void appendV(XMLImage &object); ///< Appends the object's own element. \sa appendV(XMLPacketable &)
    void appendV(XMLMessage &object); ///< Appends the object's own element. \sa appendV(XMLPacketable &)

    /**
     * Converts \a record, which is only read, appends its "packetable" element and returns that. With \a current it is
     * marked as the current record.
     */
    QDomElement append(ZQPacketable &record, bool current);

    /** Converts and appends \a record as append(ZQPacketable &, bool) does. */
    void appendV(ZQPacketable &record, bool current);

    /** Writes the packet document to standard output, in UTF-8. */
    void print();

private:
    void release();
    QDomElement adopt(const QDomNode &element);
    bool beginsWithHeader(const QString &destination) const;

    QDomDocument packetDocument;
    QDomElement rootElement;
    QDomElement headerElement;
    QDomElement sourceElement;
    QDomElement destinationElement;
    QDomElement bodyElement;
};

#endif
