// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "xmlpacketable.h"

#include "constants_p.h"
#include "recordreader_p.h"
#include "recordwriter_p.h"

#include <recordlib/zqapp.h>

#include <cstdlib>
#include <memory>

ZQXML_CONSTANT XMLPacketable::START_LIST = QStringLiteral("SL");
ZQXML_CONSTANT XMLPacketable::END_LIST = QStringLiteral("TL");
ZQXML_CONSTANT XMLPacketable::START_ITEM = QStringLiteral("SI");
ZQXML_CONSTANT XMLPacketable::END_ITEM = QStringLiteral("TI");
ZQXML_CONSTANT XMLPacketable::LIST = QStringLiteral("list");
ZQXML_CONSTANT XMLPacketable::SIZE = QStringLiteral("size");
ZQXML_CONSTANT XMLPacketable::ITEM = QStringLiteral("item");
ZQXML_CONSTANT XMLPacketable::DATATYPE = QStringLiteral("datatype");
ZQXML_CONSTANT XMLPacketable::VALUE = QStringLiteral("value");
ZQXML_CONSTANT XMLPacketable::NAME = QStringLiteral("name");
ZQXML_CONSTANT XMLPacketable::KEY = QStringLiteral("key");
ZQXML_CONSTANT XMLPacketable::HKEY = QStringLiteral("hkey");
ZQXML_CONSTANT XMLPacketable::IS_CURRENT = QStringLiteral("is_current");

namespace {

QDomElement appendTo(QDomElement &parent, const QDomElement &child)
{
    return parent.isNull() ? QDomElement() : parent.appendChild(child).toElement();
}

} // namespace

XMLPacketable::XMLPacketable() : XMLObject(XML_PACKETABLE), heldRecord(nullptr) { }

XMLPacketable::~XMLPacketable()
{
    delete heldRecord;
}

void XMLPacketable::setCurrent(bool current)
{
    setAttribute(node, IS_CURRENT, current);
}

bool XMLPacketable::isCurrent() const
{
    return getAttributeBool(node, IS_CURRENT);
}

void XMLPacketable::setName(const QString &name)
{
    setAttribute(node, NAME, name);
}

QString XMLPacketable::getName() const
{
    return getAttribute(node, NAME);
}

void XMLPacketable::setType(PACKETDATATYPES type)
{
    setAttribute(node, DATATYPE, static_cast<unsigned int>(type), 16);
}

PACKETDATATYPES XMLPacketable::getType() const
{
    return static_cast<PACKETDATATYPES>(getAttributeUInt(node, DATATYPE, 16));
}

void XMLPacketable::setData(ZQPacketable &record)
{
    setType(record.dataType);
    if (record.name)
        setName(QString::fromUtf8(record.name));
    else if (record.dataType == DBLIST_ENTRY_TYPE && record.payload)
        setName(QString::fromUtf8(static_cast<const ZQDBLIST_ENTRY *>(record.payload)->name));

    unsigned int length = 0;
    const std::unique_ptr<char, decltype(&std::free)> buffer(record.toPacket(length), &std::free);
    if (!buffer)
        return;
    const char *const bytes = buffer.get();
    using Size = decltype(QLatin1String().size());
    const Size size = static_cast<Size>(std::min<std::size_t>(length, std::numeric_limits<Size>::max()));
    if (isAscii(bytes, bytes + size))
        readText(node, QLatin1String(bytes, size));
    else
        readText(node, QStringView(QString::fromUtf8(bytes, size)));
}

ZQPacketable *XMLPacketable::getDataConst()
{
    if (heldRecord)
        return heldRecord;
    QByteArray text = toPacket(node).toUtf8();
    std::unique_ptr<ZQPacketable> record(PacketableUtil::getPacketable(getType()));
    if (record && record->fromPacket(text.data(), static_cast<unsigned int>(text.size()), false, true))
        heldRecord = record.release();
    return heldRecord;
}

ZQPacketable *XMLPacketable::getData()
{
    const ZQPacketable *const record = getDataConst();
    ZQPacketable *const copy = record ? PacketableUtil::getPacketable(getType()) : nullptr;
    if (copy)
        *copy = *record;
    return copy;
}

unsigned int XMLPacketable::toDom(QDomElement &parent, QStringList &lines, unsigned int start)
{
    ListedLines source(lines, start);
    switch (readLines(parent, source)) {
    case Ending::Marker:
        return source.position() - 1;
    case Ending::LastLine:
        return static_cast<unsigned int>(lines.size());
    case Ending::NoTable:
        break;
    }
    return start;
}

QString XMLPacketable::toPacket(const QDomElement &element)
{
    return TextWriter().write(element);
}

void XMLPacketable::appendSimpleValuePacket(QString &text, const QDomElement &field)
{
    appendPieces(text, field.tagName(), blank, field.attribute(VALUE), lineEnd);
}

QString XMLPacketable::toSimpleValuePacket(const QDomElement &field)
{
    return QStringLiteral("%1 %2\n").arg(field.tagName()).arg(field.attribute(VALUE));
}

QString XMLPacketable::toZQKEYValuePacket(const QDomElement &field)
{
    return fillLine(field.tagName(), field.attribute(KEY), field.attribute(HKEY));
}

QString XMLPacketable::toNumberArrayValuePacket(const QDomElement &field)
{
    return toArrayPacket(field, blank);
}

QString XMLPacketable::toStringArrayValuePacket(const QDomElement &field)
{
    return toArrayPacket(field, QLatin1Char('\r'));
}

QDomElement XMLPacketable::createListElement(QDomElement &parent, const QString &size)
{
    return appendTo(parent, ElementFactory(parent).withAttribute(LIST, SIZE, size));
}

void XMLPacketable::createListElementV(QDomElement &parent, const QString &size)
{
    createListElement(parent, size);
}

QDomElement XMLPacketable::createItemElement(QDomElement &parent, const QString &datatype)
{
    return appendTo(parent, ElementFactory(parent).withAttribute(ITEM, DATATYPE, datatype));
}

void XMLPacketable::createItemElementV(QDomElement &parent, const QString &datatype)
{
    createItemElement(parent, datatype);
}

QDomElement XMLPacketable::createSimpleElement(QDomElement &parent, const QString &tag, const QString &value)
{
    return appendTo(parent, ElementFactory(parent).withAttribute(tag, VALUE, value));
}

void XMLPacketable::createSimpleElementV(QDomElement &parent, const QString &tag, const QString &value)
{
    createSimpleElement(parent, tag, value);
}

QDomElement XMLPacketable::createZQKEYElement(QDomElement &parent, const QString &tag, const QString &value)
{
    return appendTo(parent, ElementFactory(parent).key(tag, QStringView(value)));
}

void XMLPacketable::createZQKEYElementV(QDomElement &parent, const QString &tag, const QString &value)
{
    createZQKEYElement(parent, tag, value);
}

QDomElement XMLPacketable::createNumberArrayElement(QDomElement &parent, const QString &tag, const QString &value)
{
    return appendTo(parent, ElementFactory(parent).numberArray(tag, QStringView(value)));
}

void XMLPacketable::createNumberArrayElementV(QDomElement &parent, const QString &tag, const QString &value)
{
    createNumberArrayElement(parent, tag, value);
}

QDomElement XMLPacketable::createStringArrayElement(QDomElement &parent, const QString &tag, const QString &value)
{
    return appendTo(parent, ElementFactory(parent).stringArray(tag, QStringView(value)));
}

void XMLPacketable::createStringArrayElementV(QDomElement &parent, const QString &tag, const QString &value)
{
    createStringArrayElement(parent, tag, value);
}

void XMLPacketable::getTagValuePair(QString &line, QStringRef &tag, QStringRef &value)
{
    const int found = static_cast<int>(line.indexOf(QLatin1Char(' ')));
    if (found < 0)
        return;
    tag = QStringRef(&line, 0, found);
    value = QStringRef(&line, found + 1, static_cast<int>(line.size()) - found - 1);
}

CONVERTSTRUCTELEMENTINFO *XMLPacketable::getConvStructFromDataTag(CONVERTSTRUCTELEMENTINFO *table, unsigned int tag)
{
    for (; table && table->elementType != 0; ++table) {
        if (table->dataTag == tag)
            return table;
    }
    return nullptr;
}
