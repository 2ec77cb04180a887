// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef ZQXMLKIT_TESTING_H
#define ZQXMLKIT_TESTING_H

/**
 * \file
 * For the tests of applications: an agent that records what it receives, and one that answers from a table in place of
 * the comm server agent. Nothing of this is in the library; it is compiled into the test.
 */

#include <zqxml/xmlaction.h>
#include <zqxml/xmlagent.h>
#include <zqxml/xmlpacket.h>
#include <zqxml/xmlpacketable.h>
#include <zqxml/xmlrouter.h>

#include <QList>
#include <QPointer>
#include <QStringList>

#include <functional>
#include <list>
#include <map>
#include <memory>
#include <vector>

/** An agent that keeps what it receives, and does what a test wants when it is called. */
class XMLRecordingAgent : public XMLAgent
{
public:
    /** Makes an agent and registers it with \a xmlRouter. */
    explicit XMLRecordingAgent(XMLRouter &xmlRouter, int type = 100) : XMLAgent(type), ownRouter(&xmlRouter)
    {
        removalNotificationsWanted = true;
        xmlRouter.add(this);
    }

    /** Unregisters the agent unless the router is gone. */
    ~XMLRecordingAgent() override
    {
        if (ownRouter)
            ownRouter->remove(this);
    }

    /** Keeps \a packet and calls onReceive. */
    void receive(XMLPacket *packet) override
    {
        packets.emplace_back(packet);
        if (const auto action = onReceive)
            action(*packet);
    }

    /** Keeps \a id and calls onRemoved. */
    void agentRemoved(int id) override
    {
        removed << id;
        if (const auto action = onRemoved)
            action(id);
    }

    std::vector<std::unique_ptr<XMLPacket>> packets; ///< what was received, oldest first
    QList<int> removed; ///< the ids of agentRemoved()
    std::function<void(XMLPacket &)> onReceive; ///< called with each packet, which may be destroyed in there
    std::function<void(int)> onRemoved; ///< called with each id

private:
    QPointer<XMLRouter> ownRouter;
};

/**
 * Answers as the comm server agent does, from a table of packet texts instead of a command server.
 * \code
 * XMLTableServer server(router);
 * server.answers[XMLCommServer::REQUEST_JOBS] << QStringLiteral("SI 15\n1 Cover\n6 4\nTI 0\n");
 * \endcode
 * The first action of a packet is answered by one packet with the records under its type; a type that the table does
 * not have is not answered.
 */
class XMLTableServer : public XMLRecordingAgent
{
public:
    using XMLRecordingAgent::XMLRecordingAgent;

    /** Keeps \a packet and answers it. */
    void receive(XMLPacket *packet) override
    {
        const int asker = packet->getSourceAgentID();
        std::list<QDomNode> actions;
        if (packet->getNodesOfType(XMLObject::XML_ACTION, actions) > 0) {
            const auto found =
                answers.find(XMLObject::getAttributeInt(actions.front().toElement(), QStringLiteral("type")));
            if (found != answers.end())
                router->send(makeAnswer(asker, found->second));
        }
        XMLRecordingAgent::receive(packet);
    }

    std::map<int, QStringList> answers; ///< the packet texts of the records, by request code

private:
    XMLPacket *makeAnswer(int asker, const QStringList &texts) const
    {
        XMLPacket *const answer = getXMLPacket(asker);
        for (const QString &text : texts) {
            XMLPacketable record;
            QDomElement node = record.getNode();
            QStringList lines = text.split(QLatin1Char('\n'));
            record.setType(PACKETDATATYPES(lines.value(0).section(QLatin1Char(' '), 1).toUInt(nullptr, 16)));
            XMLPacketable::toDom(node, lines, 0);
            answer->appendV(record);
        }
        return answer;
    }
};

#endif
