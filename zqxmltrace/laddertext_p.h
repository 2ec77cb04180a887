// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef ZQXMLTRACE_LADDERTEXT_P_H
#define ZQXMLTRACE_LADDERTEXT_P_H

#include <QString>

constexpr qint64 PAUSE = 100000000; ///< nanoseconds without an arrow that are drawn as a pause

/** Returns \a text for a message or a name of a Mermaid diagram. */
QString mermaidText(const QString &text);

/** Returns \a nanoseconds in the unit that suits them: "1.25 ms". */
QString duration(qint64 nanoseconds);

/** Returns \a nanoseconds since the trace began in seconds: "12.034567". */
QString shortTime(qint64 nanoseconds);

#endif
