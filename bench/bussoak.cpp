// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

/**
 * \file
 * Four processes send packets to each other over a NATS server, while three of them and the server are killed and
 * started again. All keep accounts in memory that they share, which outlives them: of each pair of lives, every packet
 * has to come once and in order, or to be told as lost if its receiver was killed, unless its sender was too. The
 * process that is never killed must not grow.
 */

#include "busserver.h"

#include <zqxml/xmlmessage.h>
#include <zqxml/xmlpacket.h>
#include <zqxml/xmlrouter.h>
#include <zqxmlgate/xmlgateway.h>
#include <zqxmlgate/xmlnatstransport.h>

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QRandomGenerator>
#include <QTimer>

#include <array>
#include <atomic>
#include <cstdio>
#include <list>
#include <memory>
#include <vector>

#include <malloc.h>

namespace {

constexpr int processCount = 4;
constexpr int mostLives = 400;
constexpr int firstType = 1000; // an agent's type is its process's life behind this
constexpr int mostWaiting = 2000;
constexpr int settleTime = 60000; // ms

using Count = std::atomic<quint64>;
static_assert(Count::is_always_lock_free, "the accounts are shared by processes");

/** What one life knows of its packets to another. */
struct Pair {
    Count sent;
    Count received;
    Count lastReceived;
    Count lost; ///< as the sender's gateway tells
};

struct Accounts {
    Count begun; ///< packets, of all lives
    Count faults;
    std::array<std::array<Pair, mostLives>, mostLives> pairs; ///< by the lives of sender and receiver
};

Accounts *openAccounts(QFile &file)
{
    if (!file.open(QIODevice::ReadWrite) || !file.resize(sizeof(Accounts)))
        return nullptr;
    return reinterpret_cast<Accounts *>(file.map(0, sizeof(Accounts)));
}

/** One life of a process. */
class Member : public XMLAgent
{
public:
    Member(Accounts &shared, int ownLife, const QString &name, const QString &url, quint64 packets)
        : XMLAgent(firstType + ownLife), accounts(shared), life(ownLife), count(packets), xmlRouter(nullptr)
    {
        xmlRouter.add(this);
        XMLNatsTransport::Options options;
        options.urls = url;
        gateway = std::make_unique<XMLGateway>(&xmlRouter, std::make_unique<XMLNatsTransport>(options), name);
        gateway->exportAgentsOfType(firstType + life);
        QObject::connect(gateway.get(), &XMLGateway::proxyAdded, gateway.get(),
                         [this](int id, int type, const QString &peer) {
                             lives[peer] = type - firstType;
                             proxies.push_back({id, type - firstType});
                         });
        QObject::connect(gateway.get(), &XMLGateway::packetsLost, gateway.get(), [this](const QString &peer, int lost) {
            accounts.pairs[place(life)][place(lives[peer])].lost += static_cast<quint64>(lost);
        });
        QObject::connect(&timer, &QTimer::timeout, &timer, [this] { sendSome(); });
        timer.start(0);
        // The heap keeps what waited at the worst moment, which is bounded and no leak.
        QObject::connect(&trimmer, &QTimer::timeout, &trimmer, [] { ::malloc_trim(0); });
        trimmer.start(1000);
    }

    void receive(XMLPacket *packet) override
    {
        const std::unique_ptr<XMLPacket> owned(packet);
        std::list<QDomNode> nodes;
        owned->getNodesOfType(XMLObject::XML_MESSAGE, nodes);
        const QStringList words = nodes.empty()
            ? QStringList()
            : nodes.front().toElement().attribute(QStringLiteral("msg")).split(QLatin1Char(' '));
        const int sender = words.value(0).toInt();
        const quint64 number = words.value(1).toULongLong();
        if (words.size() < 2 || sender < 0 || sender >= mostLives || words.value(2).toInt() != life) {
            ++accounts.faults;
            return;
        }
        Pair &pair = accounts.pairs[place(sender)][place(life)];
        if (number <= pair.lastReceived.exchange(number))
            ++accounts.faults; // twice, or out of order
        ++pair.received;
    }

private:
    struct Proxy {
        int id;
        int life;
    };

    static std::size_t place(int number)
    {
        return static_cast<std::size_t>(number);
    }

    void sendSome()
    {
        for (int i = 0; i < 50 && gateway->waitingPackets() < mostWaiting && accounts.begun < count; ++i) {
            if (proxies.empty())
                return;
            const auto chosen = proxies.begin() + QRandomGenerator::global()->bounded(static_cast<int>(proxies.size()));
            if (xmlRouter.contains(chosen->id))
                send(*chosen);
            else
                proxies.erase(chosen);
        }
        timer.setInterval(gateway->waitingPackets() < mostWaiting ? 0 : 5);
    }

    void send(const Proxy &to)
    {
        Pair &pair = accounts.pairs[place(life)][place(to.life)];
        const quint64 number = ++pair.sent; // before it is, since this may be killed in between
        XMLMessage message(QStringLiteral("%1 %2 %3 ").arg(life).arg(number).arg(to.life)
                           + QString(100, QLatin1Char('x')));
        XMLPacket *const packet = getXMLPacket(to.id);
        packet->append(message);
        const qint64 before = gateway->counts().sent;
        xmlRouter.send(packet);
        QMetaObject::invokeMethod(&xmlRouter, "send", Qt::DirectConnection);
        if (gateway->counts().sent == before)
            --pair.sent; // not taken: the peer is gone
        else
            ++accounts.begun;
    }

    Accounts &accounts;
    const int life;
    const quint64 count;
    XMLRouter xmlRouter;
    std::unique_ptr<XMLGateway> gateway;
    std::map<QString, int> lives; // of the peers
    std::vector<Proxy> proxies;
    QTimer timer;
    QTimer trimmer;
};

/** Starts the processes, kills them, and closes the books. */
class Soak
{
public:
    Soak(Accounts &shared, const QString &file, const QString &packets)
        : accounts(shared), fileName(file), count(packets), lives(0)
    {
    }

    ~Soak()
    {
        for (const auto &process : processes)
            end(*process.program);
    }

    bool run()
    {
        if (!server.start())
            return false;
        for (int i = 0; i < processCount; ++i)
            begin(i);
        const quint64 wanted = count.toULongLong();
        QElapsedTimer sinceKill;
        sinceKill.start();
        for (quint64 quarter = 1; accounts.begun < wanted; QThread::msleep(10)) {
            if (accounts.begun * 4 >= quarter * wanted)
                sample(quarter++);
            if (sinceKill.elapsed() > pause) {
                disturb();
                sinceKill.restart();
                pause = 500 + static_cast<int>(QRandomGenerator::global()->bounded(2000));
            }
        }
        settle();
        sample(4);
        return judge();
    }

private:
    struct Process {
        std::unique_ptr<QProcess> program = std::make_unique<QProcess>();
        int life = 0;
    };

    struct Sum {
        quint64 sent = 0;
        quint64 received = 0;
        quint64 told = 0; ///< as lost
        quint64 missing = 0; ///< of senders that live
        quint64 untold = 0; ///< of those
        quint64 gone = 0; ///< with their senders
    };

    static void end(QProcess &program)
    {
        program.kill();
        program.waitForFinished();
    }

    void begin(int i)
    {
        Process &process = processes[static_cast<std::size_t>(i)];
        process.life = lives++;
        process.program->setProcessChannelMode(QProcess::ForwardedChannels);
        process.program->start(QCoreApplication::applicationFilePath(),
                               {QStringLiteral("--member"), QString::number(process.life), QStringLiteral("p%1").arg(i),
                                server.url(), fileName, count});
    }

    void disturb()
    {
        const int victim = static_cast<int>(QRandomGenerator::global()->bounded(processCount));
        if (victim == 0) {
            server.kill();
            server.start();
            ++serverKills;
        } else if (lives < mostLives) {
            end(*processes[static_cast<std::size_t>(victim)].program);
            begin(victim);
        }
    }

    bool isAlive(int life) const
    {
        return std::any_of(processes.begin(), processes.end(),
                           [life](const Process &process) { return process.life == life; });
    }

    Sum add() const
    {
        Sum sum;
        for (int from = 0; from < lives; ++from) {
            for (int to = 0; to < lives; ++to) {
                const Pair &pair = accounts.pairs[static_cast<std::size_t>(from)][static_cast<std::size_t>(to)];
                const quint64 received = pair.received;
                const quint64 sent = pair.sent;
                const quint64 missing = sent > received ? sent - received : 0;
                sum.sent += sent;
                sum.received += received;
                sum.told += pair.lost;
                if (isAlive(from)) {
                    sum.missing += missing;
                    const quint64 excused = isAlive(to) ? 0 : pair.lost.load();
                    sum.untold += missing > excused ? missing - excused : 0;
                } else {
                    sum.gone += missing;
                }
                if (received > sent)
                    ++accounts.faults;
            }
        }
        return sum;
    }

    void settle() const
    {
        QElapsedTimer clock;
        clock.start();
        while (add().untold > 0 && clock.elapsed() < settleTime)
            QThread::msleep(100);
        QThread::msleep(3000); // nothing may come after all has
    }

    void sample(quint64 quarter)
    {
        const long memory = residentMemory(processes[0].program->processId());
        if (quarter == 1)
            firstMemory = memory;
        lastMemory = memory;
        const Sum sum = add();
        std::printf("%llu/4: %llu sent, %llu received; resident %ld kB, those that are killed", quarter, sum.sent,
                    sum.received, memory);
        for (std::size_t i = 1; i < processes.size(); ++i)
            std::printf(" %ld", residentMemory(processes[i].program->processId()));
        std::printf(", server %ld\n", residentMemory(server.processId()));
        std::fflush(stdout);
    }

    bool judge() const
    {
        const Sum sum = add();
        const bool balanced = sum.untold == 0 && accounts.faults == 0;
        const bool flat = lastMemory - firstMemory <= firstMemory / 10;
        std::printf("%d processes and %d servers killed; %llu of %llu packets came; %llu did not and were told as lost "
                    "(%llu with those of which only the acknowledgement was lost); %llu went with their senders; %llu "
                    "are not accounted for; %llu faults\naccounts %s, memory %s\n",
                    lives - processCount, serverKills, sum.received, sum.sent, sum.missing - sum.untold, sum.told,
                    sum.gone, sum.untold, static_cast<quint64>(accounts.faults), balanced ? "balanced" : "NOT balanced",
                    flat ? "flat" : "NOT flat");
        return balanced && flat;
    }

    Accounts &accounts;
    const QString fileName;
    const QString count;
    BusServer server;
    std::array<Process, processCount> processes;
    int lives;
    int serverKills = 0;
    int pause = 1000; // ms
    long firstMemory = 0;
    long lastMemory = 0;
};

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.value(1) == QLatin1String("--member")) {
        QFile file(arguments.value(5));
        Accounts *const accounts = openAccounts(file);
        if (!accounts)
            return 1;
        const Member member(*accounts, arguments.value(2).toInt(), arguments.value(3), arguments.value(4),
                            arguments.value(6).toULongLong());
        return QCoreApplication::exec();
    }
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Sends packets over a bus for a long time and keeps accounts."));
    parser.addHelpOption();
    parser.addOption({QStringLiteral("packets"), QStringLiteral("How many packets to send."), QStringLiteral("N"),
                      QStringLiteral("1000000")});
    parser.process(application);
    const QString packets = parser.value(QStringLiteral("packets"));
    QTemporaryDir folder;
    QFile file(folder.filePath(QStringLiteral("accounts")));
    Accounts *const accounts = openAccounts(file);
    if (packets.toULongLong() == 0 || !accounts) {
        std::fprintf(stderr, "zqxml-bussoak: the number must be positive, and temporary files possible\n");
        return 1;
    }
    return Soak(*accounts, file.fileName(), packets).run() ? 0 : 1;
}
