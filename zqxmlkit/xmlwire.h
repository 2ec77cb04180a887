// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef ZQXMLKIT_XMLWIRE_H
#define ZQXMLKIT_XMLWIRE_H

#include <zqxmlkit/zqxmlkit_export.h>

#include <QByteArray>
#include <QDomDocument>
#include <QString>

#include <memory>

class XMLPacket;

/**
 * The form of a packet for machines: UTF-8, readable by any XML parser in any language, and canonical: equal content
 * gives equal bytes in every process. What is printed is for people and loses some of the content; this loses nothing.
 * \code
 * <zqxml xmlns="http://zqxml.example.org/ns/1.0"><header><src agent_id="1"/><dst agent_id="-1"/></header>
 * <body><packetable datatype="1f"><item><_x0031_f value="caf&#233;"/></item></packetable></body></zqxml>
 * \endcode
 * (On one line, and with characters rather than references to them.) Characters that cannot stand where they are, such
 * as a digit that a name begins with, are written as "_x", four hexadecimal digits and "_". The guide has the rules.
 * Any thread may read and write packets of its own.
 */
class ZQXMLKIT_EXPORT XMLWire
{
public:
    /**
     * What reading is bounded by. Whatever goes beyond is refused before it becomes a part of a tree. The defaults take
     * every packet that the core makes of a record; who reads what strangers send chooses lower ones, since a short
     * element becomes up to 2.4 KB of tree.
     */
    struct Limits {
        Limits() { } // the compiler wants it written out where an argument of this class has a default

        qint64 bytes = 1 << 30; ///< of the wire form
        int depth = 2000; ///< of elements; the toolkit needs stack for each when it prints, copies or destroys a tree
        int nodes = 1 << 25; ///< elements, attributes, texts, CDATA sections and comments together
        int attributes = 1 << 20; ///< of one element
    };

    /**
     * Returns the document of \a packet in the wire form. Empty when the packet holds what the form has no words for:
     * processing instructions, entity references, a document type, a namespace other than the root's own, a name
     * without characters. Empty too for a copy of a packet whose body had been removed, since its document is out of
     * reach.
     */
    static QByteArray toWire(const XMLPacket &packet);

    /** Returns \a element and what is below it in the wire form. Empty for a null element, and as for a packet. */
    static QByteArray toWire(const QDomElement &element);

    /**
     * Returns the packet that \a wire stands for; the caller deletes it. A document that another program wrote in its
     * own way, with other white space in tags, references, or a declaration, is read as well. A part that the document
     * lacks, the header say, is not added: it reads as 0 or empty.
     *
     * Null when \a wire is not well-formed, not UTF-8, beyond a limit, or holds a document type, an entity, a namespace
     * other than the root's own, or a processing instruction other than the mark of a text. Then \a error, if given, is
     * one line: "line 1, column 57: ...".
     */
    static std::unique_ptr<XMLPacket> toPacket(const QByteArray &wire, QString *error = nullptr,
                                               const Limits &limits = Limits());

    /** Returns the document that \a wire stands for, whatever its root; null as toPacket() says. */
    static QDomDocument toDocument(const QByteArray &wire, QString *error = nullptr, const Limits &limits = Limits());

    /**
     * Returns the wire form of a packet that was printed, by XMLPacket::print() or a tool's trace: names may begin with
     * a digit, characters may be any, attributes come in any order, and the white space that printing adds is no
     * content. A line "-- title --" in front is passed over. Empty, with a line in  error as for toPacket(), when 
     * text is no packet, or beyond the default limits.
     *
     * What printing loses does not come back: neighbouring texts are one, texts of white space with a line feed beside
     * elements are gone, and a name that holds a blank, "/", "=" or the like is not understood.
     */
    static QByteArray fromPrinted(const QString &text, QString *error = nullptr);
};

#endif
