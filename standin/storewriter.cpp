// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "storewriter_p.h"

#include "database_p.h"
#include "location_p.h"

#include <QFile>
#include <QSqlError>
#include <QSqlQuery>
#include <QVariant>

#include <sqlite3.h>

namespace {

/** Binds values to one statement a table: the driver of Qt takes five times as long for it. */
class FileWriter : public StoreWriter
{
public:
    explicit FileWriter(const QString &fileName) : file(fileName) { }

    ~FileWriter() override
    {
        sqlite3_finalize(insert);
        sqlite3_close(database);
        if (made && !finished)
            file.remove();
    }
    Q_DISABLE_COPY(FileWriter)

    bool begin() override
    {
        // Keeps what exists, and gives better reasons than the library.
        made = file.open(QIODevice::WriteOnly | QIODevice::NewOnly);
        if (!made)
            return fail(&reason, file.errorString());
        file.close();
        // A file that is not finished is thrown away, so there is nothing that a journal on disk could save.
        return check(sqlite3_open_v2(QFile::encodeName(file.fileName()).constData(), &database, SQLITE_OPEN_READWRITE,
                                     nullptr))
            && execute("PRAGMA journal_mode = MEMORY; BEGIN") && executeScript(QStringLiteral("schema.sql"));
    }

    bool beginTable(const Table &table) override
    {
        sqlite3_finalize(insert);
        insert = nullptr;
        column = 0;
        const QByteArray statement = QByteArrayLiteral("INSERT INTO ") + table.name + " (" + table.columns
            + ") VALUES (?" + QByteArrayLiteral(", ?").repeated(table.count - 1) + ')';
        return check(sqlite3_prepare_v2(database, statement.constData(), -1, &insert, nullptr));
    }

    void addNumber(qint64 value) override
    {
        sqlite3_bind_int64(insert, ++column, value);
    }

    void addText(const QByteArray &utf8) override
    {
        sqlite3_bind_text(insert, ++column, utf8.constData(), static_cast<int>(utf8.size()), SQLITE_TRANSIENT);
    }

    void addNull() override
    {
        sqlite3_bind_null(insert, ++column);
    }

    bool endRow() override
    {
        column = 0;
        sqlite3_step(insert);
        return check(sqlite3_reset(insert));
    }

    bool executeScript(const QString &fileName) override
    {
        return execute(scriptOf(fileName).toUtf8().constData());
    }

    bool commit() override
    {
        sqlite3_finalize(insert);
        insert = nullptr;
        finished = executeScript(QStringLiteral("indexes.sql")) && execute("COMMIT");
        return finished;
    }

private:
    bool execute(const char *statements)
    {
        return check(sqlite3_exec(database, statements, nullptr, nullptr, nullptr));
    }

    bool check(int result)
    {
        return result == SQLITE_OK || fail(&reason, QString::fromUtf8(sqlite3_errmsg(database)));
    }

    QFile file;
    sqlite3 *database = nullptr;
    sqlite3_stmt *insert = nullptr;
    int column = 0;
    bool made = false;
    bool finished = false;
};

/**
 * Sends some thousand rows as one array of rows, which takes the server hardly longer than COPY, and no more than the
 * driver of Qt.
 */
class PostgresWriter : public StoreWriter
{
public:
    PostgresWriter(const Location &place, ZQEXISTING whatExists)
        : database(place.driver, QString()), location(place), existing(whatExists)
    {
    }

    bool begin() override
    {
        if (!location.connect(database, Location::Writing, &reason))
            return false;
        if (!database.handle.transaction())
            return fail(&reason, reasonOf(database.handle.lastError()));
        const bool free = existing == ZQ_REPLACE ? database.execute(
                              QStringLiteral("DROP TABLE IF EXISTS store, books, jobs, publications, outputs"), &reason)
                                                 : isFree();
        return free && executeScript(QStringLiteral("schema.sql"));
    }

    bool beginTable(const Table &next) override
    {
        if (!flush())
            return false;
        table = &next;
        return true;
    }

    void addNumber(qint64 value) override
    {
        beginValue();
        rows += QByteArray::number(value);
    }

    void addText(const QByteArray &utf8) override
    {
        beginValue();
        rows += "\\\"";
        for (const char c : utf8)
            addCharacter(c);
        rows += "\\\"";
    }

    void addNull() override
    {
        beginValue();
    }

    bool endRow() override
    {
        rows += ")\"";
        rowBegun = false;
        return ++count < 2048 && rows.size() < largestStatement ? reason.isEmpty() : flush();
    }

    bool executeScript(const QString &fileName) override
    {
        return database.executeScript(fileName, &reason);
    }

    bool commit() override
    {
        return flush() && executeScript(QStringLiteral("indexes.sql"))
            && database.execute(QStringLiteral("ANALYZE outputs, publications, jobs, books"), &reason)
            && (database.handle.commit() || fail(&reason, reasonOf(database.handle.lastError())));
    }

private:
    bool isFree()
    {
        QSqlQuery query(database.handle);
        if (!query.exec(
                QStringLiteral("SELECT string_agg(relname, ', ' ORDER BY relname) FROM pg_class"
                               " WHERE relnamespace = (SELECT oid FROM pg_namespace WHERE nspname = current_schema())"
                               " AND relname IN ('store', 'outputs', 'publications', 'jobs', 'books')"))
            || !query.next())
            return fail(&reason, reasonOf(query.lastError()));
        const QString taken = query.value(0).toString();
        // They may be somebody else's.
        return taken.isEmpty()
            || fail(&reason, QStringLiteral("tables in the way: %1; --force would drop them").arg(taken));
    }

    static constexpr int largestStatement = 1 << 20; // bytes; memory must not grow with what the rows hold

    void beginValue()
    {
        if (rowBegun)
            rows += ',';
        else
            rows += count == 0 ? "\"(" : ",\"(";
        rowBegun = true;
    }

    /** Adds what stands in a quoted value of a row, which stands in a quoted value of an array, in a quoted literal. */
    void addCharacter(char c)
    {
        if (c == '"')
            rows += "\\\"\\\"";
        else if (c == '\\')
            rows += "\\\\\\\\";
        else if (c == '\'')
            rows += "''";
        else if (c != '\0')
            rows += c;
        else if (reason.isEmpty())
            reason = QStringLiteral("PostgreSQL takes no text with a zero byte");
    }

    bool flush()
    {
        if (count == 0 || !reason.isEmpty())
            return reason.isEmpty();
        const QString name = QLatin1String(table->name);
        const bool ok = database.execute(QStringLiteral("INSERT INTO %1 SELECT * FROM unnest('{").arg(name)
                                             + QString::fromUtf8(rows) + QStringLiteral("}'::%1[])").arg(name),
                                         &reason);
        rows.clear();
        count = 0;
        return ok;
    }

    Database database;
    const Location &location;
    const ZQEXISTING existing;
    const Table *table = nullptr;
    QByteArray rows;
    int count = 0;
    bool rowBegun = false;
};

} // namespace

std::unique_ptr<StoreWriter> StoreWriter::make(const Location &location, ZQEXISTING existing, QString *error)
{
    if (location.isFile())
        return std::make_unique<FileWriter>(location.fileName);
    if (location.isPostgres())
        return std::make_unique<PostgresWriter>(location, existing);
    fail(error, QStringLiteral("stores are made in files and on PostgreSQL only"));
    return nullptr;
}
