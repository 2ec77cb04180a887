// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

// A packet leaves the process as bytes and comes back; what is printed is read too, and two packets are compared.

#include <zqxml/xmlmessage.h>
#include <zqxml/xmlpacket.h>
#include <zqxmlkit/xmlpacketdiff.h>
#include <zqxmlkit/xmlwire.h>

#include <cstdio>

int main()
{
    XMLPacket packet;
    packet.setSourceAgentID(1);
    packet.setDestinationAgentID(-1);
    XMLMessage message(QStringLiteral("Plates are ready"));
    packet.append(message);
    QDomElement body = packet.getBody();
    QDomElement field = XMLObject::createElement(body, QStringLiteral("1f"));
    XMLObject::setAttribute(field, QStringLiteral("value"), QStringLiteral("a\tb\x01 <c>"));

    const QByteArray wire = XMLWire::toWire(packet);
    std::printf("%s\n\n", wire.constData());

    QString error;
    const std::unique_ptr<XMLPacket> copy = XMLWire::toPacket(wire, &error);
    std::printf("read back: %s\n", copy && *copy == packet ? "equal" : qPrintable(error));
    XMLWire::toPacket(wire.left(100), &error);
    std::printf("cut short: %s\n", qPrintable(error));

    const QByteArray printed = XMLWire::fromPrinted(packet.getBody().ownerDocument().toString(1));
    std::printf("printed and read: %s\n\n", printed == wire ? "the same bytes" : "other bytes");

    copy->setSourceAgentID(2);
    XMLMessage another(QStringLiteral("Ink is low"));
    copy->append(another);
    std::printf("%s", qPrintable(XMLPacketDiff(packet, *copy).toText()));
    return 0;
}
