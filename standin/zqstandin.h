// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef STANDIN_ZQSTANDIN_H
#define STANDIN_ZQSTANDIN_H

/**
 * \file
 * What the stand-in offers beyond the record library's declarations: opening a database for a ZQCommServer, making
 * one, and the accounts of its converters. Opening and making need a QCoreApplication, since Qt loads its database
 * drivers as plugins.
 *
 * schema.sql describes the tables, queries.sql how the calls of ZQCommServer answer from them:
 *  - getDBList(OUTPUT_LIST_TYPE) gives the outputs, getDBList(BOOK_LIST_TYPE) the publications that have books; both in
 *    the order of their ids. Any other list is an error.
 *  - getidfromzqkey() gives the id of the output or publication under a key, 0 when there is none.
 *  - getJobqueue() gives the jobs that wait in a queue of the output with an id; of any other id there are none.
 *  - getBooks() gives the books of the publication under a key, in the order of their ids.
 *  - The one order is SORT_ARRIVAL, SORT_ASCENDING; asking for any other is an error.
 *
 * A failure of the database sets the command block's error and is reported in one line, see ZQReport(). A server that
 * says nothing for statement_timeout and two seconds more is a failure, and its connection lost. Where an event
 * loop runs, all calls of one of its turns, and so of one request to the comm server agent, read one state of the
 * database; after one that failed the others of the turn fail too, without a line. A connection that was lost is made
 * anew once, by the next call, or where an event loop runs by the next turn.
 */

#include "recordlib/zqapp.h"
#include "standin/zqrecords.h"

#include <QString>
#include <QStringList>

#include <functional>

/** The queue in which jobs wait for their output. */
constexpr ZQQUEUE WAITING_QUEUE = static_cast<ZQQUEUE>(3);

/** Sorts by arrival. */
constexpr SORTTYPE SORT_ARRIVAL = static_cast<SORTTYPE>(4);

/** Sorts in ascending order. */
constexpr SORTORDER SORT_ASCENDING = static_cast<SORTORDER>(0);

/**
 * Opens a database and prepares every query. \a location is an SQLite file, which is only read, or the URL of a
 * database behind another Qt SQL driver.
 * \code
 * shop.db
 * qpsql://user@host:5432/shop?sslmode=verify-full&statement_timeout=5000
 * \endcode
 * What follows the question mark are options of PostgreSQL's client library, which also finds passwords and services in
 * its own files, and statement_timeout, milliseconds: 30000 without it, 0 for no limit.
 * Null when it cannot be read, lacks a table, or has tables of another version; \a error then says why, in one line. A
 * ZQCommServer takes the connection over.
 */
ZQCONNECTION *ZQOpenStore(const QString &location, QString *error);

/** Returns the SQLite file of \a location, or nothing for another database. */
QString ZQFileOfStore(const QString &location);

/** Returns \a location as messages may show it: without a password, and without the options of a URL. */
QString ZQPublicName(const QString &location);

/**
 * Makes all calls over \a connection read the state that the first of them finds, and fail once one has failed. To be
 * called before a ZQCommServer takes it over. An SQLite file without a write-ahead log cannot be changed until then.
 */
void ZQHoldSnapshot(ZQCONNECTION *connection);

/** As ZQOpenStore(), with a database of its own in memory that holds the sample data. */
ZQCONNECTION *ZQOpenSampleStore(QString *error);

/** How much a generated database holds. */
struct ZQSTORESIZE {
    unsigned int outputs = 0; ///< number of them
    unsigned int publications = 0; ///< number of them
    unsigned int jobs = 0; ///< need an output; without publications all of them stand alone
    unsigned int books = 0; ///< need a publication
    unsigned long long seed = 1; ///< equal seeds and sizes give equal content, everywhere
};

/** Called every few thousand rows with how many of the rows are written. */
using ZQPROGRESS = std::function<void(unsigned long long done, unsigned long long total)>;

/** What is done about a store on a server that exists. A file must not exist. */
enum ZQEXISTING { ZQ_KEEP, ZQ_REPLACE };

/**
 * Makes a store with generated content: an SQLite file, or tables of a PostgreSQL database, in the first schema of the
 * search path. All of it is one transaction, and memory does not grow with its size. False when that fails; \a error
 * then says why, in one line, and nothing is left or replaced.
 */
bool ZQCreateStore(const QString &location, const ZQSTORESIZE &size, const ZQPROGRESS &progress, QString *error,
                   ZQEXISTING existing = ZQ_KEEP);

/** As ZQCreateStore(), with the sample data. */
bool ZQCreateSampleStore(const QString &location, QString *error, ZQEXISTING existing = ZQ_KEEP);

/** As ZQCreateStore(), with what one state of the store \a from holds. A reason why \a from
 * cannot be read names it. */
bool ZQCopyStore(const QString &from, const QString &to, const ZQPROGRESS &progress, QString *error,
                 ZQEXISTING existing = ZQ_KEEP);

/** What was found in a store. */
struct ZQFINDINGS {
    ZQSTORESIZE counted; ///< without a seed
    QStringList faults; ///< one line each
};

/**
 * Checks that there is one version, that ids and keys are unique, names not empty, references whole, that a question
 * reaches each job, that records can hold the numbers, and that an SQLite file is not damaged; all in one state of the
 * store. False when it cannot be read to the end; \a error then
 * says why, in one line.
 */
bool ZQCheckStore(const QString &location, ZQFINDINGS &findings, QString *error);

/** What goes wrong on purpose, for the tests of what calls the record library. */
struct ZQFAULTS {
    bool noText = false; ///< ZQPacketable::toPacket() fails
    bool refusedText = false; ///< ZQPacketable::fromPacket() accepts nothing
    bool unknownTypes = false; ///< PacketableUtil::getPacketable() knows no type
    bool emptyChains = false; ///< every list is empty, without an error
    /**
     * Every list breaks off after its first record, with an error. What getDBList() gives then stays with the server
     * until the next call.
     */
    bool brokenChains = false;
};

/** Returns the faults of this process, to be changed at will; none at first. */
ZQFAULTS &ZQFaults();

/** Told why a call of ZQCommServer has failed, in one line. */
using ZQREPORT = std::function<void(const QString &line)>;

/** Returns who is told of failures in this process, to be changed at will; at first lines go to standard error. */
ZQREPORT &ZQReport();

/** Returns how many failed calls of ZQCommServer were reported in this process. */
unsigned int ZQFailedCalls();

/** Returns the number of converters alive. For the accounts of tests. */
unsigned int ZQLiveConverters();

/** Deletes every converter alive, as the application does at its end with those that it keeps. For tests. */
void ZQFreeConverters();

#endif
