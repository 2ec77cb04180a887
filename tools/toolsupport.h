// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef TOOLS_TOOLSUPPORT_H
#define TOOLS_TOOLSUPPORT_H

#include <QByteArray>
#include <QString>

#include <optional>

class QCommandLineParser;

/** Ways in which a tool ends. */
enum ExitStatus : int { Success = 0, Failure = 1, WrongUsage = 2, NoAnswer = 3 };

/**
 * To be called before anything else, the application object included, which gets its name and version here. Texts of
 * the system are UTF-8 from then on, whatever the locale says, output that cannot be written is an error to report, not
 * the end of the process, and no file that is opened later takes the place of a closed standard stream.
 */
void prepareTool(const char *name);

/** Parses the command line. Returns the exit status when that is all there is to do: help, version, an error. */
std::optional<int> parseCommandLine(QCommandLineParser &parser);

/**
 * Blanks out what follows "://" in the arguments, which lists of processes show and where passwords may stand. To be
 * called once they are parsed.
 */
void hidePasswords(char **arguments);

/** Reads the option \a option, if it is there, as \a number; returns what is wrong with it, or nothing. */
QString readNumber(const QCommandLineParser &parser, const QString &option, unsigned int smallest, unsigned int largest,
                   unsigned int &number);

/** Writes \a line to standard error behind the tool's name. */
void tell(const QString &line);

/** Tells \a reason and returns \a status. */
int fail(const QString &reason, ExitStatus status = Failure);

/**
 * Writes \a lines, whole lines, to standard output. Returns the exit status when there is no use in going on: a
 * failure, or success when nobody reads any more.
 */
std::optional<int> writeOut(const QByteArray &lines);

/** As writeOut(), for what is written last; returns the exit status. */
int printOut(const QByteArray &text);

/**
 * Lets an interrupt end the process at once with status 130, but between two of the lines that are written, not within
 * one. A second interrupt does not wait for the end of a line.
 */
void endWhenInterrupted();

/**
 * Ends the process, even within a call that blocks, with NoAnswer and \a line unless this is called again within
 * \a seconds; 0 ends the waiting.
 */
void endAfter(int seconds, const char *line);

#endif
