// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef STANDIN_DATABASE_P_H
#define STANDIN_DATABASE_P_H

#include <QSqlDatabase>
#include <QString>
#include <QStringList>

class QSqlError;

/**
 * One database connection under a name of its own, closed and removed with this object. Destroy it before its queries:
 * those of a lost connection would complain that they cannot tell the server of their end.
 */
class Database
{
public:
    Database(const QString &driver, const QString &databaseName);
    ~Database();
    Q_DISABLE_COPY(Database)

    /** Executes the statements of the resource \a fileName; false and the reason in \a error when one fails. */
    bool executeScript(const QString &fileName, QString *error);

    /** Executes \a statement; false and the reason in \a error when it fails. */
    bool execute(const QString &statement, QString *error);

    QSqlDatabase handle;

private:
    static QString makeName();

    const QString name;
};

/** Returns the text of the resource \a fileName. */
QString scriptOf(const QString &fileName);

/** Returns the statements of the resource \a fileName, without comments. */
QStringList statementsOf(const QString &fileName);

/** Returns the reason in one line. */
QString reasonOf(const QSqlError &error);

/** Stores \a reason in \a error unless that is null, and returns false. */
bool fail(QString *error, const QString &reason);

#endif
