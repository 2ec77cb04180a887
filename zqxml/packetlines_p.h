// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef ZQXML_PACKETLINES_P_H
#define ZQXML_PACKETLINES_P_H

#include <QString>
#include <QStringList>
#include <QStringView>

#include <cstring>

/**
 * \file
 * Packet text taken apart: into lines, and lines into words and numbers.
 */

namespace {

// The text of a record is read as bytes where all of it is ASCII, and as decoded text otherwise: lines decoded one by
// one would treat a byte order mark or a broken sequence at their ends differently. View is one of the two.
QString stringOf(QLatin1String view)
{
    return QString(view);
}

QString stringOf(QStringView view)
{
    return view.toString();
}

// Not QLatin1String::indexOf(), which widens the whole text first in Qt 5.
qsizetype indexOf(QLatin1String view, char c, qsizetype from)
{
    const void *const found = std::memchr(view.data() + from, c, static_cast<std::size_t>(view.size() - from));
    return found ? static_cast<const char *>(found) - view.data() : -1;
}

qsizetype indexOf(QStringView view, char c, qsizetype from)
{
    return view.indexOf(QLatin1Char(c), from);
}

bool isAscii(const char *from, const char *end)
{
    int bits = 0;
    while (from != end)
        bits |= *from++; // every byte is looked at: a loop without a way out is the faster one
    return (bits & 0x80) == 0;
}

// What the toolkit reads as a number has other letters than these; markers and names have these.
bool isLetterOfNoNumber(unsigned int c)
{
    const unsigned int lower = c | 0x20;
    return lower > 'f' && lower <= 'z' && lower != 'x';
}

/** Reads a number as QString::toUInt() does. */
template <typename View>
unsigned int toHex(View text, bool *ok)
{
    unsigned int number = 0;
    bool isPlain = text.size() > 0 && text.size() <= 8;
    for (decltype(text.size()) i = 0; isPlain && i < text.size(); ++i) {
        const unsigned int c = text.at(i).unicode();
        if (c >= '0' && c <= '9') {
            number = number * 16 + (c - '0');
        } else if (c >= 'a' && c <= 'f') {
            number = number * 16 + (c - 'a' + 10);
        } else if (isLetterOfNoNumber(c)) {
            *ok = false;
            return 0;
        } else {
            isPlain = false;
        }
    }
    if (!isPlain)
        return stringOf(text).toUInt(ok, 16);
    *ok = true;
    return number;
}

/** The non-empty parts of a text between separators. */
template <typename View_>
class Parts
{
public:
    using View = View_;
    using Size = decltype(View().size());

    Parts(View whole, char separatedBy) : text(whole), separator(separatedBy) { }

    bool next(View &part)
    {
        while (from < text.size()) {
            Size end = static_cast<Size>(indexOf(text, separator, from));
            if (end < 0)
                end = text.size();
            part = text.mid(from, end - from);
            from = end + 1;
            if (part.size() > 0)
                return true;
        }
        return false;
    }

    std::size_t count() const
    {
        Parts rest(*this);
        std::size_t parts = 0;
        for (View part; rest.next(part);)
            ++parts;
        return parts;
    }

private:
    View text;
    char separator;
    Size from = 0;
};

/** The lines of a list, from an index on. */
class ListedLines
{
public:
    using View = QStringView;

    ListedLines(const QStringList &list, unsigned int start) : lines(list), index(start) { }

    bool next(QStringView &line)
    {
        if (index >= static_cast<std::size_t>(lines.size()))
            return false;
        line = lines.at(static_cast<int>(index++));
        return true;
    }

    unsigned int position() const
    {
        return index;
    }

private:
    const QStringList &lines;
    unsigned int index;
};

} // namespace

#endif
