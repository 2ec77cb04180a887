// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

/**
 * \file
 * Times packets between two processes of one machine: through gateways over a NATS server, and beside that the parts of
 * the way one by one, QtDBus over a bus daemon, and ZeroMQ over TCP. All forms take turns, so that what else the
 * machine does meets them alike. Then it says what proxies, peers and a bus of a hundred processes cost, and, when the
 * paths of zqxml-serve and zqxml-query are given, how long the first answer takes.
 */

#include "busserver.h"
#include "samples.h"

#include <zqxml/xmlaction.h>
#include <zqxml/xmlpacket.h>
#include <zqxml/xmlrouter.h>
#include <zqxmlgate/xmlgateway.h>
#include <zqxmlgate/xmlnatstransport.h>
#include <zqxmlkit/xmlwire.h>

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QTimer>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <malloc.h>
#include <memory>
#include <thread>
#include <vector>

#include <nats/nats.h>
#include <time.h>
#include <zmq.h>

namespace {

constexpr int rounds = 9;
constexpr int sinkType = 101;
constexpr int echoType = 102;
constexpr int crowdType = 103;
constexpr int roundTrips = 500; // of a round
constexpr int crowd = 10000; // agents
constexpr int crowdOfPeers = 100;

const QString dbusName = QStringLiteral("org.example.zqxml.bench");

void require(bool right, const char *what)
{
    if (right)
        return;
    std::fprintf(stderr, "zqxml-gateway: %s\n", what);
    std::exit(1);
}

XMLNatsTransport::Options optionsOf(const QString &url)
{
    XMLNatsTransport::Options options;
    options.urls = url;
    return options;
}

/** A connection of the client library as XMLNatsTransport makes it. */
natsConnection *connectBare(const QString &url)
{
    natsOptions *options = nullptr;
    natsConnection *connection = nullptr;
    const QByteArray address = url.toUtf8();
    require(natsOptions_Create(&options) == NATS_OK && natsOptions_SetURL(options, address.constData()) == NATS_OK
                && natsOptions_SetSendAsap(options, true) == NATS_OK && natsOptions_SetNoEcho(options, true) == NATS_OK
                && natsConnection_Connect(&connection, options) == NATS_OK,
            "NATS does not connect");
    natsOptions_Destroy(options);
    return connection;
}

// The other process

/** Sends each packet back, or only those that ask for it. */
class Answerer : public XMLAgent
{
public:
    Answerer(XMLRouter &xmlRouter, int type) : XMLAgent(type)
    {
        xmlRouter.add(this);
    }

    void receive(XMLPacket *packet) override
    {
        const std::unique_ptr<XMLPacket> owned(packet);
        if (getAgentType() == sinkType && !packet->getBody().lastChildElement().hasAttribute(QStringLiteral("last")))
            return;
        XMLPacket *const answer = getXMLPacket(packet->getSourceAgentID());
        XMLAction action;
        action.setType(++answers);
        answer->append(action);
        router->send(answer);
    }

private:
    int answers = 0;
};

/** Takes texts over QtDBus. */
class DBusSink : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.example.zqxml.Agent")

public Q_SLOTS:
    Q_NOREPLY void receive(const QString &text)
    {
        characters += text.size();
    }

    qlonglong total() const
    {
        return characters;
    }

private:
    qlonglong characters = 0;
};

/** Answers who asks for it, of those who send. */
void answerBare(natsConnection *connection, natsSubscription *, natsMsg *message, void *)
{
    if (const char *const reply = natsMsg_GetReply(message))
        natsConnection_Publish(connection, reply, natsMsg_GetData(message), natsMsg_GetDataLength(message));
    natsMsg_Destroy(message);
}

/** Answers the last one, which has one byte. */
void answerZeroMq(void *socket)
{
    char buffer[65536];
    int size = 0;
    while ((size = zmq_recv(socket, buffer, sizeof buffer, 0)) >= 0) {
        if (size == 1)
            zmq_send(socket, buffer, 1, 0);
    }
}

int runOther(const QString &url, const QString &busAddress)
{
    XMLRouter router(nullptr);
    const Answerer sink(router, sinkType);
    const Answerer echo(router, echoType);
    XMLGateway gateway(&router, std::make_unique<XMLNatsTransport>(optionsOf(url)), QStringLiteral("b"));
    gateway.exportAgentsOfType(sinkType);
    gateway.exportAgentsOfType(echoType);

    natsSubscription *subscription = nullptr;
    require(natsConnection_Subscribe(&subscription, connectBare(url), "bench", answerBare, nullptr) == NATS_OK,
            "NATS does not subscribe");

    DBusSink dbusSink;
    QDBusConnection dbus = QDBusConnection::connectToBus(busAddress, QStringLiteral("bench"));
    require(dbus.registerObject(QStringLiteral("/"), &dbusSink, QDBusConnection::ExportAllSlots)
                && dbus.registerService(dbusName),
            "QtDBus does not connect");

    void *const socket = zmq_socket(zmq_ctx_new(), ZMQ_PAIR);
    char endpoint[256];
    std::size_t size = sizeof endpoint;
    require(zmq_bind(socket, "tcp://127.0.0.1:*") == 0
                && zmq_getsockopt(socket, ZMQ_LAST_ENDPOINT, endpoint, &size) == 0,
            "ZeroMQ does not bind");
    std::thread(answerZeroMq, socket).detach();
    std::printf("%s\n", endpoint);
    std::fflush(stdout);
    return QCoreApplication::exec();
}

/** Exports many agents, or is many peers that export one each. */
int runCrowd(const QString &url, int peers, int agents)
{
    struct Peer {
        explicit Peer(const QString &url) : gateway(&router, std::make_unique<XMLNatsTransport>(optionsOf(url))) { }

        XMLRouter router{nullptr};
        std::vector<std::unique_ptr<XMLAgent>> agents;
        XMLGateway gateway;
    };

    class Idler : public XMLAgent
    {
    public:
        Idler() : XMLAgent(crowdType) { }

        void receive(XMLPacket *packet) override
        {
            delete packet;
        }
    };

    std::vector<std::unique_ptr<Peer>> all;
    for (int i = 0; i < peers; ++i) {
        all.push_back(std::make_unique<Peer>(url));
        for (int j = 0; j < agents; ++j) {
            all.back()->agents.push_back(std::make_unique<Idler>());
            all.back()->router.add(all.back()->agents.back().get());
        }
        all.back()->gateway.exportAgentsOfType(crowdType);
    }
    return QCoreApplication::exec();
}

/** This program again, with other arguments. */
class Other
{
public:
    explicit Other(const QStringList &arguments)
    {
        process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        process.start(QCoreApplication::applicationFilePath(), arguments);
        require(process.waitForStarted(), "this program does not start again");
    }

    ~Other()
    {
        process.kill();
        process.waitForFinished();
    }

    QByteArray readLine()
    {
        require(process.waitForReadyRead(), "the other process says nothing");
        return process.readLine().trimmed();
    }

    qint64 processId() const
    {
        return process.processId();
    }

private:
    QProcess process;
};

// Packets

/** An action of 300 bytes on the wire. */
std::unique_ptr<XMLPacket> makeAction(int number)
{
    auto packet = std::make_unique<XMLPacket>();
    XMLAction action(
        QStringLiteral("Print all the waiting jobs of the night shift on the chosen output as soon as its rolls are "
                       "changed, and tell the desk when it is done %1")
            .arg(number, 6),
        1000 + number, 7);
    packet->append(action);
    return packet;
}

/** The list entries of ten outputs. */
std::unique_ptr<XMLPacket> makeRecords(int number)
{
    auto packet = std::make_unique<XMLPacket>();
    for (int i = 0; i < 10; ++i) {
        ZQPacketable record(DBLIST_ENTRY_TYPE);
        QByteArray text(
            "SI 8\n1 Rollenmaschine am Fenster, zweite Schicht, Papier und Farben wie am Vortag, mit Falz und "
            "Leimung, nach der Wartung vom Montag, alle Rollen von vorn, Ausschuss nach hinten, Wagen drei, Sorte "
            + QByteArray::number(number + i) + "\n2 a3 7\n3 c\n4 1\n5 78\n6 4b0\n7 3\nTI 0\n");
        require(record.fromPacket(text.data(), static_cast<unsigned int>(text.size()), false, true), "no record");
        record.setName(
            "Rollenmaschine am Fenster, zweite Schicht, Papier und Farben wie am Vortag, mit Falz und Leimung");
        packet->append(record, false);
    }
    return packet;
}

using MakePacket = std::function<std::unique_ptr<XMLPacket>(int number)>;
using Batch = std::vector<std::unique_ptr<XMLPacket>>;

Batch makeBatch(const MakePacket &make, int count, int source, int destination)
{
    Batch batch;
    for (int i = 0; i < count; ++i) {
        batch.push_back(make(i));
        batch.back()->setSourceAgentID(source);
        batch.back()->setDestinationAgentID(destination);
    }
    batch.back()->getBody().lastChildElement().setAttribute(QStringLiteral("last"), 1);
    return batch;
}

// Measuring

double median(std::vector<double> values, double part = 0.5)
{
    std::sort(values.begin(), values.end());
    return values[static_cast<std::size_t>(part * static_cast<double>(values.size() - 1) + 0.5)];
}

/** Microseconds, of the clock and of the processors that some processes have used. */
struct Span {
    double time = 0;
    double used = 0;
};

class Clock
{
public:
    explicit Clock(std::vector<qint64> others = {}) : processes(std::move(others)), before(used())
    {
        timer.start();
    }

    Span span() const
    {
        const double time = static_cast<double>(timer.nsecsElapsed()) / 1000;
        return {time, used() - before};
    }

private:
    double used() const
    {
        double sum = 0;
        for (qint64 process : processes) {
            clockid_t clock = 0;
            timespec spent = {};
            require(clock_getcpuclockid(static_cast<pid_t>(process), &clock) == 0 && clock_gettime(clock, &spent) == 0,
                    "no processor time");
            sum += static_cast<double>(spent.tv_sec) * 1e6 + static_cast<double>(spent.tv_nsec) / 1e3;
        }
        return sum;
    }

    const std::vector<qint64> processes;
    const double before;
    QElapsedTimer timer;
};

using Spans = std::vector<Span>;

std::vector<double> timesOf(const Spans &spans)
{
    std::vector<double> times;
    for (const Span &span : spans)
        times.push_back(span.time);
    return times;
}

std::vector<double> usesOf(const Spans &spans)
{
    std::vector<double> uses;
    for (const Span &span : spans)
        uses.push_back(span.used);
    return uses;
}

/** Waits for packets without keeping a processor busy. */
class Waiter : public XMLAgent
{
public:
    Waiter() : XMLAgent(100) { }

    void receive(XMLPacket *packet) override
    {
        delete packet;
        ++received;
    }

    void waitFor(int count)
    {
        while (received < count)
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        received = 0;
    }

private:
    int received = 0;
};

/** What each round took. */
struct Times {
    Spans gateway;
    Spans encoding;
    Spans nats;
    Spans decoding;
    Spans delivery;
    Spans dbus;
    Spans zeroMq;
};

void printRow(const char *label, const std::vector<double> &over, const std::vector<double> &under, double goal,
              bool atLeast)
{
    std::vector<double> ratios;
    for (std::size_t i = 0; i < over.size(); ++i)
        ratios.push_back(over[i] / under[i]);
    const double ratio = median(ratios);
    const double spread = (median(ratios, 0.75) - median(ratios, 0.25)) / 2;
    const double distance = atLeast ? ratio - goal : goal - ratio;
    const char *const verdict = std::abs(distance) < spread ? "unsure" : distance >= 0 ? "holds" : "MISSES";
    char text[16] = "";
    if (goal > 0)
        std::snprintf(text, sizeof text, "%s %.1f", atLeast ? ">=" : "<=", goal);
    std::printf("%-58s %6s %6.2f ±%.2f %s\n", label, text, ratio, spread, goal > 0 ? verdict : "");
}

/** The process that measures. */
class Bench
{
public:
    Bench(const BusServer &busServer, const QString &busAddress, qint64 daemon)
        : server(busServer), other({QStringLiteral("--other"), server.url(), busAddress}), endpoint(other.readLine()),
          processes({QCoreApplication::applicationPid(), other.processId(), server.processId(), daemon}),
          bare(connectBare(server.url())), dbus(QDBusConnection::connectToBus(busAddress, QStringLiteral("bench"))),
          socket(zmq_socket(zmq_ctx_new(), ZMQ_PAIR)), router(nullptr),
          gateway(&router, std::make_unique<XMLNatsTransport>(optionsOf(server.url())), QStringLiteral("a"))
    {
        router.add(&agent);
        require(zmq_connect(socket, endpoint.constData()) == 0, "ZeroMQ does not connect");
        waitUntil([this] { return router.findAgentOfType(sinkType) != 0 && router.findAgentOfType(echoType) != 0; });
        std::setvbuf(stdout, nullptr, _IOLBF, 0);
    }

    ~Bench()
    {
        natsConnection_Destroy(bare);
    }
    Q_DISABLE_COPY(Bench)

    void measureOneWay(const char *name, const MakePacket &make, int count, double goal, double goalBesideDBus)
    {
        Times times;
        const int bytes = static_cast<int>(
            XMLWire::toWire(*makeBatch(make, 2, agent.getAgentID(), router.findAgentOfType(sinkType))[0]).size());
        for (int round = 0; round <= rounds; ++round) {
            measureRound(times, make, count);
            if (round == 0)
                times = Times(); // all is warm now
        }
        std::printf("\n%s, %d bytes: microseconds each, and of processors in all processes\n", name, bytes);
        const std::pair<const char *, const Spans *> forms[] = {
            {"gateway", &times.gateway},       {"encoding", &times.encoding}, {"bare NATS", &times.nats},
            {"decoding", &times.decoding},     {"delivery", &times.delivery}, {"QtDBus over a bus", &times.dbus},
            {"ZeroMQ over TCP", &times.zeroMq}};
        for (const auto &[form, spans] : forms)
            std::printf("  %-20s %8.2f %8.2f\n", form, median(timesOf(*spans)) / count, median(usesOf(*spans)) / count);
        Spans sum;
        for (std::size_t i = 0; i < times.gateway.size(); ++i) {
            sum.emplace_back();
            for (const Spans *const part : {&times.encoding, &times.nats, &times.decoding, &times.delivery}) {
                sum.back().time += (*part)[i].time;
                sum.back().used += (*part)[i].used;
            }
        }
        printRow("one way: of encoding, bare NATS, decoding, delivery", timesOf(times.gateway), timesOf(sum), goal,
                 false);
        printRow("  the same, of processor time", usesOf(times.gateway), usesOf(sum), 0, false);
        printRow("  as many a second as QtDBus, times", timesOf(times.dbus), timesOf(times.gateway), goalBesideDBus,
                 true);
        measureWire(make, count, bytes);
    }

    void measureRoundTrips()
    {
        std::vector<double> ours;
        std::vector<double> plain;
        std::vector<double> medians[2];
        const int echo = router.findAgentOfType(echoType);
        for (int round = 0; round < rounds; ++round) {
            std::vector<double> of[2];
            Batch batch = makeBatch(makeAction, roundTrips, agent.getAgentID(), echo);
            for (auto &packet : batch) {
                const QByteArray wire = XMLWire::toWire(*packet);
                const Clock clock;
                router.send(packet.release());
                agent.waitFor(1);
                of[0].push_back(clock.span().time);
                const Clock bareClock;
                request(wire);
                of[1].push_back(bareClock.span().time);
            }
            for (int i = 0; i < 2; ++i)
                medians[i].push_back(median(of[i]));
            ours.insert(ours.end(), of[0].begin(), of[0].end());
            plain.insert(plain.end(), of[1].begin(), of[1].end());
        }
        std::printf(
            "\nRound trip, microseconds: gateway median %.0f, p99 %.0f; bare NATS request median %.0f, p99 %.0f\n",
            median(ours), median(ours, 0.99), median(plain), median(plain, 0.99));
        printRow("round trip at the median: of a bare NATS request", medians[0], medians[1], 1.8, false);
        printRow("  at p99", {median(ours, 0.99)}, {median(plain, 0.99)}, 0, false);
    }

    void measureCrowds()
    {
        const auto [oneHeap, oneTime] = grow(1, crowd);
        std::printf("\n%d idle proxies: %.0f bytes of heap each, there after %.2f s\n", crowd, oneHeap / crowd,
                    oneTime);
        const auto [heap, time] = grow(crowdOfPeers, 1);
        std::printf("%d idle peers with a proxy each: %.1f KB of heap each, there after %.2f s\n", crowdOfPeers,
                    heap / crowdOfPeers / 1024, time);
    }

private:
    template <typename Condition>
    static void waitUntil(Condition holds)
    {
        while (!holds())
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }

    void request(const QByteArray &bytes)
    {
        natsMsg *answer = nullptr;
        require(natsConnection_Request(&answer, bare, "bench", bytes.constData(), static_cast<int>(bytes.size()), 60000)
                    == NATS_OK,
                "NATS does not answer");
        natsMsg_Destroy(answer);
    }

    void sendAll(Batch batch)
    {
        for (auto &packet : batch)
            router.send(packet.release());
        agent.waitFor(1);
    }

    void measureRound(Times &times, const MakePacket &make, int count)
    {
        const int sink = router.findAgentOfType(sinkType);
        Batch batch = makeBatch(make, count, agent.getAgentID(), sink);
        std::vector<QByteArray> wires;
        const Clock encoding(processes);
        for (const auto &packet : batch)
            wires.push_back(XMLWire::toWire(*packet));
        times.encoding.push_back(encoding.span());

        const Clock ours(processes);
        sendAll(std::move(batch));
        times.gateway.push_back(ours.span());

        const Clock nats(processes);
        for (int i = 0; i + 1 < count; ++i) {
            const QByteArray &wire = wires[static_cast<std::size_t>(i)];
            natsConnection_Publish(bare, "bench", wire.constData(), static_cast<int>(wire.size()));
        }
        request(wires.back());
        times.nats.push_back(nats.span());

        Batch decoded;
        const Clock decoding(processes);
        for (const QByteArray &wire : wires)
            decoded.push_back(XMLWire::toPacket(wire));
        times.decoding.push_back(decoding.span());

        Waiter local;
        XMLRouter localRouter(nullptr);
        localRouter.add(&local);
        for (const auto &packet : decoded) {
            packet->setSourceAgentID(local.getAgentID());
            packet->setDestinationAgentID(local.getAgentID());
        }
        const Clock delivery(processes);
        for (auto &packet : decoded)
            localRouter.send(packet.release());
        local.waitFor(count);
        times.delivery.push_back(delivery.span());

        measureOthers(times, wires);
    }

    void measureOthers(Times &times, const std::vector<QByteArray> &wires)
    {
        std::vector<QString> texts;
        for (const QByteArray &wire : wires)
            texts.push_back(QString::fromUtf8(wire));
        const auto call = [](const char *method) {
            return QDBusMessage::createMethodCall(dbusName, QStringLiteral("/"),
                                                  QStringLiteral("org.example.zqxml.Agent"), QLatin1String(method));
        };
        const Clock dbusClock(processes);
        for (const QString &text : texts) {
            QDBusMessage message = call("receive");
            message << text;
            require(dbus.send(message), "QtDBus does not send");
        }
        const QDBusMessage total = dbus.call(call("total"));
        times.dbus.push_back(dbusClock.span());
        require(total.type() == QDBusMessage::ReplyMessage, "QtDBus does not deliver");

        const Clock zeroMqClock(processes);
        for (const QByteArray &wire : wires)
            zmq_send(socket, wire.constData(), static_cast<std::size_t>(wire.size()), 0);
        char byte = 0;
        zmq_send(socket, &byte, 1, 0);
        require(zmq_recv(socket, &byte, 1, 0) == 1, "ZeroMQ does not deliver");
        times.zeroMq.push_back(zeroMqClock.span());
    }

    /** Tells what the server reads of a packet beside the wire form, acknowledgements included. */
    void measureWire(const MakePacket &make, int count, int bytes)
    {
        Batch batch = makeBatch(make, count, agent.getAgentID(), router.findAgentOfType(sinkType));
        const qint64 before = bytesRead();
        sendAll(std::move(batch));
        waitUntil([this] { return gateway.waitingPackets() == 0; });
        std::printf("%-58s %13.0f\n", "  bytes that the server reads for a packet beside its wire form",
                    static_cast<double>(bytesRead() - before) / count - bytes);
    }

    qint64 bytesRead() const
    {
        QFile file(QStringLiteral("/proc/%1/io").arg(server.processId()));
        require(file.open(QIODevice::ReadOnly), "the server's accounts cannot be read");
        return file.readLine().split(' ').value(1).trimmed().toLongLong();
    }

    double processorTime(qint64 process) const
    {
        QFile file(QStringLiteral("/proc/%1/stat").arg(process));
        require(file.open(QIODevice::ReadOnly), "no processor time");
        const QList<QByteArray> fields = file.readAll().split(')').constLast().split(' ');
        return (fields.value(12).toDouble() + fields.value(13).toDouble()) / static_cast<double>(sysconf(_SC_CLK_TCK));
    }

    /** Returns how much the heap grows with a crowd, and how long it takes until all are there. */
    std::pair<double, double> grow(int peers, int agents)
    {
        const std::size_t wanted = static_cast<std::size_t>(peers) * static_cast<std::size_t>(agents);
        const auto heap = [] { return static_cast<double>(mallinfo2().uordblks + mallinfo2().hblkhd); };
        waitUntil([this] { return router.findAgentsOfType(crowdType).empty(); });
        const double before = heap();
        const Clock clock;
        const Other others({QStringLiteral("--crowd"), server.url(), QString::number(peers), QString::number(agents)});
        waitUntil([this, wanted] { return router.findAgentsOfType(crowdType).size() == wanted; });
        const double time = clock.span().time / 1e6;
        QElapsedTimer rest;
        rest.start();
        waitUntil([&rest] { return rest.elapsed() > 5000; });
        const double grown = heap() - before;
        const qint64 bytes = bytesRead();
        const double used[] = {processorTime(server.processId()), processorTime(others.processId())};
        rest.restart();
        waitUntil([&rest] { return rest.elapsed() > 10000; });
        std::printf(
            "idle with %d others: the server reads %.1f KB a second and uses %.1f %% of a processor, the others "
            "%.1f %%; the server holds %ld MB, the others %ld MB\n",
            peers, static_cast<double>(bytesRead() - bytes) / 1024 / 10,
            (processorTime(server.processId()) - used[0]) * 10, (processorTime(others.processId()) - used[1]) * 10,
            residentMemory(server.processId()) / 1024, residentMemory(others.processId()) / 1024);
        return {grown, time};
    }

    const BusServer &server;
    Other other;
    const QByteArray endpoint;
    const std::vector<qint64> processes; // that carry packets
    natsConnection *const bare;
    QDBusConnection dbus;
    void *const socket;
    Waiter agent;
    XMLRouter router;
    XMLGateway gateway;
};

/** Tells how long a server and a question that are started together take to the end of the answer. */
void measureFirstAnswer(const QString &serve, const QString &query, const QString &url)
{
    std::vector<double> together;
    std::vector<double> later;
    for (int round = 0; round < rounds; ++round) {
        QProcess serving;
        QProcess asking;
        const QStringList bus{QStringLiteral("--bus"), url, QStringLiteral("--bus-name"),
                              QStringLiteral("first%1").arg(round)};
        for (std::vector<double> *const times : {&together, &later}) {
            const Clock clock;
            if (times == &together)
                serving.start(serve, bus);
            asking.start(query, QStringList{QStringLiteral("outputs")} + bus);
            asking.waitForFinished();
            require(asking.exitCode() == 0 && !asking.readAllStandardOutput().isEmpty(), "nobody answers");
            times->push_back(clock.span().time / 1000);
        }
        serving.terminate();
        serving.waitForFinished();
    }
    std::printf("\nzqxml-query --bus outputs: %.0f ms, started together with zqxml-serve %.0f ms\n", median(later),
                median(together));
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.value(1) == QLatin1String("--other"))
        return runOther(arguments.value(2), arguments.value(3));
    if (arguments.value(1) == QLatin1String("--crowd"))
        return runCrowd(arguments.value(2), arguments.value(3).toInt(), arguments.value(4).toInt());
    BusServer server;
    require(server.start(), "nats-server does not start");
    QProcess daemon;
    daemon.start(QStringLiteral("dbus-daemon"),
                 {QStringLiteral("--session"), QStringLiteral("--nofork"), QStringLiteral("--print-address")});
    require(daemon.waitForReadyRead(), "dbus-daemon does not start");
    const QString busAddress = QString::fromUtf8(daemon.readLine().trimmed());
    {
        Bench bench(server, busAddress, daemon.processId());
        bench.measureOneWay("Actions", makeAction, 2000, 1.3, 2);
        bench.measureOneWay("Ten records", makeRecords, 500, 1.2, 0);
        bench.measureRoundTrips();
        bench.measureCrowds();
    }
    if (arguments.size() == 3)
        measureFirstAnswer(arguments.at(1), arguments.at(2), server.url());
    daemon.kill();
    daemon.waitForFinished();
    return 0;
}

#include "gateway.moc"
