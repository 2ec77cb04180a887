// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef TESTS_TESTTOOLS_H
#define TESTS_TESTTOOLS_H

#include "accounts.h"

#include <recordlib/zqapp.h>
#include <zqxml/xmlagent.h>
#include <zqxml/xmlpacket.h>
#include <zqxml/xmlrouter.h>

#include <QByteArray>
#include <QDomElement>
#include <QStringList>

#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <vector>

/**
 * Returns \a n and what is below it on one line, with attributes in the order of their names and text in quotes:
 * item[datatype=1f](1[value=abc] 3[size=1](value("10")))
 */
inline QString dump(const QDomNode &n)
{
    if (n.isText())
        return QLatin1Char('"') + n.nodeValue() + QLatin1Char('"');
    if (!n.isElement())
        return n.isNull() ? QStringLiteral("null") : QStringLiteral("<") + n.nodeName() + QLatin1Char('>');
    QString text = n.nodeName();
    QStringList attributes;
    for (int i = 0; i < n.attributes().length(); ++i) {
        const QDomNode attribute = n.attributes().item(i);
        attributes << attribute.nodeName() + QLatin1Char('=') + attribute.nodeValue();
    }
    attributes.sort();
    if (!attributes.isEmpty())
        text += QLatin1Char('[') + attributes.join(QLatin1Char(' ')) + QLatin1Char(']');
    QStringList children;
    for (QDomNode child = n.firstChild(); !child.isNull(); child = child.nextSibling())
        children << dump(child);
    if (!children.isEmpty())
        text += QLatin1Char('(') + children.join(QLatin1Char(' ')) + QLatin1Char(')');
    return text;
}

/** A record that gives a text of the test's own. */
class TextRecord : public ZQPacketable
{
public:
    explicit TextRecord(const QByteArray &packetText, PACKETDATATYPES type = PACKETDATATYPES(0x1f))
        : ZQPacketable(type), text(packetText)
    {
    }

    char *toPacket(unsigned int &length) override
    {
        if (text.isNull())
            return nullptr;
        length = static_cast<unsigned int>(text.size());
        // Exactly as long as the text, so that reading past its end is seen.
        char *const buffer = static_cast<char *>(std::malloc(length ? length : 1));
        std::memcpy(buffer, text.constData(), length);
        return buffer;
    }

private:
    QByteArray text;
};

/** Returns the packet text of \a record. */
inline QByteArray packetTextOf(ZQPacketable &record)
{
    unsigned int length = 0;
    const std::unique_ptr<char, decltype(&std::free)> text(record.toPacket(length), &std::free);
    return QByteArray(text.get(), static_cast<int>(length));
}

/** Reads \a text into \a record; false when it is none of the record's type. */
inline bool readPacketText(ZQPacketable &record, const QByteArray &text)
{
    // A copy without the zero byte behind it, so that reading past its end is seen.
    std::vector<char> bytes(text.cbegin(), text.cend());
    return record.fromPacket(bytes.data(), static_cast<unsigned int>(bytes.size()), false, true);
}

/** An agent that keeps what it receives, and does what a test wants when it is called. */
class RecordingAgent : public XMLAgent
{
public:
    explicit RecordingAgent(int type = 100, bool wantsRemovals = true) : XMLAgent(type)
    {
        removalNotificationsWanted = wantsRemovals;
    }

    void receive(XMLPacket *packet) override
    {
        packets.emplace_back(packet);
        if (const auto action = onReceive)
            action();
    }

    void agentRemoved(int id) override
    {
        removed << id;
        if (const auto action = onRemoved)
            action();
    }

    XMLRouter *knownRouter() const
    {
        return router;
    }

    std::vector<std::unique_ptr<XMLPacket>> packets;
    QList<int> removed;
    std::function<void()> onReceive;
    std::function<void()> onRemoved;
};

#endif
