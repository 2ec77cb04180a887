// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "benchmarks.h"
#include "loop.h"

#include <zqxml/xmlrouter.h>

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusServer>
#include <zmq.h>

#include <array>
#include <map>
#include <vector>

namespace {

/**
 * Two packets that differ, sent in turn: they stay in the processor's caches, as a packet does that is sent as soon as
 * it is made.
 */
using Packets = std::array<std::unique_ptr<SamplePacket>, 2>;

const Packets &packetsThatDiffer(Difference difference)
{
    static std::map<Difference, Packets> known;
    Packets &packets = known[difference];
    for (int i = 0; i < 2; ++i) {
        if (!packets[static_cast<std::size_t>(i)])
            packets[static_cast<std::size_t>(i)] = std::make_unique<SamplePacket>(1024, difference, i);
    }
    return packets;
}

/** A router with one agent, which receives under the ids 1 and 2. */
template <typename Router>
struct Post {
    explicit Post(Router *ready) : router(ready)
    {
        router->add(&agent);
        router->add(&agent);
    }

    int sendAll(const Packets &packets, int count)
    {
        for (int i = 0; i < count; ++i)
            router->send(packets[static_cast<std::size_t>(i % 2)].get());
        agent.waitFor(count);
        return count;
    }

    std::unique_ptr<Router> router;
    CountingAgent agent;
};

template <typename MakeRouter>
void addForm(const std::string &path, const std::string &form, Difference difference, int count, MakeRouter makeRouter)
{
    const auto prepare = [=](benchmark::State &) {
        const Packets &packets = packetsThatDiffer(difference);
        const auto post = std::make_shared<Post<std::remove_pointer_t<decltype(makeRouter())>>>(makeRouter());
        return [&packets, post, count] { return post->sendAll(packets, count); };
    };
    add(path + '/' + form + '/' + std::to_string(count), prepare, count > 10 ? Load::Large : Load::Small);
}

/** Carries packet texts over QtDBus, from a peer to a peer in this process, without a bus. */
class DBusPeers : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.example.zqxml.Agent")

public:
    DBusPeers()
        : server(QStringLiteral("unix:tmpdir=/tmp")), client(QDBusConnection::connectToPeer(server.address(), name))
    {
        connect(&server, &QDBusServer::newConnection, this, [this](QDBusConnection accepted) {
            accepted.registerObject(QStringLiteral("/"), this, QDBusConnection::ExportAllSlots);
            receiver = accepted;
        });
        while (!receiver.isConnected())
            QCoreApplication::processEvents();
        for (const auto &packet : packetsThatDiffer(Difference::Last))
            texts.push_back(packet->document.toString(1));
    }

    ~DBusPeers() override
    {
        QDBusConnection::disconnectFromPeer(name);
    }

    int sendAll(int count)
    {
        received = 0;
        for (int i = 0; i < count; ++i) {
            QDBusMessage message = QDBusMessage::createMethodCall(
                QString(), QStringLiteral("/"), QStringLiteral("org.example.zqxml.Agent"), QStringLiteral("receive"));
            message << texts[static_cast<std::size_t>(i % 2)];
            require(client.send(message), "QtDBus does not send");
        }
        while (received < count)
            QCoreApplication::processEvents();
        return count;
    }

public Q_SLOTS:
    Q_NOREPLY void receive(const QString &text)
    {
        benchmark::DoNotOptimize(text.size());
        ++received;
    }

private:
    const QString name = QStringLiteral("zqxml-benchmark");
    QDBusServer server;
    QDBusConnection client;
    QDBusConnection receiver{QString()};
    std::vector<QString> texts;
    int received = 0;
};

/** Carries packet texts over ZeroMQ, in this thread. */
class ZeroMqPair
{
public:
    ZeroMqPair()
        : context(zmq_ctx_new()), sender(zmq_socket(context, ZMQ_PAIR)), receiver(zmq_socket(context, ZMQ_PAIR))
    {
        constexpr int unlimited = 0;
        zmq_setsockopt(sender, ZMQ_SNDHWM, &unlimited, sizeof(unlimited));
        zmq_setsockopt(receiver, ZMQ_RCVHWM, &unlimited, sizeof(unlimited));
        require(zmq_bind(receiver, "inproc://agents") == 0 && zmq_connect(sender, "inproc://agents") == 0,
                "ZeroMQ does not connect");
        for (const auto &packet : packetsThatDiffer(Difference::Last))
            texts.push_back(packet->document.toString(1).toUtf8());
    }

    ZeroMqPair(const ZeroMqPair &) = delete;
    ZeroMqPair &operator=(const ZeroMqPair &) = delete;

    ~ZeroMqPair()
    {
        zmq_close(sender);
        zmq_close(receiver);
        zmq_ctx_destroy(context);
    }

    int sendAll(int count)
    {
        for (int i = 0; i < count; ++i) {
            const QByteArray &text = texts[static_cast<std::size_t>(i % 2)];
            zmq_send(sender, text.constData(), static_cast<std::size_t>(text.size()), 0);
        }
        char buffer[4096];
        for (int i = 0; i < count; ++i)
            require(zmq_recv(receiver, buffer, sizeof(buffer), 0) > 1024, "ZeroMQ does not deliver");
        return count;
    }

private:
    void *context;
    void *sender;
    void *receiver;
    std::vector<QByteArray> texts;
};

/** Queues a call of the agent for each packet. */
class QueuedCalls
{
public:
    int sendAll(int count)
    {
        const Packets &packets = packetsThatDiffer(Difference::Last);
        for (int i = 0; i < count; ++i) {
            QMetaObject::invokeMethod(
                &context, [this, packet = packets[static_cast<std::size_t>(i % 2)].get()] { agent.receive(packet); },
                Qt::QueuedConnection);
        }
        agent.waitFor(count);
        return count;
    }

private:
    QObject context;
    CountingAgent agent;
};

template <typename Peer>
void addPeer(const std::string &form, int count)
{
    add("send/" + form + '/' + std::to_string(count), [count](benchmark::State &) {
        const auto peer = std::make_shared<Peer>();
        return [peer, count] { return peer->sendAll(count); };
    })->MeasureProcessCPUTime(); // QtDBus and ZeroMQ have threads of their own
}

} // namespace

void addRouting()
{
    const std::pair<const char *, Difference> paths[] = {
        {"sendHead", Difference::Header}, {"sendMiddle", Difference::Middle}, {"sendTail", Difference::Last}};
    for (const int count : {10, 1000}) {
        for (const auto &[path, difference] : paths) {
            addForm(path, "ours", difference, count, [] { return new XMLRouter(nullptr); });
            addForm(path, "untested", difference, count, [] { return new Loop<NoTest>; });
            if (count == 10 || !isCounting())
                addForm(path, "plain", difference, count, [] { return new Loop<TextTest>; });
        }
        if (isCounting())
            continue; // others have threads of their own, and wait for the system
        addPeer<DBusPeers>("qtdbus", count);
        addPeer<ZeroMqPair>("zeromq", count);
        addPeer<QueuedCalls>("invokemethod", count);
    }
}

#include "routing.moc"
