// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "standin/zqstandin.h"

#include "connection_p.h"
#include "recordbuilder_p.h"

#include <QSqlError>
#include <QVariant>

#include <cstdio>
#include <memory>

namespace {

unsigned int failedCalls = 0;

void report(const ZQCONNECTION *connection, const char *call, const QString &reason)
{
    ++failedCalls;
    const QString place = connection ? connection->shownLocation + QStringLiteral(": ") : QString();
    ZQReport()(place + QLatin1String(call) + QStringLiteral(" failed: ") + reason);
}

ZQLIST_ELEMENT *refuse(const ZQCONNECTION *connection, ZQLPCOMMANDS &commands, const char *call, const QString &reason)
{
    commands.error = 1;
    if (!reason.isEmpty())
        report(connection, call, reason);
    return nullptr;
}

/** Executes \a query with \a values. */
void execute(QSqlQuery &query, const QVariantList &values)
{
    for (int i = 0; i < values.size(); ++i)
        query.bindValue(i, values.at(i));
    query.exec();
}

/** Ends the call that \a query was executed for; returns why it failed, if it did. */
QString finish(ZQCONNECTION &connection, QSqlQuery &query)
{
    const QSqlError error = query.lastError();
    query.finish();
    return connection.end(error.isValid() ? reasonOf(error) : QString());
}

/** Makes a chain of the rows of an executed query. */
template <typename MakeRecord>
ZQLIST_ELEMENT *makeChain(ZQCONNECTION &connection, QSqlQuery &query, MakeRecord make)
{
    ZQLIST_ELEMENT *head = nullptr;
    ZQLIST_ELEMENT **tail = &head;
    while (query.next()) {
        *tail = make(query);
        tail = &(*tail)->next;
        connection.watchdog.hear();
        if (ZQFaults().brokenChains)
            break;
    }
    return head;
}

ZQLIST_ELEMENT *brokenEntries = nullptr; // what was given together with an error

/** Returns what the query \a member of \a connection gives for \a values; sets the error of \a commands. */
template <typename MakeRecord>
ZQLIST_ELEMENT *fetch(ZQCONNECTION *connection, QSqlQuery Session::*member, const QVariantList &values,
                      const char *call, ZQLPCOMMANDS &commands, PACKETDATATYPES type, MakeRecord make)
{
    if (!connection)
        return refuse(connection, commands, call, QStringLiteral("no database"));
    const Watchdog::Wait wait(connection->watchdog);
    QString reason;
    if (!connection->begin(&reason))
        return refuse(connection, commands, call, reason);
    if (ZQFaults().emptyChains)
        return nullptr;
    QSqlQuery &query = connection->session.get()->*member;
    execute(query, values);
    ZQLIST_ELEMENT *head = makeChain(*connection, query, make);
    reason = finish(*connection, query);
    if (ZQFaults().brokenChains)
        reason = QStringLiteral("broken off");
    if (reason.isEmpty())
        return head;
    refuse(connection, commands, call, reason);
    if (!ZQFaults().brokenChains)
        ZQPacketFreeList(&head, type);
    else if (type == DBLIST_ENTRY_TYPE)
        brokenEntries = head;
    return head;
}

void begin(ZQLPCOMMANDS &commands, BM_MESSAGE_ID &messageId)
{
    static unsigned int lastMessageId = 0;
    messageId.id = ++lastMessageId;
    commands.error = 0;
    ZQPacketFreeList(&brokenEntries, DBLIST_ENTRY_TYPE);
}

const QString noSuchOrder = QStringLiteral("records come in the order of arrival only");

QVariantList valuesOf(const ZQKEY_ELEMENT &key)
{
    return {static_cast<qint64>(key.key), static_cast<qint64>(key.hkey)};
}

} // namespace

ZQREPORT &ZQReport()
{
    static ZQREPORT report = [](const QString &line) {
        std::fprintf(stderr, "record store: %s\n", line.toUtf8().constData());
    };
    return report;
}

ZQCONNECTION *ZQOpenStore(const QString &location, QString *error)
{
    const auto read = Location::read(location, error);
    if (!read)
        return nullptr;
    auto connection = std::make_unique<ZQCONNECTION>(ZQPublicName(location), *read);
    const Watchdog::Wait wait(connection->watchdog);
    return connection->open(error) ? connection.release() : nullptr;
}

ZQCONNECTION *ZQOpenSampleStore(QString *error)
{
    Location memory;
    memory.driver = QStringLiteral("QSQLITE");
    auto sample = std::make_unique<ZQCONNECTION>(QStringLiteral("sample"), memory);
    sample->session = std::make_unique<Session>(memory.driver, QStringLiteral(":memory:"));
    Database &database = sample->session->database;
    if (!database.handle.open()) {
        fail(error, reasonOf(database.handle.lastError()));
        return nullptr;
    }
    for (const char *const script : {"schema.sql", "sample.sql", "indexes.sql"}) {
        if (!database.executeScript(QLatin1String(script), error))
            return nullptr;
    }
    return sample->session->prepare(error) ? sample.release() : nullptr;
}

void ZQHoldSnapshot(ZQCONNECTION *connection)
{
    connection->held = true;
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
    if (listType != OUTPUT_LIST_TYPE && listType != BOOK_LIST_TYPE)
        return refuse(connection, commands, "getDBList",
                      QStringLiteral("no list of type %1").arg(static_cast<unsigned int>(listType)));
    const auto query = listType == OUTPUT_LIST_TYPE ? &Session::outputs : &Session::publications;
    return fetch(connection, query, {}, "getDBList", commands, DBLIST_ENTRY_TYPE, makeEntry);
}

int ZQCommServer::iserror(ZQLPCOMMANDS &commands)
{
    return static_cast<int>(commands.error);
}

ZQLIST_ELEMENT *ZQCommServer::getBooks(ZQLPCOMMANDS &commands, BM_MESSAGE_ID &messageId, SORTTYPE sortType,
                                       SORTORDER sortOrder, const ZQKEY_ELEMENT &key)
{
    begin(commands, messageId);
    if (sortType != SORT_ARRIVAL || sortOrder != SORT_ASCENDING)
        return refuse(connection, commands, "getBooks", noSuchOrder);
    return fetch(connection, &Session::books, valuesOf(key), "getBooks", commands, BOOK_TYPE, makeBook);
}

int ZQCommServer::getidfromzqkey(const ZQKEY_ELEMENT &key)
{
    if (!connection)
        return 0;
    const Watchdog::Wait wait(connection->watchdog);
    QString reason;
    int id = 0;
    if (connection->begin(&reason)) {
        QSqlQuery &query = connection->session->ids;
        execute(query, valuesOf(key) + valuesOf(key));
        id = query.next() ? query.value(0).toInt() : 0;
        reason = finish(*connection, query);
    }
    if (!reason.isEmpty())
        report(connection, "getidfromzqkey", reason);
    return id;
}

ZQLIST_ELEMENT *ZQCommServer::getJobqueue(ZQLPCOMMANDS &commands, BM_MESSAGE_ID &messageId, ZQQUEUE queue,
                                          SORTTYPE sortType, SORTORDER sortOrder, int id)
{
    begin(commands, messageId);
    if (sortType != SORT_ARRIVAL || sortOrder != SORT_ASCENDING)
        return refuse(connection, commands, "getJobqueue", noSuchOrder);
    return fetch(connection, &Session::jobs, {id, static_cast<unsigned int>(queue)}, "getJobqueue", commands, JOB_TYPE,
                 makeJob);
}
