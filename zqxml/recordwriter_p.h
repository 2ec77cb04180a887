// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef ZQXML_RECORDWRITER_P_H
#define ZQXML_RECORDWRITER_P_H

#include "conversiontable_p.h"
#include "dom_p.h"
#include "packetlines_p.h"

#include <algorithm>
#include <limits>
#include <vector>

/**
 * \file
 * The way of a record from elements to packet text.
 */

namespace {

qint64 lengthOf(QLatin1Char)
{
    return 1;
}

qint64 lengthOf(const QString &piece)
{
    return piece.size();
}

QChar *put(QLatin1Char piece, QChar *to)
{
    *to = piece;
    return to + 1;
}

QChar *put(const QString &piece, QChar *to)
{
    return std::copy(piece.cbegin(), piece.cend(), to);
}

/** Appends \a pieces to \a text, which grows once for all. */
template <typename... Pieces>
void appendPieces(QString &text, const Pieces &...pieces)
{
    using Size = decltype(text.size());
    const Size start = text.size();
    // A text of more than the toolkit's limit must fail to grow, not overflow.
    const qint64 size = (start + ... + lengthOf(pieces));
    text.resize(static_cast<Size>(std::min<qint64>(size, std::numeric_limits<Size>::max())));
    QChar *end = text.data() + start;
    ((end = put(pieces, end)), ...);
}

constexpr QLatin1Char blank(' ');
constexpr QLatin1Char lineEnd('\n');

/** Returns a line, filled in one text at a time: one that holds a marker itself takes the next one's place. */
QString fillLine(const QString &first, const QString &second, const QString &third)
{
    return QStringLiteral("%1 %2 %3\n").arg(first).arg(second).arg(third);
}

/** Appends the values of an array and returns their number. */
int appendValues(QString &text, const QDomElement &array, QLatin1Char separator)
{
    int count = 0;
    for (QDomNode child = array.firstChild(); !child.isNull(); child = child.nextSibling()) {
        const QDomElement value = child.toElement();
        if (value.isNull() || !zqxml::areSame(value.tagName(), XMLPacketable::VALUE))
            continue;
        if (count++ > 0)
            appendPieces(text, separator, zqxml::textOf(value));
        else
            text += zqxml::textOf(value);
    }
    return count;
}

/** Returns the line of the array \a array. */
QString toArrayPacket(const QDomElement &array, QLatin1Char separator)
{
    QString values;
    const int count = appendValues(values, array, separator);
    // On purpose the count is decimal, though it is read in base 16.
    return fillLine(array.tagName(), QString::number(count), values);
}

/** Writes the children of an element as packet text. */
class TextWriter
{
public:
    QString write(const QDomElement &element)
    {
        if (!element.hasChildNodes())
            return text;
        RowIndex *rows = nullptr;
        if (element.nodeName() == XMLPacketable::ITEM) {
            rows = tables.ofItem(element);
            if (!rows)
                return text;
        }
        text.reserve(4096);
        levels.push_back(Level{element.firstChild(), rows, nullptr});
        while (!levels.empty()) {
            QDomNode &child = levels.back().child;
            if (child.isNull())
                close();
            else if (!writeChild(child.toElement()))
                child = child.nextSibling();
        }
        return text;
    }

private:
    struct Level {
        QDomNode child; ///< the one to write next, or that is being written
        RowIndex *rows; ///< null where fields are left out
        const QString *endMarker; ///< null for the element asked for
    };

    /** Writes a field, or opens a level for a list or an item; returns true for the latter. */
    bool writeChild(const QDomElement &child)
    {
        if (child.isNull())
            return false;
        const QString tag = child.tagName(); // which does not hold the prefix that the node's name has
        bool isNumber = false; // which "list" and "item" are not
        const unsigned int number = toHex(QStringView(tag), &isNumber);
        if (isNumber) {
            RowIndex *const rows = levels.back().rows;
            if (const CONVERTSTRUCTELEMENTINFO *const row = rows ? rows->find(number) : nullptr)
                writeField(shapeOf(row->elementType), child, tag);
        } else if (child.nodeName() == XMLPacketable::LIST) {
            return open(XMLPacketable::START_LIST, child.attribute(XMLPacketable::SIZE),
                        Level{child.firstChild(), nullptr, &XMLPacketable::END_LIST});
        } else if (child.nodeName() == XMLPacketable::ITEM) {
            const QString datatype = child.attribute(XMLPacketable::DATATYPE);
            RowIndex *const rows = tables.ofType(datatype.toUInt(nullptr, 16));
            // The markers of an item that is not converted stand with nothing between them.
            return open(XMLPacketable::START_ITEM, datatype,
                        Level{rows ? child.firstChild() : QDomNode(), rows, &XMLPacketable::END_ITEM});
        }
        return false;
    }

    bool open(const QString &startMarker, const QString &value, const Level &level)
    {
        if (levels.size() > XMLPacketable::NESTING_LIMIT)
            return false;
        appendPieces(text, startMarker, blank, value, lineEnd);
        levels.push_back(level);
        return true;
    }

    void close()
    {
        if (levels.back().endMarker)
            appendPieces(text, *levels.back().endMarker, blank, QLatin1Char('0'), lineEnd);
        levels.pop_back();
        if (!levels.empty())
            levels.back().child = levels.back().child.nextSibling();
    }

    void writeField(Shape shape, const QDomElement &field, const QString &tag)
    {
        switch (shape) {
        case Shape::Simple:
            appendPieces(text, tag, blank, field.attribute(XMLPacketable::VALUE), lineEnd);
            break;
        case Shape::Key:
            writeKey(tag, field.attribute(XMLPacketable::KEY), field.attribute(XMLPacketable::HKEY));
            break;
        case Shape::NumberArray:
            writeArray(tag, field, blank);
            break;
        case Shape::StringArray:
            writeArray(tag, field, QLatin1Char('\r'));
            break;
        case Shape::Binary: // never goes back into a record
        case Shape::None:
            break;
        }
    }

    void writeKey(const QString &tag, const QString &key, const QString &hkey)
    {
        if (key.contains(QLatin1Char('%')) || tag.contains(QLatin1Char('%')))
            text += fillLine(tag, key, hkey);
        else
            appendPieces(text, tag, blank, key, blank, hkey, lineEnd);
    }

    void writeArray(const QString &tag, const QDomElement &array, QLatin1Char separator)
    {
        // A tag with a zero in it reads as a number, whatever follows the zero.
        if (tag.contains(QLatin1Char('%'))) {
            text += toArrayPacket(array, separator);
            return;
        }
        // The count is known when the values are written; few arrays need more than the one digit kept for it.
        appendPieces(text, tag, blank, QLatin1Char('0'), blank);
        const auto digit = text.size() - 2;
        const int count = appendValues(text, array, separator);
        if (count < 10)
            text[digit] = QLatin1Char(static_cast<char>('0' + count));
        else
            text.replace(digit, 1, QString::number(count));
        text += lineEnd;
    }

    QString text;
    RowIndexes tables;
    std::vector<Level> levels;
};

} // namespace

#endif
