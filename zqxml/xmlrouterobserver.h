// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef ZQXML_XMLROUTEROBSERVER_H
#define ZQXML_XMLROUTEROBSERVER_H

#include <zqxml/zqxml_export.h>

class XMLPacket;

/**
 * Is told what a router does: for logs, traces and tests.
 *
 * An observer looks and does not act: in these calls it neither changes the packet nor calls the router. Where a packet
 * is handed out it stays with the router and lives until the call returns. Calls come on the router's thread.
 * Everything does nothing here, so that an observer overrides only what it wants to know. \sa XMLRouter::setObserver()
 */
class ZQXML_EXPORT XMLRouterObserver
{
public:
    /** Why a packet was dropped by XMLRouter::send(). */
    enum DropReason : int {
        UnregisteredSource, ///< no agent is registered under the packet's source
        Repeat ///< equal to the last packet that waits
    };

    XMLRouterObserver();
    virtual ~XMLRouterObserver(); ///< Does not unset the observer: that is done before.

    /** An agent of type \a type is registered under \a id. */
    virtual void agentAdded(int id, int type);

    /** No agent is registered under \a id any more; other agents are told after this. */
    virtual void agentRemoved(int id);

    /** \a packet waits for delivery. Its address names it until it is delivered. */
    virtual void packetQueued(XMLPacket &packet);

    /** \a packet is not queued, and deleted later. */
    virtual void packetDropped(XMLPacket &packet, DropReason reason);

    /** \a packet goes to receive() of the registered agent \a destination next. */
    virtual void packetAboutToBeDelivered(XMLPacket &packet, int destination);

    /**
     * receive() of \a destination has returned; the packet is the agent's and may be gone. An event loop that runs
     * within receive() delivers further packets before this, so that the two calls of a delivery nest like brackets.
     * Not called when the router was deleted meanwhile, or its observer changed.
     */
    virtual void packetDelivered(int destination);

    /** \a packet has no registered destination and is deleted next; agents are told after that. */
    virtual void packetUndeliverable(XMLPacket &packet);

private:
    XMLRouterObserver(const XMLRouterObserver &) = delete;
    XMLRouterObserver &operator=(const XMLRouterObserver &) = delete;
};

#endif
