// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "xmlgatewaybroker.h"

#include "xmlgateway.h"

XMLGatewayBroker::XMLGatewayBroker(XMLGateway *gateway, std::unique_ptr<XMLAgentBroker> local)
    : ownGateway(gateway), localBroker(std::move(local))
{
    if (ownGateway)
        ownGateway->broker = this;
}

XMLGatewayBroker::~XMLGatewayBroker()
{
    if (ownGateway && ownGateway->broker == this)
        ownGateway->broker = nullptr;
}

int XMLGatewayBroker::createAgent(int agentType)
{
    const int id = createLocalAgent(agentType);
    return id == 0 && ownGateway ? ownGateway->requestAgent(agentType) : id;
}

int XMLGatewayBroker::createLocalAgent(int agentType)
{
    if (!localBroker)
        return 0;
    localBroker->setRouter(router);
    return localBroker->createAgent(agentType);
}
