// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "connection_p.h"

#include <QFile>
#include <QFileInfo>
#include <QSqlError>
#include <QThread>
#include <QUrl>

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

ZQCONNECTION::ZQCONNECTION(const QString &shownLocation, const QString &driver, const QString &databaseName)
    : location(shownLocation), database(driver, databaseName)
{
}

bool ZQCONNECTION::openFile(const QString &fileName, QString *error)
{
    const QFileInfo there(fileName);
    if (there.exists() && !there.isFile() && !there.isDir()) // opening a pipe would wait
        return fail(error, QStringLiteral("not a regular file"));
    QFile content(fileName); // gives better reasons than the driver
    if (!content.open(QIODevice::ReadOnly))
        return fail(error, content.errorString());
    file = fileName;
    stateBefore = FileState(fileName);
    // A reader of a database with a write-ahead log makes one, and leaves it behind if it must not write. As long as
    // there is none, nobody writes, and the file can be read as if it were on a read-only medium.
    frozen = isLogged(content) && !stateBefore.logged;
    QString name = fileName;
    QString options = QStringLiteral("QSQLITE_OPEN_READONLY");
    if (frozen) {
        name = QString::fromLatin1(QUrl::fromLocalFile(there.absoluteFilePath()).toEncoded())
            + QStringLiteral("?immutable=1");
        options += QStringLiteral(";QSQLITE_OPEN_URI");
    }
    database.handle.setDatabaseName(name);
    database.handle.setConnectOptions(options);
    return open(error);
}

bool ZQCONNECTION::open(QString *error)
{
    if (!database.handle.open())
        return fail(error, reasonOf(database.handle.lastError()));
    return prepare(error);
}

bool ZQCONNECTION::prepare(QString *error)
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

bool ZQCONNECTION::begin(QString *error)
{
    if (!snapshot && isOutdated() && !reopen(error))
        return false;
    // Without an event loop nothing would end the snapshot.
    if (!snapshot && (held || QThread::currentThread()->loopLevel() > 0)) {
        snapshot = database.handle.transaction();
        if (!held)
            QMetaObject::invokeMethod(
                &turn, [this] { endSnapshot(); }, Qt::QueuedConnection);
    }
    return !failed;
}

bool ZQCONNECTION::reopen(QString *error)
{
    for (QSqlQuery *const query : {&outputs, &publications, &ids, &jobs, &books})
        *query = QSqlQuery();
    database.handle.close();
    if (openFile(QString(file), error))
        return true;
    database.handle.close();
    return false;
}

QString ZQCONNECTION::end(const QString &reason)
{
    const bool changed = frozen && !FileState(file).hasContentOf(stateBefore);
    QString result = reason.isEmpty() && changed ? QStringLiteral("changed while it was read") : reason;
    failed = snapshot && !result.isEmpty();
    return result;
}

bool ZQCONNECTION::isOutdated() const
{
    if (!database.handle.isOpen()) // an attempt to reopen it has failed
        return true;
    if (!frozen)
        return false;
    const FileState state(file);
    return state.logged || !state.hasContentOf(stateBefore);
}

void ZQCONNECTION::endSnapshot()
{
    database.handle.rollback();
    snapshot = false;
    failed = false;
}
