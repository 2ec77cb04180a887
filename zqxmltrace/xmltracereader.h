// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef ZQXMLTRACE_XMLTRACEREADER_H
#define ZQXMLTRACE_XMLTRACEREADER_H

#include <zqxmltrace/xmltraceevent.h>

#include <QByteArray>
#include <QString>

#include <unordered_map>

class QIODevice;

/**
 * Reads a trace, event by event; memory does not grow with the trace.
 *
 * What a line leaves out because an earlier one about the same packet said it is filled in. Lines that are no events
 * are passed over and counted, so that what stands behind a damaged place is read too. A last line without its line
 * feed is left alone until it is complete: a trace that is being written can be read on later.
 */
class ZQXMLTRACE_EXPORT XMLTraceReader
{
public:
    /** Reads from \a device, which is open, stays the caller's, and outlives the reader. */
    explicit XMLTraceReader(QIODevice *device);

    /**
     * Reads the next event into \a event; false when there is none (yet). The first call reads the line that a trace
     * begins with: when there is none, or its version is another, error() says so and every call returns false.
     */
    bool next(XMLTraceEvent &event);

    /** Returns why the device holds no trace, in one line; empty otherwise. */
    QString error() const;

    /** Returns when the trace began, in microseconds since 1970, UTC; 0 before the first call of next(). */
    qint64 start() const;

    /** Returns how many lines so far were no events. */
    int damagedLines() const;

    /** Returns true when the device ends within a line: the trace was cut off there, or is being written. */
    bool isCutOff() const;

private:
    bool readLine(QByteArray &line);
    bool readStart();
    void complete(XMLTraceEvent &event);

    QIODevice *device;
    QByteArray unread; // that the device has given, from "at" on
    int at = 0;
    bool isAtEnd = false; // the device has given nothing more
    QString reason;
    bool started = false;
    qint64 startTime = 0;
    int damaged = 0;
    std::unordered_map<quint64, XMLTraceEvent> open; // packets that were queued and not delivered yet
};

#endif
