// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef ZQXML_XMLROUTER_H
#define ZQXML_XMLROUTER_H

#include <zqxml/zqxml_export.h>

#include <QList>
#include <QObject>

#include <list>
#include <map>

class QTimer;
class XMLAgent;
class XMLAgentBroker;
class XMLCommServer;
class XMLPacket;
class XMLRouterObserver;
class ZQCommServer;

/**
 * Registers agents by id and delivers the packets that they send, in order, from the event loop of its thread.
 *
 * The router makes and owns one agent, the comm server agent, under the fixed id -1; it owns the installed broker and
 * the packets that wait. Agents of the application stay the application's. Everything that an agent or a broker may do
 * while the router calls it is allowed: send, add, remove and delete agents, run an event loop, delete the router,
 * which a slot on a packet's destroyed() may do too. Nothing is locked: use a router and its agents from one thread.
 */
class ZQXML_EXPORT XMLRouter : public QObject
{
    Q_OBJECT

public:
    /**
     * Makes a router with \a parent, and the comm server agent, which asks \a commServer. The server is not taken over
     * and may be null: then requests find nothing. \a name, Latin-1, becomes the object name.
     */
    explicit XMLRouter(ZQCommServer *commServer, QObject *parent = nullptr, const char *name = nullptr);

    /**
     * Removes and deletes the comm server agent, so that agents that want to know get agentRemoved(-1), and deletes the
     * broker. Every registered agent is asked whether it wants to know: remove those that go before the router does.
     * Whoever is told of -1 must not delete the router: it is on its way out already. On purpose, packets that still
     * wait are abandoned, not deleted, and agents keep their pointer to the router.
     */
    ~XMLRouter() override;

    /** Returns -1, the id of the comm server agent. */
    static int getXMLCommServerID();

    /** Returns the next id, which is then never given to an agent by add(). */
    int getNextAgentID();

    /**
     * Registers \a agent under the next id: 1, 2, 3 and so on, never one twice. The agent stays the caller's. An agent
     * that is registered already gets a new id and keeps receiving under the old one. Null is ignored.
     */
    void add(XMLAgent *agent);

    /**
     * Unregisters \a agent under its present id and tells the agents that want to know. The agent is not deleted and
     * keeps its id and router. Null is ignored.
     */
    void remove(XMLAgent *agent);

    /** Returns true when an agent is registered under \a id. */
    bool contains(int id);

    /** Returns the ids under which agents of type \a type are registered, ascending. */
    std::list<int> findAgentsOfType(int type);

    /** Returns the first of findAgentsOfType(); 0 when there is none. */
    int findAgentOfType(int type);

    /**
     * Returns the first of findAgentsOfType(); when there is none, what the broker's createAgent() returns, and 0
     * without a broker.
     */
    int supplyAgentOfType(int type);

    /** Returns the type of the first agent whose own id is \a id; XMLAgent::NO_AGENT_TYPE when there is none. */
    int getAgentType(int id);

    /**
     * Installs \a broker and takes it over, after deleting the one installed so far; null installs none. On purpose the
     * two are not compared: never pass the installed broker.
     */
    void setAgentBroker(XMLAgentBroker *broker);

    /**
     * Tells \a newObserver from now on what the router does; null, the default, tells nobody. The observer is not taken
     * over and may be destroyed before the router if it is unset first.
     */
    void setObserver(XMLRouterObserver *newObserver);

    /**
     * Calls agentRemoved(\a id) on every agent that wants to know and does not have that id itself, in ascending order
     * of ids. Agents that are added meanwhile are not called, nor are those removed meanwhile.
     */
    void notifyAgentRemovals(int id);

    /**
     * Takes \a packet over and queues it. It is deleted later instead when its source is not registered, and when it
     * is equal to the last packet that waits: only that one is looked at. A packet that is that last one itself is left
     * alone; null is ignored.
     *
     * Packets are delivered from the event loop, oldest first, until none waits, those sent meanwhile included. One
     * whose destination is not registered is deleted, and agents that want to know get agentRemoved().
     */
    void send(XMLPacket *packet);

protected Q_SLOTS:
    /** Delivers the packets that wait. */
    void send();

private:
    void deliver(XMLPacket *packet);
    void deliverObserved(XMLPacket *packet, XMLAgent *agent, int destination);
    void discard(XMLPacket *packet, int destination);

    int lastAgentID;
    std::map<int, XMLAgent *> agents; // never null: add() refuses that
    QList<XMLPacket *> queue; // never null: send() refuses that
    QTimer *timer;
    [[maybe_unused]] void *reserved; // keeps the place of the members behind it
    XMLCommServer *commServerAgent;
    XMLAgentBroker *broker;
    XMLRouterObserver *observer;
};

#endif
