// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "xmlrouterlog.h"

#include <zqxml/xmlpacket.h>
#include <zqxml/xmlrouter.h>

#include <QLoggingCategory>

Q_LOGGING_CATEGORY(lcRouter, "zqxml.router", QtCriticalMsg)

XMLRouterLog::XMLRouterLog(XMLRouter *logged) : router(logged)
{
    if (logged)
        logged->setObserver(this);
}

XMLRouterLog::~XMLRouterLog()
{
    if (auto *const logged = qobject_cast<XMLRouter *>(router))
        logged->setObserver(nullptr);
}

void XMLRouterLog::agentAdded(int id, int type)
{
    qCInfo(lcRouter, "agent %d of type %d added", id, type);
}

void XMLRouterLog::agentRemoved(int id)
{
    qCInfo(lcRouter, "agent %d removed", id);
}

void XMLRouterLog::packetQueued(XMLPacket &packet)
{
    qCInfo(lcRouter, "packet from %d to %d queued", packet.getSourceAgentID(), packet.getDestinationAgentID());
}

void XMLRouterLog::packetDropped(XMLPacket &packet, DropReason reason)
{
    qCInfo(lcRouter, "packet from %d to %d dropped: %s", packet.getSourceAgentID(), packet.getDestinationAgentID(),
           reason == Repeat ? "it repeats the last one that waits" : "its source is not registered");
}

void XMLRouterLog::packetAboutToBeDelivered(XMLPacket &packet, int destination)
{
    qCInfo(lcRouter, "packet from %d delivered to %d", packet.getSourceAgentID(), destination);
}

void XMLRouterLog::packetDelivered(int destination)
{
    qCInfo(lcRouter, "agent %d has received", destination);
}

void XMLRouterLog::packetUndeliverable(XMLPacket &packet)
{
    qCInfo(lcRouter, "packet from %d deleted: nobody has its destination %d", packet.getSourceAgentID(),
           packet.getDestinationAgentID());
}
