// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "connection_p.h"

#include <QFile>
#include <QFileInfo>
#include <QSqlError>
#include <QThread>
#include <QUrl>
#include <QVariant>

namespace {

QString logOf(const QString &fileName)
{
    return QFileInfo(fileName).canonicalFilePath() + QStringLiteral("-wal");
}

/** Returns whether the file's header says that writers log beside it first. */
bool isLogged(QFile &file)
{
    static constexpr int readVersion = 19; // place in the header; 2 for a database with a write-ahead log
    return file.seek(readVersion) && file.read(1) == "\2";
}

/** The version of the tables that is read and made. */
constexpr int version = 1;

/** Refuses a database with what is wrong with its tables, and what to do. */
bool refuseTables(const QSqlError &found, QString *error)
{
    const QString code = found.nativeErrorCode();
    QString advice;
    if (code == QLatin1String("42501")) // insufficient privilege
        advice = QStringLiteral("; its owner has to GRANT SELECT");
    else if (code == QLatin1String("42P01") || code == QLatin1String("42703") || code == QLatin1String("1"))
        advice = QStringLiteral("; zqxml-store create makes one");
    return fail(error, QStringLiteral("no record store: ") + reasonOf(found) + advice);
}

bool checkVersion(const Database &database, QString *error)
{
    QSqlQuery query(database.handle);
    if (!query.exec(QStringLiteral("SELECT version FROM store")))
        return refuseTables(query.lastError(), error);
    if (!query.next())
        return fail(error, QStringLiteral("no record store: it has no version; zqxml-store create makes one"));
    const int found = query.value(0).toInt();
    if (found == version)
        return true;
    return fail(error,
                QStringLiteral("its tables have version %1, and this program reads %2: %3")
                    .arg(QString::number(found), QString::number(version),
                         found > version ? QStringLiteral("use a newer zqxml")
                                         : QStringLiteral("make the store anew with zqxml-store")));
}

} // namespace

ZQCONNECTION::FileState::FileState(const QString &fileName)
{
    const QFileInfo there(fileName);
    modified = there.lastModified();
    size = there.size();
    logged = QFileInfo::exists(logOf(fileName));
}

bool ZQCONNECTION::FileState::hasContentOf(const FileState &other) const
{
    return modified == other.modified && size == other.size;
}

bool Session::prepare(QString *error)
{
    if (!checkVersion(database, error))
        return false;
    QSqlQuery *const queries[] = {&outputs, &publications, &ids, &jobs, &books};
    const QStringList statements = statementsOf(QStringLiteral("queries.sql"));
    // Rows of PostgreSQL take half as long again one by one; those of other drivers would be held twice.
    const bool arrivesAtOnce = database.handle.driverName() == QLatin1String("QPSQL");
    for (int i = 0; i < statements.size(); ++i) {
        QSqlQuery &query = *queries[i];
        query = QSqlQuery(database.handle);
        query.setForwardOnly(!arrivesAtOnce);
        if (!query.prepare(statements.at(i)))
            return refuseTables(query.lastError(), error);
    }
    return true;
}

ZQCONNECTION::ZQCONNECTION(const QString &shown, const Location &place) : shownLocation(shown), location(place) { }

bool ZQCONNECTION::open(QString *error)
{
    close(); // its name and files are free then
    session = std::make_unique<Session>(location.driver, location.fileName);
    if ((location.isFile() ? openFile(error) : openServer(error)) && session->prepare(error))
        return true;
    close();
    return false;
}

void ZQCONNECTION::close()
{
    watchdog.watch(-1);
    session.reset();
}

bool ZQCONNECTION::openServer(QString *error)
{
    if (!location.connect(session->database, use, error))
        return false;
    const std::chrono::milliseconds limit(location.statementTimeout);
    if (use == Location::Questions && limit.count() > 0) // a server that can keep it says so first
        watchdog.watch(location.socketOf(session->database), limit + std::chrono::seconds(2));
    return true;
}

bool ZQCONNECTION::openFile(QString *error)
{
    const QFileInfo there(location.fileName);
    if (there.exists() && !there.isFile() && !there.isDir()) // opening a pipe would wait
        return fail(error, QStringLiteral("not a regular file"));
    QFile content(location.fileName); // gives better reasons than the driver
    if (!content.open(QIODevice::ReadOnly))
        return fail(error, content.errorString());
    stateBefore = FileState(location.fileName);
    // A reader of a database with a write-ahead log makes one, and leaves it behind if it must not write. As long as
    // there is none, nobody writes, and the file can be read as if it were on a read-only medium.
    frozen = isLogged(content) && !stateBefore.logged;
    QSqlDatabase &handle = session->database.handle;
    QString options = QStringLiteral("QSQLITE_OPEN_READONLY");
    if (frozen) {
        handle.setDatabaseName(QString::fromLatin1(QUrl::fromLocalFile(there.absoluteFilePath()).toEncoded())
                               + QStringLiteral("?immutable=1"));
        options += QStringLiteral(";QSQLITE_OPEN_URI");
    }
    handle.setConnectOptions(options);
    return handle.open() || fail(error, reasonOf(handle.lastError()));
}

bool ZQCONNECTION::begin(QString *error)
{
    if (snapshot)
        return !failed;
    // Without an event loop nothing would end the snapshot.
    snapshot = held || QThread::currentThread()->loopLevel() > 0;
    const bool ok = (!isOutdated() || open(error)) && (!snapshot || beginTransaction(error));
    failed = snapshot && !ok;
    if (snapshot && !held)
        QMetaObject::invokeMethod(
            &turn, [this] { endSnapshot(); }, Qt::QueuedConnection);
    return ok;
}

bool ZQCONNECTION::beginTransaction(QString *error)
{
    if (session->database.handle.transaction())
        return true;
    // A server that was started anew since the last question is noticed only now.
    const bool lost = !session->database.handle.isOpen();
    if (lost && !open(error))
        return false;
    return (lost && session->database.handle.transaction())
        || fail(error, reasonOf(session->database.handle.lastError()));
}

QString ZQCONNECTION::end(const QString &reason)
{
    const bool changed = frozen && !FileState(location.fileName).hasContentOf(stateBefore);
    QString result = reason.isEmpty() && changed ? QStringLiteral("changed while it was read") : reason;
    if (watchdog.hasCut())
        result = QStringLiteral("the server was silent for too long");
    failed = snapshot && !result.isEmpty();
    // A server's last word comes before the end of the connection, which only the next statement finds.
    if (!result.isEmpty() && !snapshot)
        rollBack();
    return result;
}

bool ZQCONNECTION::isOutdated() const
{
    if (!session || !session->database.handle.isOpen())
        return true;
    if (!frozen)
        return false;
    const FileState state(location.fileName);
    return state.logged || !state.hasContentOf(stateBefore);
}

void ZQCONNECTION::endSnapshot()
{
    const Watchdog::Wait wait(watchdog);
    rollBack();
    snapshot = false;
    failed = false;
}

void ZQCONNECTION::rollBack()
{
    if (session && session->database.handle.isOpen())
        session->database.handle.rollback();
}
