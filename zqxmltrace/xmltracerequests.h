// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef ZQXMLTRACE_XMLTRACEREQUESTS_H
#define ZQXMLTRACE_XMLTRACEREQUESTS_H

#include <zqxmltrace/xmltraceevent.h>

#include <deque>
#include <map>
#include <tuple>
#include <vector>

/** An agent of one of several traces that are read together. */
struct XMLTraceAgent {
    int process = 0; ///< XMLTraceEvent::process
    int id = 0; ///< its number in that process

    /** Orders by process, then by id. */
    bool operator<(const XMLTraceAgent &other) const
    {
        return std::tie(process, id) < std::tie(other.process, other.id);
    }
};

/** A sender and a receiver. */
using XMLTracePair = std::pair<XMLTraceAgent, XMLTraceAgent>;

/**
 * Pairs requests with their answers. A request is a packet with an action, from one agent to another; a packet the
 * other way answers the request whose receive() sends it, and otherwise the oldest one that is open.
 */
class ZQXMLTRACE_EXPORT XMLTraceRequests
{
public:
    /** An open request. */
    struct Request {
        quint64 packet; ///< its number in the trace
        int type; ///< of its first action
    };

    /** At most so many requests are open; when there are more, the oldest one of the pair is given up. */
    static constexpr std::size_t LIMIT = 65536;

    /** Adds one event, those of one trace in its order; returns the packet that it answers, 0 for none. */
    quint64 add(const XMLTraceEvent &event);

    /** Returns what is open, oldest first, by asker and asked. */
    const std::map<XMLTracePair, std::deque<Request>> &open() const;

private:
    struct Delivery {
        quint64 packet;
        int source;
        int destination;
    };

    quint64 answer(const XMLTracePair &asked, const XMLTraceEvent &event);

    std::map<XMLTracePair, std::deque<Request>> requests;
    std::size_t count = 0;
    std::map<int, std::vector<Delivery>> deliveries; // that go on, the innermost last, by process
};

#endif
