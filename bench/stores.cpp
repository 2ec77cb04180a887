// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

// Times one question, the jobs of outputs, in the parts of its way: the bare query through libpq (PostgreSQL only), the
// query through Qt SQL, the records, and the packet from the comm server agent. Each is timed some times in turn with
// the others, and the shortest time counts. The arguments are stores.

#include <standin/zqrecords.h>
#include <standin/zqstandin.h>
#include <zqxml/xmlaction.h>
#include <zqxml/xmlagent.h>
#include <zqxml/xmlcommserver.h>
#include <zqxml/xmlobject.h>
#include <zqxml/xmlpacket.h>
#include <zqxml/xmlrouter.h>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QUrl>

#include <libpq-fe.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <limits>
#include <list>
#include <malloc.h>
#include <memory>
#include <vector>

namespace {

void require(bool right, const char *what)
{
    if (right)
        return;
    std::fprintf(stderr, "zqxml-stores: %s\n", what);
    std::exit(1);
}

constexpr int mostRouted = 10000; // records, each of some 70 KB of DOM

QString questionForJobs()
{
    QFile file(QStringLiteral(ZQXML_QUERIES));
    require(file.open(QIODevice::ReadOnly), "no queries");
    return QString::fromUtf8(file.readAll())
        .section(QStringLiteral(";\n"), 3, 3)
        .section(QStringLiteral("queue of an output.\n"), 1);
}

/** Peak of resident memory since the last call of clearPeak(), in KiB. */
long peak()
{
    QFile status(QStringLiteral("/proc/self/status"));
    require(status.open(QIODevice::ReadOnly), "no status");
    for (const QByteArray &line : status.readAll().split('\n')) {
        if (line.startsWith("VmHWM:"))
            return line.simplified().split(' ').at(1).toLong();
    }
    return 0;
}

void clearPeak()
{
    ::malloc_trim(0);
    QFile file(QStringLiteral("/proc/self/clear_refs"));
    require(file.open(QIODevice::WriteOnly) && file.write("5") == 1, "the peak cannot be cleared");
}

struct Output {
    int id;
    ZQKEY_ELEMENT key;
};

class Bare
{
public:
    explicit Bare(const QUrl &url)
        : connection(PQconnectdb(QStringLiteral("host=%1 port=%2 user=%3 dbname=%4")
                                     .arg(url.host(), QString::number(url.port()), url.userName(), url.path().mid(1))
                                     .toUtf8()
                                     .constData()))
    {
        QByteArray text = questionForJobs().toUtf8();
        text.replace(text.indexOf('?'), 1, "$1").replace(text.indexOf('?'), 1, "$2");
        PGresult *const result = PQprepare(connection, "jobs", text.constData(), 2, nullptr);
        require(PQresultStatus(result) == PGRES_COMMAND_OK, PQerrorMessage(connection));
        PQclear(result);
    }

    ~Bare()
    {
        PQfinish(connection);
    }
    Q_DISABLE_COPY(Bare)

    int ask(int output) const
    {
        const QByteArray id = QByteArray::number(output);
        const char *const values[] = {id.constData(), "3"};
        PGresult *const result = PQexecPrepared(connection, "jobs", 2, values, nullptr, nullptr, 0);
        require(PQresultStatus(result) == PGRES_TUPLES_OK, PQerrorMessage(connection));
        const int rows = PQntuples(result);
        PQclear(result);
        return rows;
    }

private:
    PGconn *const connection;
};

class Asker : public XMLAgent
{
public:
    Asker() : XMLAgent(100) { }

    void receive(XMLPacket *packet) override
    {
        answer.reset(packet);
    }

    int ask(const std::vector<Output> &outputs)
    {
        XMLAction action(QStringLiteral("Question"), XMLCommServer::REQUEST_JOBS, getAgentID());
        QStringList keys;
        QStringList hkeys;
        for (const Output &output : outputs) {
            keys << QString::number(output.key.key, 16);
            hkeys << QString::number(output.key.hkey, 16);
        }
        QDomElement node = action.getNode();
        XMLObject::setProperty(node, QStringLiteral("zqkey_key_list"), keys.join(QLatin1Char(' ')));
        XMLObject::setProperty(node, QStringLiteral("zqkey_hkey_list"), hkeys.join(QLatin1Char(' ')));
        XMLObject::setProperty(node, QStringLiteral("exclude_publications"), QStringLiteral("0"));
        XMLPacket *const packet = getXMLPacket(-1);
        packet->append(action);
        router->send(packet);
        while (!answer)
            QCoreApplication::processEvents();
        std::list<QDomNode> records;
        answer->getNodesOfType(XMLObject::XML_PACKETABLE, records);
        answer.reset();
        return static_cast<int>(records.size());
    }

private:
    std::unique_ptr<XMLPacket> answer;
};

/** One store, opened in all ways. */
class Store
{
public:
    explicit Store(const QString &name) : server(open(name)), router(&server)
    {
        router.add(&asker);
        const QUrl url(name);
        const bool isFile = !name.contains(QLatin1String("://"));
        QSqlDatabase database =
            QSqlDatabase::addDatabase(isFile ? QStringLiteral("QSQLITE") : QStringLiteral("QPSQL"), name);
        database.setDatabaseName(isFile ? name : url.path().mid(1));
        database.setHostName(url.host());
        database.setPort(url.port());
        database.setUserName(url.userName());
        require(database.open(), "a store cannot be opened");
        query = std::make_unique<QSqlQuery>(database);
        query->setForwardOnly(isFile);
        require(query->prepare(questionForJobs()), "no question");
        if (!isFile)
            bare = std::make_unique<Bare>(url);
        ZQLIST_ELEMENT *entries = server.getDBList(commands, messageId, OUTPUT_LIST_TYPE);
        for (const ZQLIST_ELEMENT *entry = entries; entry; entry = entry->next) {
            const auto *const output = static_cast<const ZQDBLIST_ENTRY *>(entry);
            outputs.push_back({static_cast<int>(output->reserved[ENTRY_ID]), output->key});
        }
        ZQPacketFreeList(&entries, DBLIST_ENTRY_TYPE);
    }

    void measure(std::size_t keys)
    {
        const std::vector<Output> asked(outputs.begin(), outputs.begin() + static_cast<std::ptrdiff_t>(keys));
        const int records = askQuery(asked);
        const std::function<int()> ways[] = {[&] { return bare ? askBare(asked) : records; },
                                             [&] { return askQuery(asked); }, [&] { return askRecords(asked); },
                                             [&] { return records <= mostRouted ? asker.ask(asked) : records; }};
        double best[4];
        std::fill(std::begin(best), std::end(best), std::numeric_limits<double>::max());
        for (int round = 0; round < 3; ++round) {
            // Twice each, so that no way pays for the memory that the one before has returned.
            for (std::size_t step = 0; step < 8; ++step) {
                const std::size_t way = step / 2;
                QElapsedTimer timer;
                timer.start();
                require(ways[way]() == records, "the ways find different records");
                best[way] =
                    std::min(best[way], static_cast<double>(timer.nsecsElapsed()) / 1000 / std::max(records, 1));
            }
        }
        clearPeak();
        const long before = peak();
        askRecords(asked);
        const double memory = static_cast<double>(peak() - before) / std::max(records, 1);
        std::printf("%5zu %8d %8.2f %8.2f %7.2f %9.2f %9.2f %9.2f\n", keys, records, bare ? best[0] : 0.0, best[1],
                    bare ? best[1] / best[0] : 0.0, best[2] - best[1], records <= mostRouted ? best[3] - best[2] : 0.0,
                    memory);
    }

    std::size_t size() const
    {
        return outputs.size();
    }

private:
    static ZQCONNECTION *open(const QString &name)
    {
        QString error;
        ZQCONNECTION *const connection = ZQOpenStore(name, &error);
        require(connection, error.toUtf8().constData());
        return connection;
    }

    int askBare(const std::vector<Output> &asked) const
    {
        int rows = 0;
        for (const Output &output : asked)
            rows += bare->ask(output.id);
        return rows;
    }

    int askQuery(const std::vector<Output> &asked) const
    {
        int rows = 0;
        for (const Output &output : asked) {
            query->bindValue(0, output.id);
            query->bindValue(1, 3);
            query->exec();
            while (query->next())
                ++rows;
            query->finish();
        }
        return rows;
    }

    int askRecords(const std::vector<Output> &asked)
    {
        int rows = 0;
        for (const Output &output : asked) {
            ZQLIST_ELEMENT *jobs =
                server.getJobqueue(commands, messageId, WAITING_QUEUE, SORT_ARRIVAL, SORT_ASCENDING, output.id);
            for (const ZQLIST_ELEMENT *job = jobs; job; job = job->next)
                ++rows;
            ZQPacketFreeList(&jobs, JOB_TYPE);
        }
        return rows;
    }

    ZQCommServer server;
    XMLRouter router;
    Asker asker;
    std::unique_ptr<QSqlQuery> query;
    std::unique_ptr<Bare> bare;
    std::vector<Output> outputs;
    ZQLPCOMMANDS commands;
    BM_MESSAGE_ID messageId;
};

} // namespace

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    // As the library asks, or the plans would be compared.
    qputenv("PGOPTIONS", "-c enable_hashjoin=off -c enable_mergejoin=off -c random_page_cost=1.1");
    std::setvbuf(stdout, nullptr, _IOLBF, 0); // each line takes its time
    for (const QString &name : QCoreApplication::arguments().mid(1)) {
        std::printf("%s\nmicroseconds a record; KiB of peak a record of the records alone\n"
                    "%5s %8s %8s %8s %7s %9s %9s %9s\n",
                    qPrintable(ZQPublicName(name)), "keys", "records", "libpq", "query", "ratio", "records", "routing",
                    "KiB");
        Store store(name);
        for (const std::size_t keys : {std::size_t(1), std::size_t(10), std::size_t(100)}) {
            if (keys < store.size())
                store.measure(keys);
        }
        store.measure(store.size());
    }
    return 0;
}
