// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "samples.h"

#include <standin/zqrecords.h>
#include <zqxml/xmlpacketable.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

constexpr unsigned int rowsPerField = 3;
constexpr int bytesOfField = 45; // in the text of a packet, about
constexpr unsigned int simpleTypes[] = {1, 2, 4, 5, 6, 7, 8, 9, 11, 12, 24, 25, 28, 29};

// In turn, so that every part of an item holds a bit of everything; the last one is simple.
unsigned int typeOfField(unsigned int field)
{
    switch (field % 10) {
    case 2:
        return CONV_KEY;
    case 4:
        return CONV_NUMBERARRAY;
    case 7:
        return CONV_TEXTARRAY;
    default:
        return field == 25 ? CONV_BINARYDATA : simpleTypes[field % std::size(simpleTypes)];
    }
}

QByteArray valueOf(unsigned int type, unsigned int number)
{
    const auto hex = [number](unsigned int i) { return QByteArray::number((number + i) * 2654435761u, 16); };
    switch (type) {
    case CONV_KEY:
        return hex(0) + ' ' + hex(1);
    case CONV_NUMBERARRAY:
        return "4 " + hex(0) + ' ' + hex(1) + ' ' + hex(2) + ' ' + hex(3);
    case CONV_TEXTARRAY:
        return "2 Cyan " + hex(0) + "\rMagenta " + hex(1);
    case CONV_BINARYDATA:
        return "10 " + hex(0) + hex(1) + hex(2) + hex(3);
    case CONV_TEXT:
    case CONV_FIXEDTEXT:
        return "Text " + hex(0);
    default:
        return hex(0);
    }
}

QByteArray typeText()
{
    return QByteArray::number(static_cast<unsigned int>(SAMPLE_TYPE), 16);
}

/** Returns the text of an item with the first \a fields fields; values are made from \a number on. */
QByteArray itemText(int fields, int number)
{
    QByteArray text = "SI " + typeText() + '\n';
    for (int i = 0; i < fields; ++i) {
        const unsigned int field = static_cast<unsigned int>(i);
        text += QByteArray::number(field * rowsPerField + 1, 16) + ' '
            + valueOf(typeOfField(field), static_cast<unsigned int>(number + i)) + '\n';
    }
    return text + "TI 0\n";
}

// The last field of a packet is simple, so that its value can differ.
bool mayEndWith(int field)
{
    const unsigned int type = typeOfField(static_cast<unsigned int>(field));
    return type != CONV_KEY && type != CONV_NUMBERARRAY && type != CONV_TEXTARRAY && type != CONV_BINARYDATA;
}

QDomNode middleChild(const QDomNode &parent)
{
    return parent.childNodes().at(parent.childNodes().length() / 2);
}

QDomElement valueAt(const QDomDocument &document, Difference difference)
{
    const QDomNode body = document.documentElement().lastChild();
    if (difference == Difference::Last)
        return body.lastChild().firstChild().lastChild().toElement();
    QDomNode field = middleChild(middleChild(body).firstChild());
    while (!field.toElement().hasAttribute(XMLPacketable::VALUE))
        field = field.nextSibling();
    return field.toElement();
}

} // namespace

const CONVERTSTRUCTELEMENTINFO *sampleTable()
{
    static std::vector<CONVERTSTRUCTELEMENTINFO> rows;
    static std::vector<std::string> names;
    if (!rows.empty())
        return rows.data();
    for (unsigned int i = 0; i < FIELDS_OF_ITEM * rowsPerField; ++i)
        names.push_back("Field" + std::to_string(i));
    for (unsigned int i = 0; i < FIELDS_OF_ITEM * rowsPerField; ++i)
        rows.push_back({typeOfField(i / rowsPerField), i + 1, names[i].c_str(), 4, {}});
    rows.push_back({});
    ZQRegisterStorageClass(SAMPLE_TYPE, rows.data());
    return rows.data();
}

QByteArray sampleText(int items)
{
    sampleTable();
    QByteArray text = "SI " + typeText() + "\nSL " + QByteArray::number(items, 16) + '\n';
    for (int i = 0; i < items; ++i)
        text += itemText(FIELDS_OF_ITEM, i * FIELDS_OF_ITEM);
    return text + "TL 0\nTI 0\n";
}

QString dump(const QDomNode &n)
{
    if (n.isText())
        return QLatin1Char('"') + n.nodeValue() + QLatin1Char('"');
    QStringList attributes;
    for (int i = 0; i < n.attributes().length(); ++i) {
        const QDomNode attribute = n.attributes().item(i);
        attributes << attribute.nodeName() + QLatin1Char('=') + attribute.nodeValue();
    }
    attributes.sort();
    QStringList children;
    for (QDomNode child = n.firstChild(); !child.isNull(); child = child.nextSibling())
        children << dump(child);
    const QString between = QStringLiteral(" ");
    QString text = n.nodeName();
    if (!attributes.isEmpty())
        text += QLatin1Char('[') + attributes.join(between) + QLatin1Char(']');
    if (!children.isEmpty())
        text += QLatin1Char('(') + children.join(between) + QLatin1Char(')');
    return text;
}

char *TextRecord::toPacket(unsigned int &length)
{
    length = static_cast<unsigned int>(text.size());
    char *const buffer = static_cast<char *>(std::malloc(length));
    std::memcpy(buffer, text.constData(), length);
    return buffer;
}

SamplePacket::SamplePacket(int bytes, Difference difference, int number)
{
    sampleTable();
    setSourceAgentID(1);
    setDestinationAgentID(difference == Difference::Header ? 1 + number % 2 : 1);
    int fields = 1;
    for (int done = 0; done < bytes; done += fields * bytesOfField) {
        fields = std::min(FIELDS_OF_ITEM, (bytes - done) / bytesOfField + 1);
        while (!mayEndWith(fields - 1))
            ++fields;
        TextRecord record(itemText(fields, done), SAMPLE_TYPE);
        document = append(record, false).ownerDocument();
    }
    if (difference == Difference::Middle || difference == Difference::Last)
        valueAt(document, difference).setAttribute(XMLPacketable::VALUE, QString::number(0x10000000 + number, 16));
}

bool haveEqualTexts(const SamplePacket &a, const SamplePacket &b)
{
    return a.document.toString(1) == b.document.toString(1);
}
