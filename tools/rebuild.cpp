// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "rebuild.h"

#include <zqxml/xmlpacket.h>
#include <zqxml/xmlpacketable.h>
#include <zqxmlkit/xmlrecords.h>

#include <cstdlib>

bool rebuild(XMLPacket &packet, int before, Records &records, QString *error)
{
    for (const XMLRecord &each : XMLRecords(packet)) {
        XMLPacketable object;
        object.setNode(each.element());
        std::unique_ptr<ZQPacketable> record(object.getData());
        if (!record) {
            *error = QStringLiteral("record %1 cannot be rebuilt: %2")
                         .arg(before + static_cast<int>(records.size()) + 1)
                         .arg(object.getName());
            return false;
        }
        record->setName(object.getName().toUtf8().constData());
        records.push_back(std::move(record));
    }
    return true;
}

std::unique_ptr<XMLPacket> replaceRecords(XMLPacket &packet, const Records &records)
{
    auto replaced = std::make_unique<XMLPacket>();
    replaced->setSourceAgentID(packet.getSourceAgentID());
    replaced->setDestinationAgentID(packet.getDestinationAgentID());
    for (const auto &record : records)
        replaced->appendV(*record, false);
    return replaced;
}

QByteArray toPacketText(const Records &records)
{
    QByteArray text;
    for (const auto &record : records) {
        unsigned int length = 0;
        char *const buffer = record->toPacket(length);
        text.append(buffer, static_cast<int>(length));
        std::free(buffer);
    }
    return text;
}
