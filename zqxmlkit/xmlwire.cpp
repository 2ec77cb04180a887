// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "xmlwire.h"

#include "printedreader_p.h"
#include "wirereader_p.h"
#include "wirewriter_p.h"

#include <zqxml/xmlpacket.h>

namespace {

template <typename Node>
QByteArray write(const Node &node)
{
    WireWriter writer;
    return writer.write(node) ? writer.take() : QByteArray();
}

} // namespace

QByteArray XMLWire::toWire(const XMLPacket &packet)
{
    return write(packet.getBody().ownerDocument());
}

QByteArray XMLWire::toWire(const QDomElement &element)
{
    return write(element);
}

std::unique_ptr<XMLPacket> XMLWire::toPacket(const QByteArray &wire, QString *error, const Limits &limits)
{
    auto packet = std::make_unique<XMLPacket>();
    TreeBuilder builder(packet->getBody().ownerDocument());
    return WireReader(builder, limits).read(wire, error) ? std::move(packet) : nullptr;
}

QDomDocument XMLWire::toDocument(const QByteArray &wire, QString *error, const Limits &limits)
{
    TreeBuilder builder;
    return WireReader(builder, limits).read(wire, error) ? builder.getDocument() : QDomDocument();
}

QByteArray XMLWire::fromPrinted(const QString &text, QString *error)
{
    TreeBuilder builder;
    if (!PrintedReader(builder, text).read(error))
        return QByteArray();
    return write(builder.getDocument());
}
