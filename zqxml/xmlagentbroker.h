// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef ZQXML_XMLAGENTBROKER_H
#define ZQXML_XMLAGENTBROKER_H

#include <zqxml/zqxml_export.h>

class XMLRouter;

/**
 * Makes agents on demand. XMLRouter::supplyAgentOfType() asks the installed broker when no agent of the wanted type is
 * registered. The router owns the broker that was given to XMLRouter::setAgentBroker().
 */
class ZQXML_EXPORT XMLAgentBroker
{
public:
    /** Makes a broker without a router. */
    XMLAgentBroker();
    virtual ~XMLAgentBroker(); ///< Does nothing.

    /**
     * Returns the id of an agent of type \a agentType: makes one, registers it with XMLRouter::add(), and returns its
     * XMLAgent::getAgentID(). Returns 0 when there is none to be had. The broker, or whoever it chooses, owns the
     * agent.
     */
    virtual int createAgent(int agentType) = 0;

    /** Sets the broker's router, which is not taken over; called by XMLRouter::setAgentBroker(). */
    void setRouter(XMLRouter *router);

protected:
    XMLRouter *router; ///< the router that installed the broker, null before; not owned
};

#endif
