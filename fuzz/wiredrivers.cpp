// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "drivers.h"

#include "../tests/zqxmlkit/plainwire.h"

#include <zqxml/xmlpacket.h>
#include <zqxmlkit/xmlpacketdiff.h>
#include <zqxmlkit/xmlwire.h>

namespace {

QString differ(const char *what, const QByteArray &found, const QByteArray &expected)
{
    return found == expected ? QString()
                             : QStringLiteral("%1: found\n%2\nexpected\n%3")
                                   .arg(QLatin1String(what), QString::fromUtf8(found), QString::fromUtf8(expected));
}

bool isLine(const QString &text)
{
    return text.startsWith(QLatin1String("line ")) && !text.contains(QLatin1Char('\n'));
}

/** Builds the tree that bytes spell: what to do, and for most of it a length and that many characters. */
class Spelling
{
public:
    explicit Spelling(const QByteArray &input) : bytes(input) { }

    void build(QDomElement parent)
    {
        QDomDocument document = parent.ownerDocument();
        const QDomElement top = parent;
        while (at < bytes.size()) {
            const int what = next() % 8;
            if (what == 0 && parent != top)
                parent = parent.parentNode().toElement();
            else if (what == 1)
                parent = parent.appendChild(element(document)).toElement();
            else if (what == 2)
                attribute(parent);
            else if (what == 3)
                parent.appendChild(document.createCDATASection(text()));
            else if (what == 4)
                parent.appendChild(document.createComment(text()));
            else if (what > 4)
                parent.appendChild(document.createTextNode(text()));
        }
    }

private:
    int next()
    {
        return at < bytes.size() ? static_cast<unsigned char>(bytes.at(at++)) : 0;
    }

    // Bytes beyond ASCII stand for what is at the edges of what XML allows.
    QString text()
    {
        static const ushort units[] = {0xd800, 0xdbff, 0xdc00, 0xdfff, 0xfffe, 0xffff, 0xfeff, 0xfffd, 0xe4, 0x5370};
        QString made;
        for (int left = next() % 16; left > 0; --left) {
            const int c = next();
            made += QChar(c < 0x80 ? static_cast<ushort>(c) : units[static_cast<std::size_t>(c) % std::size(units)]);
        }
        return made;
    }

    QDomElement element(QDomDocument document)
    {
        QDomElement made = document.createElement(QStringLiteral("e"));
        made.setTagName(QLatin1Char('1') + text());
        return made;
    }

    void attribute(QDomElement parent)
    {
        const QString name = text();
        parent.setAttribute(name.isEmpty() ? QStringLiteral("xml") : name, text());
    }

    const QByteArray bytes;
    int at = 0;
};

} // namespace

QString drivers::wireRead(const QByteArray &input)
{
    QString error;
    const QByteArray printed = XMLWire::fromPrinted(QString::fromUtf8(input), &error);
    if (printed.isEmpty() ? !isLine(error) && !error.isEmpty() : !XMLWire::toPacket(printed))
        return QStringLiteral("what was printed: ") + error;
    const auto packet = XMLWire::toPacket(input, &error);
    if (!packet)
        return isLine(error) ? QString() : QStringLiteral("no line: ") + error;
    const QByteArray wire = XMLWire::toWire(*packet);
    const auto again = XMLWire::toPacket(wire, &error);
    return again ? differ("wire form", XMLWire::toWire(*again), wire)
                 : QStringLiteral("cannot be read again: ") + error;
}

QString drivers::wireTrees(const QByteArray &input)
{
    if (input.size() > MAXIMUM_SIZE)
        return QString();
    XMLPacket packet;
    Spelling(input).build(packet.getBody());
    const QByteArray wire = XMLWire::toWire(packet);
    QString writing = differ("wire form", wire, plain::wire(packet.getBody().ownerDocument()).toUtf8());
    if (!writing.isEmpty())
        return writing;
    QString error;
    const auto read = XMLWire::toPacket(wire, &error);
    if (!read)
        return QStringLiteral("cannot be read: ") + error;
    return XMLPacketDiff(packet, *read).toText() + differ("written again", XMLWire::toWire(*read), wire);
}

QByteArray drivers::wireExample(quint32 seed)
{
    plain::Trees trees(seed);
    XMLPacket packet;
    trees.fill(packet.getBody(), 2);
    QByteArray wire = XMLWire::toWire(packet);
    if (seed % 4)
        wire[trees.below(static_cast<int>(wire.size()))] = static_cast<char>(trees.below(256));
    return wire;
}

QByteArray drivers::bytesExample(quint32 seed)
{
    plain::Trees random(seed);
    QByteArray bytes;
    for (int left = random.below(200); left > 0; --left)
        bytes += static_cast<char>(random.below(256));
    return bytes;
}
