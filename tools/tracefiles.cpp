// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "tracefiles.h"

#include <algorithm>

bool TraceFiles::open(const QStringList &names, QString *error)
{
    for (const QString &name : names) {
        files.push_back(std::make_unique<File>(name));
        File &file = *files.back();
        if (!file.file.open(QIODevice::ReadOnly)) {
            *error = name + QStringLiteral(": ") + file.file.errorString();
            return false;
        }
        file.hasEvent = file.reader.next(file.event);
        if (!file.reader.error().isEmpty()) {
            *error = name + QStringLiteral(": ") + file.reader.error();
            return false;
        }
        if (files.size() == 1 || file.reader.start() < start)
            start = file.reader.start();
    }
    for (std::size_t i = 0; i < files.size(); ++i) {
        files[i]->event.time += (files[i]->reader.start() - start) * 1000;
        files[i]->event.process = static_cast<int>(i);
    }
    return true;
}

bool TraceFiles::next(XMLTraceEvent &event)
{
    File *first = nullptr;
    int process = 0;
    for (std::size_t i = 0; i < files.size(); ++i) {
        File &file = *files[i];
        if (!file.hasEvent)
            read(file, static_cast<int>(i));
        if (file.hasEvent && (!first || file.event.time < first->event.time)) {
            first = &file;
            process = static_cast<int>(i);
        }
    }
    if (!first)
        return false;
    event = std::move(first->event);
    read(*first, process);
    return true;
}

QStringList TraceFiles::notes() const
{
    QStringList lines;
    for (const auto &each : files) {
        const XMLTraceReader &reader = each->reader;
        if (reader.damagedLines() > 0)
            lines << QStringLiteral("%1: %2 lines are no events").arg(each->file.fileName()).arg(reader.damagedLines());
        if (reader.isCutOff())
            lines << QStringLiteral("%1: the last line is cut off").arg(each->file.fileName());
    }
    return lines;
}

void TraceFiles::read(File &file, int process)
{
    file.hasEvent = file.reader.next(file.event);
    file.event.time += (file.reader.start() - start) * 1000;
    file.event.process = process;
}
