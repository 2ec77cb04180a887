// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef STANDIN_RECORDBUILDER_P_H
#define STANDIN_RECORDBUILDER_P_H

struct ZQLIST_ELEMENT;
class QSqlQuery;

// Make a record of the query's current row; the columns are those that ZQCONNECTION selects. The caller frees it.
ZQLIST_ELEMENT *makeEntry(const QSqlQuery &row);
ZQLIST_ELEMENT *makeJob(const QSqlQuery &row);
ZQLIST_ELEMENT *makeBook(const QSqlQuery &row);

#endif
