// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "postgresserver.h"
#include "testtools.h"

#include <standin/zqrecords.h>
#include <standin/zqstandin.h>

#include <QCryptographicHash>
#include <QEventLoop>
#include <QRegularExpression>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QUrl>
#include <QVariant>

#include <functional>

Q_DECLARE_METATYPE(ZQSTORESIZE)

namespace {

PostgresServer &server()
{
    static PostgresServer server;
    return server;
}

bool hasServer()
{
    return server().isThere() && QSqlDatabase::isDriverAvailable(QStringLiteral("QPSQL"));
}

/** A connection that may write. */
class Connection
{
public:
    explicit Connection(const QString &store) : name(QStringLiteral("writer %1").arg(++count))
    {
        const bool isFile = !store.contains(QLatin1String("://"));
        QSqlDatabase database =
            QSqlDatabase::addDatabase(isFile ? QStringLiteral("QSQLITE") : QStringLiteral("QPSQL"), name);
        database.setDatabaseName(isFile ? store : store.section(QLatin1Char('/'), 3));
        database.setHostName(QStringLiteral("127.0.0.1"));
        database.setPort(server().port);
        database.setUserName(QStringLiteral("postgres"));
        if (!isFile)
            database.setConnectOptions(QStringLiteral("options='-c client_min_messages=error'"));
        if (!database.open())
            qFatal("%s", qPrintable(database.lastError().text()));
    }

    ~Connection()
    {
        QSqlDatabase::removeDatabase(name);
    }
    Q_DISABLE_COPY(Connection)

    QSqlDatabase handle() const
    {
        return QSqlDatabase::database(name);
    }

private:
    static int count;
    const QString name;
};

int Connection::count = 0;

constexpr ZQSTORESIZE small = {3, 5, 900, 7, 1};

} // namespace

/** Stores in files and on a server, with the same data and the same faults. */
class tst_Store : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();
    void answers_data();
    void answers();
    void copies_data();
    void copies();
    void existing_data();
    void existing();
    void plans_data();
    void plans();
    void snapshot_data();
    void snapshot();
    void refused_data();
    void refused();
    void rights();
    void passwords();
    void droppedTable_data();
    void droppedTable();
    void failingServer();
    void silentServer();

private:
    /** Adds a row for each kind of store. */
    static void addKinds()
    {
        QTest::addColumn<bool>("onServer");
        QTest::newRow("file") << false;
        QTest::newRow("server") << true;
    }

    /** Returns the place of a store that is not there yet. */
    QString place(bool onServer, const QString &name = QStringLiteral("shop"))
    {
        if (onServer)
            used << server().url(name);
        return onServer ? used.last() : folder->filePath(name);
    }

    /** Changes a store behind the back of its readers. */
    void execute(const QString &store, const QStringList &statements)
    {
        const Connection writer(store);
        rows.clear();
        for (const QString &statement : statements) {
            QSqlQuery query(writer.handle());
            QVERIFY2(query.exec(statement), qPrintable(query.lastError().text()));
            while (query.next())
                rows << query.value(query.record().count() - 1).toString();
        }
    }

    /** Returns the text of a chain, which it frees. */
    static QByteArray textOf(ZQLIST_ELEMENT *chain, PACKETDATATYPES type)
    {
        QByteArray text;
        for (const ZQLIST_ELEMENT *record = chain; record; record = record->next) {
            unsigned int length = 0;
            const std::unique_ptr<char, decltype(&std::free)> bytes(ZQWriteRecord(record, type, length), &std::free);
            text.append(bytes.get(), static_cast<int>(length));
        }
        ZQPacketFreeList(&chain, type);
        return text;
    }

    /** Asks every question and returns the text of all records. */
    QByteArray askAll(ZQCommServer &asked)
    {
        QByteArray text;
        for (const PACKETDATATYPES list : {OUTPUT_LIST_TYPE, BOOK_LIST_TYPE}) {
            ZQLIST_ELEMENT *entries = asked.getDBList(commands, messageId, list);
            for (const ZQLIST_ELEMENT *entry = entries; entry; entry = entry->next) {
                const ZQKEY_ELEMENT key = static_cast<const ZQDBLIST_ENTRY *>(entry)->key;
                const int id = asked.getidfromzqkey(key);
                text += QByteArray::number(id)
                    + textOf(asked.getBooks(commands, messageId, SORT_ARRIVAL, SORT_ASCENDING, key), BOOK_TYPE);
                for (const unsigned int queue : {1u, 2u, 3u, 4u})
                    text +=
                        textOf(asked.getJobqueue(commands, messageId, ZQQUEUE(queue), SORT_ARRIVAL, SORT_ASCENDING, id),
                               JOB_TYPE);
            }
            text += textOf(entries, DBLIST_ENTRY_TYPE);
        }
        return text;
    }

    QByteArray askAll(const QString &store)
    {
        ZQCommServer asked(ZQOpenStore(store, &error));
        return askAll(asked);
    }

    /** Returns what \a call gives within one turn of an event loop. */
    static QByteArray inTurn(const std::function<QByteArray()> &call)
    {
        QByteArray result;
        QEventLoop loop;
        QMetaObject::invokeMethod(
            &loop,
            [&] {
                result = call();
                QMetaObject::invokeMethod(&loop, &QEventLoop::quit, Qt::QueuedConnection);
            },
            Qt::QueuedConnection);
        loop.exec();
        return result;
    }

    QByteArray jobsOf(ZQCommServer &asked, int output)
    {
        return textOf(asked.getJobqueue(commands, messageId, WAITING_QUEUE, SORT_ARRIVAL, SORT_ASCENDING, output),
                      JOB_TYPE);
    }

    /** Returns the lines reported since the last call, without the store's name. */
    QString takeReports()
    {
        return std::exchange(reports, {}).join(QLatin1Char('|'));
    }

    std::unique_ptr<QTemporaryDir> folder;
    QStringList used; ///< databases of the server
    QStringList rows; ///< the last columns of what was selected
    QStringList reports;
    QString error;
    ZQLPCOMMANDS commands;
    BM_MESSAGE_ID messageId;
};

void tst_Store::initTestCase()
{
    if (!hasServer())
        return;
    for (const char *const name : {"shop", "other"})
        execute(server().url(QStringLiteral("postgres")),
                {QStringLiteral("DROP DATABASE IF EXISTS ") + QLatin1String(name),
                 QStringLiteral("CREATE DATABASE ") + QLatin1String(name)});
}

void tst_Store::init()
{
    const QByteArray row = QTest::currentDataTag();
    if (!hasServer() && (row.isEmpty() || row.contains("server"))) {
        QTest::qSkip("PostgreSQL, or its driver for Qt, is not installed", __FILE__, __LINE__);
        return;
    }
    folder = std::make_unique<QTemporaryDir>();
    error.clear();
    ZQReport() = [this](const QString &line) { reports << line.section(QStringLiteral(": "), 1); };
}

void tst_Store::cleanup()
{
    ZQReport() = nullptr;
    QCOMPARE(takeReports(), QString());
    folder.reset();
    for (const QString &database : std::exchange(used, {}))
        execute(database,
                {QStringLiteral("DROP SCHEMA public CASCADE"), QStringLiteral("CREATE SCHEMA public"),
                 QStringLiteral("GRANT USAGE ON SCHEMA public TO public"),
                 QStringLiteral("DROP ROLE IF EXISTS reader, guarded")});
    QCOMPARE(ZQLiveRecords(), 0u);
    QCOMPARE(QSqlDatabase::connectionNames(), QStringList());
}

void tst_Store::answers_data()
{
    QTest::addColumn<ZQSTORESIZE>("size"); // the sample for none
    QTest::addColumn<bool>("onServer");
    QTest::addColumn<QByteArray>("hash"); // of the text of all records, which does not change unnoticed
    const struct {
        const char *name;
        ZQSTORESIZE size;
        const char *hash;
    } stores[] = {{"the sample", ZQSTORESIZE(), "01746b7eb3ba19743382db159975c646"},
                  {"seed 1", small, "8fae2549a4cfcd724061652af2a6983b"},
                  {"seed 2", {3, 5, 900, 7, 2}, "2dc60262fadd26f1cc57d57ad8374920"},
                  {"jobs that all stand alone", {2, 0, 40, 0, 1}, "54a8b576f6e37a608d5e9c6f11c5f023"}};
    for (const auto &store : stores) {
        QTest::addRow("file, %s", store.name) << store.size << false << QByteArray(store.hash);
        QTest::addRow("server, %s", store.name) << store.size << true << QByteArray(store.hash);
    }
}

void tst_Store::answers()
{
    QFETCH(ZQSTORESIZE, size);
    QFETCH(bool, onServer);
    QFETCH(QByteArray, hash);
    const QString store = place(onServer);
    QVERIFY2(size.outputs == 0 ? ZQCreateSampleStore(store, &error) : ZQCreateStore(store, size, {}, &error),
             qPrintable(error));
    QCOMPARE(QCryptographicHash::hash(askAll(store), QCryptographicHash::Md5).toHex(), hash);
    ZQFINDINGS findings;
    QVERIFY2(ZQCheckStore(store, findings, &error), qPrintable(error));
    QCOMPARE(findings.faults, QStringList());
    if (size.outputs > 0)
        QCOMPARE(findings.counted.jobs, size.jobs);
}

void tst_Store::copies_data()
{
    QTest::addColumn<bool>("fromServer");
    QTest::addColumn<bool>("toServer");
    for (const bool from : {false, true}) {
        for (const bool to : {false, true})
            QTest::addRow("%s to %s", from ? "server" : "file", to ? "server" : "file") << from << to;
    }
}

void tst_Store::copies()
{
    QFETCH(bool, fromServer);
    QFETCH(bool, toServer);
    const QString from = place(fromServer);
    const QString to = place(toServer, QStringLiteral("other"));
    QVERIFY2(ZQCreateStore(from, {3, 5, 4300, 7, 1}, {}, &error), qPrintable(error));
    const char *const texts[] = {"a''b", "\"q\"",        "back\\slash\\", "{1,2}",          "(NULL)",    "NULL",
                                 " , ",  "\n\t\x01\x7f", "\\\"",          "東京\U0001f5a8", "%1 $1 ? :x"};
    QStringList changes;
    for (int i = 0; i < int(std::size(texts)); ++i)
        changes << QStringLiteral("UPDATE jobs SET name = '%1', inks = '%1', paper = '' WHERE id = %2")
                       .arg(QString::fromUtf8(texts[i]), QString::number(100 + i));
    changes << QStringLiteral("UPDATE books SET balance = -9223372036854775807, copies = 9223372036854775807");
    execute(from, changes);
    unsigned long long reported = 0;
    const auto progress = [&reported](unsigned long long done, unsigned long long total) {
        QCOMPARE(done, reported + 4096);
        QCOMPARE(total, 4315ull);
        reported = done;
    };
    QVERIFY2(ZQCopyStore(from, to, progress, &error), qPrintable(error));
    QCOMPARE(reported, 4096ull);
    const QByteArray text = askAll(from);
    QVERIFY(text.contains("back\\slash\\"));
    QCOMPARE(askAll(to), text);
}

void tst_Store::existing_data()
{
    addKinds();
}

void tst_Store::existing()
{
    QFETCH(bool, onServer);
    const QString store = place(onServer);
    const QString other = place(onServer, QStringLiteral("other"));
    QVERIFY(ZQCreateStore(store, small, {}, nullptr));
    QVERIFY(ZQCreateSampleStore(other, nullptr));
    const QByteArray text = askAll(store);
    QVERIFY(!ZQCopyStore(other, store, {}, &error));
    QVERIFY2(error.contains(QLatin1String("exist")), qPrintable(error));
    if (!onServer)
        return;
    // What fails in the middle leaves what was there: for want of room, and for what cannot be copied.
    const QByteArray sample = askAll(other);
    QVERIFY(!ZQCreateStore(store, {1, 0, 40000, 0, 1}, {}, &error, ZQ_REPLACE));
    QVERIFY2(error.startsWith(QLatin1String("could not extend file")), qPrintable(error));
    QCOMPARE(askAll(store), text);
    const QString file = place(false);
    QVERIFY(ZQCreateStore(file, small, {}, nullptr));
    execute(file, {QStringLiteral("UPDATE jobs SET name = 'a' || char(0) || 'b' WHERE id = 100")});
    QVERIFY(!ZQCopyStore(file, store, {}, &error, ZQ_REPLACE));
    QCOMPARE(error, QStringLiteral("PostgreSQL takes no text with a zero byte"));
    execute(file, {QStringLiteral("UPDATE jobs SET name = 'a', page = 'eleven' WHERE id = 100")});
    QVERIFY(!ZQCopyStore(file, store, {}, &error, ZQ_REPLACE));
    QCOMPARE(error, QStringLiteral("invalid input syntax for type integer: \"eleven\""));
    QCOMPARE(askAll(store), text);
    QVERIFY2(ZQCopyStore(other, store, {}, &error, ZQ_REPLACE), qPrintable(error));
    QCOMPARE(askAll(store), sample);
}

void tst_Store::plans_data()
{
    addKinds();
}

void tst_Store::plans()
{
    QFETCH(bool, onServer);
    const QString store = place(onServer);
    QVERIFY(ZQCreateStore(store, {3000, 2000, 20000, 4000, 1}, {}, nullptr));
    QFile file(QFINDTESTDATA("../../standin/queries.sql"));
    QVERIFY(file.open(QIODevice::ReadOnly));
    int queries = 0;
    for (QString query : QString::fromUtf8(file.readAll()).split(QStringLiteral(";\n"))) {
        query = query.mid(query.indexOf(QLatin1String("\nSELECT"))).trimmed();
        if (query.isEmpty())
            continue;
        ++queries;
        const bool hasKey = query.contains(QLatin1Char('?'));
        query.replace(QLatin1Char('?'), QLatin1Char('1'));
        execute(store, {(onServer ? QStringLiteral("EXPLAIN ") : QStringLiteral("EXPLAIN QUERY PLAN ")) + query});
        const QString plan = rows.join(QLatin1Char('\n'));
        QVERIFY2(plan.contains(QLatin1String("index"), Qt::CaseInsensitive), qPrintable(plan));
        // What is asked for by a key is not looked for in whole tables, and jobs never are.
        const QRegularExpression whole(hasKey ? QStringLiteral("Seq Scan|SCAN ")
                                              : QStringLiteral("Seq Scan on jobs|SCAN jobs"));
        QVERIFY2(!plan.contains(whole), qPrintable(plan));
    }
    QCOMPARE(queries, 5);
}

void tst_Store::snapshot_data()
{
    addKinds();
}

void tst_Store::snapshot()
{
    QFETCH(bool, onServer);
    const QString store = place(onServer);
    QVERIFY(ZQCreateStore(store, small, {}, nullptr));
    if (!onServer) // without a log, readers and writers wait for each other
        execute(store, {QStringLiteral("PRAGMA journal_mode = WAL")});
    const Connection another(store); // keeps the log
    QSqlQuery(another.handle()).exec(QStringLiteral("UPDATE books SET pages = 1"));
    ZQCommServer asked(ZQOpenStore(store, nullptr));
    const QByteArray before = inTurn([&] { return askAll(asked); });
    const QByteArray during = inTurn([&] {
        ZQLIST_ELEMENT *entries = asked.getDBList(commands, messageId, OUTPUT_LIST_TYPE);
        ZQPacketFreeList(&entries, DBLIST_ENTRY_TYPE);
        execute(store,
                {QStringLiteral("DELETE FROM jobs WHERE output = 1"),
                 QStringLiteral("UPDATE outputs SET name = 'changed'")});
        return askAll(asked);
    });
    QCOMPARE(during, before);
    QVERIFY(inTurn([&] { return askAll(asked); }) != before);
    QCOMPARE(inTurn([&] { return jobsOf(asked, 1); }), QByteArray());
}

void tst_Store::refused_data()
{
    QTest::addColumn<bool>("onServer");
    QTest::addColumn<QString>("change");
    QTest::addColumn<QString>("reason");
    const auto add = [](const char *name, const char *change, const char *ofFile, const char *ofServer) {
        QTest::addRow("file, %s", name) << false << QString::fromLatin1(change) << QString::fromLatin1(ofFile);
        QTest::addRow("server, %s", name) << true << QString::fromLatin1(change) << QString::fromLatin1(ofServer);
    };
    add("newer version", "UPDATE store SET version = 2",
        "its tables have version 2, and this program reads 1: use a newer zqxml",
        "its tables have version 2, and this program reads 1: use a newer zqxml");
    add("older version", "UPDATE store SET version = 0",
        "its tables have version 0, and this program reads 1: make the store anew with zqxml-store",
        "its tables have version 0, and this program reads 1: make the store anew with zqxml-store");
    add("no version", "DELETE FROM store", "no record store: it has no version", "no record store: it has no version");
    add("no table of versions", "DROP TABLE store", "no record store: no such table: store",
        "no record store: relation \"store\" does not exist");
    add("missing table", "DROP TABLE books", "no record store: no such table: books",
        "no record store: relation \"books\" does not exist");
    add("missing column", "ALTER TABLE jobs DROP COLUMN digest", "no record store: no such column: digest",
        "no record store: column \"digest\" does not exist");
}

void tst_Store::refused()
{
    QFETCH(bool, onServer);
    QFETCH(QString, change);
    QFETCH(QString, reason);
    const QString store = place(onServer);
    QVERIFY(ZQCreateStore(store, small, {}, nullptr));
    execute(store, {change});
    QVERIFY(!ZQOpenStore(store, &error));
    QCOMPARE(error, reason);
    ZQFINDINGS findings;
    QVERIFY(!ZQCheckStore(store, findings, &error));
    QCOMPARE(error, reason);
    QVERIFY(!ZQCopyStore(store, folder->filePath(QStringLiteral("copy")), {}, &error));
    QCOMPARE(error, QStringLiteral("cannot read %1: %2").arg(store, reason));
}

void tst_Store::rights()
{
    const QString store = place(true);
    const QString reader = server().url(QStringLiteral("shop"), QStringLiteral("reader"));
    QVERIFY(ZQCreateStore(store, small, {}, nullptr));
    execute(store, {QStringLiteral("CREATE ROLE reader LOGIN")});
    QVERIFY(!ZQOpenStore(reader, &error));
    QCOMPARE(error, QStringLiteral("no record store: permission denied for table store"));
    execute(store, {QStringLiteral("GRANT SELECT ON store, outputs, publications, books TO reader")});
    {
        ZQCommServer asked(ZQOpenStore(reader, nullptr));
        QCOMPARE(inTurn([&] { return jobsOf(asked, 1) + jobsOf(asked, 2); }), QByteArray());
        QCOMPARE(takeReports(), QStringLiteral("getJobqueue failed: permission denied for table jobs"));
        execute(store, {QStringLiteral("GRANT SELECT ON jobs TO reader")});
        QVERIFY(!inTurn([&] { return jobsOf(asked, 1); }).isEmpty());
    }
    QCOMPARE(askAll(reader), askAll(store));
    ZQFINDINGS findings;
    QVERIFY2(ZQCheckStore(reader, findings, &error), qPrintable(error));
    QVERIFY(!ZQCreateSampleStore(reader, &error, ZQ_REPLACE));
    QCOMPARE(error, QStringLiteral("must be owner of table store"));
}

void tst_Store::passwords()
{
    const QString store = place(true);
    QVERIFY(ZQCreateStore(store, small, {}, nullptr));
    const QString password = QStringLiteral("se:cr@t/'\\ %");
    execute(store,
            {QStringLiteral("CREATE ROLE guarded LOGIN SUPERUSER PASSWORD '%1'")
                 .arg(QString(password).replace(QLatin1Char('\''), QLatin1String("''")))});
    const QString encoded = QString::fromLatin1(QUrl::toPercentEncoding(password));
    const auto urlOf = [](const QString &credentials) { return server().url(QStringLiteral("shop"), credentials); };
    const QByteArray text = askAll(store);
    QCOMPARE(askAll(urlOf(QStringLiteral("guarded:") + encoded)), text);
    QCOMPARE(askAll(urlOf(QStringLiteral("guarded")) + QStringLiteral("?password=") + encoded), text);
    for (const QString &url : {urlOf(QStringLiteral("guarded:wr0ng")),
                               urlOf(QStringLiteral("guarded")) + QStringLiteral("?password=wr0ng")}) {
        QVERIFY(!ZQOpenStore(url, &error));
        QVERIFY2(error.contains(QLatin1String("password authentication failed")), qPrintable(error));
        QVERIFY(!(error + ZQPublicName(url)).contains(QLatin1String("wr0ng")));
    }
    QFile file(folder->filePath(QStringLiteral("pass")));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.setPermissions(QFile::ReadOwner | QFile::WriteOwner);
    file.write("*:*:shop:guarded:"
               + QString(password)
                     .replace(QLatin1Char('\\'), QLatin1String("\\\\"))
                     .replace(QLatin1Char(':'), QLatin1String("\\:"))
                     .toUtf8());
    file.close();
    QCOMPARE(askAll(urlOf(QStringLiteral("guarded")) + QStringLiteral("?passfile=") + file.fileName()), text);
    QVERIFY(!ZQOpenStore(urlOf(QStringLiteral("guarded")) + QStringLiteral("?sslmode=require"), &error));
    QVERIFY2(error.endsWith(QLatin1String("server does not support SSL, but SSL was required")), qPrintable(error));
    QVERIFY(!ZQOpenStore(urlOf(QStringLiteral("guarded")) + QStringLiteral("?application_name=a;b"), &error));
    QCOMPARE(error, QStringLiteral("the driver takes no semicolon in an option"));
}

void tst_Store::droppedTable_data()
{
    addKinds();
}

void tst_Store::droppedTable()
{
    QFETCH(bool, onServer);
    const QString store = place(onServer);
    QVERIFY(ZQCreateStore(store, small, {}, nullptr));
    ZQCommServer asked(ZQOpenStore(store, nullptr));
    execute(store, {QStringLiteral("DROP TABLE jobs")});
    QCOMPARE(inTurn([&] { return jobsOf(asked, 1) + jobsOf(asked, 2); }), QByteArray());
    QCOMPARE(takeReports(),
             onServer ? QStringLiteral("getJobqueue failed: relation \"jobs\" does not exist")
                      : QStringLiteral("getJobqueue failed: no such table: jobs"));
    QVERIFY(inTurn([&] { return QByteArray::number(asked.getidfromzqkey({2654435761u, 16})); }) == "1");
}

void tst_Store::failingServer()
{
    const QString store = place(true);
    QVERIFY(ZQCreateStore(store, small, {}, nullptr));
    ZQCommServer asked(ZQOpenStore(store + QStringLiteral("?statement_timeout=300"), nullptr));
    const auto ask = [&] { return inTurn([&] { return jobsOf(asked, 1) + jobsOf(asked, 2); }); };
    const QByteArray text = ask();
    const QString psql = QStringLiteral("psql -h 127.0.0.1 -p %1 -U postgres -d shop -qc ").arg(server().port);
    const QString refused = QStringLiteral("getJobqueue failed: connection to server at \"127.0.0.1\", port %1 failed:"
                                           " Connection refused")
                                .arg(server().port);

    // A locked table is waited for, up to the time-out, and nothing else is lost.
    const QString lock = QStringLiteral("LOCK TABLE jobs IN ACCESS EXCLUSIVE MODE");
    {
        const Connection locker(store);
        QVERIFY(locker.handle().transaction());
        QVERIFY(QSqlQuery(locker.handle()).exec(lock));
        QCOMPARE(ask(), QByteArray());
        QCOMPARE(takeReports(), QStringLiteral("getJobqueue failed: canceling statement due to statement timeout"));
    }
    QCOMPARE(ask(), text);

    // The server ends during a question, and refuses the next one.
    ZQCommServer patient(ZQOpenStore(store, nullptr));
    {
        const Connection locker(store);
        QVERIFY(locker.handle().transaction());
        QVERIFY(QSqlQuery(locker.handle()).exec(lock));
        server().runBeside(QStringLiteral("until ") + psql
                           + QStringLiteral("'SELECT 1 / count(*) FROM pg_locks WHERE NOT granted'; do :; done; ")
                           + server().stopCommand(QStringLiteral("immediate")));
        QCOMPARE(inTurn([&] { return jobsOf(patient, 1) + jobsOf(patient, 2); }), QByteArray());
    }
    QCOMPARE(reports.size(), 1);
    const QRegularExpression lost(QStringLiteral("^getJobqueue failed: .*(connection|server process)"));
    QVERIFY2(reports.first().contains(lost), qPrintable(takeReports()));
    takeReports();
    server().stop(QStringLiteral("immediate")); // returns when it has ended
    QCOMPARE(ask(), QByteArray());
    QCOMPARE(takeReports(), refused);
    QCOMPARE(jobsOf(asked, 1), QByteArray());
    QCOMPARE(takeReports(), refused);

    // It is there again, with and without an event loop.
    server().start();
    QCOMPARE(inTurn([&] { return jobsOf(patient, 1) + jobsOf(patient, 2); }), text);
    QCOMPARE(jobsOf(asked, 1) + jobsOf(asked, 2), text);
    server().stop(QStringLiteral("fast"));
    server().start();
    QCOMPARE(inTurn([&] { return jobsOf(patient, 1) + jobsOf(patient, 2); }), text);
    QCOMPARE(jobsOf(asked, 1), QByteArray());
    QVERIFY(!takeReports().isEmpty());
    QCOMPARE(jobsOf(asked, 1) + jobsOf(asked, 2), text);
}

void tst_Store::silentServer()
{
    const Listener listener;
    QVERIFY(!ZQOpenStore(QStringLiteral("qpsql://127.0.0.1:%1/shop?connect_timeout=2").arg(listener.port), &error));
    QVERIFY2(error.contains(QLatin1String("timeout expired")), qPrintable(error));
}

ZQXML_TEST_MAIN(tst_Store)

#include "tst_store.moc"
