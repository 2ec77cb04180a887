// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "printedreader_p.h"

#include "wirewriter_p.h"
#include "xmlwire.h"

#include <QStringView>

#include <algorithm>
#include <cstring>
#include <utility>

namespace {

bool isBlank(QChar c)
{
    return c == QLatin1Char(' ') || c == QLatin1Char('\n') || c == QLatin1Char('\t') || c == QLatin1Char('\r');
}

int lengthOf(const char *text)
{
    return static_cast<int>(std::strlen(text));
}

} // namespace

PrintedReader::PrintedReader(TreeBuilder &treeBuilder, const QString &printed) : builder(treeBuilder), text(printed)
{
    text.replace(QLatin1String("\r\n"), QLatin1String("\n"));
}

bool PrintedReader::read(QString *error)
{
    if (readDocument())
        return true;
    if (error) {
        const QStringView before = QStringView(text).left(at);
        const auto lineBegin = before.lastIndexOf(QLatin1Char('\n')) + 1;
        *error = QStringLiteral("line %1, column %2: %3")
                     .arg(before.count(QLatin1Char('\n')) + 1)
                     .arg(at - lineBegin + 1)
                     .arg(QLatin1String(failure));
    }
    return false;
}

bool PrintedReader::fail(const char *reason)
{
    failure = reason;
    return false;
}

bool PrintedReader::isAt(const char *prefix) const
{
    return QStringView(text).mid(at).startsWith(QLatin1String(prefix));
}

void PrintedReader::skipBlanks()
{
    while (at < text.size() && isBlank(text.at(static_cast<int>(at))))
        ++at;
}

// A trace has a line before each packet.
void PrintedReader::skipTitle()
{
    skipBlanks();
    if (isAt("-- ")) {
        const auto end = text.indexOf(QLatin1Char('\n'), static_cast<int>(at));
        at = end < 0 ? text.size() : end;
        skipBlanks();
    }
}

bool PrintedReader::readDocument()
{
    if (text.size() > XMLWire::Limits().bytes)
        return fail("too much text");
    skipTitle();
    while (at < text.size()) {
        if (!(isAt("<") ? readMarkup() : readText()))
            return false;
    }
    if (!open.empty())
        return fail("an element has no end");
    return hasRoot || fail("no element");
}

bool PrintedReader::readMarkup()
{
    if (isAt("<!--"))
        return readSection("<!--", "-->", Token::Comment);
    if (isAt("<![CDATA["))
        return open.empty() ? fail("text outside the root") : readSection("<![CDATA[", "]]>", Token::CData);
    if (isAt("<!") || isAt("<?"))
        return fail("a document type or a processing instruction");
    return isAt("</") ? readEndTag() : readStartTag();
}

bool PrintedReader::readSection(const char *before, const char *after, Token kind)
{
    const auto from = at + lengthOf(before);
    const auto end = text.indexOf(QLatin1String(after), static_cast<int>(from));
    if (end < 0)
        return fail("a comment or CDATA section has no end");
    const QString content = text.mid(static_cast<int>(from), static_cast<int>(end - from));
    if (kind == Token::Comment)
        builder.appendComment(content);
    else
        builder.appendCData(content);
    at = end + lengthOf(after);
    last = kind;
    return true;
}

// White space that printing put there. Where text stands it puts none, and a text of its own stands alone in an
// element.
bool PrintedReader::isLayout(const QString &blank) const
{
    const bool isOnlyChild = last == Token::Start && isAt("</");
    return blank.contains(QLatin1Char('\n')) && !isOnlyChild && last != Token::CData && !isAt("<![CDATA[");
}

bool PrintedReader::readText()
{
    const auto from = static_cast<int>(at);
    const auto end = text.indexOf(QLatin1Char('<'), from);
    const QString raw = text.mid(from, end < 0 ? -1 : static_cast<int>(end) - from);
    const bool blank = std::all_of(raw.cbegin(), raw.cend(), isBlank);
    if (open.empty() && !blank)
        return fail("text outside the root");
    QString content;
    if (!decode(raw, content))
        return false;
    at = from + raw.size();
    if (!open.empty() && !(blank && isLayout(raw))) {
        builder.appendText(content);
        last = Token::None;
    }
    return true;
}

QString PrintedReader::readName()
{
    const auto from = static_cast<int>(at);
    const auto isEnd = [](QChar c) {
        return isBlank(c) || c == QLatin1Char('=') || c == QLatin1Char('/') || c == QLatin1Char('>')
            || c == QLatin1Char('<') || c == QLatin1Char('"');
    };
    while (at < text.size() && !isEnd(text.at(static_cast<int>(at))))
        ++at;
    return text.mid(from, static_cast<int>(at) - from);
}

bool PrintedReader::readStartTag()
{
    if (open.empty() && std::exchange(hasRoot, true))
        return fail("a second element outside the root");
    if (builder.depth() >= XMLWire::Limits().depth)
        return fail("too deep");
    ++at;
    const QString name = readName();
    if (name.isEmpty())
        return fail("a tag without a name");
    if (!readAttributes(name))
        return false;
    if (isAt("/>")) {
        builder.close();
        at += 2;
        last = Token::Empty;
    } else {
        open.push_back(name);
        ++at;
        last = Token::Start;
    }
    return true;
}

bool PrintedReader::readAttributes(const QString &element)
{
    std::vector<std::pair<QString, QString>> attributes;
    QString namespaceURI;
    for (skipBlanks(); !isAt(">") && !isAt("/>"); skipBlanks()) {
        QString name;
        QString value;
        if (!readAttribute(name, value))
            return false;
        if (name != QLatin1String("xmlns"))
            attributes.emplace_back(name, value);
        else if (open.empty())
            namespaceURI = value;
        else
            return fail("a namespace below the root");
    }
    if (!namespaceURI.isNull() && !WireWriter::isNamespace(namespaceURI))
        return fail("not a namespace");
    if (open.empty())
        builder.openRoot(element, namespaceURI);
    else
        builder.open(element);
    for (const auto &[name, value] : attributes)
        builder.setAttribute(name, value);
    return builder.attributeCount() == static_cast<int>(attributes.size()) || fail("two attributes of one name");
}

bool PrintedReader::readAttribute(QString &name, QString &value)
{
    name = readName();
    if (name.isEmpty() || !isAt("=\""))
        return fail("not an attribute");
    const auto from = static_cast<int>(at) + 2;
    const auto end = text.indexOf(QLatin1Char('"'), from);
    if (end < 0)
        return fail("an attribute has no end");
    if (!decode(text.mid(from, static_cast<int>(end) - from), value))
        return false;
    at = end + 1;
    return true;
}

bool PrintedReader::readEndTag()
{
    if (open.empty() || !QStringView(text).mid(at + 2).startsWith(open.back()))
        return fail("an end tag of nothing");
    const auto begin = at;
    at += 2 + open.back().size();
    skipBlanks();
    if (!isAt(">")) {
        at = begin;
        return fail("an end tag of nothing");
    }
    ++at;
    // An element without children is printed as one tag.
    if (last == Token::Start && begin > 0 && text.at(static_cast<int>(begin) - 1) == QLatin1Char('>'))
        builder.appendText(QStringLiteral(""));
    open.pop_back();
    builder.close();
    last = Token::End;
    return true;
}

bool PrintedReader::decodeReference(const QString &reference, QString &decoded)
{
    static constexpr std::pair<const char *, char> known[] = {
        {"lt", '<'}, {"gt", '>'}, {"amp", '&'}, {"quot", '"'}, {"apos", '\''}};
    for (const auto &[name, character] : known) {
        if (reference == QLatin1String(name)) {
            decoded += QLatin1Char(character);
            return true;
        }
    }
    bool isNumber = false;
    const bool isHexadecimal = reference.startsWith(QLatin1String("#x"));
    const uint c = isHexadecimal ? reference.mid(2).toUInt(&isNumber, 16) : reference.mid(1).toUInt(&isNumber);
    if (!reference.startsWith(QLatin1Char('#')) || !isNumber || c > QChar::LastValidCodePoint)
        return fail("not a character reference");
    if (QChar::requiresSurrogates(c)) {
        decoded += QChar(QChar::highSurrogate(c));
        decoded += QChar(QChar::lowSurrogate(c));
    } else {
        decoded += QChar(static_cast<ushort>(c));
    }
    return true;
}

bool PrintedReader::decode(const QString &encoded, QString &decoded)
{
    decoded = QStringLiteral("");
    int from = 0;
    for (;;) {
        const int ampersand = static_cast<int>(encoded.indexOf(QLatin1Char('&'), from));
        decoded += QStringView(encoded).mid(from, ampersand < 0 ? encoded.size() - from : ampersand - from);
        if (ampersand < 0)
            return true;
        const int end = static_cast<int>(encoded.indexOf(QLatin1Char(';'), ampersand));
        if (!decodeReference(encoded.mid(ampersand + 1, qMax(0, end - ampersand - 1)), decoded))
            return false;
        from = end + 1;
    }
}
