// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "xmltracerequests.h"

#include <algorithm>

quint64 XMLTraceRequests::add(const XMLTraceEvent &event)
{
    if (event.event == XMLTraceEvent::Delivering) {
        deliveries[event.process].push_back({event.packet, event.source, event.destination});
    } else if (event.event == XMLTraceEvent::Delivered) {
        auto &ongoing = deliveries[event.process];
        while (!ongoing.empty() && ongoing.back().packet != event.packet)
            ongoing.pop_back();
        if (!ongoing.empty())
            ongoing.pop_back();
    }
    if (event.event != XMLTraceEvent::Queued || event.source == event.destination)
        return 0;
    const XMLTraceAgent source{event.process, event.source};
    const XMLTraceAgent destination{event.process, event.destination};
    if (const quint64 answered = answer({destination, source}, event))
        return answered;
    if (!event.actionTypes.isEmpty()) {
        auto &of = requests[{source, destination}];
        of.push_back({event.packet, event.actionTypes.first()});
        if (count < LIMIT)
            ++count;
        else if (of.size() > 1)
            of.pop_front();
        else
            requests.erase({source, destination});
    }
    return 0;
}

const std::map<XMLTracePair, std::deque<XMLTraceRequests::Request>> &XMLTraceRequests::open() const
{
    return requests;
}

quint64 XMLTraceRequests::answer(const XMLTracePair &asked, const XMLTraceEvent &event)
{
    const auto found = requests.find(asked);
    if (found == requests.end() || found->second.empty())
        return 0;
    auto &of = found->second;
    auto request = of.begin();
    const auto &ongoing = deliveries[event.process];
    if (!ongoing.empty() && ongoing.back().source == event.destination && ongoing.back().destination == event.source) {
        const auto received = std::find_if(
            of.begin(), of.end(), [&ongoing](const Request &each) { return each.packet == ongoing.back().packet; });
        if (received != of.end())
            request = received;
    }
    const quint64 packet = request->packet;
    of.erase(request);
    --count;
    if (of.empty())
        requests.erase(found);
    return packet;
}
