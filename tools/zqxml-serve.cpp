// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

// Answers questions for records on a bus: the comm server agent and the server of pages on a database.

#include "bus.h"
#include "toolsupport.h"

#include <standin/zqstandin.h>
#include <zqxml/xmlaction.h>
#include <zqxml/xmlrouter.h>
#include <zqxmlgate/xmlgateway.h>
#include <zqxmlkit/xmlendpoint.h>
#include <zqxmlkit/xmlrecordserver.h>
#include <zqxmltrace/xmltracerecorder.h>

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QSocketNotifier>

#include <csignal>
#include <cstring>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

/** What the command line asks for. */
struct Service {
    XMLNatsTransport::Options bus;
    QString name;
    QString database;
    QString traceFile;
    bool verbose = false;
};

int signalPipe[2];

void takeSignal(int)
{
    [[maybe_unused]] const ssize_t written = ::write(signalPipe[1], "", 1);
}

/** Tells the service manager, if there is one. */
void notifyManager(const QByteArray &state)
{
    const QByteArray path = qgetenv("NOTIFY_SOCKET");
    sockaddr_un address = {};
    if (path.isEmpty() || static_cast<std::size_t>(path.size()) >= sizeof address.sun_path)
        return;
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, path.constData(), static_cast<std::size_t>(path.size()));
    if (address.sun_path[0] == '@')
        address.sun_path[0] = '\0';
    const int socket = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (socket < 0)
        return;
    const auto size = offsetof(sockaddr_un, sun_path) + static_cast<std::size_t>(path.size());
    ::sendto(socket, state.constData(), static_cast<std::size_t>(state.size()), MSG_NOSIGNAL,
             reinterpret_cast<const sockaddr *>(&address), static_cast<socklen_t>(size));
    ::close(socket);
}

/** Answers which of some keys nothing has. */
class KeyServer : public XMLEndpoint
{
public:
    KeyServer(ZQCommServer &commServer, XMLRouter *xmlRouter) : XMLEndpoint(xmlRouter, keyServerType)
    {
        connect(this, &XMLEndpoint::actionReceived, this, [this, &commServer](int sender, XMLAction &action) {
            if (action.getType() != unknownKeyRequest)
                return;
            XMLAction answer;
            answer.setType(unknownKeyRequest);
            answer.setIndex(findUnknown(commServer, action));
            send(sender, answer);
        });
    }

private:
    static int findUnknown(ZQCommServer &commServer, const XMLAction &action)
    {
        const auto keys = action.getZQKEYList();
        int unknown = -1;
        for (int i = 0; i < keys.size() && unknown < 0; ++i) {
            if (commServer.getidfromzqkey(*keys.at(i)) == 0)
                unknown = i;
        }
        qDeleteAll(keys);
        return unknown;
    }
};

/** Serves until a signal comes, or the name is taken. */
class Server
{
public:
    Server(ZQCommServer &commServer, const Service &wanted)
        : service(wanted), router(&commServer), recordServer(&commServer, &router, pageServerType),
          keyServer(commServer, &router), gateway(&router, std::make_unique<XMLNatsTransport>(wanted.bus), wanted.name),
          notifier(signalPipe[0], QSocketNotifier::Read)
    {
        gateway.exportAgent(XMLRouter::getXMLCommServerID());
        gateway.exportAgent(recordServer.getAgentID());
        gateway.exportAgent(keyServer.getAgentID());
        QObject::connect(&gateway, &XMLGateway::joined, &gateway, [this] {
            writeOut(QStringLiteral("ready as %1 on the bus %2\n").arg(gateway.name(), service.bus.bus).toUtf8());
            notifyManager("READY=1");
        });
        QObject::connect(&gateway, &XMLGateway::nameTaken, &gateway, [this] {
            QCoreApplication::exit(fail(QStringLiteral("the name %1 is taken on the bus").arg(gateway.name())));
        });
        QObject::connect(&gateway, &XMLGateway::problem, &gateway, [](const QString &line) { tell(line); });
        QObject::connect(&gateway, &XMLGateway::left, &gateway, [] { QCoreApplication::quit(); });
        QObject::connect(&notifier, &QSocketNotifier::activated, &gateway, [this] { end(); });
        if (service.verbose)
            tellOfPeers();
    }

    int run()
    {
        if (!service.traceFile.isEmpty()) {
            recorder = std::make_unique<XMLTraceRecorder>(&router, service.traceFile);
            if (!recorder->isRecording())
                return fail(service.traceFile + QStringLiteral(": ") + recorder->error());
        }
        return QCoreApplication::exec();
    }

private:
    void end()
    {
        char byte;
        if (::read(signalPipe[0], &byte, 1) < 0)
            return;
        notifyManager("STOPPING=1");
        if (isEnding)
            return QCoreApplication::quit();
        isEnding = true;
        gateway.leave();
    }

    void tellOfPeers()
    {
        QObject::connect(&gateway, &XMLGateway::connectedChanged, &gateway, [](bool connected) {
            tell(connected ? QStringLiteral("connected") : QStringLiteral("not connected"));
        });
        QObject::connect(&gateway, &XMLGateway::peerJoined, &gateway,
                         [](const QString &peer) { tell(peer + QStringLiteral(" joined")); });
        QObject::connect(&gateway, &XMLGateway::peerLeft, &gateway, [this](const QString &peer, const QString &why) {
            const XMLGateway::Counts counts = gateway.counts();
            tell(QStringLiteral("%1 %2; %3 packets received, %4 sent, %5 lost since the start")
                     .arg(peer, why)
                     .arg(counts.received)
                     .arg(counts.sent)
                     .arg(counts.lost));
        });
        QObject::connect(&gateway, &XMLGateway::packetsLost, &gateway, [](const QString &peer, int count) {
            tell(QStringLiteral("%1 packets to %2 are lost").arg(count).arg(peer));
        });
        QObject::connect(&gateway, &XMLGateway::packetRefused, &gateway, [](const QString &peer, const QString &why) {
            tell(QStringLiteral("a packet to %1 is refused: %2").arg(peer, why));
        });
    }

    const Service &service;
    XMLRouter router;
    XMLRecordServer recordServer;
    KeyServer keyServer;
    XMLGateway gateway;
    QSocketNotifier notifier;
    std::unique_ptr<XMLTraceRecorder> recorder;
    bool isEnding = false;
};

int run(const Service &service)
{
    QString error;
    ZQCONNECTION *const connection =
        service.database.isEmpty() ? ZQOpenSampleStore(&error) : ZQOpenStore(service.database, &error);
    if (!connection)
        return fail(service.database.isEmpty() ? error : ZQPublicName(service.database) + QStringLiteral(": ") + error);
    if (::pipe(signalPipe) != 0)
        return fail(QString::fromUtf8(std::strerror(errno)));
    for (const int number : {SIGTERM, SIGINT})
        std::signal(number, takeSignal);
    ZQReport() = [](const QString &line) { tell(line); };
    ZQCommServer commServer(connection);
    return Server(commServer, service).run();
}

QString readArguments(const QCommandLineParser &parser, Service &service)
{
    if (!parser.positionalArguments().isEmpty())
        return QStringLiteral("'%1' is one word too many").arg(parser.positionalArguments().at(0));
    if (!parser.isSet(QStringLiteral("bus")))
        return QStringLiteral("--bus is needed");
    service.name = parser.value(QStringLiteral("name"));
    service.database = parser.value(QStringLiteral("database"));
    service.traceFile = parser.value(QStringLiteral("trace-file"));
    service.verbose = parser.isSet(QStringLiteral("verbose"));
    if (!service.name.isEmpty() && !XMLGateway::isName(service.name))
        return QStringLiteral("--name needs 1 to 64 letters, digits, - and _, but not all");
    for (const char *const option : {"name", "database", "trace-file"}) {
        const QString name = QLatin1String(option);
        if (parser.isSet(name) && parser.value(name).isEmpty())
            return QStringLiteral("--%1 needs a value").arg(name);
    }
    return readBusArguments(parser, service.bus);
}

} // namespace

int main(int argc, char *argv[])
{
    prepareTool("zqxml-serve");
    const QCoreApplication application(argc, argv);

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "Answers questions for records on a bus, until it is told to end with SIGTERM or SIGINT. Several\n"
        "on one bus share the questions. Without a database the built-in sample answers."));
    const auto text = [](const char *latin1) { return QString::fromLatin1(latin1); };
    addBusArguments(parser);
    parser.addOptions(
        {{text("name"), text("The name on the bus, which nobody else may have; a new one by default."), text("NAME")},
         {text("database"), text("Answer from this SQLite file, or the database at a driver's URL."), text("FILE")},
         {text("verbose"), text("Tell on standard error who comes and goes, and how much was sent.")},
         {text("trace-file"), text("Record what the router does in this file, without contents."), text("FILE")}});
    if (const auto status = parseCommandLine(parser))
        return *status;
    Service service;
    const QString wrong = readArguments(parser, service);
    return wrong.isEmpty() ? run(service) : fail(wrong, WrongUsage);
}
