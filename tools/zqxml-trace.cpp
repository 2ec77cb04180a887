// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

// Shows what traces of routers hold: sums, lists, single packets, diagrams.

#include "progress.h"
#include "toolsupport.h"
#include "tracefiles.h"
#include "tracereport.h"

#include <zqxml/xmlpacket.h>
#include <zqxmlkit/xmlpacketdiff.h>
#include <zqxmlkit/xmlwire.h>
#include <zqxmltrace/xmlladder.h>
#include <zqxmltrace/xmltracefilter.h>

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QSaveFile>
#include <QThread>

#include <cstdio>
#include <deque>
#include <functional>

namespace {

constexpr unsigned long POLL_INTERVAL = 200; // milliseconds between looks at a file that grows
constexpr quint64 PROGRESS_INTERVAL = 1000; // events between two looks at the clock

struct Job {
    QString command = QStringLiteral("summary");
    QStringList files;
    QList<quint64> packets; // of "packet" and "diff"
    XMLTraceFilter filter;
    AgentNames names;
    int context = 0;
    bool follow = false;
    QString format;
    QString output;

    bool severalTraces() const
    {
        return files.size() > 1;
    }
};

QString addArgument(const QString &text, Job &job, bool &hasCommand)
{
    static const QStringList commands{QStringLiteral("summary"), QStringLiteral("list"), QStringLiteral("packet"),
                                      QStringLiteral("diff"), QStringLiteral("ladder")};
    bool isNumber = false;
    const quint64 number = text.toULongLong(&isNumber);
    QString error;
    if (!hasCommand && commands.contains(text)) {
        job.command = text;
        hasCommand = true;
    } else if (isNumber && (job.command == QLatin1String("packet") || job.command == QLatin1String("diff"))) {
        job.packets << number;
    } else if (text.contains(QLatin1Char('=')) && !QFile::exists(text)) {
        job.filter.add(text, &error);
    } else {
        job.files << text;
    }
    return error;
}

/** Fills \a job from the parsed command line; returns what is wrong with it, or nothing. */
QString readArguments(const QCommandLineParser &parser, Job &job)
{
    bool hasCommand = false;
    for (const QString &text : parser.positionalArguments()) {
        QString error = addArgument(text, job, hasCommand);
        if (!error.isEmpty())
            return error;
    }
    if (job.files.isEmpty())
        return QStringLiteral("a trace is needed");
    const int wanted = job.command == QLatin1String("packet") ? 1 : job.command == QLatin1String("diff") ? 2 : 0;
    if (job.packets.size() != wanted)
        return wanted == 1 ? QStringLiteral("packet needs the number of a packet")
                           : QStringLiteral("diff needs the numbers of two packets");
    bool ok = true;
    if (parser.isSet(QStringLiteral("context")))
        job.context = parser.value(QStringLiteral("context")).toInt(&ok);
    if (!ok || job.context < 0)
        return QStringLiteral("'%1' is no number of events").arg(parser.value(QStringLiteral("context")));
    job.follow = parser.isSet(QStringLiteral("follow"));
    if (job.follow && job.command != QLatin1String("list"))
        return QStringLiteral("--follow goes with list only");
    job.format = parser.value(QStringLiteral("format"));
    if (!QStringList{QStringLiteral("text"), QStringLiteral("mermaid"), QStringLiteral("svg"), QStringLiteral("html")}
             .contains(job.format))
        return QStringLiteral("'%1' is none of the formats text, mermaid, svg, html").arg(job.format);
    job.output = parser.value(QStringLiteral("output"));
    QString error;
    if (parser.isSet(QStringLiteral("names")))
        readNames(parser.value(QStringLiteral("names")), job.names, &error);
    return error;
}

/**
 * Calls \a use with each event that the job's filter lets through, and with those around it that its context asks for;
 * with a flag when events were left out before. False when \a use returns false.
 */
bool forEachEvent(TraceFiles &files, const Job &job, const std::function<bool(const XMLTraceEvent &, bool)> &use)
{
    Progress progress;
    quint64 read = 0;
    std::deque<XMLTraceEvent> before;
    int after = 0;
    bool leftOut = false;
    for (XMLTraceEvent event;;) {
        if (!files.next(event)) {
            if (!job.follow)
                return true;
            QThread::msleep(POLL_INTERVAL);
            continue;
        }
        if (++read % PROGRESS_INTERVAL == 0 && progress.isDue())
            progress.show(QStringLiteral("%1 events").arg(read));
        if (job.filter.matches(event)) {
            for (const XMLTraceEvent &each : before) {
                if (!use(each, std::exchange(leftOut, false)))
                    return false;
            }
            before.clear();
            after = job.context;
        } else if (after > 0) {
            --after;
        } else {
            before.push_back(event);
            if (before.size() > static_cast<std::size_t>(job.context)) {
                before.pop_front();
                leftOut = true;
            }
            continue;
        }
        if (!use(event, std::exchange(leftOut, false)))
            return false;
    }
}

int summarise(TraceFiles &files, const Job &job)
{
    XMLTraceStatistics statistics;
    forEachEvent(files, job, [&statistics](const XMLTraceEvent &event, bool) {
        statistics.add(event);
        return true;
    });
    return printOut(toSummary(statistics, job.names, job.severalTraces()));
}

int list(TraceFiles &files, const Job &job)
{
    int status = Success;
    bool first = true;
    forEachEvent(files, job, [&](const XMLTraceEvent &event, bool leftOut) {
        const bool gap = leftOut && job.context > 0 && !first;
        first = false;
        status = printOut((gap ? QByteArray("--\n") : QByteArray()) + toLine(event, job.names, job.severalTraces()));
        return status == Success;
    });
    return status;
}

/** Finds the recorded packets that the job names, in its order; says what is missing. */
QString findPackets(TraceFiles &files, const Job &job, QList<QByteArray> &wires)
{
    wires.clear();
    for (int i = 0; i < job.packets.size(); ++i)
        wires << QByteArray();
    QList<quint64> seen;
    for (XMLTraceEvent event; files.next(event);) {
        if (event.isAgentEvent() || !job.packets.contains(event.packet) || seen.contains(event.packet))
            continue;
        seen << event.packet;
        for (int i = 0; i < job.packets.size(); ++i) {
            if (job.packets.at(i) == event.packet)
                wires[i] = event.wire;
        }
        if (seen.size() == job.packets.size())
            break;
    }
    for (int i = 0; i < job.packets.size(); ++i) {
        if (!seen.contains(job.packets.at(i)))
            return QStringLiteral("the trace has no packet %1").arg(job.packets.at(i));
        if (wires.at(i).isEmpty())
            return QStringLiteral("the content of packet %1 was not recorded").arg(job.packets.at(i));
    }
    return QString();
}

int showPackets(TraceFiles &files, const Job &job)
{
    QList<QByteArray> wires;
    QString error = findPackets(files, job, wires);
    if (!error.isEmpty())
        return fail(error);
    std::vector<std::unique_ptr<XMLPacket>> packets;
    for (const QByteArray &wire : std::as_const(wires)) {
        packets.push_back(XMLWire::toPacket(wire, &error));
        if (!packets.back())
            return fail(error);
    }
    if (packets.size() == 1)
        return printOut(XMLWire::toDocument(wires.first()).toString(1).toUtf8());
    const XMLPacketDiff diff(*packets[0], *packets[1]);
    const int status = printOut(diff.toText().toUtf8());
    return status == Success && !diff.isEmpty() ? Failure : status;
}

bool writeLadder(const XMLLadder &ladder, const QString &format, QIODevice *device)
{
    if (format == QLatin1String("mermaid"))
        return ladder.writeMermaid(device);
    if (format == QLatin1String("svg"))
        return ladder.writeSvg(device);
    if (format == QLatin1String("html"))
        return ladder.writeHtml(device);
    return ladder.writeText(device);
}

int draw(TraceFiles &files, const Job &job)
{
    XMLLadder ladder;
    for (const auto &[agent, name] : job.names)
        ladder.setName(agent, name);
    forEachEvent(files, job, [&ladder](const XMLTraceEvent &event, bool) {
        ladder.add(event);
        return true;
    });
    if (!job.output.isEmpty()) {
        QSaveFile file(job.output);
        if (!file.open(QIODevice::WriteOnly) || !writeLadder(ladder, job.format, &file) || !file.commit())
            return fail(job.output + QStringLiteral(": ") + file.errorString());
        return Success;
    }
    QFile out;
    if (!out.open(stdout, QIODevice::WriteOnly) || !writeLadder(ladder, job.format, &out) || !out.flush())
        return fail(QStringLiteral("cannot write: ") + out.errorString());
    return Success;
}

int run(const Job &job)
{
    TraceFiles files;
    QString error;
    if (!files.open(job.files, &error))
        return fail(error);
    const int status = job.command == QLatin1String("list") ? list(files, job)
        : job.command == QLatin1String("ladder")            ? draw(files, job)
        : job.command == QLatin1String("summary")           ? summarise(files, job)
                                                            : showPackets(files, job);
    const QStringList notes = files.notes();
    for (const QString &note : notes)
        fail(note);
    return status;
}

} // namespace

int main(int argc, char *argv[])
{
    prepareTool("zqxml-trace");
    const QCoreApplication application(argc, argv);

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "Shows what a trace of a router holds.\n\n"
        "  summary     who sent what to whom, delays, who keeps the event loop, what was dropped (the default)\n"
        "  list        the events, a line each\n"
        "  packet N    one packet\n"
        "  diff N M    what differs between two packets\n"
        "  ladder      a sequence diagram\n\n"
        "Filters choose events: src=3 dst=-1 agent=3 kind=action type=1002 event=dropped packet=7; one value or several\n"
        "between commas. Several traces are merged by time."));
    parser.addPositionalArgument(QStringLiteral("what"), QStringLiteral("summary, list, packet N, diff N M or ladder"),
                                 QStringLiteral("[summary|list|packet N|diff N M|ladder]"));
    parser.addPositionalArgument(QStringLiteral("file"), QStringLiteral("a trace, or several"),
                                 QStringLiteral("FILE..."));
    parser.addPositionalArgument(QStringLiteral("filter"), QStringLiteral("conditions that events fit"),
                                 QStringLiteral("[FILTER...]"));
    parser.addOptions(
        {{QStringLiteral("context"), QStringLiteral("Keep this many events before and after each that fits."),
          QStringLiteral("N")},
         {QStringLiteral("follow"), QStringLiteral("Go on as the file grows; with list.")},
         {QStringLiteral("names"), QStringLiteral("Names of agents: lines of an id, a blank and a name."),
          QStringLiteral("FILE")},
         {QStringLiteral("format"), QStringLiteral("Draw the ladder as text (the default), mermaid, svg or html."),
          QStringLiteral("text|mermaid|svg|html"), QStringLiteral("text")},
         {{QStringLiteral("o"), QStringLiteral("output")},
          QStringLiteral("Write the ladder to this file."),
          QStringLiteral("FILE")}});
    if (const auto status = parseCommandLine(parser))
        return *status;
    Job job;
    const QString wrong = readArguments(parser, job);
    return wrong.isEmpty() ? run(job) : fail(wrong, WrongUsage);
}
