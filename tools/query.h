// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef TOOLS_QUERY_H
#define TOOLS_QUERY_H

#ifdef ZQXML_WITH_BUS
#include <zqxmlgate/xmlnatstransport.h>
#endif
#include <recordlib/zqlib.h>

#include <QList>
#include <QString>

class QCommandLineParser;

/** What the command line of zqxml-query asks for. */
struct Query {
    int request = 0; ///< an XMLCommServer request
    QString question; ///< the word for it
    QList<ZQKEY_ELEMENT> keys;
    bool withPublications = false;
    QString database;
    QString format;
    int pageSize = 250;
    int limit = 0; ///< 0 for all
    int seconds = 0; ///< to wait for a page; 0 for ever
    bool rebuild = false;
    bool trace = false;
    QString traceFile;
#ifdef ZQXML_WITH_BUS
    XMLNatsTransport::Options bus; ///< without an address the database is asked
#endif
};

/** Tells \a parser what zqxml-query understands. */
void addArguments(QCommandLineParser &parser);

/** Fills the query from the parsed command line; returns what is wrong with it, or nothing. */
QString readArguments(const QCommandLineParser &parser, Query &query);

/** Returns a key as it is written on the command line. */
QString toText(const ZQKEY_ELEMENT &key);

#endif
