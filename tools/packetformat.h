// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef TOOLS_PACKETFORMAT_H
#define TOOLS_PACKETFORMAT_H

#include <zqxml/xmlcommserver.h>

#include <QByteArray>
#include <QString>

#include <memory>
#include <vector>

class XMLPacket;
class ZQPacketable;

/** Records that were rebuilt from the XML of a packet, in its order. */
using Records = std::vector<std::unique_ptr<ZQPacketable>>;

/** Returns the packet's document as text. */
QByteArray toXml(XMLPacket &packet);

/** Returns the packet text of each record in the packet, as it is written from its XML. */
QByteArray toPacketText(XMLPacket &packet);

/** Returns the packet text of each record, as it writes it itself. */
QByteArray toPacketText(const Records &records);

/** Returns the records in the packet, which answers \a request, as aligned columns under a heading, and their count. */
QByteArray toTable(XMLPacket &packet, int request);

/** Rebuilds the records in the packet; false and the reason in \a error when one cannot be. */
bool rebuild(XMLPacket &packet, Records &records, QString *error);

/** Returns a packet like \a packet, but with the XML of \a records, which were rebuilt from it. */
std::unique_ptr<XMLPacket> replaceRecords(XMLPacket &packet, const Records &records);

#endif
