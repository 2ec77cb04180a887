// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef ZQXMLGATE_XMLGATEWAYBROKER_H
#define ZQXMLGATE_XMLGATEWAYBROKER_H

#include <zqxml/xmlagentbroker.h>
#include <zqxmlgate/zqxmlgate_export.h>

#include <QPointer>

#include <memory>

class XMLGateway;

/**
 * Supplies agents that neither this router nor its own broker has from peers that offer their type.
 * \sa XMLGateway::offerAgentsOfType()
 */
class ZQXMLGATE_EXPORT XMLGatewayBroker : public XMLAgentBroker
{
public:
    /** Asks \a local, which is taken over and may be null, first, then \a gateway, which is not taken over. */
    explicit XMLGatewayBroker(XMLGateway *gateway, std::unique_ptr<XMLAgentBroker> local = nullptr);
    ~XMLGatewayBroker() override;

    /**
     * Returns what the local broker makes. When it makes none, the id of a proxy that holds what is sent to it until
     * the peer has made the agent, or is removed when the peer cannot, or has not within 5 s. 0 when no peer offers the
     * type.
     */
    int createAgent(int agentType) override;

    /** Returns what the local broker makes; 0 without one. */
    int createLocalAgent(int agentType);

private:
    QPointer<XMLGateway> ownGateway;
    std::unique_ptr<XMLAgentBroker> localBroker;
};

#endif
