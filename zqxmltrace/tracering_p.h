// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef ZQXMLTRACE_TRACERING_P_H
#define ZQXMLTRACE_TRACERING_P_H

#include <QByteArray>

/** The last lines that fit into a number of bytes; a new line takes the place of the oldest ones. */
class XMLTraceRing
{
public:
    explicit XMLTraceRing(int size) : bytes(size, '\0') { }

    /** Appends \a line, which ends with its only line feed; drops it if it is longer than the ring. */
    void append(const QByteArray &line);

    /** Returns the lines, oldest first. */
    QByteArray lines() const;

private:
    QByteArray bytes;
    qsizetype first = 0; // where the oldest line begins
    qsizetype used = 0;
};

#endif
