// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "xmlpacketable.h"

#include "dom_p.h"

#include <recordlib/zqapp.h>

#include <QStringView>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <map>
#include <memory>
#include <utility>
#include <vector>

const QString XMLPacketable::START_LIST = QStringLiteral("SL");
const QString XMLPacketable::END_LIST = QStringLiteral("TL");
const QString XMLPacketable::START_ITEM = QStringLiteral("SI");
const QString XMLPacketable::END_ITEM = QStringLiteral("TI");
const QString XMLPacketable::LIST = QStringLiteral("list");
const QString XMLPacketable::SIZE = QStringLiteral("size");
const QString XMLPacketable::ITEM = QStringLiteral("item");
const QString XMLPacketable::DATATYPE = QStringLiteral("datatype");
const QString XMLPacketable::VALUE = QStringLiteral("value");
const QString XMLPacketable::NAME = QStringLiteral("name");
const QString XMLPacketable::KEY = QStringLiteral("key");
const QString XMLPacketable::HKEY = QStringLiteral("hkey");
const QString XMLPacketable::IS_CURRENT = QStringLiteral("is_current");

namespace {

constexpr unsigned int unconvertedType = 6;

// The text of a record is read as bytes where all of it is ASCII, and as decoded text otherwise: lines decoded one by
// one would treat a byte order mark or a broken sequence at their ends differently. View is one of the two.
QString toText(QLatin1String view)
{
    return QString(view);
}

QString toText(QStringView view)
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
        return toText(text).toUInt(ok, 16);
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

enum class Shape { None, Simple, Key, NumberArray, StringArray, Binary };

Shape shapeOf(unsigned int elementType)
{
    switch (elementType) {
    case 1:
    case 2:
    case 3:
    case 4:
    case 5:
    case 6:
    case 7:
    case 8:
    case 9:
    case 11:
    case 12:
    case 13: // a number: its size tells kinds 5, 6, 7 and 29 apart, which share a shape
    case 20: // kind 29
    case 21: // kind 29
    case 24:
    case 25:
    case 28:
    case 29:
        return Shape::Simple;
    case 14:
        return Shape::Key;
    case 15:
    case 16: // numbers: their size tells kinds 17, 18, 19 and 31 apart, which share a shape
    case 17:
    case 18:
    case 19:
    case 27:
    case 30:
    case 31:
        return Shape::NumberArray;
    case 22:
        return Shape::StringArray;
    case 23:
        return Shape::Binary;
    default:
        return Shape::None;
    }
}

/** Finds the rows of one conversion table by their tags. */
class RowIndex
{
public:
    explicit RowIndex(const CONVERTSTRUCTELEMENTINFO *conversionTable) : table(conversionTable)
    {
        std::uint32_t rows = 0;
        while (table[rows].elementType != 0)
            ++rows;
        while ((1u << bits) < 2 * rows)
            ++bits;
        buckets.resize(std::size_t(1) << bits);
        for (std::uint32_t row = 0; row < rows; ++row) {
            std::uint32_t &bucket = bucketOf(table[row].dataTag);
            if (bucket == 0) // the first row of a tag decides
                bucket = row + 1;
        }
    }

    /** Returns null for a tag without a row. */
    const CONVERTSTRUCTELEMENTINFO *find(unsigned int tag)
    {
        const std::uint32_t bucket = bucketOf(tag);
        return bucket == 0 ? nullptr : table + bucket - 1;
    }

private:
    std::uint32_t &bucketOf(unsigned int tag)
    {
        // Fibonacci hashing spreads tags that count up as well as tags that share their low bits.
        std::size_t i = (tag * 2654435769u) >> (32 - bits);
        while (buckets[i] != 0 && table[buckets[i] - 1].dataTag != tag)
            i = (i + 1) & (buckets.size() - 1);
        return buckets[i];
    }

    const CONVERTSTRUCTELEMENTINFO *table;
    std::vector<std::uint32_t> buckets; // numbers of rows, from 1; 0 where none, which is half of them or more
    unsigned int bits = 1;
};

/** The conversion tables that one conversion has met. */
class RowIndexes
{
public:
    /** Returns null for a data type whose items are not converted. */
    RowIndex *ofType(unsigned int type)
    {
        const auto found = indexes.find(type);
        if (found != indexes.end())
            return &found->second;
        CONVERTSTRUCTELEMENTINFO *const table = type == unconvertedType ? nullptr : ZQGetSystemStorageClassConv(type);
        return table ? &indexes.try_emplace(type, table).first->second : nullptr;
    }

private:
    std::map<unsigned int, RowIndex> indexes;
};

unsigned int typeOfItem(const QDomElement &item)
{
    return XMLObject::getAttributeUInt(item, XMLPacketable::DATATYPE, 16);
}

/** Makes the elements of a record for the document of their future parent. */
class ElementFactory
{
public:
    explicit ElementFactory(const QDomElement &parent) : document(parent.ownerDocument()) { }

    QDomElement withAttribute(const QString &tag, const QString &name, const QString &value)
    {
        QDomElement element = document.createElement(tag);
        XMLObject::setAttribute(element, name, value);
        return element;
    }

    template <typename View>
    QDomElement key(const QString &tag, View value)
    {
        QDomElement element = document.createElement(tag);
        Parts<View> words(value, ' ');
        View key, hkey, more;
        if (words.next(key) && words.next(hkey) && !words.next(more)) {
            XMLObject::setAttribute(element, XMLPacketable::KEY, toText(key));
            XMLObject::setAttribute(element, XMLPacketable::HKEY, toText(hkey));
        }
        return element;
    }

    template <typename View>
    QDomElement numberArray(const QString &tag, View value)
    {
        QDomElement element = document.createElement(tag);
        Parts<View> words(value, ' ');
        View word;
        bool ok = false;
        const unsigned int count = words.next(word) ? toHex(word, &ok) : 0;
        if (ok && words.count() == count) {
            XMLObject::setAttribute(element, XMLPacketable::SIZE, count, 16);
            appendValues(element, words);
        }
        return element;
    }

    template <typename View>
    QDomElement stringArray(const QString &tag, View value)
    {
        QDomElement element = document.createElement(tag);
        View word;
        bool ok = false;
        const unsigned int count = Parts<View>(value, ' ').next(word) ? toHex(word, &ok) : 0;
        if (!ok)
            return element;
        XMLObject::setAttribute(element, XMLPacketable::SIZE, count, 16);
        // On purpose the whole value is split, so the first text keeps the count in front.
        Parts<View> texts(value, '\r');
        if (texts.count() == count)
            appendValues(element, texts);
        return element;
    }

    template <typename View>
    QDomElement field(const CONVERTSTRUCTELEMENTINFO &row, View tag, View value)
    {
        const QString &name = nameOf(row.dataTag, tag);
        switch (shapeOf(row.elementType)) {
        case Shape::Simple:
            return withAttribute(name, XMLPacketable::VALUE, toText(value));
        case Shape::Key:
            return key(name, value);
        case Shape::NumberArray:
            return numberArray(name, value);
        case Shape::StringArray:
            return stringArray(name, value);
        case Shape::Binary:
            return withAttribute(name, XMLPacketable::VALUE,
                                 QStringLiteral("?? CONV_BINARYDATA (%1) ??").arg(QString::fromLatin1(row.fieldName)));
        case Shape::None:
            break;
        }
        return QDomElement();
    }

private:
    // Elements with the same tag share their name.
    template <typename View>
    const QString &nameOf(unsigned int number, View tag)
    {
        QString &name = names[number % names.size()];
        if (name != tag)
            name = toText(tag);
        return name;
    }

    template <typename View>
    void appendValues(QDomElement &array, Parts<View> &texts)
    {
        for (View text; texts.next(text);) {
            QDomElement value = document.createElement(XMLPacketable::VALUE);
            value.appendChild(document.createTextNode(toText(text)));
            array.appendChild(value);
        }
    }

    const AcceptAnyCharacter accept;
    QDomDocument document;
    std::array<QString, 128> names; // as they were last spelt
};

QDomElement appendTo(QDomElement &parent, const QDomElement &child)
{
    return parent.isNull() ? QDomElement() : parent.appendChild(child).toElement();
}

/** Reads lines of packet text into children of an element. */
template <typename Lines>
class TreeReader
{
public:
    using View = typename Lines::View;

    TreeReader(QDomElement &parent, RowIndexes &indexes, RowIndex *rows, Lines &source)
        : lines(source), factory(parent), tables(indexes)
    {
        levels.push_back(Level{parent, rows});
    }

    /** Returns true when a marker ended the parent's own level, and false when the lines ran out. */
    bool read()
    {
        for (View line, tag, value; lines.next(line);) {
            if (!split(line.trimmed(), tag, value))
                continue;
            bool isNumber = false; // which no marker is
            const unsigned int number = toHex(tag, &isNumber);
            if (isNumber) {
                readField(number, tag, value);
            } else if (tag == XMLPacketable::END_ITEM || tag == XMLPacketable::END_LIST) {
                if (levels.size() == 1)
                    return true;
                close();
            } else if (tag == XMLPacketable::START_LIST) {
                open(XMLPacketable::LIST, XMLPacketable::SIZE, value, nullptr);
            } else if (tag == XMLPacketable::START_ITEM) {
                openItem(value);
            }
        }
        while (levels.size() > 1)
            close();
        return false;
    }

private:
    using Size = decltype(View().size());

    struct Level {
        QDomElement element; ///< null where nothing is kept; attached when the level is closed
        RowIndex *rows; ///< null where fields are left out
        Size tagSize = -1; ///< where the last line with a blank was split; -1 before any
        Size valueSize = 0;
    };

    // A line without a blank is split where the last line of its level was, as far as it reaches.
    bool split(View line, View &tag, View &value)
    {
        Level &level = levels.back();
        const Size found = static_cast<Size>(indexOf(line, ' ', 0));
        if (found >= 0) {
            level.tagSize = found;
            level.valueSize = line.size() - found - 1;
        } else if (level.tagSize < 0) {
            return false;
        }
        tag = line.mid(0, std::min(level.tagSize, line.size()));
        const Size from = std::min(level.tagSize + 1, line.size());
        value = line.mid(from, std::min(level.valueSize, line.size() - from));
        return true;
    }

    void openItem(View datatype)
    {
        bool ok = false;
        const unsigned int type = toHex(datatype, &ok);
        RowIndex *const rows = tables.ofType(type);
        open(XMLPacketable::ITEM, XMLPacketable::DATATYPE, datatype, rows);
        if (!rows) {
            // On purpose: an item that is not converted ends at once, and its first line is passed over. The level
            // around it reads the rest, its end marker included.
            close();
            View passedOver;
            lines.next(passedOver);
        }
    }

    void open(const QString &name, const QString &attribute, View value, RowIndex *rows)
    {
        const bool kept = levels.size() <= XMLPacketable::NESTING_LIMIT && !levels.back().element.isNull();
        levels.push_back(Level{kept ? factory.withAttribute(name, attribute, toText(value)) : QDomElement(), rows});
    }

    // An element is filled before it is attached: each attachment walks up to the document.
    void close()
    {
        const QDomElement element = levels.back().element;
        levels.pop_back();
        if (!element.isNull())
            levels.back().element.appendChild(element);
    }

    void readField(unsigned int number, View tag, View value)
    {
        Level &level = levels.back();
        if (!level.rows || level.element.isNull())
            return;
        if (const CONVERTSTRUCTELEMENTINFO *const row = level.rows->find(number)) {
            const QDomElement field = factory.field(*row, tag, value);
            if (!field.isNull())
                level.element.appendChild(field);
        }
    }

    Lines &lines;
    ElementFactory factory;
    RowIndexes &tables;
    std::vector<Level> levels;
};

template <typename View>
void readText(QDomElement &parent, View text)
{
    RowIndexes tables;
    Parts<View> lines(text, '\n');
    TreeReader<Parts<View>>(parent, tables, nullptr, lines).read();
}

qint64 sizeOf(QLatin1Char)
{
    return 1;
}

qint64 sizeOf(const QString &piece)
{
    return piece.size();
}

QChar *copy(QLatin1Char piece, QChar *to)
{
    *to = piece;
    return to + 1;
}

QChar *copy(const QString &piece, QChar *to)
{
    return std::copy(piece.cbegin(), piece.cend(), to);
}

// Grows the text once for all pieces.
template <typename... Pieces>
void append(QString &text, const Pieces &...pieces)
{
    using Size = decltype(text.size());
    const Size start = text.size();
    // A text of more than the toolkit's limit must fail to grow, not overflow.
    const qint64 size = (start + ... + sizeOf(pieces));
    text.resize(static_cast<Size>(std::min<qint64>(size, std::numeric_limits<Size>::max())));
    QChar *end = text.data() + start;
    ((end = copy(pieces, end)), ...);
}

constexpr QLatin1Char blank(' ');
constexpr QLatin1Char lineEnd('\n');

// Fills the texts in one at a time: a text that holds a marker itself takes the next text's place.
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
        if (value.isNull() || value.tagName() != XMLPacketable::VALUE)
            continue;
        if (count++ > 0)
            append(text, separator, textOf(value));
        else
            text += textOf(value);
    }
    return count;
}

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
            rows = tables.ofType(typeOfItem(element));
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
            RowIndex *const rows = tables.ofType(typeOfItem(child));
            // The markers of an item that is not converted stand with nothing between them.
            return open(XMLPacketable::START_ITEM, child.attribute(XMLPacketable::DATATYPE),
                        Level{rows ? child.firstChild() : QDomNode(), rows, &XMLPacketable::END_ITEM});
        }
        return false;
    }

    bool open(const QString &startMarker, const QString &value, const Level &level)
    {
        if (levels.size() > XMLPacketable::NESTING_LIMIT)
            return false;
        append(text, startMarker, blank, value, lineEnd);
        levels.push_back(level);
        return true;
    }

    void close()
    {
        if (levels.back().endMarker)
            append(text, *levels.back().endMarker, blank, QLatin1Char('0'), lineEnd);
        levels.pop_back();
        if (!levels.empty())
            levels.back().child = levels.back().child.nextSibling();
    }

    void writeField(Shape shape, const QDomElement &field, const QString &tag)
    {
        switch (shape) {
        case Shape::Simple:
            append(text, tag, blank, field.attribute(XMLPacketable::VALUE), lineEnd);
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
            append(text, tag, blank, key, blank, hkey, lineEnd);
    }

    void writeArray(const QString &tag, const QDomElement &array, QLatin1Char separator)
    {
        // A tag with a zero in it reads as a number, whatever follows the zero.
        if (tag.contains(QLatin1Char('%'))) {
            text += toArrayPacket(array, separator);
            return;
        }
        // The count is known when the values are written; few arrays need more than the one digit kept for it.
        append(text, tag, blank, QLatin1Char('0'), blank);
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

XMLPacketable::XMLPacketable() : XMLObject(XML_PACKETABLE), heldRecord(nullptr) { }

XMLPacketable::~XMLPacketable()
{
    delete heldRecord;
    heldRecord = nullptr;
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
    RowIndexes tables;
    RowIndex *rows = nullptr;
    if (parent.nodeName() == ITEM) {
        rows = tables.ofType(typeOfItem(parent));
        if (!rows)
            return start;
    }
    ListedLines source(lines, start);
    const bool ended = TreeReader<ListedLines>(parent, tables, rows, source).read();
    return ended ? source.position() - 1 : static_cast<unsigned int>(lines.size());
}

QString XMLPacketable::toPacket(const QDomElement &element)
{
    return TextWriter().write(element);
}

void XMLPacketable::appendSimpleValuePacket(QString &text, const QDomElement &field)
{
    append(text, field.tagName(), blank, field.attribute(VALUE), lineEnd);
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
