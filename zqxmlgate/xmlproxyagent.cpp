// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "xmlproxyagent.h"

#include "xmlgateway.h"

#include <zqxml/xmlpacket.h>

XMLProxyAgent::XMLProxyAgent(XMLGateway *gateway, const QByteArray &peer, int remoteID, int type, bool isPending)
    : XMLAgent(type), ownGateway(gateway), peerName(peer), agentThere(remoteID), pending(isPending), gone(false)
{
}

XMLProxyAgent::~XMLProxyAgent() = default;

void XMLProxyAgent::receive(XMLPacket *packet)
{
    std::unique_ptr<XMLPacket> owned(packet);
    if (owned && ownGateway)
        ownGateway->forward(*this, std::move(owned));
}

QString XMLProxyAgent::peer() const
{
    return QString::fromUtf8(peerName);
}

int XMLProxyAgent::remoteID() const
{
    return agentThere;
}

bool XMLProxyAgent::isPending() const
{
    return pending;
}
