// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef TOOLS_TEXTCOLUMNS_H
#define TOOLS_TEXTCOLUMNS_H

#include <QByteArray>
#include <QList>
#include <QStringList>

#include <vector>

struct TextColumn {
    const char *heading;
    bool right; ///< aligned to the right
};

/** A table for a terminal, whose rows can be had as they come. */
class TextColumns
{
public:
    explicit TextColumns(std::vector<TextColumn> tableColumns);

    /** Adds a row with a cell for each column. */
    void add(const QStringList &cells);

    /**
     * Returns the rows that were added since the last call, aligned; in front of the first ones the heading. The
     * columns are as wide as these need: a wider cell that comes later pushes the rest of its row to the right.
     */
    QByteArray takeText();

private:
    void widen(const QStringList &cells);
    QByteArray lineOf(const QStringList &cells) const;

    std::vector<TextColumn> columns;
    std::vector<int> widths;
    std::vector<QStringList> rows; ///< that are not taken yet
};

#endif
