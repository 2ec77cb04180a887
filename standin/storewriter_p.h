// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef STANDIN_STOREWRITER_P_H
#define STANDIN_STOREWRITER_P_H

#include "standin/zqstandin.h"

#include <QByteArray>
#include <QString>

#include <memory>

struct Location;

/** A table of the store. */
struct Table {
    const char *name;
    const char *columns; ///< in the order of the schema
    int count; ///< of columns
};

/** The tables with records, each behind those that it refers to. */
constexpr Table storeTables[] = {
    {"outputs", "id, zqkey, hkey, name, state, speed, resolution", 7},
    {"publications", "id, zqkey, hkey, name", 4},
    {"jobs",
     "id, zqkey, hkey, name, publication, page, queue, output, arrived, priority, copies, bytes, paper, format, inks,"
     " digest",
     16},
    {"books", "id, zqkey, hkey, name, publication, pages, signature, copies, balance, cover, keywords", 11},
};

/**
 * Makes a store in one transaction: begin(), for each table beginTable() and for each row one value a column and
 * endRow(), and at last commit(). What fails makes everything after it fail too; error() then says why. Without a
 * commit() nothing of it stays.
 */
class StoreWriter
{
public:
    /** Returns a writer for the place; null, and the reason in \a error, where none can be made. */
    static std::unique_ptr<StoreWriter> make(const Location &location, ZQEXISTING existing, QString *error);

    virtual ~StoreWriter() = default;

    /** Makes the tables, without rows. */
    virtual bool begin() = 0;
    virtual bool beginTable(const Table &table) = 0;
    virtual void addNumber(qint64 value) = 0;
    virtual void addText(const QByteArray &utf8) = 0;
    virtual void addNull() = 0;
    virtual bool endRow() = 0;
    virtual bool executeScript(const QString &fileName) = 0;
    virtual bool commit() = 0;

    QString error() const
    {
        return reason;
    }

protected:
    QString reason;
};

#endif
