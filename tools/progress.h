// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef TOOLS_PROGRESS_H
#define TOOLS_PROGRESS_H

#include <QElapsedTimer>
#include <QString>

/** Shows on standard error how far the work is, once it has taken a second and if somebody looks. */
class Progress
{
public:
    Progress();
    ~Progress(); ///< Leaves nothing of it on the screen.
    Q_DISABLE_COPY(Progress)

    /** Returns whether show() would show something now. */
    bool isDue() const;

    /** Shows \a text in place of what was shown. */
    void show(const QString &text);

    /** Removes what was shown. */
    void clear();

    /** Removes what was shown if standard output goes to a terminal too, where it would be in the way. */
    void makeRoom();

private:
    QElapsedTimer timer;
    qint64 next = 1000; ///< milliseconds
    const bool watched;
    const bool inTheWay;
    bool shown = false;
};

#endif
