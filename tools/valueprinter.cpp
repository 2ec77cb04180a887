// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "valueprinter.h"

#include "query.h"

#include <zqxmlkit/xmlrecords.h>

#include <QDateTime>
#include <QJsonArray>
#include <QJsonDocument>
#include <QVariant>

#include <charconv>
#include <cmath>
#include <iterator>

namespace {

/** Returns the fewest digits that read back alike; JSON has no other numbers. */
template <typename Number>
QByteArray toDigits(Number number)
{
    if (!std::isfinite(number))
        return "null";
    char digits[32];
    const std::to_chars_result result = std::to_chars(digits, std::end(digits), number);
    return QByteArray(digits, static_cast<int>(result.ptr - digits));
}

/** Returns a value as text where it is one, or is written as one: keys and times. */
QString textOf(const QVariant &value)
{
    if (value.userType() == qMetaTypeId<ZQKEY_ELEMENT>())
        return toText(value.value<ZQKEY_ELEMENT>());
    if (value.userType() == QMetaType::QDateTime)
        return value.toDateTime().toString(Qt::ISODate);
    return value.toString();
}

QByteArray quoted(const QString &text)
{
    const QByteArray array = QJsonDocument(QJsonArray{text}).toJson(QJsonDocument::Compact);
    return array.mid(1, array.size() - 2);
}

QByteArray toJson(const QVariant &value)
{
    switch (value.userType()) {
    case QMetaType::UnknownType:
        return "null";
    case QMetaType::Bool:
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
        return value.toString().toUtf8();
    case QMetaType::Float:
        return toDigits(value.toFloat());
    case QMetaType::Double:
        return toDigits(value.toDouble());
    case QMetaType::QVariantList:
    case QMetaType::QStringList: {
        QByteArrayList values;
        for (const QVariant &each : value.toList())
            values << toJson(each);
        return '[' + values.join(',') + ']';
    }
    default:
        return quoted(textOf(value));
    }
}

QByteArray toCell(const QVariant &value)
{
    const bool isText = value.userType() == QMetaType::QString || value.userType() == QMetaType::QDateTime
        || value.userType() == qMetaTypeId<ZQKEY_ELEMENT>();
    if (!value.isValid())
        return QByteArray();
    QByteArray cell = isText ? textOf(value).toUtf8() : toJson(value);
    const bool isPlain =
        std::none_of(cell.begin(), cell.end(), [](char c) { return c == '"' || c == ',' || c == '\r' || c == '\n'; });
    return isPlain ? cell : '"' + cell.replace('"', "\"\"") + '"';
}

} // namespace

QByteArray JsonPrinter::print(XMLPacket &page)
{
    QByteArray text;
    for (const XMLRecord &record : XMLRecords(page)) {
        QByteArrayList members;
        for (const QString &name : record.fieldNames()) {
            const QVariant value = record.value(name);
            if (value.isValid())
                members << quoted(name) + ':' + toJson(value);
        }
        text += '{' + members.join(',') + "}\n";
    }
    return text;
}

QByteArray CsvPrinter::print(XMLPacket &page)
{
    QByteArray text;
    for (const XMLRecord &record : XMLRecords(page)) {
        if (names.isEmpty()) {
            names = record.fieldNames();
            text += names.join(QLatin1Char(',')).toUtf8() + "\r\n";
        }
        QByteArrayList cells;
        for (const QString &name : names)
            cells << toCell(record.value(name));
        text += cells.join(',') + "\r\n";
    }
    return text;
}
