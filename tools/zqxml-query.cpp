// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

// Asks the comm server agent for records, the way every agent of an application does: an action in a packet, sent
// through the router, answered by a packet of records.

#include "packetformat.h"
#include "toolsupport.h"

#include <standin/zqstandin.h>
#include <zqxml/xmlaction.h>
#include <zqxml/xmlagent.h>
#include <zqxml/xmlpacket.h>
#include <zqxml/xmlrouter.h>

#include <QCommandLineParser>
#include <QCoreApplication>

#include <cstdio>
#include <vector>

namespace {

struct Query {
    int request = 0;
    QString question;
    std::vector<ZQKEY_ELEMENT> keys;
    bool withPublications = false;
    QString database;
    QString format;
    bool rebuild = false;
    bool trace = false;
};

/** The agent that asks; it keeps the answer. */
class QueryAgent : public XMLAgent
{
public:
    explicit QueryAgent(bool traced) : XMLAgent(100), trace(traced) { }

    void send(XMLPacket *packet)
    {
        show("sent", *packet);
        router->send(packet);
    }

    void receive(XMLPacket *packet) override
    {
        reply.reset(packet);
        show("delivered", *packet);
    }

    std::unique_ptr<XMLPacket> reply;

private:
    void show(const char *event, XMLPacket &packet)
    {
        if (trace)
            std::fprintf(stderr, "-- %s, from agent %d to agent %d --\n%s", event, packet.getSourceAgentID(),
                         packet.getDestinationAgentID(), toXml(packet).constData());
    }

    const bool trace;
};

QString toText(const ZQKEY_ELEMENT &key)
{
    return QString::number(key.key, 16) + QLatin1Char(':') + QString::number(key.hkey, 16);
}

bool parseKey(const QString &text, ZQKEY_ELEMENT &key)
{
    const QStringList halves = text.split(QLatin1Char(':'));
    bool first = false;
    bool second = false;
    if (halves.size() == 2)
        key = {halves.at(0).toUInt(&first, 16), halves.at(1).toUInt(&second, 16)};
    return first && second;
}

/** Fills the query from the parsed command line; returns what is wrong with it, or nothing. */
QString readArguments(const QCommandLineParser &parser, Query &query)
{
    static const struct {
        const char *question;
        int request;
    } questions[] = {{"outputs", XMLCommServer::REQUEST_OUTPUTS},
                     {"jobs", XMLCommServer::REQUEST_JOBS},
                     {"publications", XMLCommServer::REQUEST_PUBLICATIONS},
                     {"books", XMLCommServer::REQUEST_BOOKS}};
    if (parser.positionalArguments().size() != 1)
        return QStringLiteral("one of outputs, jobs, publications, books is needed");
    query.question = parser.positionalArguments().at(0);
    for (const auto &each : questions) {
        if (query.question == QLatin1String(each.question))
            query.request = each.request;
    }
    if (query.request == 0)
        return QStringLiteral("'%1' is none of outputs, jobs, publications, books").arg(query.question);
    for (const QString &text : parser.values(QStringLiteral("key"))) {
        ZQKEY_ELEMENT key;
        if (!parseKey(text, key))
            return QStringLiteral("'%1' is no key: two hexadecimal numbers and a colon between them").arg(text);
        query.keys.push_back(key);
    }
    if (!query.keys.empty() && query.request == XMLCommServer::REQUEST_OUTPUTS)
        return QStringLiteral("outputs are not asked for by key");
    query.withPublications = parser.isSet(QStringLiteral("with-publications"));
    if (query.withPublications && query.request != XMLCommServer::REQUEST_JOBS)
        return QStringLiteral("--with-publications goes with jobs only");
    query.database = parser.value(QStringLiteral("database"));
    if (query.database.isEmpty() && parser.isSet(QStringLiteral("database")))
        return QStringLiteral("--database needs a file");
    query.format = parser.value(QStringLiteral("format"));
    if (!QStringList{QStringLiteral("table"), QStringLiteral("xml"), QStringLiteral("text")}.contains(query.format))
        return QStringLiteral("'%1' is none of the formats table, xml, text").arg(query.format);
    query.rebuild = parser.isSet(QStringLiteral("rebuild"));
    query.trace = parser.isSet(QStringLiteral("trace"));
    return QString();
}

/** Sends the request and runs the event loop until it is answered, or is known not to be. */
std::unique_ptr<XMLPacket> ask(ZQCommServer &server, const Query &query)
{
    XMLRouter router(&server);
    QueryAgent agent(query.trace);
    router.add(&agent);

    XMLAction action(query.question, query.request, agent.getAgentID());
    std::vector<ZQKEY_ELEMENT> keys = query.keys;
    QList<ZQKEY_ELEMENT *> keyList;
    for (ZQKEY_ELEMENT &key : keys)
        keyList << &key;
    if (!keyList.isEmpty())
        action.setZQKEYList(keyList);
    if (query.withPublications)
        action.setExcludePublications(false);

    XMLPacket *const request = agent.getXMLPacket(XMLRouter::getXMLCommServerID());
    request->append(action);
    // The comm server agent disposes of the request from the event loop, after all packets have been delivered.
    QObject::connect(request, &QObject::destroyed, qApp, &QCoreApplication::quit);
    agent.send(request);
    QCoreApplication::exec();
    router.remove(&agent);
    return std::move(agent.reply);
}

int print(XMLPacket &packet, const Query &query)
{
    if (query.format == QLatin1String("xml"))
        return printOut(toXml(packet));
    if (query.format == QLatin1String("text"))
        return printOut(toPacketText(packet));
    return printOut(toTable(packet, query.request));
}

int printRebuilt(XMLPacket &packet, const Query &query)
{
    Records records;
    QString error;
    if (!rebuild(packet, records, &error))
        return fail(error);
    if (query.format == QLatin1String("text"))
        return printOut(toPacketText(records));
    return print(*replaceRecords(packet, records), query);
}

int run(const Query &query)
{
    QString error;
    ZQCONNECTION *const connection =
        query.database.isEmpty() ? ZQOpenSampleStore(&error) : ZQOpenStore(query.database, &error);
    if (!connection)
        return fail(query.database.isEmpty() ? error : query.database + QStringLiteral(": ") + error);
    ZQCommServer server(connection);
    for (const ZQKEY_ELEMENT &key : query.keys) {
        if (server.getidfromzqkey(key) == 0 && ZQFailedCalls() == 0)
            return fail(QStringLiteral("nothing has the key ") + toText(key));
    }
    const std::unique_ptr<XMLPacket> reply = ask(server, query);
    if (ZQFailedCalls() > 0) // the store has said why
        return Failure;
    if (!reply)
        return fail(QStringLiteral("no reply: the server has no ") + query.question
                    + (query.keys.empty() ? QString() : QStringLiteral(" under the key")));
    return query.rebuild ? printRebuilt(*reply, query) : print(*reply, query);
}

} // namespace

int main(int argc, char *argv[])
{
    prepareTool("zqxml-query");
    const QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("zqxml-query"));
    QCoreApplication::setApplicationVersion(QStringLiteral(ZQXML_VERSION));

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "Asks the comm server agent for records and prints its reply.\n\n"
        "Jobs and publications are asked for by the keys of outputs, books by the keys of publications; without keys\n"
        "all of them are asked for. Without a database the built-in sample answers."));
    parser.addPositionalArgument(QStringLiteral("what"), QStringLiteral("outputs, jobs, publications or books"),
                                 QStringLiteral("outputs|jobs|publications|books"));
    parser.addOptions(
        {{QStringLiteral("key"), QStringLiteral("Ask for the records under this key, hexadecimal; may be repeated."),
          QStringLiteral("KEY:HKEY")},
         {QStringLiteral("with-publications"), QStringLiteral("List the pages of publications among the jobs.")},
         {QStringLiteral("database"), QStringLiteral("Ask this SQLite file, or the database at a driver's URL."),
          QStringLiteral("FILE")},
         {QStringLiteral("format"),
          QStringLiteral("Print a table (the default), the reply as xml, or the packet text of its records."),
          QStringLiteral("table|xml|text"), QStringLiteral("table")},
         {QStringLiteral("rebuild"),
          QStringLiteral("Rebuild the records from the reply's XML and print what came back.")},
         {QStringLiteral("trace"),
          QStringLiteral("Show each packet as it is sent and delivered, on standard error.")}});
    if (const auto status = parseCommandLine(parser))
        return *status;
    Query query;
    const QString wrong = readArguments(parser, query);
    return wrong.isEmpty() ? run(query) : fail(wrong, WrongUsage);
}
