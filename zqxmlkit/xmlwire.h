// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef ZQXMLKIT_XMLWIRE_H
#define ZQXMLKIT_XMLWIRE_H

#include <zqxmlkit/zqxmlkit_export.h>

#include <QByteArray>
#include <QDomElement>

class XMLPacket;

/** The form of a packet for machines: canonical, and readable by any XML parser. */
class ZQXMLKIT_EXPORT XMLWire
{
public:
    /** Returns \a element and what is below it in the wire form. */
    static QByteArray toWire(const QDomElement &element);

    /** Returns the document of \a packet in the wire form. */
    static QByteArray toWire(const XMLPacket &packet);
};

#endif
