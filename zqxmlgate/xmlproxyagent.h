// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef ZQXMLGATE_XMLPROXYAGENT_H
#define ZQXMLGATE_XMLPROXYAGENT_H

#include <zqxml/xmlagent.h>
#include <zqxmlgate/zqxmlgate_export.h>

#include <QPointer>
#include <QString>

#include <memory>
#include <vector>

class XMLGateway;

/**
 * Stands for an agent of another router, under an id of its own and with the type of that agent. Packets to it are sent
 * to the peer. Made, owned and removed by an XMLGateway.
 */
class ZQXMLGATE_EXPORT XMLProxyAgent : public XMLAgent
{
public:
    ~XMLProxyAgent() override;

    /** Sends \a packet to the agent that this one stands for. */
    void receive(XMLPacket *packet) override;

    QString peer() const; ///< Returns the name of the peer.
    int remoteID() const; ///< Returns the id of the agent where it is.
    bool isPending() const; ///< Returns whether the peer has yet to make the agent; what is sent waits.

private:
    friend class XMLGateway;

    XMLProxyAgent(XMLGateway *gateway, const QByteArray &peer, int remoteID, int type, bool pending);

    QPointer<XMLGateway> ownGateway;
    const QByteArray peerName;
    int agentThere;
    bool pending;
    bool gone; // the gateway removes it as soon as it may
    std::vector<std::unique_ptr<XMLPacket>> held; // while it is pending
};

#endif
