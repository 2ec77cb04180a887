// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef ZQXMLVIEW_ROWSTEPS_P_H
#define ZQXMLVIEW_ROWSTEPS_P_H

#include <vector>

/** One step on the way from a list to another. */
struct RowStep {
    enum Kind { Remove, Move, Insert };

    Kind kind;
    int row; ///< the first row that goes, the row that is moved, or where the first new one will be
    int value; ///< how many go or come; of a move, the row where it will be
};

/**
 * Returns the steps that make of a list another one of \a wanted rows. For each row of the list, \a present has the row
 * where it is wanted, or -1 when it is to go. As few rows as possible are moved, so that a view keeps what stays.
 */
std::vector<RowStep> rowSteps(std::vector<int> present, int wanted);

#endif
