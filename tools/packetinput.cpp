// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "packetinput.h"

#include <zqxml/xmlpacket.h>
#include <zqxmlkit/xmlwire.h>

#include <QFile>

#include <cstdio>

namespace {

/** Cuts an input into documents. Looks at tags only as far as it must to find where each document ends. */
class Splitter
{
public:
    explicit Splitter(const QByteArray &input) : text(input) { }

    /** Returns the next document with what stands before it; white space alone at the end of the input. */
    QByteArray next()
    {
        const int from = at;
        int depth = 0;
        titled = false;
        while (skipTo("<")) {
            const int tag = at;
            if (depth == 0 && text.mid(from, tag - from).trimmed().startsWith("-- "))
                titled = true;
            if (skip("<!--", "-->") || skip("<![CDATA[", "]]>") || skip("<?", "?>") || skip("<!", ">"))
                continue;
            const bool isEnd = text.mid(tag, 2) == "</";
            skipTag();
            const bool isEmpty = at >= 2 && text.at(at - 2) == '/';
            if (depth == 0)
                firstTag = at;
            depth += isEnd ? -1 : isEmpty ? 0 : 1;
            if (depth <= 0)
                break;
        }
        return text.mid(from, at - from);
    }

    bool atEnd() const
    {
        return at >= text.size();
    }

    /** Returns true when the document that next() returned looks like a printed one. */
    bool isPrinted() const
    {
        return titled || text.mid(firstTag, 2).startsWith('\n') || text.mid(firstTag, 2) == "\r\n";
    }

private:
    bool skipTo(const char *what)
    {
        const auto found = text.indexOf(what, at);
        at = static_cast<int>(found < 0 ? text.size() : found);
        return found >= 0;
    }

    bool skip(const char *begin, const char *end)
    {
        if (!text.mid(at, 9).startsWith(begin))
            return false;
        at += static_cast<int>(qstrlen(begin));
        if (skipTo(end))
            at += static_cast<int>(qstrlen(end));
        return true;
    }

    // To behind the ">" that stands in no value.
    void skipTag()
    {
        char quote = 0;
        for (; at < text.size(); ++at) {
            const char c = text.at(at);
            if (quote ? c == quote : c == '"' || c == '\'')
                quote = quote ? char(0) : c;
            else if (!quote && c == '>')
                break;
        }
        at = qMin(at + 1, static_cast<int>(text.size()));
    }

    const QByteArray text;
    int at = 0;
    int firstTag = 0; // behind the first tag of the document
    bool titled = false;
};

bool readFile(const QString &name, QByteArray &content, QString *error)
{
    QFile file(name);
    const bool isOpen =
        name == QLatin1String("-") ? file.open(stdin, QIODevice::ReadOnly) : file.open(QIODevice::ReadOnly);
    if (isOpen)
        content = file.readAll();
    if (!isOpen || file.error() != QFileDevice::NoError) {
        *error = name + QStringLiteral(": ") + file.errorString();
        return false;
    }
    return true;
}

bool readPacket(const QByteArray &document, InputPacket &packet, QString *error)
{
    if (packet.isPrinted) {
        const QString text = QString::fromUtf8(document);
        packet.wire = XMLWire::fromPrinted(text, error);
        return !packet.wire.isEmpty();
    }
    const auto read = XMLWire::toPacket(document, error);
    if (read)
        packet.wire = XMLWire::toWire(*read);
    packet.isCanonical = packet.wire == document;
    return read != nullptr;
}

} // namespace

bool readPackets(const QString &file, InputPackets &packets, QString *error)
{
    QByteArray content;
    if (!readFile(file, content, error))
        return false;
    Splitter splitter(content);
    while (!splitter.atEnd()) {
        const QByteArray document = splitter.next().trimmed();
        if (document.isEmpty())
            break;
        const QString place = QStringLiteral("%1, packet %2").arg(file).arg(packets.size() + 1);
        InputPacket packet = {place, QByteArray(), splitter.isPrinted(), false};
        if (!readPacket(document, packet, error)) {
            *error = place + QStringLiteral(": ") + *error;
            return false;
        }
        packets.push_back(packet);
    }
    if (packets.empty())
        *error = file + QStringLiteral(": no packet");
    return !packets.empty();
}
