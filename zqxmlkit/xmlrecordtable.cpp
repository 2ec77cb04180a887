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
#include <type_traits>

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

/** As the toolkit's comparison, without its calls: most names are short. */
template <typename View>
bool isEqual(View a, QLatin1String b)
{
    return a.size() == b.size()
        && std::equal(a.begin(), a.end(), b.begin(), [](auto c, auto d) { return unicodeOf(c) == unicodeOf(d); });
}

int digitOf(QChar c)
{
    const unsigned int unicode = c.unicode();
    if (unicode >= '0' && unicode <= '9')
        return static_cast<int>(unicode - '0');
    return unicode >= 'a' && unicode <= 'f' ? static_cast<int>(unicode - 'a' + 10) : 16;
}

/** Reads \a text as QString's own functions do: those take ten times as long, and most numbers are short and plain. */
template <int base, typename Number>
Number toNumber(const QString &text, Number (QString::*read)(bool *, int) const, bool *ok)
{
    const int negative = std::is_signed_v<Number> && text.startsWith(QLatin1Char('-')) ? 1 : 0;
    constexpr int plainDigits = 7; // fit whatever the base and the type
    Number number = 0;
    if (text.size() == negative || text.size() > plainDigits + negative)
        return (text.*read)(ok, base);
    for (int i = negative; i < text.size(); ++i) {
        const int digit = digitOf(text.at(i));
        if (digit >= base)
            return (text.*read)(ok, base);
        number = number * static_cast<Number>(base) + static_cast<Number>(digit);
    }
    *ok = true;
    return negative ? Number(0) - number : number;
}

/** Reads \a text as QString::toDouble() does. A quotient of two numbers that a double holds exactly is as exact. */
double toReal(const QString &text, bool *ok)
{
    constexpr double powers[] = {1, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};
    constexpr int exactDigits = 15;
    const int negative = text.startsWith(QLatin1Char('-')) ? 1 : 0;
    const int size = static_cast<int>(text.size());
    int point = size - 1;
    qint64 digits = 0;
    bool isPlain = size > negative && size <= exactDigits && text.at(size - 1) != QLatin1Char('.');
    for (int i = negative; isPlain && i < size; ++i) {
        const int digit = digitOf(text.at(i));
        if (digit < 10)
            digits = digits * 10 + digit;
        else if (text.at(i) == QLatin1Char('.') && point == size - 1 && i > negative)
            point = i;
        else
            isPlain = false;
    }
    if (!isPlain)
        return text.toDouble(ok);
    *ok = true;
    const double real = static_cast<double>(digits) / powers[size - 1 - point];
    return negative ? -real : real;
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
    const ZQKEY_ELEMENT key = {toNumber<16>(field.attribute(XMLPacketable::KEY), &QString::toUInt, &first),
                               toNumber<16>(field.attribute(XMLPacketable::HKEY), &QString::toUInt, &second)};
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

/** Calls \a visit with the text of each entry of an array until that returns false; returns whether it never did. */
template <typename Visit>
bool visitEntries(const QDomElement &field, Visit visit)
{
    for (QDomNode entry = field.firstChild(); !entry.isNull(); entry = entry.nextSibling()) {
        if (!entry.isElement() || entry.nodeName() != XMLPacketable::VALUE)
            continue;
        const QDomNode text = entry.firstChild();
        const bool isPlain = text.isText() && text.nextSibling().isNull();
        if (!visit(isPlain ? text.nodeValue() : entry.toElement().text()))
            return false;
    }
    return true;
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
    while (buckets[i] >= 0 && !isEqual(name, rows[static_cast<std::size_t>(buckets[i])].name))
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
        const int number = toNumber<10>(text, &QString::toInt, &ok);
        return toVariant(number, ok);
    }
    case Kind::LongLong: {
        const qlonglong number = toNumber<10>(text, &QString::toLongLong, &ok);
        return toVariant(number, ok);
    }
    case Kind::UInt: {
        const unsigned int number = toNumber<16>(text, &QString::toUInt, &ok);
        return toVariant(number, ok);
    }
    case Kind::ULongLong: {
        const qulonglong number = toNumber<16>(text, &QString::toULongLong, &ok);
        return toVariant(number, ok);
    }
    case Kind::Double: {
        const double number = toReal(text, &ok);
        return toVariant(number, ok);
    }
    case Kind::Float: {
        const float number = text.toFloat(&ok);
        return toVariant(number, ok);
    }
    case Kind::Time: {
        const qlonglong number = toNumber<10>(text, &QString::toLongLong, &ok);
        return ok ? toTime(number) : QVariant();
    }
    case Kind::Flag: {
        const int number = toNumber<10>(text, &QString::toInt, &ok);
        return toVariant(number == 1, ok);
    }
    default:
        return text.isNull() ? QVariant(QStringLiteral("")) : QVariant(text);
    }
}

QVariant XMLRecordTable::readArray(Kind kind, const QDomElement &field)
{
    // An array that was malformed has no entries, and no size or another.
    if (field.firstChild().isNull() && field.attribute(XMLPacketable::SIZE) != QLatin1String("0"))
        return QVariant();
    if (kind == Kind::Text) {
        QStringList texts;
        visitEntries(field, [&texts](const QString &text) {
            texts.append(text);
            return true;
        });
        if (!texts.isEmpty())
            texts.first() = withoutCount(texts.constFirst(), static_cast<unsigned int>(texts.size()));
        return texts;
    }
    QVariantList values;
    values.reserve(8);
    const bool ok = visitEntries(field, [&values, kind](const QString &text) {
        values.append(toValue(kind, text));
        return values.constLast().isValid();
    });
    return ok ? QVariant(values) : QVariant();
}
