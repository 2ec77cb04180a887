// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "xmlagent.h"

#include "xmlpacket.h"

XMLAgent::XMLAgent(int type) : router(nullptr), removalNotificationsWanted(false), agentType(type), agentID(0) { }

XMLAgent::~XMLAgent() = default;

void XMLAgent::agentRemoved(int) { }

int XMLAgent::getAgentType() const
{
    return agentType;
}

int XMLAgent::getAgentID() const
{
    return agentID;
}

void XMLAgent::setAgentID(int id)
{
    agentID = id;
}

void XMLAgent::setRouter(XMLRouter *newRouter)
{
    router = newRouter;
}

bool XMLAgent::wantAgentRemovalNotifications() const
{
    return removalNotificationsWanted;
}

XMLPacket *XMLAgent::getXMLPacket(int destination) const
{
    XMLPacket *const packet = new XMLPacket;
    packet->setSourceAgentID(agentID);
    packet->setDestinationAgentID(destination);
    return packet;
}
