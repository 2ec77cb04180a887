// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef ZQXMLKIT_XMLENDPOINT_H
#define ZQXMLKIT_XMLENDPOINT_H

#include <recordlib/zqapp.h>
#include <zqxml/xmlagent.h>
#include <zqxml/xmlpacket.h>
#include <zqxmlkit/xmlrecords.h>
#include <zqxmlkit/zqxmlkit_export.h>

#include <QObject>
#include <QPointer>

#include <memory>
#include <type_traits>

class XMLAction;
class XMLImage;
class XMLMessage;
class XMLRouter;
class XMLUI;

/**
 * An agent that is a QObject: it registers itself when it is made, unregisters when it is destroyed, and gives what it
 * receives as signals.
 * \code
 * XMLEndpoint shop(&router, SHOP);
 * QObject::connect(&shop, &XMLEndpoint::actionReceived, [&](int from, XMLAction &action) { ... });
 * shop.send(archive, action, message);
 * \endcode
 * Router and endpoint may be destroyed in any order, and everything, the endpoint included, in any slot. Used on the
 * router's thread.
 */
class ZQXMLKIT_EXPORT XMLEndpoint : public QObject, public XMLAgent
{
    Q_OBJECT

public:
    /** Makes an agent of type \a type and registers it with \a router, which is not taken over. */
    XMLEndpoint(XMLRouter *router, int type, QObject *parent = nullptr);

    /** Unregisters the agent, so that agents that want to know are told. */
    ~XMLEndpoint() override;

    /**
     * Sends one packet with copies of all of \a content to the agent \a destination: actions, user interfaces, images,
     * messages, records in XML form, and records of the record library, which are converted. Nothing is sent once the
     * router is gone.
     */
    template <typename... Content>
    void send(int destination, Content &&...content)
    {
        std::unique_ptr<XMLPacket> packet(getXMLPacket(destination));
        (append(*packet, content), ...);
        sendPacket(std::move(packet));
    }

    /** Sends \a packet, which is to have this agent as its source. */
    void sendPacket(std::unique_ptr<XMLPacket> packet);

    /**
     * Emits one signal for each action, user interface, image and message of the packet, in their order, and one
     * signal for all its records, in the place of the first. The packet lives until the last of them has returned;
     * when the endpoint is destroyed meanwhile the rest is not emitted. Null and unknown content are passed over.
     */
    void receive(XMLPacket *packet) override;

    /** Emits agentGone(). */
    void agentRemoved(int id) override;

Q_SIGNALS:
    /** The agent \a sender has sent \a action, which lives until the signal returns. */
    void actionReceived(int sender, XMLAction &action);

    /** The agent \a sender has sent \a ui, which lives until the signal returns. */
    void uiReceived(int sender, XMLUI &ui);

    /** The agent \a sender has sent \a image, which lives until the signal returns. */
    void imageReceived(int sender, XMLImage &image);

    /** The agent \a sender has sent \a message, which lives until the signal returns. */
    void messageReceived(int sender, XMLMessage &message);

    /** The agent \a sender has sent \a records, which are the packet's and live until the signal returns. */
    void recordsReceived(int sender, const XMLRecords &records);

    /**
     * The agent \a agentID was removed, or somebody sent a packet to this id, which no agent has. -1: the router is
     * being destroyed.
     */
    void agentGone(int agentID);

private:
    template <typename Content>
    static void append(XMLPacket &packet, Content &content)
    {
        if constexpr (std::is_base_of_v<ZQPacketable, Content>)
            packet.append(content, false);
        else
            packet.append(content);
    }

    void emitContent(int sender, const QDomElement &element);

    QPointer<XMLRouter> ownRouter;
};

#endif
