// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef STANDIN_LOCATION_P_H
#define STANDIN_LOCATION_P_H

#include "database_p.h"

#include <QUrl>

#include <optional>

/** Where a store is, as its users write it: an SQLite file or the URL of a database. */
struct Location {
    /** What a connection to a server is for. */
    enum Use {
        Questions, ///< reads, and gives up what takes too long
        Reading, ///< reads tables as a whole
        Writing,
    };

    /** Reads \a text; nothing and the reason in \a error when it is no place for a store. */
    static std::optional<Location> read(const QString &text, QString *error);

    bool isFile() const
    {
        return driver == QLatin1String("QSQLITE");
    }

    bool isPostgres() const
    {
        return driver == QLatin1String("QPSQL");
    }

    /** Connects \a database to the server of the URL. */
    bool connect(Database &database, Use use, QString *error) const;

    /** Returns the socket of a connected \a database; -1 where there is none to be had. */
    int socketOf(const Database &database) const;

    QString driver; ///< of Qt SQL
    QString fileName; ///< of a file
    QUrl url; ///< of a server
    unsigned int statementTimeout = 30000; ///< milliseconds; 0 for no limit
};

#endif
