// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include <zqxml/xmlmessage.h>
#include <zqxml/xmlpacket.h>
#include <zqxmlkit/xmlwire.h>

#include <cstdio>

int main()
{
    XMLMessage message(QStringLiteral("Plates are ready"));
    XMLPacket packet;
    packet.append(message);
    std::printf("%s\n", XMLWire::toWire(packet).constData());
}
