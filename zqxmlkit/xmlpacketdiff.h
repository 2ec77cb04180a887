// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef ZQXMLKIT_XMLPACKETDIFF_H
#define ZQXMLKIT_XMLPACKETDIFF_H

#include <zqxmlkit/zqxmlkit_export.h>

#include <QDomElement>
#include <QList>
#include <QString>

class XMLPacket;

/**
 * What differs between two packets, on the form that XMLWire writes: the order of attributes does not count, everything
 * else does. An element that only one side has counts once, and what follows it is still compared with its like.
 */
class ZQXMLKIT_EXPORT XMLPacketDiff
{
public:
    /** Which side has it. */
    enum Kind {
        Added, ///< only the right side has it
        Removed, ///< only the left side has it
        Changed, ///< both sides have it, with other content
    };

    /** One place where the packets differ. */
    struct Difference {
        /**
         * Where, in names as the wire form writes them: "/zqxml/body/action[2]/@type". A number counts the children of
         * one name from 1. Of what only the right side has, the place on that side; else that on the left.
         */
        QString path;
        Kind kind; ///< which side has it
        QString left; ///< the value of an attribute or text, or an element in the wire form; null when it is Added
        QString right; ///< the same of the right side; null when it is Removed
    };

    /** How many differences are listed unless the caller wants more or fewer. */
    static constexpr int MAXIMUM = 1000;

    /** Compares the documents of two packets, headers included, and lists the first \a maximum differences. */
    XMLPacketDiff(const XMLPacket &left, const XMLPacket &right, int maximum = MAXIMUM);

    /** Compares two elements and what is below them. */
    XMLPacketDiff(const QDomElement &left, const QDomElement &right, int maximum = MAXIMUM);

    /** Returns true when there is no difference. */
    bool isEmpty() const;

    /** Returns false when there were more differences than were to be listed. */
    bool isComplete() const;

    /** Returns the differences, in the order of the document. */
    QList<Difference> getDifferences() const;

    /**
     * Returns the differences for people, a line each, with long values cut short. Empty when there is none.
     * \code
     * ~ /zqxml/header/src/@agent_id: "1" -> "2"
     * + /zqxml/body/msg: <msg msg="Ink is low"/>
     * \endcode
     */
    QString toText() const;

private:
    QList<Difference> differences;
    bool complete = true;
};

#endif
