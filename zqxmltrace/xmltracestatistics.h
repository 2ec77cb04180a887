// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef ZQXMLTRACE_XMLTRACESTATISTICS_H
#define ZQXMLTRACE_XMLTRACESTATISTICS_H

#include <zqxmltrace/xmltraceevent.h>
#include <zqxmltrace/xmltracerequests.h>

#include <map>
#include <unordered_map>
#include <vector>

/**
 * Sums up a trace. Memory grows with the agents and with the packets that wait at one time, not with the trace: beyond
 * LIMIT pairs of agents, and LIMIT agents, further ones are counted together, under the id 0.
 */
class ZQXMLTRACE_EXPORT XMLTraceStatistics
{
public:
    static constexpr std::size_t LIMIT = 4096; ///< Pairs, and agents, that are counted one by one.

    /** What one agent sent to another: accepted and dropped packets alike. */
    struct Traffic {
        quint64 packets = 0; ///< all of them
        quint64 dropped = 0; ///< of these
        quint64 undeliverable = 0; ///< of these
        qint64 bytes = 0; ///< of those packets whose size was recorded
    };

    /** How long an agent kept the event loop. Times are in nanoseconds, without those of deliveries within. */
    struct Work {
        int type = XMLAgent::NO_AGENT_TYPE; ///< the agent's type, as far as the trace tells
        quint64 deliveries = 0; ///< calls of receive()
        qint64 time = 0; ///< inside receive(), all together
        qint64 longest = 0; ///< inside one receive()
        quint64 longestPacket = 0; ///< the packet of that
    };

    /** Adds one event; those of one trace in its order. */
    void add(const XMLTraceEvent &event);

    quint64 events() const; ///< Returns how many events were added.
    quint64 packets() const; ///< Returns how many packets were sent, dropped ones included.
    qint64 duration() const; ///< Returns the nanoseconds between the first event and the last.
    quint64
    dropped(XMLRouterObserver::DropReason reason) const; ///< Returns how many packets were dropped for \a reason.
    quint64 undeliverable() const; ///< Returns how many packets had a destination that nobody has.
    quint64 longestQueue() const; ///< Returns how many packets of one trace waited at one time, at the most.

    /**
     * Returns the time in the queue, in nanoseconds, that \a share, 0 to 1, of the delivered packets did not exceed; up
     * to 3 % too high. 0 when nothing was delivered.
     */
    qint64 queueDelay(double share) const;

    const std::map<XMLTracePair, Traffic> &traffic() const; ///< Returns what was sent, by sender and receiver.
    const std::map<XMLTraceAgent, Work> &work() const; ///< Returns what the receivers took, by agent.
    const XMLTraceRequests &requests() const; ///< Returns what is unanswered so far.

private:
    struct Delivery {
        quint64 packet;
        qint64 began;
        qint64 within; // nanoseconds of deliveries inside
    };

    struct Process {
        std::unordered_map<quint64, qint64> waiting; // when the packets in the queue were queued
        std::vector<Delivery> deliveries; // that go on, the innermost last
    };

    void addSent(const XMLTraceEvent &event);
    void beginDelivery(const XMLTraceEvent &event);
    void endDelivery(const XMLTraceEvent &event);
    Traffic &trafficOf(const XMLTraceEvent &event);
    void addDelay(qint64 delay);

    quint64 eventCount = 0;
    quint64 packetCount = 0;
    qint64 firstTime = 0;
    qint64 lastTime = 0;
    quint64 drops[2] = {0, 0};
    quint64 undelivered = 0;
    std::size_t queueLength = 0;
    quint64 delayCount = 0;
    std::vector<quint64> delays; // by size
    std::map<int, Process> processes;
    std::map<XMLTracePair, Traffic> pairs;
    std::map<XMLTraceAgent, Work> receivers;
    XMLTraceRequests asked;
};

#endif
