// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef TOOLS_TOOLSUPPORT_H
#define TOOLS_TOOLSUPPORT_H

#include <QByteArray>
#include <QString>

#include <optional>

class QCommandLineParser;

/** Ways in which a tool ends. */
enum ExitStatus : int { Success = 0, Failure = 1, WrongUsage = 2 };

/**
 * To be called before anything else, the application object included. Texts of the system are UTF-8 from then on,
 * whatever the locale says, and output that cannot be written is an error to report, not the end of the process.
 */
void prepareTool(const char *name);

/** Parses the command line. Returns the exit status when that is all there is to do: help, version, an error. */
std::optional<int> parseCommandLine(QCommandLineParser &parser);

/** Writes \a reason to standard error, in one line, and returns \a status. */
int fail(const QString &reason, ExitStatus status = Failure);

/** Writes \a text to standard output and returns the exit status. */
int printOut(const QByteArray &text);

#endif
