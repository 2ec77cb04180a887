// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "xmlrouter.h"

#include "xmlagentbroker.h"
#include "xmlcommserver.h"
#include "xmlpacket.h"
#include "xmlrouterobserver.h"

#include <QPointer>
#include <QTimer>

#include <utility>

namespace {

void drop(XMLPacket *packet, XMLRouterObserver *observer, XMLRouterObserver::DropReason reason)
{
    if (observer)
        observer->packetDropped(*packet, reason);
    packet->deleteLater();
}

} // namespace

XMLRouter::XMLRouter(ZQCommServer *commServer, QObject *parent, const char *name)
    : QObject(parent), lastAgentID(0), timer(nullptr), reserved(nullptr), commServerAgent(nullptr), broker(nullptr),
      observer(nullptr)
{
    setObjectName(QString::fromLatin1(name));
    commServerAgent = new XMLCommServer(commServer);
    commServerAgent->setAgentID(getXMLCommServerID());
    commServerAgent->setRouter(this);
    agents[getXMLCommServerID()] = commServerAgent;
    timer = new QTimer(this);
    connect(timer, &QTimer::timeout, this, qOverload<>(&XMLRouter::send));
}

XMLRouter::~XMLRouter()
{
    agents.erase(getXMLCommServerID());
    if (observer)
        observer->agentRemoved(getXMLCommServerID());
    notifyAgentRemovals(getXMLCommServerID());
    delete std::exchange(commServerAgent, nullptr);
    delete std::exchange(broker, nullptr);
}

int XMLRouter::getXMLCommServerID()
{
    return -1;
}

int XMLRouter::getNextAgentID()
{
    return ++lastAgentID;
}

void XMLRouter::add(XMLAgent *agent)
{
    if (!agent)
        return;
    agent->setAgentID(getNextAgentID());
    agent->setRouter(this);
    agents[agent->getAgentID()] = agent;
    if (observer)
        observer->agentAdded(agent->getAgentID(), agent->getAgentType());
}

void XMLRouter::remove(XMLAgent *agent)
{
    if (!agent)
        return;
    const int id = agent->getAgentID();
    if (agents.erase(id) > 0 && observer)
        observer->agentRemoved(id);
    notifyAgentRemovals(id);
}

bool XMLRouter::contains(int id)
{
    return agents.count(id) > 0;
}

std::list<int> XMLRouter::findAgentsOfType(int type)
{
    std::list<int> ids;
    for (const auto &[id, agent] : agents) {
        if (agent->getAgentType() == type)
            ids.push_back(id);
    }
    return ids;
}

int XMLRouter::findAgentOfType(int type)
{
    const std::list<int> ids = findAgentsOfType(type);
    return ids.empty() ? 0 : ids.front();
}

int XMLRouter::supplyAgentOfType(int type)
{
    const std::list<int> ids = findAgentsOfType(type);
    if (!ids.empty())
        return ids.front();
    return broker ? broker->createAgent(type) : 0;
}

int XMLRouter::getAgentType(int id)
{
    for (const auto &[registeredID, agent] : agents) {
        if (agent->getAgentID() == id)
            return agent->getAgentType();
    }
    return XMLAgent::NO_AGENT_TYPE;
}

void XMLRouter::setAgentBroker(XMLAgentBroker *newBroker)
{
    delete std::exchange(broker, nullptr);
    broker = newBroker;
    if (broker)
        broker->setRouter(this);
}

void XMLRouter::setObserver(XMLRouterObserver *newObserver)
{
    observer = newObserver;
}

void XMLRouter::notifyAgentRemovals(int id)
{
    if (agents.empty())
        return;
    // An agent may change the registry or delete the router when it is called, so the place in the registry is kept as
    // an id. Agents that are added meanwhile have higher ids than the last one now: without that bound, agents that add
    // others whenever they are called would go on for ever.
    const QPointer<XMLRouter> alive(this);
    const int last = agents.rbegin()->first;
    for (auto entry = agents.begin(); entry != agents.end() && entry->first <= last;) {
        const int current = entry->first;
        XMLAgent *const agent = entry->second;
        if (agent->wantAgentRemovalNotifications() && agent->getAgentID() != id)
            agent->agentRemoved(id);
        if (!alive)
            return;
        entry = agents.upper_bound(current);
    }
}

void XMLRouter::send(XMLPacket *packet)
{
    if (!packet)
        return;
    XMLPacket *const last = queue.isEmpty() ? nullptr : queue.constLast();
    if (packet == last)
        return;
    if (!contains(packet->getSourceAgentID()))
        return drop(packet, observer, XMLRouterObserver::UnregisteredSource);
    if (last && *last == *packet)
        return drop(packet, observer, XMLRouterObserver::Repeat);
    queue.append(packet);
    if (observer)
        observer->packetQueued(*packet);
    if (!timer->isActive()) {
        timer->setSingleShot(true);
        timer->start(0);
    }
}

void XMLRouter::send()
{
    const QPointer<XMLRouter> alive(this);
    while (alive && !queue.isEmpty())
        deliver(queue.takeFirst());
}

void XMLRouter::deliver(XMLPacket *packet)
{
    const int destination = packet->getDestinationAgentID();
    const auto entry = agents.find(destination);
    if (entry == agents.end())
        discard(packet, destination);
    else if (observer)
        deliverObserved(packet, entry->second, destination);
    else
        entry->second->receive(packet);
}

void XMLRouter::discard(XMLPacket *packet, int destination)
{
    if (observer)
        observer->packetUndeliverable(*packet);
    // A slot on the packet's destroyed() may delete the router.
    const QPointer<XMLRouter> alive(this);
    delete packet;
    if (alive)
        notifyAgentRemovals(destination);
}

void XMLRouter::deliverObserved(XMLPacket *packet, XMLAgent *agent, int destination)
{
    const QPointer<XMLRouter> alive(this);
    XMLRouterObserver *const told = observer;
    told->packetAboutToBeDelivered(*packet, destination);
    agent->receive(packet);
    if (alive && observer == told)
        told->packetDelivered(destination);
}
