// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "recordtypes_p.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

namespace {

template <typename Number>
Number load(const void *place)
{
    Number number;
    std::memcpy(&number, place, sizeof number);
    return number;
}

// The numbers of the three storages, by their size; anything but 1, 2 and 4 is 8.
template <typename Call>
auto withUnsigned(unsigned int size, Call call)
{
    switch (size) {
    case 1:
        return call(static_cast<unsigned char>(0));
    case 2:
        return call(static_cast<unsigned short>(0));
    case 4:
        return call(0u);
    default:
        return call(0ull);
    }
}

template <typename Call>
auto withNumber(Storage storage, unsigned int size, Call call)
{
    switch (storage) {
    case Storage::Signed:
    case Storage::SignedArray:
        switch (size) {
        case 1:
            return call(static_cast<signed char>(0));
        case 2:
            return call(static_cast<short>(0));
        case 4:
            return call(0);
        default:
            return call(0ll);
        }
    case Storage::Real:
    case Storage::RealArray:
        return size == sizeof(float) ? call(0.0f) : call(0.0);
    default:
        return withUnsigned(size, call);
    }
}

template <typename Number>
constexpr int baseOf = std::is_unsigned_v<Number> ? 16 : 10;

template <typename Number>
bool parse(std::string_view text, Number &number)
{
    const char *const end = text.data() + text.size();
    std::from_chars_result result = {end, std::errc()};
    if constexpr (std::is_floating_point_v<Number>)
        result = std::from_chars(text.data(), end, number);
    else
        result = std::from_chars(text.data(), end, number, baseOf<Number>);
    return result.ec == std::errc() && result.ptr == end && !text.empty();
}

template <typename Number>
void append(std::string &text, Number number)
{
    char digits[32];
    std::to_chars_result result = {digits, std::errc()};
    if constexpr (std::is_floating_point_v<Number>)
        result = std::to_chars(digits, std::end(digits), number);
    else
        result = std::to_chars(digits, std::end(digits), number, baseOf<Number>);
    text.append(digits, result.ptr);
}

void appendNumber(std::string &text, Storage storage, unsigned int size, const void *place)
{
    withNumber(storage, size, [&](auto zero) { append(text, load<decltype(zero)>(place)); });
}

/** Reads a number to \a place; leaves it alone when \a text is none. */
bool parseNumber(std::string_view text, Storage storage, unsigned int size, void *place)
{
    return withNumber(storage, size, [&](auto number) {
        const bool ok = parse(text, number);
        if (ok)
            std::memcpy(place, &number, sizeof number);
        return ok;
    });
}

/** Writes records as packet text. */
class Writer
{
public:
    void writeItem(const ZQLIST_ELEMENT *record, const RecordType &type)
    {
        openLine("SI", type.type);
        for (const CONVERTSTRUCTELEMENTINFO *row = type.table; row->elementType != 0; ++row)
            writeField(record, *row);
        text += "TI 0\n";
    }

    std::string text;

private:
    void openLine(const char *marker, unsigned int value)
    {
        text += marker;
        text += ' ';
        append(text, value);
        text += '\n';
    }

    void writeField(const ZQLIST_ELEMENT *record, const CONVERTSTRUCTELEMENTINFO &row)
    {
        const Field field = fieldOf(row);
        if (field.storage == Storage::List || field.storage == Storage::Item) {
            writeNested(field.storage, fieldIn<const ZQLIST_ELEMENT *>(record, row),
                        *findRecordType(row.reserved[ROW_CHILDTYPE]));
            return;
        }
        const std::size_t start = text.size();
        append(text, row.dataTag);
        text += ' ';
        const std::size_t valueStart = text.size();
        writeValue(record, row, field);
        if (text.size() == valueStart)
            text.resize(start);
        else
            text += '\n';
    }

    void writeNested(Storage storage, const ZQLIST_ELEMENT *child, const RecordType &type)
    {
        if (!child)
            return;
        if (storage == Storage::Item) {
            writeItem(child, type);
            return;
        }
        unsigned int count = 0;
        for (const ZQLIST_ELEMENT *each = child; each; each = each->next)
            ++count;
        openLine("SL", count);
        for (; child; child = child->next)
            writeItem(child, type);
        text += "TL 0\n";
    }

    void writeValue(const ZQLIST_ELEMENT *record, const CONVERTSTRUCTELEMENTINFO &row, const Field &field)
    {
        switch (field.storage) {
        case Storage::Text:
            appendText(fieldIn<const char *>(record, row));
            break;
        case Storage::FixedText: {
            const char *const fixed = &fieldIn<char>(record, row);
            appendText(std::string_view(fixed, strnlen(fixed, field.size)));
            break;
        }
        case Storage::Character:
            if (const char c = fieldIn<char>(record, row); c > ' ' && c < 0x7f)
                text += c;
            break;
        case Storage::Flag:
            text += fieldIn<bool>(record, row) ? '1' : '0';
            break;
        case Storage::Key: {
            const ZQKEY_ELEMENT &key = fieldIn<ZQKEY_ELEMENT>(record, row);
            append(text, key.key);
            text += ' ';
            append(text, key.hkey);
            break;
        }
        case Storage::Offset: {
            const ZQOFFSET &offset = fieldIn<ZQOFFSET>(record, row);
            append(text, offset.x);
            text += ' ';
            append(text, offset.y);
            break;
        }
        case Storage::TextArray:
            appendTexts(fieldIn<ZQARRAY>(record, row));
            break;
        case Storage::Bytes:
            appendBytes(fieldIn<ZQARRAY>(record, row));
            break;
        case Storage::UnsignedArray:
        case Storage::SignedArray:
        case Storage::RealArray:
            appendNumbers(fieldIn<ZQARRAY>(record, row), field);
            break;
        default:
            appendNumber(text, field.storage, field.size, &fieldIn<char>(record, row));
            break;
        }
    }

    void appendText(const char *value)
    {
        if (value)
            appendText(std::string_view(value));
    }

    void appendText(std::string_view value)
    {
        const std::size_t start = text.size();
        text += value;
        std::replace_if(
            text.begin() + static_cast<std::string::difference_type>(start), text.end(),
            [](char c) { return c == '\n' || c == '\r'; }, ' ');
    }

    void appendTexts(const ZQARRAY &array)
    {
        append(text, array.count);
        for (unsigned int i = 0; i < array.count; ++i) {
            text += i == 0 ? ' ' : '\r';
            appendText(static_cast<const char *const *>(array.values)[i]);
        }
    }

    void appendNumbers(const ZQARRAY &array, const Field &field)
    {
        append(text, array.count);
        for (unsigned int i = 0; i < array.count; ++i) {
            text += ' ';
            appendNumber(text, field.storage, field.size,
                         static_cast<const char *>(array.values) + std::size_t(i) * field.size);
        }
    }

    void appendBytes(const ZQARRAY &array)
    {
        static constexpr char digits[] = "0123456789abcdef";
        for (unsigned int i = 0; i < array.count; ++i) {
            const unsigned char byte = static_cast<const unsigned char *>(array.values)[i];
            text += digits[byte >> 4];
            text += digits[byte & 15];
        }
    }
};

struct Line {
    std::string_view tag;
    std::string_view value;
};

bool takePart(std::string_view &rest, char separator, std::string_view &part)
{
    const std::size_t end = rest.find(separator);
    part = rest.substr(0, end);
    if (end == std::string_view::npos)
        return false;
    rest.remove_prefix(end + 1);
    return true;
}

std::vector<std::string_view> split(std::string_view text, char separator)
{
    std::vector<std::string_view> parts(1);
    while (takePart(text, separator, parts.back()))
        parts.emplace_back();
    return parts;
}

/** Splits an array's value; no parts when the count in front does not fit. */
std::vector<std::string_view> splitArray(std::string_view value, char separator)
{
    std::string_view word;
    unsigned int count = 0;
    if (!takePart(value, ' ', word) || !parse(word, count) || count == 0)
        return {};
    std::vector<std::string_view> parts = split(value, separator);
    if (parts.size() != count)
        parts.clear();
    return parts;
}

unsigned int sizeOf(std::string_view text)
{
    return static_cast<unsigned int>(text.size());
}

void readTexts(std::string_view value, ZQARRAY &array)
{
    for (unsigned int i = 0; i < array.count; ++i)
        std::free(static_cast<char **>(array.values)[i]);
    const std::vector<std::string_view> parts = splitArray(value, '\r');
    auto **text = static_cast<char **>(ZQResizeArray(array, static_cast<unsigned int>(parts.size()), sizeof(char *)));
    for (const std::string_view part : parts)
        ZQSetText(*text++, part.data(), sizeOf(part));
}

void readNumbers(std::string_view value, ZQARRAY &array, const Field &field)
{
    const std::vector<std::string_view> parts = splitArray(value, ' ');
    auto *place = static_cast<char *>(ZQResizeArray(array, static_cast<unsigned int>(parts.size()), field.size));
    for (const std::string_view part : parts) {
        if (!parseNumber(part, field.storage, field.size, place)) {
            ZQResizeArray(array, 0, field.size);
            return;
        }
        place += field.size;
    }
}

void readBytes(std::string_view value, ZQARRAY &array)
{
    auto *byte = static_cast<unsigned char *>(
        ZQResizeArray(array, value.size() % 2 == 0 ? sizeOf(value) / 2 : 0, sizeof(unsigned char)));
    for (; byte && !value.empty(); value.remove_prefix(2)) {
        if (!parse(value.substr(0, 2), *byte++)) {
            ZQResizeArray(array, 0, sizeof(unsigned char));
            return;
        }
    }
}

void readPair(std::string_view value, Storage storage, unsigned int size, void *place)
{
    char pair[2 * sizeof(int)];
    const std::vector<std::string_view> words = split(value, ' ');
    if (words.size() == 2 && parseNumber(words[0], storage, size / 2, pair)
        && parseNumber(words[1], storage, size / 2, pair + size / 2))
        std::memcpy(place, pair, size);
}

void readValue(std::string_view value, ZQLIST_ELEMENT *record, const CONVERTSTRUCTELEMENTINFO &row)
{
    const Field field = fieldOf(row);
    char *const place = &fieldIn<char>(record, row);
    switch (field.storage) {
    case Storage::Text:
        ZQSetText(fieldIn<char *>(record, row), value.data(), sizeOf(value));
        break;
    case Storage::FixedText:
        ZQSetFixedText(place, field.size, value.data(), sizeOf(value));
        break;
    case Storage::Character:
        *place = value.size() == 1 ? value[0] : '\0';
        break;
    case Storage::Flag:
        fieldIn<bool>(record, row) = value == "1";
        break;
    case Storage::Key:
        std::memset(place, 0, field.size);
        readPair(value, Storage::Unsigned, field.size, place);
        break;
    case Storage::Offset:
        std::memset(place, 0, field.size);
        readPair(value, Storage::Signed, field.size, place);
        break;
    case Storage::TextArray:
        readTexts(value, fieldIn<ZQARRAY>(record, row));
        break;
    case Storage::Bytes:
        readBytes(value, fieldIn<ZQARRAY>(record, row));
        break;
    case Storage::UnsignedArray:
    case Storage::SignedArray:
    case Storage::RealArray:
        readNumbers(value, fieldIn<ZQARRAY>(record, row), field);
        break;
    case Storage::List: // their lines carry no tag
    case Storage::Item:
        break;
    default:
        std::memset(place, 0, field.size);
        parseNumber(value, field.storage, field.size, place);
        break;
    }
}

const CONVERTSTRUCTELEMENTINFO *findNested(const RecordType &type, Storage storage, unsigned int childType)
{
    for (const CONVERTSTRUCTELEMENTINFO *row = type.table; row->elementType != 0; ++row) {
        if (row->reserved[ROW_CHILDTYPE] == childType && fieldOf(*row).storage == storage)
            return row;
    }
    return nullptr;
}

const CONVERTSTRUCTELEMENTINFO *findTag(const RecordType &type, unsigned int tag)
{
    for (const CONVERTSTRUCTELEMENTINFO *row = type.table; row->elementType != 0; ++row) {
        if (row->dataTag == tag)
            return row;
    }
    return nullptr;
}

/** Reads packet text. A record that false was returned for is incomplete, but can be freed. */
class Reader
{
public:
    explicit Reader(std::string_view text) : rest(text) { }

    bool readRecord(ZQLIST_ELEMENT *record, const RecordType &type)
    {
        Line line;
        unsigned int number = 0;
        if (!next(line) || line.tag != "SI" || !parse(line.value, number) || number != type.type)
            return false;
        return readFields(record, type) && !next(line);
    }

private:
    /** Lines without a blank are none. */
    bool next(Line &line)
    {
        while (!rest.empty()) {
            std::string_view text;
            if (!takePart(rest, '\n', text))
                rest = {};
            line.value = text;
            if (takePart(line.value, ' ', line.tag))
                return true;
        }
        return false;
    }

    bool readFields(ZQLIST_ELEMENT *record, const RecordType &type)
    {
        for (Line line; next(line);) {
            if (line.tag == "TI")
                return true;
            if (line.tag == "TL")
                return false;
            unsigned int number = 0;
            if (line.tag == "SL") {
                if (!readList(record, type))
                    return false;
            } else if (line.tag == "SI") {
                if (!readItem(record, type, line))
                    return false;
            } else if (parse(line.tag, number)) {
                if (const CONVERTSTRUCTELEMENTINFO *const row = findTag(type, number))
                    readValue(line.value, record, *row);
            }
        }
        return false;
    }

    bool readItem(ZQLIST_ELEMENT *record, const RecordType &type, const Line &line)
    {
        unsigned int childType = 0;
        const CONVERTSTRUCTELEMENTINFO *const row =
            parse(line.value, childType) ? findNested(type, Storage::Item, childType) : nullptr;
        if (!row)
            return skip();
        return readFields(append(clear(record, *row), *findRecordType(childType)), *findRecordType(childType));
    }

    bool readList(ZQLIST_ELEMENT *record, const RecordType &type)
    {
        const RecordType *childType = nullptr;
        ZQLIST_ELEMENT **tail = nullptr;
        for (Line line; next(line);) {
            if (line.tag == "TL")
                return true;
            if (line.tag == "TI")
                return false;
            unsigned int number = 0;
            const CONVERTSTRUCTELEMENTINFO *row = nullptr;
            if (line.tag == "SI" && parse(line.value, number))
                row = findNested(type, Storage::List, number);
            if (row && !tail) {
                tail = clear(record, *row);
                childType = findRecordType(number);
            }
            if (row && number == childType->type) {
                ZQLIST_ELEMENT *const child = append(tail, *childType);
                tail = &child->next;
                if (!readFields(child, *childType))
                    return false;
            } else if ((line.tag == "SI" || line.tag == "SL") && !skip()) {
                return false;
            }
        }
        return false;
    }

    static ZQLIST_ELEMENT **clear(ZQLIST_ELEMENT *record, const CONVERTSTRUCTELEMENTINFO &row)
    {
        ZQLIST_ELEMENT **const head = &fieldIn<ZQLIST_ELEMENT *>(record, row);
        ZQPacketFreeList(head, static_cast<PACKETDATATYPES>(row.reserved[ROW_CHILDTYPE]));
        return head;
    }

    static ZQLIST_ELEMENT *append(ZQLIST_ELEMENT **tail, const RecordType &type)
    {
        *tail = ZQNewRecord(type.type);
        return *tail;
    }

    /** Passes over the rest of an item or a list, whatever it nests. */
    bool skip()
    {
        std::size_t depth = 1;
        for (Line line; depth > 0 && next(line);) {
            if (line.tag == "SI" || line.tag == "SL")
                ++depth;
            else if (line.tag == "TI" || line.tag == "TL")
                --depth;
        }
        return depth == 0;
    }

    std::string_view rest;
};

} // namespace

char *ZQWriteRecord(const ZQLIST_ELEMENT *record, PACKETDATATYPES type, unsigned int &length)
{
    length = 0;
    const RecordType *const known = findRecordType(type);
    if (!record || !known)
        return nullptr;
    Writer writer;
    writer.writeItem(record, *known);
    const std::string &text = writer.text;
    if (text.size() > std::numeric_limits<unsigned int>::max())
        return nullptr;
    char *const buffer = static_cast<char *>(std::malloc(text.size()));
    if (buffer) {
        std::memcpy(buffer, text.data(), text.size());
        length = static_cast<unsigned int>(text.size());
    }
    return buffer;
}

ZQLIST_ELEMENT *ZQReadRecord(const char *text, unsigned int length, PACKETDATATYPES type)
{
    const RecordType *const known = findRecordType(type);
    if (!text || !known)
        return nullptr;
    ZQLIST_ELEMENT *record = ZQNewRecord(type);
    if (!Reader(std::string_view(text, length)).readRecord(record, *known)) {
        ZQPacketFreeItem(record, type);
        record = nullptr;
    }
    return record;
}
