// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "wirewriter_p.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace {

// Where a character stands. Each is a bit of CARE.
enum Context : unsigned { Name = 1, Attribute = 2, Text = 4, CData = 8, Comment = 16 };

constexpr bool isLetter(unsigned c)
{
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}

constexpr bool isDigit(unsigned c)
{
    return c >= '0' && c <= '9';
}

constexpr bool isHexadecimal(unsigned c)
{
    return isDigit(c) || (c >= 'A' && c <= 'F');
}

constexpr std::array<unsigned char, 0x80> careTable()
{
    std::array<unsigned char, 0x80> table = {};
    for (unsigned c = 0; c < table.size(); ++c) {
        unsigned contexts = 0;
        if (!isLetter(c) && !isDigit(c) && c != '-' && c != '.')
            contexts |= Name;
        if (c == '_' || c == '\r' || (c < ' ' && c != '\t' && c != '\n'))
            contexts |= Attribute | Text | CData | Comment;
        if (c == '<' || c == '&' || c == '>')
            contexts |= Attribute | Text;
        if (c == '"' || c == '\t' || c == '\n')
            contexts |= Attribute;
        if (c == '>')
            contexts |= CData;
        if (c == '-')
            contexts |= Comment;
        table[c] = static_cast<unsigned char>(contexts);
    }
    return table;
}

// In which contexts a character below U+0080 cannot be copied without a second look.
constexpr std::array<unsigned char, 0x80> CARE = careTable();

constexpr qsizetype LONGEST = 7; // bytes for one unit: an escape
constexpr qsizetype PART = 4096; // units that are written at once
constexpr qsizetype MAXIMUM = 0x7ff00000; // bytes: an array of Qt 5 holds hardly more

// Not QString::utf16(): that copies what is a literal.
const ushort *unitsOf(const QString &text)
{
    return reinterpret_cast<const ushort *>(text.constData());
}

char *put(char *out, const char *text)
{
    while (*text)
        *out++ = *text++;
    return out;
}

char *putEscape(char *out, unsigned unit)
{
    static constexpr char digits[] = "0123456789ABCDEF";
    *out++ = '_';
    *out++ = 'x';
    for (int shift = 12; shift >= 0; shift -= 4)
        *out++ = digits[(unit >> shift) & 15u];
    *out++ = '_';
    return out;
}

char *putUtf8(char *out, unsigned c)
{
    const auto tail = [c](int shift) { return static_cast<char>(0x80u | ((c >> shift) & 0x3fu)); };
    if (c < 0x800) {
        *out++ = static_cast<char>(0xc0u | (c >> 6));
    } else {
        if (c < 0x10000) {
            *out++ = static_cast<char>(0xe0u | (c >> 12));
        } else {
            *out++ = static_cast<char>(0xf0u | (c >> 18));
            *out++ = tail(12);
        }
        *out++ = tail(6);
    }
    *out++ = tail(0);
    return out;
}

// Takes the next units of what may follow a "_" and make an escape of it. Returns false as soon as they do not.
bool matchEscape(const ushort *at, const ushort *end, int &matched)
{
    for (; at < end && matched < 5; ++at, ++matched) {
        if (matched == 0 ? *at != 'x' : !isHexadecimal(*at))
            return false;
    }
    return true;
}

// Returns true when a reader could take the "_" before \a at for the beginning of an escape. In a text it may go on in
// the text behind it: many readers make one of both, and leave out what stands between.
bool beginsEscape(const ushort *at, const ushort *end, const QDomNode &text)
{
    int matched = 0;
    if (!matchEscape(at, end, matched))
        return false;
    for (QDomNode n = text.nextSibling(); matched < 5 && !n.isNull(); n = n.nextSibling()) {
        if (n.isComment())
            continue;
        if (!n.isText())
            break;
        const QString value = n.nodeValue();
        const ushort *const units = unitsOf(value);
        if (!matchEscape(units, units + value.size(), matched))
            return false;
    }
    return matched == 5;
}

/** Copies units to the output, and escapes what has to be. */
class Escaper
{
public:
    Escaper(const QString &value, unsigned contextOfIt, const QDomNode &nodeOfIt)
        : begin(unitsOf(value)), at(begin), end(begin + value.size()), context(contextOfIt), node(nodeOfIt)
    {
    }

    bool atEnd() const
    {
        return at == end;
    }

    qsizetype left() const
    {
        return end - at;
    }

    /** Writes at most \a count units to \a out and what belongs to the last of them. Returns the end of the output. */
    char *write(char *out, qsizetype count)
    {
        const ushort *const stop = at + std::min(count, left());
        while (at < stop) {
            const ushort c = *at;
            if (c < 0x80 && !(CARE[c] & context)) {
                *out++ = static_cast<char>(c);
                ++at;
            } else {
                out = c < 0x80 ? writeSpecial(out, c) : writeBeyondAscii(out, c);
            }
        }
        return out;
    }

private:
    char *writeBeyondAscii(char *out, unsigned c)
    {
        ++at;
        if (context == Name || c >= 0xfffe || QChar::isLowSurrogate(c))
            return putEscape(out, c);
        if (!QChar::isHighSurrogate(c))
            return putUtf8(out, c);
        if (at == end || !QChar::isLowSurrogate(*at))
            return putEscape(out, c);
        return putUtf8(out, QChar::surrogateToUcs4(static_cast<ushort>(c), *at++));
    }

    char *writeSpecial(char *out, unsigned c)
    {
        ++at;
        const bool isEscaped = context == Name ? c != '_' || beginsEscape(at, end, QDomNode()) : needsEscape(c);
        if (isEscaped)
            return putEscape(out, c);
        if (context & (Attribute | Text)) {
            if (const char *const reference = referenceFor(c))
                return put(out, reference);
        }
        *out++ = static_cast<char>(c);
        return out;
    }

    bool needsEscape(unsigned c) const
    {
        switch (c) {
        case '_':
            return beginsEscape(at, end, context & (Text | CData) ? node : QDomNode());
        case '\r':
            return context & (CData | Comment);
        case '-':
            return at == end || (at - begin > 1 && at[-2] == '-');
        case '>':
            return context == CData && at - begin > 2 && at[-2] == ']' && at[-3] == ']';
        default:
            return c < ' ' && c != '\t' && c != '\n';
        }
    }

    static const char *referenceFor(unsigned c)
    {
        switch (c) {
        case '<':
            return "&lt;";
        case '>':
            return "&gt;";
        case '&':
            return "&amp;";
        case '"':
            return "&quot;";
        case '\t':
            return "&#9;";
        case '\n':
            return "&#10;";
        case '\r':
            return "&#13;";
        default:
            return nullptr;
        }
    }

    const ushort *const begin;
    const ushort *at;
    const ushort *const end;
    const unsigned context;
    const QDomNode &node;
};

bool beginsWithXml(const QString &name)
{
    const auto unit = [&name](int i) { return name.at(i).unicode() | 0x20u; };
    return name.size() >= 3 && unit(0) == 'x' && unit(1) == 'm' && unit(2) == 'l';
}

} // namespace

void WireWriter::grow(qsizetype size)
{
    const qsizetype written = out ? used() : 0;
    const qsizetype grown = std::max(qsizetype(1024), std::min(qsizetype(output.size()) * 2, MAXIMUM));
    output.resize(static_cast<decltype(output.size())>(std::max(written + size, grown)));
    out = output.data() + written;
    end = output.constData() + output.size();
}

QByteArray WireWriter::take()
{
    if (out)
        output.resize(static_cast<decltype(output.size())>(used()));
    return output;
}

bool WireWriter::writeValue(const QString &value, unsigned context, const QDomNode &node)
{
    Escaper escaper(value, context, node);
    while (!escaper.atEnd()) {
        const qsizetype part = std::min(escaper.left(), PART);
        out = escaper.write(reserve(part * LONGEST), part);
        if (used() > MAXIMUM)
            return false;
    }
    return true;
}

bool WireWriter::writeName(const QString &name)
{
    if (name.isEmpty())
        return false;
    const unsigned first = name.at(0).unicode();
    if (isDigit(first) || first == '-' || first == '.' || beginsWithXml(name)) {
        out = putEscape(reserve(LONGEST), first);
        return writeValue(name.mid(1), Name);
    }
    return writeValue(name, Name);
}

// Readers that know namespaces refuse what cannot be a URI, and two that are taken.
bool WireWriter::isNamespace(const QString &uri)
{
    static const QString marks = QStringLiteral("-._~:/?#[]@!$&'()*+,;=%");
    return uri != QLatin1String("http://www.w3.org/XML/1998/namespace")
        && uri != QLatin1String("http://www.w3.org/2000/xmlns/") && std::all_of(uri.cbegin(), uri.cend(), [](QChar c) {
               return isLetter(c.unicode()) || isDigit(c.unicode()) || marks.contains(c);
           });
}

bool WireWriter::writeNamespace(const QString &uri)
{
    if (!isNamespace(uri))
        return false;
    append(" xmlns=\"", 8);
    const bool isWritten = writeValue(uri, Attribute);
    append("\"", 1);
    return isWritten;
}

bool WireWriter::writeAttribute(const AttributeList::Attribute &attribute)
{
    append(" ", 1);
    if (!writeName(attribute.name))
        return false;
    append("=\"", 2);
    const bool isWritten = writeValue(attribute.value, Attribute);
    append("\"", 1);
    return isWritten;
}

bool WireWriter::writeStartTag(const QDomNode &element)
{
    if (!element.prefix().isEmpty())
        return false;
    append("<", 1);
    const qsizetype name = used();
    if (!writeName(element.nodeName()))
        return false;
    const OpenElement opened = {name, used() - name};
    const QString uri = element.namespaceURI();
    if (!uri.isNull() && (!open.empty() || !writeNamespace(uri)))
        return false;
    if (element.hasAttributes()) {
        if (!attributes.read(element))
            return false;
        for (const AttributeList::Attribute &attribute : attributes) {
            if (!writeAttribute(attribute))
                return false;
        }
    }
    if (element.hasChildNodes()) {
        append(">", 1);
        open.push_back(opened);
    } else {
        append("/>", 2);
    }
    return true;
}

void WireWriter::writeEndTag()
{
    const OpenElement closed = open.back();
    open.pop_back();
    reserve(closed.length + 3);
    append("</", 2);
    append(output.constData() + closed.name, closed.length);
    append(">", 1);
}

bool WireWriter::writeText(const QDomNode &text)
{
    const QString value = text.nodeValue();
    if (value.isEmpty() || text.previousSibling().nodeType() == QDomNode::TextNode)
        append("<?t?>", 5);
    return writeValue(value, Text, text);
}

bool WireWriter::writeSection(const char *before, const QDomNode &section, unsigned context, const char *after)
{
    append(before, static_cast<qsizetype>(std::strlen(before)));
    const bool isWritten = writeValue(section.nodeValue(), context, section);
    append(after, static_cast<qsizetype>(std::strlen(after)));
    return isWritten;
}

// Writes what stands before the children of a node.
bool WireWriter::enter(const QDomNode &node)
{
    switch (node.nodeType()) {
    case QDomNode::ElementNode:
        return writeStartTag(node);
    case QDomNode::TextNode:
        return !open.empty() && writeText(node);
    case QDomNode::CDATASectionNode:
        return !open.empty() && writeSection("<![CDATA[", node, CData, "]]>");
    case QDomNode::CommentNode:
        return writeSection("<!--", node, Comment, "-->");
    default:
        return false;
    }
}

// In document order, without recursion: trees may be deep.
bool WireWriter::writeTree(const QDomNode &root)
{
    QDomNode node = root;
    for (;;) {
        if (!enter(node))
            return false;
        QDomNode next = node.isElement() ? node.firstChild() : QDomNode();
        while (next.isNull()) {
            if (open.empty())
                return true;
            next = node.nextSibling();
            if (next.isNull()) {
                writeEndTag();
                node = node.parentNode();
            }
        }
        node = next;
    }
}

bool WireWriter::write(const QDomElement &element)
{
    return !element.isNull() && writeTree(element);
}

bool WireWriter::write(const QDomDocument &document)
{
    int elements = 0;
    for (QDomNode child = document.firstChild(); !child.isNull(); child = child.nextSibling()) {
        elements += child.isElement() ? 1 : 0;
        if (!writeTree(child))
            return false;
    }
    return elements == 1;
}

QByteArray WireWriter::nameToWire(const QString &name)
{
    WireWriter writer;
    writer.writeName(name);
    return writer.take();
}

QByteArray WireWriter::valueToWire(const QString &value)
{
    WireWriter writer;
    writer.writeValue(value, Attribute);
    return writer.take();
}
