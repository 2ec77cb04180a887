// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "xmltracerecorder.h"

#include "traceline_p.h"
#include "tracering_p.h"

#include <zqxml/xmlpacket.h>
#include <zqxml/xmlrouter.h>
#include <zqxmlkit/xmlwire.h>

#include <QDomElement>
#include <QFile>
#include <QLoggingCategory>

#include <chrono>
#include <csignal>

#include <sys/stat.h>

Q_LOGGING_CATEGORY(lcTrace, "zqxml.trace")

namespace {

constexpr int BUFFER_SIZE = 64 * 1024; // bytes that are kept back at the most
constexpr int FLUSH_INTERVAL = 100; // milliseconds
constexpr int ACTION_TYPES = 8;

/** Keeps a pipe without a reader from ending the process: writing to it fails instead. */
class NoPipeSignal
{
public:
    NoPipeSignal()
    {
        sigemptyset(&pipe);
        sigaddset(&pipe, SIGPIPE);
        sigset_t pending;
        sigpending(&pending);
        wasPending = sigismember(&pending, SIGPIPE);
        pthread_sigmask(SIG_BLOCK, &pipe, &former);
    }
    ~NoPipeSignal()
    {
        const timespec none{};
        if (!wasPending)
            sigtimedwait(&pipe, nullptr, &none);
        pthread_sigmask(SIG_SETMASK, &former, nullptr);
    }
    Q_DISABLE_COPY(NoPipeSignal)

private:
    sigset_t pipe;
    sigset_t former;
    bool wasPending;
};

XMLTraceEvent::Kind kindOf(const QString &name)
{
    for (int kind = 0; kind < XMLTraceEvent::Other; ++kind) {
        const auto each = static_cast<XMLTraceEvent::Kind>(kind);
        if (name == QLatin1String(XMLTraceEvent::nameOf(each)))
            return each;
    }
    return XMLTraceEvent::Other;
}

void maskAttributes(const QDomElement &element, const QStringList &keys, bool all)
{
    const QDomNamedNodeMap attributes = element.attributes();
    for (int i = 0; i < attributes.length(); ++i) {
        QDomNode attribute = attributes.item(i);
        if (all || keys.contains(attribute.nodeName()))
            attribute.setNodeValue(QStringLiteral("***"));
    }
}

// Walks without recursion: the tree may be deep.
void mask(const QDomElement &top, const QStringList &keys)
{
    QDomNode masked; // the outermost element whose name is a key, while the walk is in it
    for (QDomNode n = top; !n.isNull();) {
        if (n.isElement()) {
            if (masked.isNull() && keys.contains(n.nodeName()))
                masked = n;
            maskAttributes(n.toElement(), keys, !masked.isNull());
        } else if (!masked.isNull()) {
            n.setNodeValue(QStringLiteral("***"));
        }
        QDomNode next = n.firstChild();
        while (next.isNull() && n != top) {
            if (n == masked)
                masked.clear();
            next = n.nextSibling();
            if (next.isNull())
                n = n.parentNode();
        }
        n = next;
    }
}

} // namespace

XMLTraceRecorder::XMLTraceRecorder(XMLRouter *traced, const QString &name, Content recorded)
    : XMLTraceRecorder(traced, recorded, std::make_unique<QFile>(name), nullptr)
{
}

XMLTraceRecorder::XMLTraceRecorder(XMLRouter *traced, int size, Content recorded)
    : XMLTraceRecorder(traced, recorded, nullptr, std::make_unique<XMLTraceRing>(size))
{
}

XMLTraceRecorder::XMLTraceRecorder(XMLRouter *traced, Content recorded, std::unique_ptr<QFile> output,
                                   std::unique_ptr<XMLTraceRing> ring)
    : router(traced), content(recorded), file(std::move(output)), lines(std::move(ring))
{
    using namespace std::chrono;
    start = duration_cast<microseconds>(system_clock::now().time_since_epoch()).count();
    clock.start();
    buffer.reserve(BUFFER_SIZE);
    if (file) {
        appendHeader(buffer, start);
        // Unbuffered: a disk that is full shows in the write that fills it.
        if (!file->open(QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Unbuffered))
            stop(file->errorString());
        else
            flush();
        timer.setSingleShot(true);
        timer.setInterval(FLUSH_INTERVAL);
        connect(&timer, &QTimer::timeout, this, &XMLTraceRecorder::flush);
    }
    if (router)
        router->setObserver(this);
}

XMLTraceRecorder::~XMLTraceRecorder()
{
    if (router)
        router->setObserver(nullptr);
    flush();
}

void XMLTraceRecorder::setMaskedKeys(const QStringList &keys)
{
    maskedKeys = keys;
}

bool XMLTraceRecorder::isRecording() const
{
    return reason.isEmpty();
}

QString XMLTraceRecorder::error() const
{
    return reason;
}

quint64 XMLTraceRecorder::lostEvents() const
{
    return lost;
}

bool XMLTraceRecorder::flush()
{
    if (!isRecording())
        return false;
    if (!file || buffer.isEmpty())
        return true;
    const NoPipeSignal ignored;
    qint64 done = 0;
    while (done < buffer.size()) { // what a disk that is getting full takes is less, and only the next try says why
        const qint64 written = file->write(buffer.constData() + done, buffer.size() - done);
        if (written <= 0) {
            stop(file->errorString());
            return false;
        }
        done += written;
    }
    buffer.resize(0); // keeps its room
    buffered = 0;
    struct stat status;
    if (fstat(file->handle(), &status) == 0 && status.st_nlink == 0)
        stop(tr("the file was deleted"));
    return isRecording();
}

QByteArray XMLTraceRecorder::ring() const
{
    if (!lines)
        return QByteArray();
    QByteArray text;
    appendHeader(text, start);
    return text + lines->lines();
}

void XMLTraceRecorder::agentAdded(int id, int type)
{
    types[id] = type;
    XMLTraceEvent event;
    event.event = XMLTraceEvent::AgentAdded;
    event.source = id;
    event.sourceType = type;
    write(event);
}

void XMLTraceRecorder::agentRemoved(int id)
{
    XMLTraceEvent event;
    event.event = XMLTraceEvent::AgentRemoved;
    event.source = id;
    event.sourceType = typeOf(id);
    write(event);
    types.erase(id);
}

void XMLTraceRecorder::packetQueued(XMLPacket &packet)
{
    XMLTraceEvent event;
    event.event = XMLTraceEvent::Queued;
    describe(event, packet);
    waiting.push_back({&packet, event.packet, event.source});
    write(event);
}

void XMLTraceRecorder::packetDropped(XMLPacket &packet, DropReason why)
{
    XMLTraceEvent event;
    event.event = XMLTraceEvent::Dropped;
    event.reason = why;
    describe(event, packet);
    write(event);
}

void XMLTraceRecorder::packetAboutToBeDelivered(XMLPacket &packet, int destination)
{
    delivering.push_back(takeWaiting(packet));
    XMLTraceEvent event;
    event.event = XMLTraceEvent::Delivering;
    event.packet = delivering.back().number;
    event.source = delivering.back().source;
    event.destination = destination;
    write(event);
}

void XMLTraceRecorder::packetDelivered(int destination)
{
    if (delivering.empty())
        return;
    XMLTraceEvent event;
    event.event = XMLTraceEvent::Delivered;
    event.packet = delivering.back().number;
    event.source = delivering.back().source;
    event.destination = destination;
    delivering.pop_back();
    write(event);
}

void XMLTraceRecorder::packetUndeliverable(XMLPacket &packet)
{
    const Waiting taken = takeWaiting(packet);
    XMLTraceEvent event;
    event.event = XMLTraceEvent::Undeliverable;
    event.packet = taken.number;
    event.source = taken.source;
    event.destination = packet.getDestinationAgentID();
    write(event);
}

void XMLTraceRecorder::describe(XMLTraceEvent &event, XMLPacket &packet)
{
    event.packet = ++lastPacket;
    event.source = packet.getSourceAgentID();
    event.destination = packet.getDestinationAgentID();
    event.sourceType = typeOf(event.source);
    event.destinationType = typeOf(event.destination);
    for (QDomNode child = packet.getBody().firstChild(); !child.isNull(); child = child.nextSibling()) {
        const XMLTraceEvent::Kind kind = child.isElement() ? kindOf(child.nodeName()) : XMLTraceEvent::Other;
        ++event.kinds[static_cast<std::size_t>(kind)];
        if (kind == XMLTraceEvent::Action && event.actionTypes.size() < ACTION_TYPES)
            event.actionTypes << XMLObject::getAttributeInt(child.toElement(), QStringLiteral("type"));
    }
    if (content == Headers)
        return;
    const QByteArray wire = wireOf(packet);
    event.bytes = wire.size();
    if (content == Bodies)
        event.wire = wire;
}

QByteArray XMLTraceRecorder::wireOf(const XMLPacket &packet) const
{
    if (maskedKeys.isEmpty())
        return XMLWire::toWire(packet);
    XMLPacket copy;
    copy = packet;
    mask(copy.getBody(), maskedKeys);
    return XMLWire::toWire(copy);
}

// The router delivers in the order of its queue, so the packet is the first that waits, unless it was queued before the
// trace began.
XMLTraceRecorder::Waiting XMLTraceRecorder::takeWaiting(XMLPacket &packet)
{
    if (waiting.empty() || waiting.front().packet != &packet)
        return {&packet, ++lastPacket, packet.getSourceAgentID()};
    const Waiting first = waiting.front();
    waiting.pop_front();
    return first;
}

int XMLTraceRecorder::typeOf(int id)
{
    const auto known = types.find(id);
    if (known != types.end())
        return known->second;
    // An agent that was added before the trace began. Not asked for others: an agent that was removed keeps its id.
    return router && router->contains(id) ? types.emplace(id, router->getAgentType(id)).first->second
                                          : XMLAgent::NO_AGENT_TYPE;
}

void XMLTraceRecorder::write(const XMLTraceEvent &event)
{
    if (!isRecording()) {
        ++lost;
        return;
    }
    XMLTraceEvent timed = event;
    timed.time = clock.nsecsElapsed();
    if (lines)
        buffer.resize(0);
    appendLine(buffer, timed);
    if (lines) {
        lines->append(buffer);
        return;
    }
    ++buffered;
    if (buffer.size() > BUFFER_SIZE - 1024)
        flush();
    else if (!timer.isActive())
        timer.start();
}

void XMLTraceRecorder::stop(const QString &why)
{
    reason = why.isEmpty() ? tr("the trace cannot be written") : why;
    lost += std::exchange(buffered, 0);
    buffer.clear();
    qCWarning(lcTrace, "%s: %s; the trace ends here", qPrintable(file->fileName()), qPrintable(reason));
    Q_EMIT stopped(reason);
}
