// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "xmlpipetransport.h"

#include <algorithm>

XMLPipe::XMLPipe() : XMLPipe(Faults()) { }

XMLPipe::XMLPipe(const Faults &wanted) : faults(wanted), random(wanted.seed), isUp(true) { }

XMLPipe::~XMLPipe() = default;

void XMLPipe::setConnected(bool connected)
{
    const std::lock_guard<std::mutex> locked(mutex);
    isUp = connected;
    for (XMLPipeTransport *const end : ends) {
        QMetaObject::invokeMethod(
            end, [end, connected] { Q_EMIT end->connectedChanged(connected); }, Qt::QueuedConnection);
    }
}

bool XMLPipe::happens(double chance)
{
    return chance > 0 && random.generateDouble() < chance;
}

bool XMLPipe::carry(XMLPipeTransport *from, const QByteArray &to, const QByteArray &frame, bool probe)
{
    const std::lock_guard<std::mutex> locked(mutex);
    if (!isUp)
        return false;
    bool taken = false;
    for (XMLPipeTransport *const end : ends) {
        if (end == from || (end->ownName != to && to != "all"))
            continue;
        drop(end, {from->ownName, frame, false});
        taken = true;
    }
    if (probe && !taken)
        from->put({to, QByteArray(), true});
    return true;
}

void XMLPipe::drop(XMLPipeTransport *to, const XMLTransport::Arrival &arrival)
{
    if (happens(faults.loss))
        return;
    const auto held = heldBack.find(to);
    if (held == heldBack.end() && happens(faults.reordering)) {
        heldBack.emplace(to, arrival);
        return;
    }
    to->put(arrival);
    if (happens(faults.duplication))
        to->put(arrival);
    if (held == heldBack.end())
        return;
    to->put(held->second);
    heldBack.erase(held);
}

XMLPipeTransport::XMLPipeTransport(std::shared_ptr<XMLPipe> pipe, QObject *parent)
    : XMLTransport(parent), ownPipe(std::move(pipe))
{
}

XMLPipeTransport::~XMLPipeTransport()
{
    const std::lock_guard<std::mutex> locked(ownPipe->mutex);
    auto &ends = ownPipe->ends;
    ends.erase(std::remove(ends.begin(), ends.end(), this), ends.end());
    ownPipe->heldBack.erase(this);
}

void XMLPipeTransport::join(const QByteArray &name)
{
    const std::lock_guard<std::mutex> locked(ownPipe->mutex);
    ownName = name;
    ownPipe->ends.push_back(this);
    if (ownPipe->isUp) {
        QMetaObject::invokeMethod(
            this, [this] { Q_EMIT connectedChanged(true); }, Qt::QueuedConnection);
    }
}

bool XMLPipeTransport::send(const QByteArray &to, const QByteArray &frame, bool probe)
{
    return ownPipe->carry(this, to, frame, probe);
}

bool XMLPipeTransport::isConnected() const
{
    const std::lock_guard<std::mutex> locked(ownPipe->mutex);
    return ownPipe->isUp;
}
