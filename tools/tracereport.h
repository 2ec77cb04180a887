// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef TOOLS_TRACEREPORT_H
#define TOOLS_TRACEREPORT_H

#include <zqxmltrace/xmltracestatistics.h>

#include <map>

/** Names of agents, as a file gives them. */
using AgentNames = std::map<XMLTraceAgent, QString>;

/**
 * Reads names, a line each: the agent's id, a blank, its name; "2:7 desk" names agent 7 of the second trace. False and
 * the reason in \a error when a line is something else.
 */
bool readNames(const QString &file, AgentNames &names, QString *error);

/** Returns \a event as one line, with the line feed. */
QByteArray toLine(const XMLTraceEvent &event, const AgentNames &names, bool severalTraces);

/** Returns the sums of a trace as tables. */
QByteArray toSummary(const XMLTraceStatistics &statistics, const AgentNames &names, bool severalTraces);

#endif
