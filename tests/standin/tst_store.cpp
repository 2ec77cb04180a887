// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "testtools.h"

#include <standin/database_p.h>
#include <standin/location_p.h>
#include <standin/zqrecords.h>
#include <standin/zqstandin.h>

#include <QCryptographicHash>
#include <QEventLoop>
#include <QProcess>
#include <QRegularExpression>
#include <QSqlError>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QVariant>

#include <functional>

namespace {

/** The server of postgres.sh, as long as the program runs. */
class PostgresServer
{
public:
    PostgresServer()
    {
        // For each connection the client library asks Kerberos, which reads its settings again by the clock and keeps
        // blocks of them, so that each run would leave some.
        qputenv("PGGSSENCMODE", "disable");
        qputenv("PGSSLMODE", "disable"); // but where a test wants it
        qputenv("PGSERVICEFILE", QFile::encodeName(folder.filePath(QStringLiteral("services"))));
        QTcpServer unused;
        unused.listen(QHostAddress::LocalHost);
        port = QString::number(unused.serverPort());
        unused.close();
        const int status = run(QStringLiteral("make"));
        if (status != 0 && status != 77)
            qFatal("PostgreSQL does not start");
        isThere = status == 0 && QSqlDatabase::isDriverAvailable(QStringLiteral("QPSQL"));
    }

    ~PostgresServer()
    {
        run(QStringLiteral("stop immediate"));
    }
    Q_DISABLE_COPY(PostgresServer)

    int run(const QString &command) const
    {
        return QProcess::execute(QFINDTESTDATA("postgres.sh"),
                                 QStringList{folder.path(), port} + command.split(QLatin1Char(' ')));
    }

    QString port;
    bool isThere;

private:
    const QTemporaryDir folder;
};

PostgresServer &server()
{
    static PostgresServer server;
    return server;
}

bool skipsWithoutServer()
{
    if (!server().isThere) // the macro is variadic, which clang finds fault with
        QTest::qSkip("PostgreSQL, or its driver for Qt, is not installed", __FILE__, __LINE__);
    return !server().isThere;
}

/** Returns the place of a store that is written as role@database?options, or as a file. */
QString placeOf(const QString &word)
{
    const auto at = word.lastIndexOf(QLatin1Char('@'));
    return at < 0 ? word
                  : QStringLiteral("qpsql://%1@127.0.0.1:%2/%3").arg(word.left(at), server().port, word.mid(at + 1));
}

/** A connection that may write, unless it is for something else. */
class Writer
{
public:
    explicit Writer(const QString &store, Location::Use use = Location::Writing)
        : location(*Location::read(store, nullptr)), database(location.driver, location.fileName)
    {
        if (!(location.isFile() ? database.handle.open() : location.connect(database, use, nullptr)))
            qFatal("%s", qPrintable(database.handle.lastError().text()));
    }

    /** Returns the last column of what is selected. */
    QStringList execute(const QString &statement)
    {
        QSqlQuery query(database.handle);
        if (!query.exec(statement))
            qFatal("%s", qPrintable(query.lastError().text()));
        QStringList rows;
        while (query.next())
            rows << query.value(query.record().count() - 1).toString();
        return rows;
    }

private:
    const Location location;
    Database database;
};

/** Returns the text of a chain, which it frees. */
QByteArray textOf(ZQLIST_ELEMENT *chain, PACKETDATATYPES type)
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

/** Asks every question and returns the hash of the text of all records, or nothing. */
QString askAll(ZQCommServer &asked)
{
    ZQLPCOMMANDS commands;
    BM_MESSAGE_ID messageId;
    QByteArray text;
    for (const PACKETDATATYPES list : {OUTPUT_LIST_TYPE, BOOK_LIST_TYPE}) {
        ZQLIST_ELEMENT *entries = asked.getDBList(commands, messageId, list);
        for (const ZQLIST_ELEMENT *entry = entries; entry; entry = entry->next) {
            const ZQKEY_ELEMENT key = static_cast<const ZQDBLIST_ENTRY *>(entry)->key;
            const int id = asked.getidfromzqkey(key);
            text += QByteArray::number(id)
                + textOf(asked.getBooks(commands, messageId, SORT_ARRIVAL, SORT_ASCENDING, key), BOOK_TYPE);
            for (const unsigned int queue : {1u, 2u, 3u, 4u})
                text += textOf(asked.getJobqueue(commands, messageId, ZQQUEUE(queue), SORT_ARRIVAL, SORT_ASCENDING, id),
                               JOB_TYPE);
        }
        text += textOf(entries, DBLIST_ENTRY_TYPE);
    }
    const QByteArray hash = QCryptographicHash::hash(text, QCryptographicHash::Md5).toHex();
    return text.isEmpty() ? QString() : QString::fromLatin1(hash);
}

/** Returns what \a call gives within one turn of an event loop. */
QString inTurn(const std::function<QString()> &call)
{
    QString result;
    QEventLoop loop;
    const auto turn = [&] {
        result = call();
        QMetaObject::invokeMethod(&loop, &QEventLoop::quit, Qt::QueuedConnection);
    };
    QMetaObject::invokeMethod(&loop, turn, Qt::QueuedConnection);
    loop.exec();
    return result;
}

} // namespace

/** Stores in files and on a server, with the same data and the same faults. */
class tst_Store : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void scenario_data();
    void scenario();
    void plans_data();
    void plans();
    void stoppedInQuestion();

private:
    QString perform(const QString &command);

    std::unique_ptr<QTemporaryDir> folder; // is the current one
    std::unique_ptr<ZQCommServer> asked;
    std::unique_ptr<Writer> held;
    QStringList reports;
};

void tst_Store::init()
{
    folder = std::make_unique<QTemporaryDir>();
    QDir::setCurrent(folder->path());
    ZQReport() = [this](const QString &line) { reports << line.section(QStringLiteral(": "), 1); };
}

void tst_Store::cleanup()
{
    asked.reset();
    held.reset();
    QDir::setCurrent(QDir::rootPath());
    ZQReport() = nullptr;
    for (const char *const store : {"postgres@shop", "postgres@other"}) {
        if (server().isThere)
            Writer(placeOf(QLatin1String(store)))
                .execute(QStringLiteral("DROP TABLE IF EXISTS store, books, jobs, publications, outputs, gone"));
    }
    QCOMPARE(reports, QStringList());
    QCOMPARE(ZQLiveRecords(), 0u);
    QCOMPARE(QSqlDatabase::connectionNames(), QStringList());
}

/** Performs a command of the kept scenarios and returns what comes of it, in lines. */
QString tst_Store::perform(const QString &command)
{
    const QStringList words = command.split(QLatin1Char(' '));
    const QString verb = words.first();
    const QString store = placeOf(words.value(1));
    const QString statement = command.section(QLatin1Char(' '), 2);
    const ZQEXISTING existing = verb.startsWith(QLatin1String("re")) ? ZQ_REPLACE : ZQ_KEEP;
    QStringList lines;
    const auto number = [&words](int word) { return words.value(word).toUInt(); };
    const auto progress = [&](unsigned long long done, unsigned long long total) {
        if (existing == ZQ_KEEP) // how far a replacement comes that fails is up to the server
            lines << QStringLiteral("%1 of %2").arg(done).arg(total);
    };
    QString error;
    bool ok = true;
    if (verb.endsWith(QLatin1String("make"))) {
        ok = ZQCreateStore(store, {number(2), number(3), number(4), number(5), number(6)}, progress, &error, existing);
    } else if (verb.endsWith(QLatin1String("sample"))) {
        ok = ZQCreateSampleStore(store, &error, existing);
    } else if (verb.endsWith(QLatin1String("copy"))) {
        ok = ZQCopyStore(store, placeOf(words.value(2)), progress, &error, existing);
    } else if (verb == QLatin1String("check")) {
        ZQFINDINGS findings;
        ok = ZQCheckStore(store, findings, &error);
        lines << findings.faults << (ok ? QStringLiteral("%1 jobs").arg(findings.counted.jobs) : QString());
    } else if (verb == QLatin1String("open") || verb == QLatin1String("show")) {
        ZQCONNECTION *const connection = ZQOpenStore(store, &error);
        ok = connection;
        auto opened = std::make_unique<ZQCommServer>(connection);
        if (!ok)
            lines << ZQPublicName(store);
        else if (verb == QLatin1String("show"))
            lines << askAll(*opened);
        else
            asked = std::move(opened);
    } else if (verb == QLatin1String("call")) {
        lines << askAll(*asked);
    } else if (verb == QLatin1String("ask")) {
        lines << inTurn([&] {
            if (words.size() == 1)
                return askAll(*asked);
            askAll(*asked);
            Writer(store).execute(statement);
            return askAll(*asked);
        });
    } else if (verb == QLatin1String("hold")) {
        held = std::make_unique<Writer>(store);
        held->execute(statement);
    } else if (verb == QLatin1String("release")) {
        held.reset();
    } else if (verb == QLatin1String("server")) {
        server().run(command.section(QLatin1Char(' '), 1));
    } else {
        Writer(store).execute(statement);
    }
    lines << std::exchange(reports, {}) << error
          << (ok == error.isEmpty() ? QString() : QStringLiteral("but not so returned"));
    lines.removeAll(QString());
    static const QRegularExpression drawn(QStringLiteral("(port |1:|base/)[0-9/]+[0-9]")); // ports and names of files
    return lines.join(QLatin1Char('\n')).replace(drawn, QStringLiteral("\\1N"));
}

/** A scenario is for a file and for a server, which differ in <these|places>, or has none of them. */
void tst_Store::scenario_data()
{
    QTest::addColumn<QString>("text");
    QFile file(QFINDTESTDATA("../data/standin/stores.txt"));
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QStringList texts = (QLatin1Char('\n') + QString::fromUtf8(file.readAll())).split(QStringLiteral("\n# "));
    const QRegularExpression places(QStringLiteral("<([^<|>]*)\\|([^<|>]*)>"));
    for (const QString &text : texts.mid(1)) {
        for (const char *const kind : {"\\1", "\\2"}) {
            const QString row = QString(text.trimmed()).replace(places, QLatin1String(kind));
            if (row != text.trimmed() || kind[1] == '1')
                QTest::newRow(qPrintable(row.section(QLatin1Char('\n'), 0, 0))) << row;
        }
    }
}

void tst_Store::scenario()
{
    QFETCH(QString, text);
    if (text.contains(QLatin1Char('@')) && skipsWithoutServer())
        return;
    QStringList lines(text.section(QLatin1Char('\n'), 0, 0));
    for (const QString &line : text.split(QLatin1Char('\n'))) {
        if (line.startsWith(QLatin1String("$ ")))
            lines << line << perform(line.mid(2));
    }
    const QStringList found = lines.join(QLatin1Char('\n')).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    const QStringList expected = text.split(QLatin1Char('\n'));
    for (int i = 0; i < expected.size(); ++i)
        QCOMPARE(found.value(i), expected.at(i));
    QCOMPARE(found.size(), expected.size());
}

void tst_Store::plans_data()
{
    QTest::addColumn<QString>("store");
    QTest::newRow("in a file") << QStringLiteral("shop");
    if (server().isThere)
        QTest::newRow("on a server") << QStringLiteral("postgres@shop");
}

void tst_Store::plans()
{
    QFETCH(QString, store);
    const bool isFile = placeOf(store) == store;
    perform(QStringLiteral("make %1 200 2000 20000 4000 1").arg(store));
    const QStringList queries = statementsOf(QStringLiteral("queries.sql"));
    QCOMPARE(queries.size(), 5);
    for (QString query : queries) {
        const bool hasKey = query.contains(QLatin1Char('?'));
        query.replace(QLatin1Char('?'), QLatin1Char('3'));
        query.prepend(isFile ? QStringLiteral("EXPLAIN QUERY PLAN ") : QStringLiteral("EXPLAIN "));
        const QString plan = Writer(placeOf(store), Location::Questions).execute(query).join(QLatin1Char('\n'));
        QVERIFY2(plan.contains(QLatin1String("index"), Qt::CaseInsensitive), qPrintable(plan));
        // What is asked for by a key is not looked for in whole tables, and jobs never are.
        const QRegularExpression whole(hasKey ? QStringLiteral("Seq Scan|SCAN ")
                                              : QStringLiteral("Seq Scan on jobs|SCAN jobs"));
        QVERIFY2(!plan.contains(whole), qPrintable(plan));
    }
}

void tst_Store::stoppedInQuestion()
{
    if (skipsWithoutServer())
        return;
    for (const char *const command : {"make postgres@shop 3 5 900 7 1", "open postgres@shop"})
        QCOMPARE(perform(QLatin1String(command)), QString());
    const QString text = perform(QStringLiteral("show postgres@shop"));
    perform(QStringLiteral("hold postgres@shop BEGIN; LOCK TABLE jobs IN ACCESS EXCLUSIVE MODE"));
    perform(QStringLiteral("server stop-in-question"));
    const QString lost = perform(QStringLiteral("ask"));
    perform(QStringLiteral("server stop immediate")); // returns when it has ended
    perform(QStringLiteral("server start"));
    const QRegularExpression reason(QStringLiteral("^getDBList failed: .*(connection|server process).*$"));
    QVERIFY2(lost.contains(reason), qPrintable(lost));
    QCOMPARE(perform(QStringLiteral("ask")), text);
}

ZQXML_TEST_MAIN(tst_Store)

#include "tst_store.moc"
