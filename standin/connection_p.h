// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef STANDIN_CONNECTION_P_H
#define STANDIN_CONNECTION_P_H

#include "database_p.h"
#include "location_p.h"
#include "watchdog_p.h"

#include <QDateTime>
#include <QObject>
#include <QSqlQuery>
#include <QString>

#include <memory>

/** An open database with the queries of the command server. */
struct Session {
    Session(const QString &driver, const QString &databaseName) : database(driver, databaseName) { }

    /** Checks the version of the tables of the open database and prepares the queries. */
    bool prepare(QString *error);

    QSqlQuery outputs;
    QSqlQuery publications;
    QSqlQuery ids;
    QSqlQuery jobs;
    QSqlQuery books;
    Database database; ///< is destroyed first
};

/** A store that is read, over one session after another when files change and servers come back. */
struct ZQCONNECTION {
    /** \a shownLocation as messages may show it. */
    ZQCONNECTION(const QString &shownLocation, const Location &location);

    /** Makes a new session. An SQLite file is only read, and no file is left beside it. */
    bool open(QString *error);

    /**
     * Begins a call. Where an event loop runs, the calls of one of its turns read one snapshot. False with the reason
     * in \a error, which is empty for another call that fails after the first of a snapshot.
     */
    bool begin(QString *error);

    /** Ends a call. Returns \a reason, or why what was read is not to be trusted; from then on the snapshot fails. */
    QString end(const QString &reason);

    const QString shownLocation;
    const Location location;
    Location::Use use = Location::Questions;
    std::unique_ptr<Session> session; ///< null until it is opened, and when that has failed
    Watchdog watchdog; ///< of the session of questions to a server
    bool held = false; ///< one snapshot serves all calls

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

    bool openFile(QString *error);
    bool openServer(QString *error);
    void close();
    bool isOutdated() const;
    bool beginTransaction(QString *error);
    void endSnapshot();
    void rollBack();

    QObject turn; ///< receives the end of the event loop's turn
    bool snapshot = false;
    bool failed = false; ///< a call of the snapshot
    bool frozen = false; ///< the file is read as if nobody could write to it
    FileState stateBefore; ///< of the file when it was opened
};

#endif
