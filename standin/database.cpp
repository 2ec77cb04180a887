// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "database_p.h"

#include <QFile>
#include <QSqlError>
#include <QSqlQuery>
#include <QStringList>

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
    initResources();
    QFile file(QStringLiteral(":/standin/") + fileName);
    if (!file.open(QIODevice::ReadOnly))
        return fail(error, file.errorString());
    const QStringList statements = QString::fromUtf8(file.readAll()).split(QStringLiteral(";\n"));
    QSqlQuery query(handle);
    for (const QString &statement : statements) {
        if (!statement.trimmed().isEmpty() && !query.exec(statement))
            return fail(error, reasonOf(query.lastError()));
    }
    return true;
}

QString reasonOf(const QSqlError &error)
{
    const QString reason = error.databaseText().isEmpty() ? error.driverText() : error.databaseText();
    return reason.simplified();
}

bool fail(QString *error, const QString &reason)
{
    if (error)
        *error = reason;
    return false;
}
