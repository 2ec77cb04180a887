// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "xmltracestatistics.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr std::size_t STEPS = 32; // parts into which each doubling of a delay is divided

// Delays are counted by size, in places that grow with it: exact below 32 ns, in steps of 3 % above.
std::size_t placeOf(qint64 delay)
{
    auto value = static_cast<quint64>(std::max<qint64>(0, delay));
    std::size_t doublings = 0;
    for (; value >= 2 * STEPS; value /= 2)
        ++doublings;
    return doublings * STEPS + static_cast<std::size_t>(value);
}

// Returns the largest delay of a place.
qint64 delayAt(std::size_t place)
{
    if (place < 2 * STEPS)
        return static_cast<qint64>(place);
    const std::size_t doublings = place / STEPS - 1;
    return static_cast<qint64>(((place % STEPS + STEPS + 1) << doublings) - 1);
}

template <typename Key, typename Value>
Value &limited(std::map<Key, Value> &map, const Key &key, const Key &others)
{
    const auto found = map.find(key);
    if (found != map.end())
        return found->second;
    return map[map.size() < XMLTraceStatistics::LIMIT ? key : others];
}

} // namespace

void XMLTraceStatistics::add(const XMLTraceEvent &event)
{
    if (eventCount == 0)
        firstTime = event.time;
    ++eventCount;
    lastTime = std::max(lastTime, event.time);
    asked.add(event);
    switch (event.event) {
    case XMLTraceEvent::AgentAdded:
        limited(receivers, {event.process, event.source}, XMLTraceAgent()).type = event.sourceType;
        break;
    case XMLTraceEvent::AgentRemoved:
        break;
    case XMLTraceEvent::Dropped:
        addSent(event);
        ++trafficOf(event).dropped;
        ++drops[event.reason];
        break;
    case XMLTraceEvent::Queued: {
        addSent(event);
        auto &waiting = processes[event.process].waiting;
        waiting.emplace(event.packet, event.time);
        queueLength = std::max(queueLength, waiting.size());
        break;
    }
    case XMLTraceEvent::Undeliverable:
        processes[event.process].waiting.erase(event.packet);
        ++trafficOf(event).undeliverable;
        ++undelivered;
        break;
    case XMLTraceEvent::Delivering:
        beginDelivery(event);
        break;
    case XMLTraceEvent::Delivered:
        endDelivery(event);
        break;
    }
}

quint64 XMLTraceStatistics::events() const
{
    return eventCount;
}

quint64 XMLTraceStatistics::packets() const
{
    return packetCount;
}

qint64 XMLTraceStatistics::duration() const
{
    return lastTime - firstTime;
}

quint64 XMLTraceStatistics::dropped(XMLRouterObserver::DropReason reason) const
{
    return drops[reason];
}

quint64 XMLTraceStatistics::undeliverable() const
{
    return undelivered;
}

quint64 XMLTraceStatistics::longestQueue() const
{
    return queueLength;
}

qint64 XMLTraceStatistics::queueDelay(double share) const
{
    const auto wanted = static_cast<quint64>(std::ceil(share * static_cast<double>(delayCount)));
    quint64 seen = 0;
    for (std::size_t place = 0; place < delays.size(); ++place) {
        seen += delays[place];
        if (seen > 0 && seen >= wanted)
            return delayAt(place);
    }
    return 0;
}

const std::map<XMLTracePair, XMLTraceStatistics::Traffic> &XMLTraceStatistics::traffic() const
{
    return pairs;
}

const std::map<XMLTraceAgent, XMLTraceStatistics::Work> &XMLTraceStatistics::work() const
{
    return receivers;
}

const XMLTraceRequests &XMLTraceStatistics::requests() const
{
    return asked;
}

void XMLTraceStatistics::addSent(const XMLTraceEvent &event)
{
    ++packetCount;
    Traffic &traffic = trafficOf(event);
    ++traffic.packets;
    traffic.bytes += std::max<qint64>(0, event.bytes);
}

void XMLTraceStatistics::beginDelivery(const XMLTraceEvent &event)
{
    Process &process = processes[event.process];
    const auto found = process.waiting.find(event.packet);
    if (found != process.waiting.end()) {
        addDelay(event.time - found->second);
        process.waiting.erase(found);
    }
    process.deliveries.push_back({event.packet, event.time, 0});
}

void XMLTraceStatistics::endDelivery(const XMLTraceEvent &event)
{
    std::vector<Delivery> &deliveries = processes[event.process].deliveries;
    // Deliveries whose end was not recorded, as when the observer changed, are given up.
    while (!deliveries.empty() && deliveries.back().packet != event.packet)
        deliveries.pop_back();
    if (deliveries.empty())
        return;
    const Delivery ended = deliveries.back();
    deliveries.pop_back();
    const qint64 whole = event.time - ended.began;
    if (!deliveries.empty())
        deliveries.back().within += whole;
    Work &work = limited(receivers, {event.process, event.destination}, XMLTraceAgent());
    if (event.destinationType != XMLAgent::NO_AGENT_TYPE)
        work.type = event.destinationType;
    const qint64 own = whole - ended.within;
    ++work.deliveries;
    work.time += own;
    if (own > work.longest) {
        work.longest = own;
        work.longestPacket = event.packet;
    }
}

XMLTraceStatistics::Traffic &XMLTraceStatistics::trafficOf(const XMLTraceEvent &event)
{
    return limited(pairs, XMLTracePair{{event.process, event.source}, {event.process, event.destination}},
                   XMLTracePair());
}

void XMLTraceStatistics::addDelay(qint64 delay)
{
    const std::size_t place = placeOf(delay);
    if (place >= delays.size())
        delays.resize(place + 1);
    ++delays[place];
    ++delayCount;
}
