// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "wirereader_p.h"

#include "wirewriter_p.h"

#include <algorithm>
#include <climits>
#include <cstring>

namespace {

// Returns the unit of the escape that \a bytes begins with, or -1 when that is none.
int readEscape(const char *bytes, const char *end)
{
    if (end - bytes < 7 || bytes[0] != '_' || bytes[1] != 'x' || bytes[6] != '_')
        return -1;
    int unit = 0;
    for (int i = 2; i < 6; ++i) {
        const char c = bytes[i];
        if (c >= '0' && c <= '9')
            unit = unit * 16 + (c - '0');
        else if (c >= 'A' && c <= 'F')
            unit = unit * 16 + (c - 'A' + 10);
        else
            return -1;
    }
    return unit;
}

// Reads one character of UTF-8, which the parser has found to be sound.
uint readUtf8(const char *&at)
{
    const auto next = [&at] { return static_cast<unsigned char>(*at++); };
    const unsigned first = next();
    if (first < 0x80)
        return first;
    const int tails = first < 0xe0 ? 1 : first < 0xf0 ? 2 : 3;
    unsigned c = first & (0x3fu >> tails);
    for (int i = 0; i < tails; ++i)
        c = (c << 6) | (next() & 0x3fu);
    return c;
}

// Not QString::fromUtf8(): that drops a byte order mark that a value begins with.
QString decodeSlowly(const char *bytes, const char *end)
{
    QString text(static_cast<int>(end - bytes), Qt::Uninitialized);
    QChar *out = text.data();
    while (bytes < end) {
        const int unit = readEscape(bytes, end);
        if (unit >= 0) {
            *out++ = QChar(static_cast<ushort>(unit));
            bytes += 7;
            continue;
        }
        const uint c = readUtf8(bytes);
        if (QChar::requiresSurrogates(c)) {
            *out++ = QChar(QChar::highSurrogate(c));
            *out++ = QChar(QChar::lowSurrogate(c));
        } else {
            *out++ = QChar(static_cast<ushort>(c));
        }
    }
    text.truncate(static_cast<int>(out - text.constData()));
    return text;
}

/** Returns what \a size bytes stand for, without their escapes. */
QString decode(const char *bytes, std::size_t size)
{
    const char *const end = bytes + size;
    for (const char *at = bytes; at < end; ++at) {
        if (*at == '_' || (*at & 0x80))
            return decodeSlowly(bytes, end);
    }
    return QString::fromLatin1(bytes, static_cast<int>(size));
}

bool isSame(const char *a, const char *b)
{
    return std::strcmp(a, b) == 0;
}

bool isUtf8(const char *encoding)
{
    return qstricmp(encoding, "UTF-8") == 0;
}

// The parser would believe a byte order mark or a zero byte more than what it was told.
bool isForeign(const QByteArray &wire)
{
    return wire.size() > 1
        && (wire.startsWith("\xfe\xff") || wire.startsWith("\xff\xfe") || !wire.at(0) || !wire.at(1));
}

QString placeOf(const QByteArray &before)
{
    const QByteArray line = before.mid(before.lastIndexOf('\n') + 1);
    return QStringLiteral("line %1, column %2: ").arg(before.count('\n') + 1).arg(QString::fromUtf8(line).size() + 1);
}

using Parser = std::unique_ptr<XML_ParserStruct, decltype(&XML_ParserFree)>;

// To make a parser takes longer than to read a short packet.
Parser &spareParser()
{
    thread_local Parser spare(nullptr, &XML_ParserFree);
    return spare;
}

Parser takeParser()
{
    Parser parser = std::move(spareParser());
    return parser && XML_ParserReset(parser.get(), "UTF-8") ? std::move(parser)
                                                            : Parser(XML_ParserCreate("UTF-8"), &XML_ParserFree);
}

} // namespace

WireReader::WireReader(TreeBuilder &treeBuilder, const XMLWire::Limits &readingLimits)
    : builder(treeBuilder), limits(readingLimits), parser(takeParser())
{
    XML_SetUserData(parser.get(), this);
    XML_SetElementHandler(parser.get(), onStart, onEnd);
    XML_SetCharacterDataHandler(parser.get(), onCharacters);
    XML_SetCommentHandler(parser.get(), onComment);
    XML_SetCdataSectionHandler(parser.get(), onCDataStart, onCDataEnd);
    XML_SetProcessingInstructionHandler(parser.get(), onInstruction);
    XML_SetXmlDeclHandler(parser.get(), onDeclaration);
    XML_SetStartDoctypeDeclHandler(parser.get(), onDocumentType);
}

WireReader::~WireReader()
{
    // A parser keeps a buffer as large as what it has read.
    if (isShort)
        spareParser() = std::move(parser);
}

bool WireReader::read(const QByteArray &wire, QString *error)
{
    isShort = wire.size() < 0x10000;
    if (wire.size() > std::min<qint64>(limits.bytes, INT_MAX)) {
        refusal = "too many bytes";
    } else if (isForeign(wire)) {
        refusal = "not UTF-8";
    } else if (XML_Parse(parser.get(), wire.constData(), static_cast<int>(wire.size()), XML_TRUE) == XML_STATUS_OK
               && !refusal) {
        return true;
    } else if (!refusal) {
        refusal = XML_ErrorString(XML_GetErrorCode(parser.get()));
        notePlace();
    }
    builder.abandon();
    if (error)
        *error = placeOf(wire.left(static_cast<int>(refusedAt))) + QLatin1String(refusal);
    return false;
}

// The parser knows the place of what it hands out as long as it does. The calls that give line and column have other
// names in newer versions of it.
void WireReader::notePlace()
{
    QT_WARNING_PUSH
    QT_WARNING_DISABLE_DEPRECATED // the newest parsers have a call of another name, which older ones lack
        refusedAt = qMax<XML_Index>(0, XML_GetCurrentByteIndex(parser.get()));
    QT_WARNING_POP
}

void WireReader::refuse(const char *reason)
{
    if (!refusal) {
        refusal = reason;
        notePlace();
    }
    XML_StopParser(parser.get(), XML_FALSE);
}

bool WireReader::count(int more)
{
    nodes += more;
    if (nodes > limits.nodes)
        refuse("too many nodes");
    return !refusal;
}

const QString &WireReader::nameOf(const char *bytes)
{
    const std::size_t size = std::strlen(bytes);
    const auto byte = [bytes](std::size_t i) -> std::size_t { return static_cast<unsigned char>(bytes[i]); };
    // An escape has its digits here.
    const std::size_t middle = size > 5 ? 5 * byte(4) + 7 * byte(5) : byte(size / 2);
    CachedName &cached = names[(size + byte(0) + 3 * byte(size - 1) + middle) % names.size()];
    if (cached.bytes.size() != size || std::memcmp(cached.bytes.data(), bytes, size) != 0) {
        cached.bytes.assign(bytes, size);
        cached.name = decode(bytes, size);
    }
    return cached.name;
}

void WireReader::flushText()
{
    if (!isTextBegun && text.empty())
        return;
    isTextBegun = false;
    if (count(1))
        builder.appendText(decode(text.data(), text.size()));
    text.clear();
}

void WireReader::setAttributes(const char **attributes)
{
    int number = 0;
    for (; *attributes; attributes += 2) {
        if (builder.depth() == 1 && isSame(attributes[0], "xmlns"))
            continue;
        ++number;
        builder.setAttribute(nameOf(attributes[0]), decode(attributes[1], std::strlen(attributes[1])));
    }
    if (number > 1 && builder.attributeCount() != number)
        refuse("two attributes of one name");
}

// Returns why a start tag is refused, or null.
const char *WireReader::checkStart(const char *name, const char **attributes)
{
    if (builder.depth() >= limits.depth)
        return "too deep";
    if (std::strchr(name, ':'))
        return "a prefixed name";
    const int number = XML_GetSpecifiedAttributeCount(parser.get()) / 2;
    if (number > limits.attributes)
        return "too many attributes";
    if (!count(1 + number))
        return refusal;
    for (; *attributes; attributes += 2) {
        if (std::strchr(attributes[0], ':'))
            return "a prefixed name";
        if (builder.depth() > 0 && isSame(attributes[0], "xmlns"))
            return "a namespace below the root";
    }
    return nullptr;
}

void WireReader::start(const char *name, const char **attributes)
{
    flushText();
    const char *const reason = checkStart(name, attributes);
    if (reason)
        return refuse(reason);
    if (builder.depth() > 0) {
        builder.open(nameOf(name));
    } else {
        QString uri;
        for (const char **at = attributes; *at; at += 2) {
            if (isSame(at[0], "xmlns"))
                uri = decode(at[1], std::strlen(at[1]));
        }
        if (!uri.isNull() && !WireWriter::isNamespace(uri))
            return refuse("not a namespace");
        builder.openRoot(nameOf(name), uri);
    }
    setAttributes(attributes);
}

void WireReader::onStart(void *self, const XML_Char *name, const XML_Char **attributes)
{
    const auto reader = static_cast<WireReader *>(self);
    if (!reader->refusal)
        reader->start(name, attributes);
}

void WireReader::onEnd(void *self, const XML_Char *)
{
    const auto reader = static_cast<WireReader *>(self);
    if (reader->refusal)
        return;
    reader->flushText();
    reader->builder.close();
}

void WireReader::onCharacters(void *self, const XML_Char *text, int size)
{
    static_cast<WireReader *>(self)->text.append(text, static_cast<std::size_t>(size));
}

void WireReader::onComment(void *self, const XML_Char *text)
{
    const auto reader = static_cast<WireReader *>(self);
    reader->flushText();
    if (reader->count(1))
        reader->builder.appendComment(decode(text, std::strlen(text)));
}

void WireReader::onCDataStart(void *self)
{
    static_cast<WireReader *>(self)->flushText();
}

void WireReader::onCDataEnd(void *self)
{
    const auto reader = static_cast<WireReader *>(self);
    if (reader->count(1))
        reader->builder.appendCData(decode(reader->text.data(), reader->text.size()));
    reader->text.clear();
}

void WireReader::onInstruction(void *self, const XML_Char *target, const XML_Char *data)
{
    const auto reader = static_cast<WireReader *>(self);
    if (!isSame(target, "t") || *data || reader->builder.depth() == 0)
        return reader->refuse("a processing instruction");
    reader->flushText();
    reader->isTextBegun = true;
}

void WireReader::onDeclaration(void *self, const XML_Char *version, const XML_Char *encoding, int)
{
    if ((version && !isSame(version, "1.0")) || (encoding && !isUtf8(encoding)))
        static_cast<WireReader *>(self)->refuse("not XML 1.0 in UTF-8");
}

void WireReader::onDocumentType(void *self, const XML_Char *, const XML_Char *, const XML_Char *, int)
{
    static_cast<WireReader *>(self)->refuse("a document type");
}
