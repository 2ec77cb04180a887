// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "location_p.h"

#include "standin/zqstandin.h"

#include <QLibrary>
#include <QRegularExpression>
#include <QSqlDriver>
#include <QSqlError>
#include <QUrlQuery>
#include <QVariant>

namespace {

const QString statementTimeoutOption = QStringLiteral("statement_timeout");

/**
 * Sets the options of libpq from \a url, over ours, which bound how long a server that is gone is waited for: one that
 * does not answer a connection, or whose machine no longer acknowledges what is sent.
 */
bool setPostgresOptions(QSqlDatabase &handle, const QUrl &url, QString *error)
{
    QString options = QStringLiteral("connect_timeout=10;keepalives_idle=10;keepalives_interval=5;keepalives_count=4;"
                                     "tcp_user_timeout=30000;fallback_application_name=zqxml");
    for (auto [name, value] : QUrlQuery(url).queryItems(QUrl::FullyDecoded)) {
        if (name == statementTimeoutOption)
            continue;
        if ((name + value).contains(QLatin1Char(';')))
            return fail(error, QStringLiteral("the driver takes no semicolon in an option"));
        value.replace(QLatin1Char('\\'), QLatin1String("\\\\")).replace(QLatin1Char('\''), QLatin1String("\\'"));
        options += QLatin1Char(';') + name + QLatin1String("='") + value + QLatin1Char('\'');
    }
    handle.setConnectOptions(options);
    return true;
}

bool preparePostgres(Database &database, unsigned int limit, Location::Use use, QString *error)
{
    // One statement, because the driver misses what is wrong behind the first of several.
    QString settings = QStringLiteral("SELECT set_config('client_min_messages', 'error', false),"
                                      " set_config('standard_conforming_strings', 'on', false),"
                                      " set_config('statement_timeout', '%1', false),"
                                      " set_config('lock_timeout', '%2', false),")
                           .arg(use == Location::Questions ? limit : 0)
                           .arg(use == Location::Questions ? 0 : limit);
    // A question is for little of each table: joins read what indexes find, not all publications for one output.
    if (use == Location::Questions)
        settings += QStringLiteral(" set_config('enable_hashjoin', 'off', false),"
                                   " set_config('enable_mergejoin', 'off', false),"
                                   " set_config('random_page_cost', '1.1', false),");
    // What is made is made in one schema, whose tables are not taken for those of the next.
    settings += use == Location::Writing
        ? QStringLiteral(" set_config('search_path', quote_ident(current_schema()), false)")
        : QStringLiteral(" set_config('default_transaction_isolation', 'repeatable read', false),"
                         " set_config('default_transaction_read_only', 'on', false)");
    return database.execute(settings, error);
}

} // namespace

std::optional<Location> Location::read(const QString &text, QString *error)
{
    Location result;
    const bool isUrl = text.contains(QLatin1String("://"));
    if (!isUrl) {
        result.driver = QStringLiteral("QSQLITE");
        result.fileName = text;
    } else {
        result.url = QUrl(text);
        result.driver = result.url.scheme().toUpper();
        result.fileName = result.url.path();
    }
    QString reason;
    bool isNumber = true;
    const QUrlQuery options(result.url);
    if (options.hasQueryItem(statementTimeoutOption))
        result.statementTimeout = options.queryItemValue(statementTimeoutOption).toUInt(&isNumber);
    if (isUrl && !result.url.isValid())
        reason = QStringLiteral("not a URL");
    else if (!QSqlDatabase::isDriverAvailable(result.driver))
        reason = QStringLiteral("no database driver %1").arg(result.driver);
    else if (result.isFile() && (result.fileName.isEmpty() || !result.url.host().isEmpty()))
        reason = QStringLiteral("names no file: a path follows three slashes");
    else if (!isNumber)
        reason = QStringLiteral("statement_timeout needs a number of milliseconds");
    if (reason.isEmpty())
        return result;
    fail(error, reason);
    return std::nullopt;
}

bool Location::connect(Database &database, Use use, QString *error) const
{
    QSqlDatabase &handle = database.handle;
    handle.setHostName(url.host());
    handle.setPort(url.port());
    handle.setUserName(url.userName());
    handle.setPassword(url.password());
    handle.setDatabaseName(url.path().mid(1));
    if (isPostgres() && !setPostgresOptions(handle, url, error))
        return false;
    if (!handle.open())
        return fail(error, reasonOf(handle.lastError()));
    return !isPostgres() || preparePostgres(database, statementTimeout, use, error);
}

int Location::socketOf(const Database &database) const
{
    // In the library that the driver has loaded.
    using Call = int (*)(const void *);
    static const auto call = reinterpret_cast<Call>(QLibrary::resolve(QStringLiteral("pq"), 5, "PQsocket"));
    const QVariant connection = database.handle.driver()->handle();
    return call && isPostgres() ? call(*static_cast<void *const *>(connection.constData())) : -1;
}

QString ZQPublicName(const QString &location)
{
    if (!location.contains(QLatin1String("://")))
        return location;
    // Whatever a password holds, its end is before the host. Options may be passwords too.
    static const QRegularExpression password(QStringLiteral("(://[^:/@]*):.*@"),
                                             QRegularExpression::DotMatchesEverythingOption);
    static const QRegularExpression options(QStringLiteral("\\?.*$"), QRegularExpression::DotMatchesEverythingOption);
    QString name = location;
    return name.replace(password, QStringLiteral("\\1:***@")).remove(options);
}

QString ZQFileOfStore(const QString &location)
{
    const auto read = Location::read(location, nullptr);
    return read && read->isFile() ? read->fileName : QString();
}
