// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef ZQXMLTRACE_TRACELINE_P_H
#define ZQXMLTRACE_TRACELINE_P_H

#include "xmltraceevent.h"

/** The version of the format that is written, and the only one that is read. */
constexpr int TRACE_VERSION = 1;

/** Appends \a text, UTF-8, as a string of JSON. */
void appendText(QByteArray &line, const QByteArray &text);

/** Appends the line that a trace begins with: the format's version, and what is traced from when on. */
void appendHeader(QByteArray &line, qint64 start);

/** Reads the line that a trace begins with; false when it is none. \a start is in microseconds since 1970, UTC. */
bool readHeader(const QByteArray &line, int &version, qint64 &start);

/** Appends \a event as one line of JSON with its line feed. Allocates only what \a line needs to grow. */
void appendLine(QByteArray &line, const XMLTraceEvent &event);

/** Reads \a line, without its line feed, into \a event. False when it is no event that a recorder writes. */
bool readLine(const QByteArray &line, XMLTraceEvent &event);

#endif
