// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "xmltransport.h"

namespace {

constexpr qint64 mostBytes = 64 << 20;
constexpr qint64 mostBytesOfOne = 8 << 20;
constexpr qint64 costOfEach = 200; // bytes beside the content

qint64 costOf(const XMLTransport::Arrival &arrival)
{
    return arrival.frame.size() + costOfEach;
}

} // namespace

XMLTransport::XMLTransport(QObject *parent) : QObject(parent), allBytes(0), announced(false) { }

void XMLTransport::put(const Arrival &arrival)
{
    const std::lock_guard<std::mutex> locked(mutex);
    const qint64 cost = costOf(arrival);
    if (allBytes + cost > mostBytes)
        return;
    qint64 &bytesOfOne = bytesOf[arrival.sender];
    if (bytesOfOne + cost > mostBytesOfOne)
        return;
    allBytes += cost;
    bytesOfOne += cost;
    inbox.push_back(arrival);
    if (!std::exchange(announced, true))
        QMetaObject::invokeMethod(this, &XMLTransport::arrived, Qt::QueuedConnection);
}

bool XMLTransport::take(Arrival &arrival)
{
    const std::lock_guard<std::mutex> locked(mutex);
    if (inbox.empty()) {
        announced = false;
        return false;
    }
    arrival = std::move(inbox.front());
    inbox.pop_front();
    const qint64 cost = costOf(arrival);
    allBytes -= cost;
    const auto bytesOfOne = bytesOf.find(arrival.sender);
    bytesOfOne->second -= cost;
    if (bytesOfOne->second == 0)
        bytesOf.erase(bytesOfOne);
    return true;
}
