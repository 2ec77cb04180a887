// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "xmltracereader.h"

#include "traceline_p.h"

#include <QCoreApplication>
#include <QIODevice>

namespace {

constexpr qint64 PART = 65536; // bytes that are read at once: devices take long for one line

} // namespace

XMLTraceReader::XMLTraceReader(QIODevice *input) : device(input) { }

bool XMLTraceReader::next(XMLTraceEvent &event)
{
    if (!started && !readStart())
        return false;
    for (QByteArray line; readLine(line);) {
        if (::readLine(line, event)) {
            complete(event);
            return true;
        }
        ++damaged;
    }
    return false;
}

QString XMLTraceReader::error() const
{
    return reason;
}

qint64 XMLTraceReader::start() const
{
    return startTime;
}

int XMLTraceReader::damagedLines() const
{
    return damaged;
}

bool XMLTraceReader::isCutOff() const
{
    return isAtEnd && at < unread.size();
}

// Gives a whole line without its line feed.
bool XMLTraceReader::readLine(QByteArray &line)
{
    int end = static_cast<int>(unread.indexOf('\n', at));
    while (end < 0) {
        unread.remove(0, at);
        at = 0;
        const int searched = static_cast<int>(unread.size());
        unread += device->read(PART);
        isAtEnd = unread.size() == searched;
        if (isAtEnd)
            return false;
        end = static_cast<int>(unread.indexOf('\n', searched));
    }
    line = unread.mid(at, end - at);
    at = end + 1;
    return true;
}

bool XMLTraceReader::readStart()
{
    QByteArray line;
    if (!reason.isEmpty() || !readLine(line)) {
        return false;
    }
    int version = 0;
    if (!readHeader(line, version, startTime))
        reason = QCoreApplication::translate("XMLTraceReader", "this is no trace");
    else if (version != TRACE_VERSION)
        reason = QCoreApplication::translate("XMLTraceReader", "a trace of version %1, and only version %2 is read")
                     .arg(version)
                     .arg(TRACE_VERSION);
    started = reason.isEmpty();
    return started;
}

void XMLTraceReader::complete(XMLTraceEvent &event)
{
    if (event.isAgentEvent() || event.event == XMLTraceEvent::Dropped)
        return;
    if (event.event == XMLTraceEvent::Queued) {
        open[event.packet] = event;
        return;
    }
    const auto found = open.find(event.packet);
    if (found == open.end())
        return;
    const XMLTraceEvent read = event;
    event = found->second;
    event.time = read.time;
    event.event = read.event;
    if (read.event != XMLTraceEvent::Delivering)
        open.erase(found);
}
