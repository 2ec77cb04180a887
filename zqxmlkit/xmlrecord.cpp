// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "xmlrecord.h"

#include "xmlrecordtable_p.h"

#include <zqxml/xmlpacketable.h>

#include <QStringView>

namespace {

unsigned int toTag(const QString &name, bool *ok)
{
    unsigned int tag = 0;
    if (name.isEmpty() || name.size() > 8)
        return name.toUInt(ok, 16);
    for (const QChar c : name) {
        const unsigned int digit = c.unicode();
        if (digit >= '0' && digit <= '9')
            tag = tag * 16 + (digit - '0');
        else if (digit >= 'a' && digit <= 'f')
            tag = tag * 16 + (digit - 'a' + 10);
        else
            return name.toUInt(ok, 16);
    }
    *ok = true;
    return tag;
}

} // namespace

XMLRecord::XMLRecord() : searched(false) { }

XMLRecord::XMLRecord(const QDomElement &packetable) : packetableElement(packetable), searched(false) { }

XMLRecord::XMLRecord(const XMLRecord &other) = default;

XMLRecord &XMLRecord::operator=(const XMLRecord &other) = default;

XMLRecord::~XMLRecord() = default;

bool XMLRecord::isNull() const
{
    return packetableElement.isNull();
}

QDomElement XMLRecord::element() const
{
    return packetableElement;
}

QString XMLRecord::name() const
{
    return XMLObject::getAttribute(packetableElement, XMLPacketable::NAME);
}

PACKETDATATYPES XMLRecord::type() const
{
    return PACKETDATATYPES(XMLObject::getAttributeUInt(packetableElement, XMLPacketable::DATATYPE, 16));
}

bool XMLRecord::isCurrent() const
{
    return XMLObject::getAttributeBool(packetableElement, XMLPacketable::IS_CURRENT);
}

QStringList XMLRecord::fieldNames() const
{
    const XMLRecordTable *const known = findFields();
    return known ? known->names() : QStringList();
}

QVariant XMLRecord::value(const QString &name) const
{
    const XMLRecordTable *const known = findFields();
    return known ? valueOfRow(known->rowOfName(QStringView(name))) : QVariant();
}

QVariant XMLRecord::value(const char *name) const
{
    const XMLRecordTable *const known = findFields();
    return known ? valueOfRow(known->rowOfName(QLatin1String(name))) : QVariant();
}

ZQKEY_ELEMENT XMLRecord::key(const QString &name) const
{
    return value(name).value<ZQKEY_ELEMENT>();
}

ZQKEY_ELEMENT XMLRecord::key(const char *name) const
{
    return value(name).value<ZQKEY_ELEMENT>();
}

void XMLRecord::show(const QDomElement &packetable)
{
    packetableElement = packetable;
    searched = false;
}

QVariant XMLRecord::valueOfRow(int row) const
{
    if (row < 0 || fields[static_cast<std::size_t>(row)].isNull())
        return QVariant();
    return table->read(row, fields[static_cast<std::size_t>(row)]);
}

const XMLRecordTable *XMLRecord::findFields() const
{
    if (searched)
        return table.get();
    searched = true;
    const QDomElement item = XMLObject::getElement(packetableElement, XMLPacketable::ITEM);
    const unsigned int itemType = XMLObject::getAttributeUInt(item, XMLPacketable::DATATYPE, 16);
    if (!table || table->type() != itemType)
        table = XMLRecordTable::ofType(itemType);
    if (!table)
        return nullptr;
    fields.assign(static_cast<std::size_t>(table->size()), QDomNode());
    int expected = 0;
    for (QDomNode field = item.firstChild(); !field.isNull(); field = field.nextSibling()) {
        bool ok = false;
        const unsigned int tag = toTag(field.nodeName(), &ok);
        const int row = ok && field.isElement() ? table->rowOfTag(tag, expected) : -1;
        if (row < 0)
            continue;
        expected = row + 1;
        QDomNode &found = fields[static_cast<std::size_t>(row)];
        if (found.isNull())
            found = field;
    }
    return table.get();
}
