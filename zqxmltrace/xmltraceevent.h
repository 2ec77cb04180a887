// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef ZQXMLTRACE_XMLTRACEEVENT_H
#define ZQXMLTRACE_XMLTRACEEVENT_H

#include <zqxml/xmlagent.h>
#include <zqxml/xmlrouterobserver.h>
#include <zqxmltrace/zqxmltrace_export.h>

#include <QByteArray>
#include <QList>
#include <QString>

#include <array>

/**
 * One line of a trace: what a router did with a packet, or with an agent.
 *
 * A line holds what a recorder knew; what it leaves out keeps the value given here. docs/trace-format.md describes the
 * lines.
 */
struct ZQXMLTRACE_EXPORT XMLTraceEvent {
    /** What happened, in the order of a packet's life. */
    enum Event : int {
        AgentAdded, ///< "added": an agent is registered
        AgentRemoved, ///< "removed": an agent is registered no more
        Dropped, ///< "dropped": the packet was refused by XMLRouter::send()
        Queued, ///< "queued": the packet waits
        Undeliverable, ///< "undeliverable": nobody has its destination
        Delivering, ///< "delivering": receive() is called next
        Delivered ///< "delivered": receive() has returned
    };

    /** The kinds of content, as they are counted. */
    enum Kind : int { Packetable, Action, UI, Image, Message, Other, KindCount };

    /** Returns the word that stands for \a event in a trace. */
    static const char *nameOf(Event event);

    /** Returns the word that stands for \a kind in a trace: the name of its elements, or "other". */
    static const char *nameOf(Kind kind);

    /** Returns true for an event of an agent, false for one of a packet. */
    bool isAgentEvent() const
    {
        return event <= AgentRemoved;
    }

    /** Returns what the body holds in a few words, such as "action 1002, 2 msg"; "empty" when that is nothing. */
    QString content() const;

    qint64 time = 0; ///< nanoseconds since the trace began
    Event event = Queued; ///< what happened
    quint64 packet = 0; ///< numbers the packets of a trace from 1; 0 in an event of an agent
    int source = 0; ///< agent id; the agent itself in an event of an agent
    int destination = 0; ///< agent id
    int sourceType = XMLAgent::NO_AGENT_TYPE; ///< agent type; of the agent itself in an event of an agent
    int destinationType = XMLAgent::NO_AGENT_TYPE; ///< agent type
    XMLRouterObserver::DropReason reason = XMLRouterObserver::UnregisteredSource; ///< of Dropped
    std::array<int, KindCount> kinds{}; ///< how many elements of each kind the body holds
    QList<int> actionTypes; ///< the types of the first eight actions
    qint64 bytes = -1; ///< size of the wire form; -1 when it was not recorded
    QByteArray wire; ///< the wire form; empty when it was not recorded
    int process = 0; ///< which of several traces that are read together, from 0
};

#endif
