// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "database_p.h"

#include <QFile>
#include <QRegularExpression>
#include <QSqlError>
#include <QSqlQuery>

#include <algorithm>
#include <atomic>

// The macro declares a function of the global namespace.
static void initResources()
{
    Q_INIT_RESOURCE(standin);
}

Database::Database(const QString &driver, const QString &databaseName) : name(makeName())
{
    handle = QSqlDatabase::addDatabase(driver, name);
    handle.setDatabaseName(databaseName);
}

Database::~Database()
{
    handle = QSqlDatabase();
    QSqlDatabase::removeDatabase(name);
}

QString Database::makeName()
{
    static std::atomic<unsigned int> count{0};
    return QStringLiteral("zqstandin-%1").arg(++count);
}

bool Database::executeScript(const QString &fileName, QString *error)
{
    const QStringList statements = statementsOf(fileName);
    return std::all_of(statements.begin(), statements.end(),
                       [&](const QString &statement) { return execute(statement, error); });
}

bool Database::execute(const QString &statement, QString *error)
{
    QSqlQuery query(handle);
    return query.exec(statement) || fail(error, reasonOf(query.lastError()));
}

QString scriptOf(const QString &fileName)
{
    initResources();
    QFile file(QStringLiteral(":/standin/") + fileName);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

QStringList statementsOf(const QString &fileName)
{
    static const QRegularExpression comment(QStringLiteral("^--.*\n"), QRegularExpression::MultilineOption);
    QStringList statements;
    for (const QString &part : scriptOf(fileName).remove(comment).split(QStringLiteral(";\n"))) {
        if (!part.trimmed().isEmpty())
            statements << part.trimmed();
    }
    return statements;
}

QString reasonOf(const QSqlError &error)
{
    // Servers add hints and places in further lines.
    QString reason = error.databaseText().isEmpty() ? error.driverText() : error.databaseText();
    reason = reason.trimmed().section(QLatin1Char('\n'), 0, 0).simplified();
    return reason.startsWith(QLatin1String("ERROR: ")) ? reason.mid(7) : reason;
}

bool fail(QString *error, const QString &reason)
{
    if (error)
        *error = reason;
    return false;
}
