// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef STANDIN_CONNECTION_P_H
#define STANDIN_CONNECTION_P_H

#include "database_p.h"

#include <QDateTime>
#include <QObject>
#include <QSqlQuery>
#include <QString>

/** An open database with the queries of the command server. */
struct ZQCONNECTION {
    /** \a location as messages may show it. */
    ZQCONNECTION(const QString &location, const QString &driver, const QString &databaseName);

    /** Opens the SQLite file, which is only read and leaves no file beside it. */
    bool openFile(const QString &fileName, QString *error);

    /** Opens the database as it is set and prepares the queries. */
    bool open(QString *error);

    /** Prepares the queries. */
    bool prepare(QString *error);

    /**
     * Begins a call. Where an event loop runs, the calls of one of its turns read one snapshot. False with the reason
     * in \a error, which is empty for another call that fails after the first of a snapshot.
     */
    bool begin(QString *error);

    /** Ends a call. Returns \a reason, or why what was read is not to be trusted; from then on the snapshot fails. */
    QString end(const QString &reason);

    const QString location;
    Database database;
    bool held = false; ///< one snapshot serves all calls
    QSqlQuery outputs;
    QSqlQuery publications;
    QSqlQuery ids;
    QSqlQuery jobs;
    QSqlQuery books;

private:
    /** What tells whether somebody has written to a file. */
    struct FileState {
        FileState() = default;
        explicit FileState(const QString &fileName);
        bool hasContentOf(const FileState &other) const;

        QDateTime modified;
        qint64 size = 0;
        bool logged = false; ///< what was written last is in a file beside it
    };

    bool isOutdated() const;
    bool reopen(QString *error);
    void endSnapshot();

    QObject turn; ///< receives the end of the event loop's turn
    bool snapshot = false;
    bool failed = false; ///< a call of the snapshot
    QString file;
    bool frozen = false; ///< the file is read as if nobody could write to it
    FileState stateBefore; ///< of the file when it was opened
};

#endif
