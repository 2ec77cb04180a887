// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "standin/zqstandin.h"

#include "database_p.h"
#include "recordbuilder_p.h"

#include <QFile>
#include <QFileInfo>
#include <QSqlError>
#include <QSqlQuery>
#include <QUrl>
#include <QVariant>

#include <cstdio>
#include <memory>

struct ZQCONNECTION {
    ZQCONNECTION(const QString &driver, const QString &databaseName) : database(driver, databaseName) { }

    bool prepare(QString *error)
    {
        const struct {
            QSqlQuery &query;
            QString text;
        } statements[] = {
            {outputs,
             QStringLiteral("SELECT id, zqkey, hkey, name, state, speed, resolution,"
                            " (SELECT count(*) FROM jobs WHERE output = outputs.id AND queue = 3)"
                            " FROM outputs ORDER BY id")},
            {publications,
             QStringLiteral("SELECT id, zqkey, hkey, name, 0, 0, 0,"
                            " (SELECT count(*) FROM books WHERE publication = publications.id)"
                            " FROM publications WHERE id IN (SELECT publication FROM books) ORDER BY id")},
            {ids,
             QStringLiteral("SELECT id FROM outputs WHERE zqkey = ? AND hkey = ?"
                            " UNION ALL SELECT id FROM publications WHERE zqkey = ? AND hkey = ?")},
            {jobs,
             QStringLiteral("SELECT jobs.id, jobs.zqkey, jobs.hkey, jobs.name, publications.name, publications.id,"
                            " page, queue, output, arrived, priority, copies, bytes, paper, format, inks, digest,"
                            " publications.zqkey, publications.hkey"
                            " FROM jobs LEFT JOIN publications ON publications.id = jobs.publication"
                            " WHERE output = ? AND queue = ? ORDER BY arrived, jobs.id")},
            {books,
             QStringLiteral("SELECT books.id, books.zqkey, books.hkey, books.name, publication, pages, signature,"
                            " copies, balance, cover, keywords"
                            " FROM publications JOIN books ON books.publication = publications.id"
                            " WHERE publications.zqkey = ? AND publications.hkey = ? ORDER BY books.id")},
        };
        for (const auto &statement : statements) {
            statement.query = QSqlQuery(database.handle);
            statement.query.setForwardOnly(true);
            if (!statement.query.prepare(statement.text))
                return fail(error, QStringLiteral("no record store: ") + reasonOf(statement.query.lastError()));
        }
        return true;
    }

    Database database;
    QSqlQuery outputs;
    QSqlQuery publications;
    QSqlQuery ids;
    QSqlQuery jobs;
    QSqlQuery books;
};

namespace {

using Connection = std::unique_ptr<ZQCONNECTION>;

ZQCONNECTION *open(Connection connection, QString *error)
{
    if (!connection->database.handle.open()) {
        fail(error, reasonOf(connection->database.handle.lastError()));
        return nullptr;
    }
    return connection->prepare(error) ? connection.release() : nullptr;
}

ZQCONNECTION *openFile(const QString &fileName, QString *error)
{
    const QFileInfo there(fileName);
    if (there.exists() && !there.isFile() && !there.isDir()) { // opening a pipe would wait
        fail(error, QStringLiteral("not a regular file"));
        return nullptr;
    }
    QFile file(fileName); // gives better reasons than the driver
    if (!file.open(QIODevice::ReadOnly)) {
        fail(error, file.errorString());
        return nullptr;
    }
    auto connection = std::make_unique<ZQCONNECTION>(QStringLiteral("QSQLITE"), fileName);
    connection->database.handle.setConnectOptions(QStringLiteral("QSQLITE_OPEN_READONLY"));
    return open(std::move(connection), error);
}

unsigned int failedCalls = 0;

void report(const char *call, const QString &reason)
{
    ++failedCalls;
    std::fprintf(stderr, "record store: %s failed: %s\n", call, reason.toUtf8().constData());
}

/** Executes \a query and makes a chain of its rows; sets the error of \a commands. */
template <typename MakeRecord>
ZQLIST_ELEMENT *fetch(QSqlQuery &query, const char *call, ZQLPCOMMANDS &commands, PACKETDATATYPES type, MakeRecord make)
{
    ZQLIST_ELEMENT *head = nullptr;
    if (ZQFaults().emptyChains)
        return head;
    ZQLIST_ELEMENT **tail = &head;
    query.exec();
    while (query.next()) {
        *tail = make(query);
        tail = &(*tail)->next;
        if (ZQFaults().brokenChains)
            break;
    }
    if (ZQFaults().brokenChains) {
        report(call, QStringLiteral("broken off"));
        commands.error = 1;
        if (type == DBLIST_ENTRY_TYPE)
            ZQPacketFreeList(&head, type);
    }
    const QSqlError error = query.lastError();
    if (error.isValid()) {
        report(call, reasonOf(error));
        ZQPacketFreeList(&head, type);
        commands.error = 1;
    }
    query.finish();
    return head;
}

void begin(ZQLPCOMMANDS &commands, BM_MESSAGE_ID &messageId)
{
    static unsigned int lastMessageId = 0;
    messageId.id = ++lastMessageId;
    commands.error = 0;
}

ZQLIST_ELEMENT *refuse(ZQLPCOMMANDS &commands, const char *call, const QString &reason)
{
    report(call, reason);
    commands.error = 1;
    return nullptr;
}

const QString noDatabase = QStringLiteral("no database");

} // namespace

ZQCONNECTION *ZQOpenStore(const QString &location, QString *error)
{
    const QUrl url = location.contains(QLatin1String("://")) ? QUrl(location) : QUrl();
    const QString driver = url.isEmpty() ? QStringLiteral("QSQLITE") : url.scheme().toUpper();
    if (!QSqlDatabase::isDriverAvailable(driver)) {
        fail(error, QStringLiteral("no database driver %1").arg(driver));
        return nullptr;
    }
    if (driver == QLatin1String("QSQLITE"))
        return openFile(url.isEmpty() ? location : url.path(), error);
    auto remote = std::make_unique<ZQCONNECTION>(driver, url.path().mid(1));
    QSqlDatabase &database = remote->database.handle;
    database.setHostName(url.host());
    database.setPort(url.port());
    database.setUserName(url.userName());
    database.setPassword(url.password());
    return open(std::move(remote), error);
}

ZQCONNECTION *ZQOpenSampleStore(QString *error)
{
    auto sample = std::make_unique<ZQCONNECTION>(QStringLiteral("QSQLITE"), QStringLiteral(":memory:"));
    Database &database = sample->database;
    if (!database.handle.open()) {
        fail(error, reasonOf(database.handle.lastError()));
        return nullptr;
    }
    const bool ok = database.executeScript(QStringLiteral("schema.sql"), error)
        && database.executeScript(QStringLiteral("sample.sql"), error) && sample->prepare(error);
    return ok ? sample.release() : nullptr;
}

unsigned int ZQFailedCalls()
{
    return failedCalls;
}

ZQCommServer::ZQCommServer(ZQCONNECTION *opened) : connection(opened) { }

ZQCommServer::~ZQCommServer()
{
    delete connection;
}

ZQLIST_ELEMENT *ZQCommServer::getDBList(ZQLPCOMMANDS &commands, BM_MESSAGE_ID &messageId, PACKETDATATYPES listType)
{
    begin(commands, messageId);
    if (!connection)
        return refuse(commands, "getDBList", noDatabase);
    switch (listType) {
    case OUTPUT_LIST_TYPE:
        return fetch(connection->outputs, "getDBList", commands, DBLIST_ENTRY_TYPE, makeEntry);
    case BOOK_LIST_TYPE:
        return fetch(connection->publications, "getDBList", commands, DBLIST_ENTRY_TYPE, makeEntry);
    default:
        return refuse(commands, "getDBList",
                      QStringLiteral("no list of type %1").arg(static_cast<unsigned int>(listType)));
    }
}

int ZQCommServer::iserror(ZQLPCOMMANDS &commands)
{
    return static_cast<int>(commands.error);
}

ZQLIST_ELEMENT *ZQCommServer::getBooks(ZQLPCOMMANDS &commands, BM_MESSAGE_ID &messageId, SORTTYPE, SORTORDER,
                                       const ZQKEY_ELEMENT &key)
{
    begin(commands, messageId);
    if (!connection)
        return refuse(commands, "getBooks", noDatabase);
    connection->books.bindValue(0, static_cast<qint64>(key.key));
    connection->books.bindValue(1, static_cast<qint64>(key.hkey));
    return fetch(connection->books, "getBooks", commands, BOOK_TYPE, makeBook);
}

int ZQCommServer::getidfromzqkey(const ZQKEY_ELEMENT &key)
{
    if (!connection)
        return 0;
    QSqlQuery &query = connection->ids;
    for (int half = 0; half < 4; half += 2) {
        query.bindValue(half, static_cast<qint64>(key.key));
        query.bindValue(half + 1, static_cast<qint64>(key.hkey));
    }
    const int id = query.exec() && query.next() ? query.value(0).toInt() : 0;
    if (query.lastError().isValid())
        report("getidfromzqkey", reasonOf(query.lastError()));
    query.finish();
    return id;
}

ZQLIST_ELEMENT *ZQCommServer::getJobqueue(ZQLPCOMMANDS &commands, BM_MESSAGE_ID &messageId, ZQQUEUE queue, SORTTYPE,
                                          SORTORDER, int id)
{
    begin(commands, messageId);
    if (!connection)
        return refuse(commands, "getJobqueue", noDatabase);
    connection->jobs.bindValue(0, id);
    connection->jobs.bindValue(1, static_cast<unsigned int>(queue));
    return fetch(connection->jobs, "getJobqueue", commands, JOB_TYPE, makeJob);
}
