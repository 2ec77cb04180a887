// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

// Processes on real servers, which are killed while packets are on their way.

#include <zqxml/xmlrouter.h>
#include <zqxmlgate/xmlgateway.h>
#include <zqxmlgate/xmlnatstransport.h>
#include <zqxmlkit/testing.h>

#include "texts.h"

#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRegularExpression>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QtTest>

#include <csignal>

namespace {

constexpr int echoType = 100;

/** A NATS server on a free port, which it keeps when it is started again. */
class BusServer
{
public:
    explicit BusServer(const QStringList &more = {}) : extra(more)
    {
        start();
    }

    ~BusServer()
    {
        kill();
    }

    void start()
    {
        QFile::remove(portsFile());
        process.start(QStringLiteral(ZQXML_NATS_SERVER),
                      QStringList{QStringLiteral("-a"), QStringLiteral("127.0.0.1"), QStringLiteral("-p"),
                                  port.isEmpty() ? QStringLiteral("-1") : port, QStringLiteral("--ports_file_dir"),
                                  folder.path()}
                          + extra);
        QVERIFY(process.waitForStarted());
        QTRY_VERIFY(readPort());
    }

    void kill()
    {
        process.kill();
        process.waitForFinished();
    }

    void signal(int number) const
    {
        ::kill(static_cast<pid_t>(process.processId()), number);
    }

    QString url(const QString &user = QString()) const
    {
        return QStringLiteral("nats://") + (user.isEmpty() ? user : user + QLatin1Char('@'))
            + QStringLiteral("127.0.0.1:") + port;
    }

private:
    QString portsFile() const
    {
        return folder.filePath(QStringLiteral("nats-server_%1.ports").arg(process.processId()));
    }

    bool readPort()
    {
        QFile file(portsFile());
        if (!file.open(QIODevice::ReadOnly))
            return false;
        const QJsonObject ports = QJsonDocument::fromJson(file.readAll()).object();
        const auto portOf = [&ports](const char *kind) {
            return ports.value(QLatin1String(kind)).toArray().at(0).toString().section(QLatin1Char(':'), -1);
        };
        if (portOf("nats").isEmpty())
            return false;
        port = portOf("nats");
        routes = QStringLiteral("nats://127.0.0.1:") + portOf("cluster");
        return true;
    }

public:
    QString routes; ///< where other servers of a cluster find this one

private:
    const QStringList extra;
    QTemporaryDir folder;
    QProcess process;
    QString port;
};

/** Stands between processes and a server, and cuts, stops and delays what goes through. */
class Proxy : public QTcpServer
{
public:
    explicit Proxy(const QString &url) : port(url.section(QLatin1Char(':'), -1).toUShort())
    {
        listen(QHostAddress::LocalHost);
        connect(this, &QTcpServer::newConnection, this, &Proxy::accept);
    }

    QString url() const
    {
        return QStringLiteral("nats://127.0.0.1:%1").arg(serverPort());
    }

    void cut()
    {
        for (QTcpSocket *const socket : findChildren<QTcpSocket *>())
            socket->abort();
    }

    int delay = 0; ///< ms for all that comes; what comes before it is changed keeps its own
    bool stopped = false;

    void carryOn()
    {
        stopped = false;
        for (QTcpSocket *const socket : findChildren<QTcpSocket *>())
            Q_EMIT socket->readyRead();
    }

private:
    void accept()
    {
        QTcpSocket *const client = nextPendingConnection();
        auto *const server = new QTcpSocket(this);
        server->connectToHost(QHostAddress::LocalHost, port);
        join(client, server);
        join(server, client);
    }

    void join(QTcpSocket *from, QTcpSocket *to)
    {
        connect(from, &QTcpSocket::disconnected, to, [to] { to->disconnectFromHost(); });
        connect(from, &QTcpSocket::disconnected, from, &QObject::deleteLater);
        connect(from, &QTcpSocket::readyRead, to, [this, from, to] {
            if (stopped)
                return;
            const QByteArray bytes = from->readAll();
            QTimer::singleShot(delay, Qt::PreciseTimer, to, [to, bytes] { to->write(bytes); });
        });
    }

    const quint16 port;
};

XMLNatsTransport::Options optionsOf(const QString &urls, const QString &ca = QString(), const QString &host = QString())
{
    XMLNatsTransport::Options options;
    options.urls = urls;
    options.tlsCaFile = ca;
    options.tlsHostName = host;
    return options;
}

/** Sends back what it gets. Serves as the process that is killed and stopped. */
int runEcho(const QStringList &arguments)
{
    XMLRouter router(nullptr);
    XMLRecordingAgent echo(router, echoType);
    echo.onReceive = [&](XMLPacket &packet) {
        XMLMessage message(textOf(packet));
        XMLPacket *const answer = echo.getXMLPacket(packet.getSourceAgentID());
        answer->append(message);
        echo.packets.clear();
        router.send(answer);
    };
    const auto options = optionsOf(arguments.at(2), arguments.at(4), arguments.at(5));
    XMLGateway gateway(&router, std::make_unique<XMLNatsTransport>(options), arguments.at(3));
    gateway.exportAgentsOfType(echoType);
    return QCoreApplication::exec();
}

class Echo
{
public:
    explicit Echo(const XMLNatsTransport::Options &bus)
    {
        process.setProcessChannelMode(QProcess::ForwardedChannels);
        process.start(QCoreApplication::applicationFilePath(),
                      {QStringLiteral("--echo"), bus.urls, QStringLiteral("echo"), bus.tlsCaFile, bus.tlsHostName});
        process.waitForStarted();
    }

    ~Echo()
    {
        signal(SIGCONT);
        process.kill();
        process.waitForFinished();
    }

    void signal(int number) const
    {
        ::kill(static_cast<pid_t>(process.processId()), number);
    }

private:
    QProcess process;
};

/** The side of the test: sends numbers and notes those that come back. */
class Asker
{
public:
    explicit Asker(const XMLNatsTransport::Options &options, const QString &name = QString())
        : router(nullptr), agent(router, echoType + 1),
          gateway(&router, std::make_unique<XMLNatsTransport>(options), name)
    {
        agent.onReceive = [this](XMLPacket &packet) {
            answers << textOf(packet);
            agent.packets.clear();
        };
        QObject::connect(&gateway, &XMLGateway::packetsLost, &gateway,
                         [this](const QString &, int count) { lost += count; });
        QObject::connect(&gateway, &XMLGateway::packetRefused, &gateway,
                         [this](const QString &, const QString &reason) { refusals << reason; });
        QObject::connect(&gateway, &XMLGateway::problem, &gateway, [this](const QString &line) { problems << line; });
    }

    int echo()
    {
        return router.findAgentOfType(echoType);
    }

    void send(int to, const QString &text)
    {
        XMLPacket *const packet = agent.getXMLPacket(to);
        XMLMessage message(text);
        packet->append(message);
        router.send(packet);
    }

    XMLRouter router;
    XMLRecordingAgent agent;
    XMLGateway gateway;
    QStringList answers;
    QStringList refusals;
    QStringList problems;
    int lost = 0;
};

} // namespace

class TestBus : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void serverDies();
    void serverStops();
    void connectionsSuffer();
    void clusterFailsOver();
    void peerDies();
    void peerStops();
    void sizes();
    void refusals_data();
    void refusals();

private:
    static void sendThrough(Asker &asker, const std::function<void(int)> &trouble);
};

/** Sends numbers, with trouble in between, until all have come back, in order. */
void TestBus::sendThrough(Asker &asker, const std::function<void(int)> &trouble)
{
    const int count =
        qEnvironmentVariableIsSet("ZQXML_GATE_PACKETS") ? qEnvironmentVariableIntValue("ZQXML_GATE_PACKETS") : 10000;
    QTRY_VERIFY(asker.echo() != 0);
    const int echo = asker.echo();
    QStringList sent;
    for (int i = 0; i < count; ++i) {
        asker.send(echo, QString::number(i));
        sent << QString::number(i);
        if (i % 500 == 0)
            QCoreApplication::processEvents();
        while (asker.gateway.waitingPackets() > 3000)
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        if (i % (count / 6) == count / 12)
            trouble(i / (count / 6));
    }
    QTRY_COMPARE_WITH_TIMEOUT(asker.answers.size(), sent.size(), 60000);
    QVERIFY(asker.answers == sent);
    QCOMPARE(asker.lost, 0);
    QVERIFY(asker.refusals.isEmpty());
}

void TestBus::serverDies()
{
    BusServer server;
    const Echo echo(optionsOf(server.url()));
    Asker asker(optionsOf(server.url()));
    sendThrough(asker, [&server](int) {
        server.kill();
        server.start();
    });
}

void TestBus::serverStops()
{
    BusServer server;
    const Echo echo(optionsOf(server.url()));
    Asker asker(optionsOf(server.url()));
    sendThrough(asker, [&server](int) {
        server.signal(SIGSTOP);
        QTest::qWait(700);
        server.signal(SIGCONT);
    });
}

void TestBus::connectionsSuffer()
{
    BusServer server;
    Proxy proxy(server.url());
    const Echo echo(optionsOf(proxy.url()));
    Asker asker(optionsOf(proxy.url()));
    sendThrough(asker, [&proxy](int i) {
        if (i % 3 == 0)
            return proxy.cut();
        if (i % 3 == 1) {
            proxy.delay = proxy.delay == 0 ? 20 : 0;
            return;
        }
        proxy.stopped = true;
        QTest::qWait(2500);
        proxy.carryOn();
    });
}

void TestBus::clusterFailsOver()
{
    const QStringList member{QStringLiteral("--cluster_name"), QStringLiteral("test"), QStringLiteral("--cluster"),
                             QStringLiteral("nats://127.0.0.1:-1")};
    BusServer first(member);
    const QStringList join = member + QStringList{QStringLiteral("--routes"), first.routes};
    BusServer second(join);
    BusServer third(join);
    const QString urls = first.url() + QLatin1Char(',') + second.url() + QLatin1Char(',') + third.url();
    const Echo echo(optionsOf(urls));
    Asker asker(optionsOf(urls));
    BusServer *const servers[] = {&second, &third};
    sendThrough(asker, [&servers](int i) {
        BusServer &server = *servers[i % 2];
        server.kill();
        server.start();
    });
}

/** Its agents go, which is told once, and what it took along is counted. */
void TestBus::peerDies()
{
    BusServer server;
    const Echo echo(optionsOf(server.url()));
    Asker asker(optionsOf(server.url()));
    QTRY_VERIFY(asker.echo() != 0);
    const int id = asker.echo();
    asker.send(id, QStringLiteral("first"));
    QTRY_COMPARE(asker.answers.size(), 1);
    QElapsedTimer clock;
    clock.start();
    echo.signal(SIGKILL);
    asker.send(id, QStringLiteral("second"));
    QTRY_COMPARE(asker.echo(), 0);
    qInfo("gone after %lld ms with traffic", clock.elapsed());
    QTRY_COMPARE(asker.lost, 1);
    QCOMPARE(asker.agent.removed.count(id), 1);

    const Echo next(optionsOf(server.url()));
    QTRY_VERIFY(asker.echo() != 0);
    QTest::qWait(2500); // the traffic of joining is forgotten
    clock.start();
    next.signal(SIGKILL);
    QTRY_COMPARE(asker.echo(), 0);
    qInfo("gone after %lld ms without traffic", clock.elapsed());
}

/** What waits for a peer that does not move is bounded; what is refused is told, and all else arrives. */
void TestBus::peerStops()
{
    BusServer server;
    const Echo echo(optionsOf(server.url()));
    Asker asker(optionsOf(server.url()));
    QTRY_VERIFY(asker.echo() != 0);
    const int id = asker.echo();
    bool overloaded = false;
    connect(&asker.gateway, &XMLGateway::overloaded, this,
            [&](const QString &, bool tooMuch) { overloaded = tooMuch; });
    echo.signal(SIGSTOP);
    for (int i = 0; i < 30000; ++i) {
        asker.send(id, QString::number(i));
        if (i % 500 == 0)
            QCoreApplication::processEvents();
    }
    QTRY_COMPARE_WITH_TIMEOUT(asker.gateway.waitingPackets() + asker.refusals.size(), 30000, 60000);
    QVERIFY(overloaded);
    const int waiting = asker.gateway.waitingPackets();
    echo.signal(SIGCONT);
    QTRY_COMPARE_WITH_TIMEOUT(asker.answers.size(), waiting, 60000);
    QCOMPARE(asker.answers.constLast(), QString::number(waiting - 1));
    QTRY_VERIFY(!overloaded);
}

void TestBus::sizes()
{
    BusServer server;
    const Echo echo(optionsOf(server.url()));
    Asker asker(optionsOf(server.url()));
    QTRY_VERIFY(asker.echo() != 0);
    const QString large(15 << 20, QLatin1Char('x'));
    asker.send(asker.echo(), large);
    asker.send(asker.echo(), QString(17 << 20, QLatin1Char('y')));
    asker.send(asker.echo(), QStringLiteral("small"));
    QTRY_COMPARE_WITH_TIMEOUT(asker.answers.size(), 2, 30000);
    QVERIFY(asker.answers.at(0) == large);
    QCOMPARE(asker.answers.at(1), QStringLiteral("small"));
    QCOMPARE(asker.refusals.join(QLatin1Char('|')), QStringLiteral("it has 17825928 bytes, and 16777216 are allowed"));
}

void TestBus::refusals_data()
{
    QTest::addColumn<QString>("user");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("ca");
    QTest::addColumn<QString>("host");
    QTest::addColumn<QString>("problem");
    const auto row = [](const char *title, const char *user, const char *name, const char *ca, const char *host,
                        const char *problem) {
        QTest::newRow(title) << QString::fromLatin1(user) << QString::fromLatin1(name) << QString::fromLatin1(ca)
                             << QString::fromLatin1(host) << QString::fromLatin1(problem);
    };
    row("password", "friend:wrong", "friend", "", "", "the bus cannot be reached: .*[Aa]uthorization.*");
    row("name of another", "friend:right", "echo2", "", "", "the bus: .*[Pp]ermissions? [Vv]iolation.*");
    row("certificate", "friend:right", "friend", "other.pem", "bus.test", "the bus cannot be reached: .*certificate.*");
    const char *const elsewhere = "the bus cannot be reached: .*mismatch.*";
    row("asked for host", "friend:right", "friend", "bus.pem", "other.test", elsewhere);
    row("host of the address", "friend:right", "friend", "bus.pem", "", elsewhere);
}

/** Who may not join is told so in one line, tries again, and disturbs nobody who may. */
void TestBus::refusals()
{
    QFETCH(QString, user);
    QFETCH(QString, name);
    QFETCH(QString, ca);
    QFETCH(QString, host);
    QFETCH(QString, problem);
    QTemporaryDir folder;
    QFile file(folder.filePath(QStringLiteral("nats.conf")));
    QVERIFY(file.open(QIODevice::WriteOnly));
    QByteArray users;
    for (const char *const each : {"friend", "echo"}) {
        users += QByteArray("{user: NAME, password: right, permissions: {publish: \"zq.main.to.*.from.NAME\", "
                            "subscribe: [\"zq.main.to.NAME.from.*\", \"zq.main.to.all.from.*\"]}}\n")
                     .replace("NAME", each);
    }
    file.write("authorization: {users: [" + users + "]}\n");
    if (!ca.isEmpty()) {
        for (const char *const each : {"other", "bus"}) {
            const QString make = QStringLiteral("req -x509 -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes -subj "
                                                "/CN=%1.test -addext subjectAltName=DNS:%1.test -keyout %2/%1.key "
                                                "-out %2/%1.pem")
                                     .arg(QLatin1String(each), folder.path());
            QCOMPARE(QProcess::execute(QStringLiteral("openssl"), make.split(QLatin1Char(' '))), 0);
        }
        file.write(QByteArray("tls: {cert_file: \"PATH/bus.pem\", key_file: \"PATH/bus.key\"}\n")
                       .replace("PATH", folder.path().toUtf8()));
    }
    file.close();
    BusServer server({QStringLiteral("-c"), file.fileName()});
    const auto optionsFor = [&](const QString &who, const QString &trusted, const QString &named) {
        return optionsOf(server.url(who), ca.isEmpty() ? ca : folder.filePath(trusted), ca.isEmpty() ? ca : named);
    };
    const QString trusted = QStringLiteral("bus.pem");
    const QString named = QStringLiteral("bus.test");
    const Echo echo(optionsFor(QStringLiteral("echo:right"), trusted, named));
    Asker good(optionsFor(QStringLiteral("friend:right"), trusted, named), QStringLiteral("friend"));
    QTRY_VERIFY(good.echo() != 0);
    Asker bad(optionsFor(user, ca, host), name);
    QTRY_VERIFY(!bad.problems.isEmpty());
    QTest::qWait(1000);
    const QRegularExpression expected(problem);
    for (const QString &line : std::as_const(bad.problems))
        QVERIFY2(expected.match(line).hasMatch(), qPrintable(line));
    QCOMPARE(bad.echo(), 0);
    good.send(good.echo(), QStringLiteral("still there"));
    QTRY_COMPARE(good.answers.size(), 1);
}

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    if (argc == 6 && qstrcmp(argv[1], "--echo") == 0)
        return runEcho(QCoreApplication::arguments());
    TestBus test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_bus.moc"
