// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "xmlrecordtable_p.h"

#include <zqxml/xmlpacketable.h>
#include <zqxmlkit/xmlrecord.h>

#include <QDateTime>
#include <QStringView>
#include <QTimeZone>

#include <algorithm>
#include <limits>
#include <map>

namespace {

constexpr unsigned int unconvertedType = 6;

bool isSameRow(const CONVERTSTRUCTELEMENTINFO &a, const CONVERTSTRUCTELEMENTINFO &b)
{
    return a.elementType == b.elementType && a.dataTag == b.dataTag && a.fieldName == b.fieldName
        && a.fieldSize == b.fieldSize;
}

unsigned int unicodeOf(char c)
{
    return static_cast<unsigned char>(c);
}

unsigned int unicodeOf(QChar c)
{
    return c.unicode();
}

template <typename Number>
QVariant toVariant(Number number, bool ok)
{
    return ok ? QVariant(number) : QVariant();
}

QVariant toTime(qint64 seconds)
{
    if (seconds > std::numeric_limits<qint64>::max() / 1000 || seconds < std::numeric_limits<qint64>::min() / 1000)
        return QVariant();
#if QT_VERSION >= QT_VERSION_CHECK(6, 5, 0)
    return QDateTime::fromSecsSinceEpoch(seconds, QTimeZone::UTC);
#else
    return QDateTime::fromSecsSinceEpoch(seconds, Qt::UTC);
#endif
}

QVariant readKey(const QDomElement &field)
{
    bool first = false;
    bool second = false;
    const ZQKEY_ELEMENT key = {field.attribute(XMLPacketable::KEY).toUInt(&first, 16),
                               field.attribute(XMLPacketable::HKEY).toUInt(&second, 16)};
    return first && second ? QVariant::fromValue(key) : QVariant();
}

/** Takes the count off that stands in front of the first text of an array. */
QString withoutCount(const QString &text, unsigned int count)
{
    int from = 0;
    while (from < text.size() && text.at(from) == QLatin1Char(' '))
        ++from;
    const int blank = static_cast<int>(text.indexOf(QLatin1Char(' '), from));
    bool ok = false;
    return text.mid(from, blank - from).toUInt(&ok, 16) == count && ok && blank > 0 ? text.mid(blank + 1) : text;
}

QList<QString> textsOf(const QDomElement &field)
{
    QList<QString> texts;
    for (QDomNode entry = field.firstChild(); !entry.isNull(); entry = entry.nextSibling()) {
        if (entry.isElement() && entry.nodeName() == XMLPacketable::VALUE)
            texts.append(entry.toElement().text());
    }
    return texts;
}

} // namespace

std::shared_ptr<const XMLRecordTable> XMLRecordTable::ofType(unsigned int type)
{
    thread_local std::map<unsigned int, std::shared_ptr<const XMLRecordTable>> tables;
    const CONVERTSTRUCTELEMENTINFO *const table = type == unconvertedType ? nullptr : ZQGetSystemStorageClassConv(type);
    if (!table)
        return nullptr;
    std::shared_ptr<const XMLRecordTable> &known = tables[type];
    if (!known || !known->isOf(table))
        known = std::make_shared<const XMLRecordTable>(type, table);
    return known;
}

XMLRecordTable::XMLRecordTable(unsigned int type, const CONVERTSTRUCTELEMENTINFO *table) : dataType(type)
{
    for (; table->elementType != 0; ++table) {
        source.push_back(*table);
        // Only the first row of a tag decides what is written.
        if (std::none_of(rows.cbegin(), rows.cend(), [table](const Row &row) { return row.tag == table->dataTag; }))
            rows.push_back(toRow(*table));
    }
    std::size_t size = 2;
    while (size < 2 * rows.size())
        size *= 2;
    buckets.assign(size, -1);
    for (std::size_t row = 0; row < rows.size(); ++row) {
        short &bucket = buckets[bucketOf(rows[row].name)];
        if (bucket < 0 && rows[row].kind != Kind::None)
            bucket = static_cast<short>(row);
    }
}

bool XMLRecordTable::isOf(const CONVERTSTRUCTELEMENTINFO *table) const
{
    // Row by row: the table in the same place may be another, and shorter.
    for (const CONVERTSTRUCTELEMENTINFO &row : source) {
        if (!isSameRow(row, *table))
            return false;
        ++table;
    }
    return table->elementType == 0;
}

XMLRecordTable::Row XMLRecordTable::toRow(const CONVERTSTRUCTELEMENTINFO &source)
{
    const Kind sized =
        source.fieldSize == 1 || source.fieldSize == 2 || source.fieldSize == 4 ? Kind::UInt : Kind::ULongLong;
    const Kind kinds[] = {Kind::None,   Kind::Text, Kind::Text, Kind::Text,     Kind::Int,  Kind::ULongLong,
                          Kind::UInt,   Kind::UInt, Kind::Int,  Kind::LongLong, Kind::None, Kind::Double,
                          Kind::Time,   sized,      Kind::Key,  Kind::Int,      sized,      Kind::ULongLong,
                          Kind::UInt,   Kind::UInt, Kind::UInt, Kind::UInt,     Kind::Text, Kind::None,
                          Kind::Float,  Kind::Flag, Kind::None, Kind::LongLong, Kind::Int,  Kind::UInt,
                          Kind::Double, Kind::UInt};
    const unsigned int type = source.elementType;
    const bool isArray = (type >= 15 && type <= 19) || type == 22 || type == 27 || type == 30 || type == 31;
    return {source.dataTag, QLatin1String(source.fieldName ? source.fieldName : ""),
            type < std::size(kinds) ? kinds[type] : Kind::None, isArray};
}

unsigned int XMLRecordTable::type() const
{
    return dataType;
}

int XMLRecordTable::size() const
{
    return static_cast<int>(rows.size());
}

QStringList XMLRecordTable::names() const
{
    QStringList result;
    for (const Row &row : rows) {
        if (row.kind != Kind::None)
            result.append(row.name);
    }
    return result;
}

int XMLRecordTable::rowOfTag(unsigned int tag, int expected) const
{
    // Records are written in the order of their tables mostly.
    for (int row = expected; row < size(); ++row) {
        if (rows[static_cast<std::size_t>(row)].tag == tag)
            return row;
    }
    for (int row = 0; row < expected; ++row) {
        if (rows[static_cast<std::size_t>(row)].tag == tag)
            return row;
    }
    return -1;
}

template <typename View>
std::size_t XMLRecordTable::bucketOf(View name) const
{
    unsigned int hash = 0;
    for (const auto &c : name)
        hash = hash * 31 + unicodeOf(c);
    std::size_t i = hash & (buckets.size() - 1);
    while (buckets[i] >= 0 && name != rows[static_cast<std::size_t>(buckets[i])].name)
        i = (i + 1) & (buckets.size() - 1);
    return i;
}

template <typename View>
int XMLRecordTable::rowOfName(View name) const
{
    return buckets[bucketOf(name)];
}

template int XMLRecordTable::rowOfName(QLatin1String name) const;
template int XMLRecordTable::rowOfName(QStringView name) const;

QVariant XMLRecordTable::read(int row, const QDomNode &field) const
{
    const Row &known = rows[static_cast<std::size_t>(row)];
    const QDomElement element = field.toElement();
    if (known.isArray)
        return readArray(known.kind, element);
    if (known.kind == Kind::Key)
        return readKey(element);
    return toValue(known.kind, element.attribute(XMLPacketable::VALUE));
}

QVariant XMLRecordTable::toValue(Kind kind, const QString &text)
{
    bool ok = false;
    switch (kind) {
    case Kind::Int: {
        const int number = text.toInt(&ok);
        return toVariant(number, ok);
    }
    case Kind::LongLong: {
        const qlonglong number = text.toLongLong(&ok);
        return toVariant(number, ok);
    }
    case Kind::UInt: {
        const unsigned int number = text.toUInt(&ok, 16);
        return toVariant(number, ok);
    }
    case Kind::ULongLong: {
        const qulonglong number = text.toULongLong(&ok, 16);
        return toVariant(number, ok);
    }
    case Kind::Double: {
        const double number = text.toDouble(&ok);
        return toVariant(number, ok);
    }
    case Kind::Float: {
        const float number = text.toFloat(&ok);
        return toVariant(number, ok);
    }
    case Kind::Time: {
        const qlonglong number = text.toLongLong(&ok);
        return ok ? toTime(number) : QVariant();
    }
    case Kind::Flag: {
        const int number = text.toInt(&ok);
        return toVariant(number == 1, ok);
    }
    default:
        return text.isNull() ? QVariant(QStringLiteral("")) : QVariant(text);
    }
}

QVariant XMLRecordTable::readArray(Kind kind, const QDomElement &field)
{
    QList<QString> texts = textsOf(field);
    bool ok = false;
    const unsigned int count = field.attribute(XMLPacketable::SIZE).toUInt(&ok, 16);
    if (!ok || count != static_cast<unsigned int>(texts.size()))
        return QVariant();
    if (kind == Kind::Text) {
        if (!texts.isEmpty())
            texts.first() = withoutCount(texts.first(), count);
        return QStringList(texts);
    }
    QVariantList values;
    for (const QString &text : texts) {
        values.append(toValue(kind, text));
        if (!values.constLast().isValid())
            return QVariant();
    }
    return values;
}
