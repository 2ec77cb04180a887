// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "xmlrecords.h"

#include <zqxml/xmlpacket.h>

namespace {

QDomElement findRecord(QDomNode node)
{
    static const QString name = XMLObject::rootNodeName(XMLObject::XML_PACKETABLE);
    while (!node.isNull() && !(node.isElement() && node.nodeName() == name))
        node = node.nextSibling();
    return node.toElement();
}

} // namespace

XMLRecordIterator::XMLRecordIterator(const QDomNode &node) : record(findRecord(node)) { }

const XMLRecord &XMLRecordIterator::operator*() const
{
    return record;
}

const XMLRecord *XMLRecordIterator::operator->() const
{
    return &record;
}

XMLRecordIterator &XMLRecordIterator::operator++()
{
    record.show(findRecord(record.element().nextSibling()));
    return *this;
}

void XMLRecordIterator::operator++(int)
{
    ++*this;
}

bool XMLRecordIterator::operator==(const XMLRecordIterator &other) const
{
    return record.element() == other.record.element();
}

bool XMLRecordIterator::operator!=(const XMLRecordIterator &other) const
{
    return !(*this == other);
}

XMLRecords::XMLRecords() = default;

XMLRecords::XMLRecords(const XMLPacket &packet) : parentElement(packet.getBody()) { }

XMLRecords::XMLRecords(const QDomElement &parent) : parentElement(parent) { }

XMLRecordIterator XMLRecords::begin() const
{
    return XMLRecordIterator(parentElement.firstChild());
}

XMLRecordIterator XMLRecords::end() const
{
    return XMLRecordIterator();
}

bool XMLRecords::isEmpty() const
{
    return begin() == end();
}
