// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef ZQXML_XMLAGENT_H
#define ZQXML_XMLAGENT_H

#include <zqxml/zqxml_export.h>

class XMLPacket;
class XMLRouter;

/**
 * A numbered endpoint that sends and receives packets through a router.
 *
 * An application derives its agents, chooses their type numbers, and registers them with XMLRouter::add(). The router
 * never deletes an agent of the application, and an agent does not unregister itself: call XMLRouter::remove() before
 * deleting one. Everything happens on the router's thread.
 */
class ZQXML_EXPORT XMLAgent
{
public:
    /** The agent types that this library gives a meaning; an application chooses others. */
    enum : int {
        COMM_SERVER_AGENT_TYPE = 0, ///< the type of XMLCommServer
        NO_AGENT_TYPE = 5 ///< what XMLRouter::getAgentType() returns for an id that no agent has
    };

    /** Makes an agent of type \a type, with id 0 and without a router. */
    explicit XMLAgent(int type);

    /** Does not unregister the agent. */
    virtual ~XMLAgent();

    /**
     * Receives a packet that was sent to this agent, and takes it over: the agent deletes it, or lets deleteLater() do
     * so. Sending, adding, removing and deleting agents, this one included, nested event loops, and deleting the
     * router are allowed in here.
     */
    virtual void receive(XMLPacket *packet) = 0;

    /**
     * Tells an agent that wants to know that the agent \a agentID was removed, or that a packet was sent to an id that
     * no agent has. Does nothing here. What receive() may do is allowed in here too, but for one thing: -1 means that
     * the router is being destroyed, and it must not be deleted again.
     * \sa wantAgentRemovalNotifications()
     */
    virtual void agentRemoved(int agentID);

    /** Returns the type given to the constructor. */
    int getAgentType() const;

    /** Returns the id that the router gave out last; 0 before. */
    int getAgentID() const;

    /** Sets the agent's id; called by the router. */
    void setAgentID(int id);

    /** Sets the agent's router, which is not taken over; called by the router. */
    void setRouter(XMLRouter *router);

    /** Returns whether the router is to call agentRemoved(); false unless a derived agent says otherwise. */
    bool wantAgentRemovalNotifications() const;

    /**
     * Returns a new, empty packet from this agent to the agent \a destination. The caller owns it; the next step is to
     * fill it and to hand it to XMLRouter::send().
     */
    XMLPacket *getXMLPacket(int destination) const;

protected:
    XMLRouter *router; ///< the router that the agent is registered with, null before; not owned
    bool removalNotificationsWanted; ///< set by a derived agent that wants agentRemoved() called

private:
    int agentType;
    int agentID;
};

#endif
