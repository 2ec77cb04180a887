// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef TOOLS_TRACEFILES_H
#define TOOLS_TRACEFILES_H

#include <zqxmltrace/xmltracereader.h>

#include <QFile>
#include <QStringList>

#include <memory>
#include <vector>

/** Several traces, read as one in the order of time. */
class TraceFiles
{
public:
    /** Opens the files \a names; false and the reason in \a error when one is no trace. */
    bool open(const QStringList &names, QString *error);

    /**
     * Reads the next event; false when there is none (yet). Its time is since the first of the traces began, its
     * process the place of its file, from 0. Events of one time keep the order of their file, and of the files.
     */
    bool next(XMLTraceEvent &event);

    /** Returns one line for each file of which not everything could be read. */
    QStringList notes() const;

private:
    struct File {
        explicit File(const QString &name) : file(name), reader(&file) { }

        QFile file;
        XMLTraceReader reader;
        XMLTraceEvent event; // the next one, if there is one
        bool hasEvent = false;
    };

    void read(File &file, int process);

    std::vector<std::unique_ptr<File>> files;
    qint64 start = 0; // microseconds since 1970
};

#endif
