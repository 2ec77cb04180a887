// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef TOOLS_REBUILD_H
#define TOOLS_REBUILD_H

#include <recordlib/zqapp.h>

#include <QByteArray>
#include <QString>

#include <memory>
#include <vector>

class XMLPacket;

/** Records that were rebuilt from the XML of a packet, in its order. */
using Records = std::vector<std::unique_ptr<ZQPacketable>>;

/**
 * Rebuilds the records in the packet, which \a before others precede; false and the reason in \a error when one cannot
 * be.
 */
bool rebuild(XMLPacket &packet, int before, Records &records, QString *error);

/** Returns a packet like \a packet, but with the XML of \a records, which were rebuilt from it. */
std::unique_ptr<XMLPacket> replaceRecords(XMLPacket &packet, const Records &records);

/** Returns the packet text of each record, as it writes it itself. */
QByteArray toPacketText(const Records &records);

#endif
