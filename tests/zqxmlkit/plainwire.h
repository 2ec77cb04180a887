// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef TESTS_PLAINWIRE_H
#define TESTS_PLAINWIRE_H

#include <QDomElement>
#include <QRegularExpression>
#include <QStringList>

#include <map>
#include <random>

/** The wire form in its most obvious way, and trees on which to try it. */
namespace plain {

inline QString escapeOf(QChar c)
{
    return QString::asprintf("_x%04X_", unsigned{c.unicode()});
}

// As it is, unless it could be read as an escape with what follows it.
inline QString underline(const QString &following)
{
    static const QRegularExpression escape(QStringLiteral("^x[0-9A-F]{4}"));
    return following.left(5).contains(escape) ? QStringLiteral("_x005F_") : QStringLiteral("_");
}

inline QString name(const QString &text)
{
    static const QRegularExpression allowed(QStringLiteral("^[A-Za-z0-9.-]$"));
    static const QRegularExpression notFirst(QStringLiteral("^[0-9.-]"));
    const bool isEscaped = text.left(1).contains(notFirst) || text.left(3).toLower() == QLatin1String("xml");
    QString out;
    for (int i = 0; i < text.size(); ++i) {
        if (text.at(i) == QLatin1Char('_'))
            out += underline(text.mid(i + 1));
        else if ((i == 0 && isEscaped) || !QString(text.at(i)).contains(allowed))
            out += escapeOf(text.at(i));
        else
            out += text.at(i);
    }
    return out;
}

/** Escapes what no XML can hold. \a behind is the text that comes after \a text. */
inline QString value(const QString &text, const QString &behind, const QString &controls)
{
    QString out;
    for (int i = 0; i < text.size(); ++i) {
        const QChar c = text.at(i);
        const bool isFirstHalf = c.isHighSurrogate() && i + 1 < text.size() && text.at(i + 1).isLowSurrogate();
        const bool isSecondHalf = c.isLowSurrogate() && i > 0 && text.at(i - 1).isHighSurrogate();
        if (c == QLatin1Char('_'))
            out += underline((text + behind).mid(i + 1));
        else if ((c.isSurrogate() && !isFirstHalf && !isSecondHalf) || c.unicode() >= 0xfffe
                 || (c.unicode() < 0x20 && !controls.contains(c)))
            out += escapeOf(c);
        else
            out += c;
    }
    return out;
}

inline QString references(QString text, const QString &which)
{
    const char *const all[][2] = {{"&", "&amp;"},   {"<", "&lt;"},  {">", "&gt;"},  {"\r", "&#13;"},
                                  {"\"", "&quot;"}, {"\t", "&#9;"}, {"\n", "&#10;"}};
    for (const auto &each : all) {
        if (which.contains(QLatin1String(each[0])))
            text.replace(QLatin1String(each[0]), QLatin1String(each[1]));
    }
    return text;
}

inline QString behind(const QDomNode &n)
{
    QString text;
    for (QDomNode next = n.nextSibling(); next.isText() || next.isComment(); next = next.nextSibling())
        text += next.isText() ? next.nodeValue() : QString();
    return text;
}

inline QString wire(const QDomNode &n)
{
    const QString content = n.nodeValue();
    if (n.isCDATASection())
        return QStringLiteral("<![CDATA[")
            + value(content, behind(n), QStringLiteral("\t\n"))
                  .replace(QStringLiteral("]]>"), QStringLiteral("]]_x003E_"))
            + QStringLiteral("]]>");
    static const QRegularExpression dash(QStringLiteral("(?<=-)-|-\\z"));
    if (n.isComment())
        return QStringLiteral("<!--")
            + value(content, QString(), QStringLiteral("\t\n")).replace(dash, QStringLiteral("_x002D_"))
            + QStringLiteral("-->");
    if (n.isText())
        return (content.isEmpty() || (n.previousSibling().isText() && !n.previousSibling().isCDATASection())
                    ? QStringLiteral("<?t?>")
                    : QString())
            + references(value(content, behind(n), QStringLiteral("\t\n\r")), QStringLiteral("&<>\r"));
    QString children;
    for (QDomNode child = n.firstChild(); !child.isNull(); child = child.nextSibling())
        children += wire(child);
    if (!n.isElement())
        return children;
    std::map<QString, QString> attributes;
    for (int i = 0; i < n.attributes().length(); ++i)
        attributes[n.attributes().item(i).nodeName()] = n.attributes().item(i).nodeValue();
    QString tag = name(n.nodeName());
    const QString end = QStringLiteral("</") + tag + QLatin1Char('>');
    if (!n.namespaceURI().isNull())
        tag += QStringLiteral(" xmlns=\"") + n.namespaceURI() + QLatin1Char('"');
    for (const auto &[key, text] : attributes)
        tag += QLatin1Char(' ') + name(key) + QStringLiteral("=\"")
            + references(value(text, QString(), QStringLiteral("\t\n\r")), QStringLiteral("&<>\"\t\n\r"))
            + QLatin1Char('"');
    return QLatin1Char('<') + tag + (n.hasChildNodes() ? QLatin1Char('>') + children + end : QStringLiteral("/>"));
}

/** Makes the same trees with every toolkit and hash seed. */
class Trees
{
public:
    explicit Trees(unsigned seed) : random(seed) { }

    int below(int bound)
    {
        return static_cast<int>(random() % static_cast<unsigned>(bound));
    }

    QString text(int longest)
    {
        // What escapes are made of comes often, so that one begins here and goes on there.
        static const char *const pieces[] = {
            "_",  "_x", "_x0", "041",   "_x0041", "_x005F_", "00E4_", "_x00e4_", "xml", "XmL", "1f",   "-",
            "--", "]]", ">",   "]]>",   "<",      "&",       "&#13;", "\"",      "'",   ":",   "\r\n", "\r",
            "\n", "\t", " ",   "xmlns", "ß",      "印",      "=\"",   "<?t?>",   ".",   "x",   "a"};
        static const ushort units[] = {0xd800, 0xdbff, 0xdc00, 0xdfff, 0xfffe, 0xffff,
                                       0xfeff, 0xfffd, 0x7f,   0x85,   0x2028, 0xfdd0};
        QString made;
        for (int left = below(longest + 1); left > 0; --left) {
            const int which = below(10);
            if (which == 0)
                made += QChar(static_cast<ushort>(below(0x20)));
            else if (which == 1)
                made += QChar(units[below(static_cast<int>(std::size(units)))]);
            else
                made += QString::fromUtf8(pieces[below(static_cast<int>(std::size(pieces)))]);
        }
        return made;
    }

    QString nonEmptyText()
    {
        const QString made = text(4);
        return made.isEmpty() ? QStringLiteral("body") : made;
    }

    /** Fills an element with attributes and children, \a depth levels deep. */
    void fill(QDomElement element, int depth)
    {
        for (int left = below(4); left > 0; --left) {
            const QString value = text(6); // not among the arguments: compilers draw those in different orders
            element.setAttribute(nonEmptyText(), value);
        }
        for (int left = below(6); left > 0; --left)
            element.appendChild(child(element.ownerDocument(), depth));
    }

private:
    QDomNode child(QDomDocument document, int depth)
    {
        const int kind = below(7);
        if (kind == 0)
            return document.createCDATASection(text(5));
        if (kind == 1)
            return document.createComment(text(5));
        if (kind < 5)
            return document.createTextNode(text(3));
        QDomElement element = document.createElement(QStringLiteral("e"));
        element.setTagName(nonEmptyText());
        if (depth > 0)
            fill(element, depth - 1);
        return element;
    }

    std::mt19937 random;
};

} // namespace plain

#endif
