// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef BENCH_LOOP_H
#define BENCH_LOOP_H

#include "samples.h"

#include <zqxml/xmlagent.h>

#include <QCoreApplication>
#include <QTimer>

#include <map>

/** An agent that counts what it receives; the packets stay with the benchmark, to be sent again. */
class CountingAgent : public XMLAgent
{
public:
    CountingAgent() : XMLAgent(100) { }

    void receive(XMLPacket *) override
    {
        ++received;
    }

    /** Runs the event loop until \a count packets have come since the last call. */
    void waitFor(int count)
    {
        while (received < count)
            QCoreApplication::processEvents();
        received = 0;
    }

private:
    int received = 0;
};

/** The loop of XMLRouter with another test for repeats. */
template <typename IsRepeat>
class Loop
{
public:
    Loop()
    {
        QObject::connect(&timer, &QTimer::timeout, &timer, [this] { deliverAll(); });
    }

    void add(XMLAgent *agent)
    {
        const int id = static_cast<int>(agents.size()) + 1;
        agent->setAgentID(id);
        agents[id] = agent;
    }

    void send(XMLPacket *packet)
    {
        if (agents.count(packet->getSourceAgentID()) == 0)
            return;
        if (!queue.isEmpty() && IsRepeat()(*queue.constLast(), *packet))
            return;
        queue.append(packet);
        if (!timer.isActive()) {
            timer.setSingleShot(true);
            timer.start(0);
        }
    }

private:
    void deliverAll()
    {
        while (!queue.isEmpty()) {
            XMLPacket *const packet = queue.takeFirst();
            const auto entry = agents.find(packet->getDestinationAgentID());
            if (entry != agents.end())
                entry->second->receive(packet);
        }
    }

    std::map<int, XMLAgent *> agents;
    QList<XMLPacket *> queue;
    QTimer timer;
};

struct NoTest {
    bool operator()(const XMLPacket &, const XMLPacket &) const
    {
        return false;
    }
};

/** The plain form of the test; both packets are a SamplePacket. */
struct TextTest {
    bool operator()(const XMLPacket &a, const XMLPacket &b) const
    {
        return haveEqualTexts(static_cast<const SamplePacket &>(a), static_cast<const SamplePacket &>(b));
    }
};

#endif
