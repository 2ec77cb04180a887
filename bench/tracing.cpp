// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "benchmarks.h"
#include "loop.h"
#include "samples.h"

#include <zqxml/xmlrouter.h>
#include <zqxmlkit/xmlwire.h>
#include <zqxmltrace/xmlladder.h>
#include <zqxmltrace/xmltracereader.h>
#include <zqxmltrace/xmltracerecorder.h>
#include <zqxmltrace/xmltracestatistics.h>

#include <QBuffer>
#include <QJsonDocument>
#include <QJsonObject>

#include <array>
#include <optional>

namespace {

/** A router with one agent, under the ids 1 and 2, to which two packets are sent in turn. */
struct Traffic {
    Traffic()
    {
        router.add(&agent);
        router.add(&agent);
    }

    void recordInNowhere(XMLTraceRecorder::Content content)
    {
        recorder.emplace(&router, QStringLiteral("/dev/null"), content);
        require(recorder->isRecording(), "the traffic is not recorded");
    }

    int sendAll(int count)
    {
        for (int i = 0; i < count; ++i)
            router.send(&packets[static_cast<std::size_t>(i % 2)]);
        agent.waitFor(count);
        return count;
    }

    qint64 encodeAll(int count) const
    {
        qint64 bytes = 0;
        for (int i = 0; i < count; ++i)
            bytes += XMLWire::toWire(packets[static_cast<std::size_t>(i % 2)]).size();
        return bytes;
    }

    CountingAgent agent;
    std::array<SamplePacket, 2> packets{SamplePacket(1024, Difference::Last, 0),
                                        SamplePacket(1024, Difference::Last, 1)};
    XMLRouter router{nullptr};
    std::optional<XMLTraceRecorder> recorder;
};

constexpr int PACKETS = 10;

void addRecording(const std::string &form, std::optional<XMLTraceRecorder::Content> content)
{
    add("record/" + form + '/' + std::to_string(PACKETS), [content](benchmark::State &) {
        const auto traffic = std::make_shared<Traffic>();
        if (content)
            traffic->recordInNowhere(*content);
        traffic->sendAll(PACKETS); // names and buffers are made once
        return [traffic] { return traffic->sendAll(PACKETS); };
    });
}

/** Returns a trace of about \a count events, headers only. */
QByteArray traceOf(int count)
{
    Traffic traffic;
    traffic.recorder.emplace(&traffic.router, 200 * count + 1000, XMLTraceRecorder::Headers);
    for (int sent = 0; sent < count / 3; sent += PACKETS) // three events a packet
        traffic.sendAll(PACKETS);
    return traffic.recorder->ring();
}

template <typename Target>
void readTo(Target &target, const QByteArray &trace)
{
    QBuffer buffer;
    buffer.setData(trace);
    buffer.open(QIODevice::ReadOnly);
    XMLTraceReader reader(&buffer);
    for (XMLTraceEvent event; reader.next(event);)
        target.add(event);
}

quint64 sumUp(const QByteArray &trace)
{
    XMLTraceStatistics statistics;
    readTo(statistics, trace);
    return statistics.events();
}

/** Counts the lines, and parses each on its own. */
quint64 parseLines(const QByteArray &trace)
{
    quint64 objects = 0;
    const auto lines = trace.count('\n');
    for (int at = 0; at < trace.size();) {
        const int end = static_cast<int>(trace.indexOf('\n', at));
        objects += !QJsonDocument::fromJson(QByteArray::fromRawData(trace.constData() + at, end - at)).isEmpty();
        at = end + 1;
    }
    require(objects == static_cast<quint64>(lines), "a line is no object");
    return objects - 1; // the first tells of the trace
}

qint64 drawPage(const QByteArray &trace)
{
    XMLLadder ladder;
    readTo(ladder, trace);
    QBuffer page;
    page.open(QIODevice::WriteOnly);
    require(ladder.writeHtml(&page), "the page is not written");
    return page.size();
}

template <typename Call>
void addReading(const std::string &form, int count, Call call)
{
    add(
        "trace/" + form + '/' + std::to_string(count),
        [count, call](benchmark::State &) {
            const QByteArray trace = traceOf(count);
            require(sumUp(trace) == parseLines(trace), "an event is not read");
            return [trace, call] { return call(trace); };
        },
        Load::Large)
        ->Unit(benchmark::kMicrosecond);
}

} // namespace

void addTracing()
{
    addRecording("none", std::nullopt);
    addRecording("headers", XMLTraceRecorder::Headers);
    addRecording("bodies", XMLTraceRecorder::Bodies);
    add("record/encoding/" + std::to_string(PACKETS), [](benchmark::State &) {
        const auto traffic = std::make_shared<Traffic>();
        return [traffic] { return traffic->encodeAll(PACKETS); };
    });
    for (const int count : {1000, isCounting() ? 10000 : 100000}) {
        addReading("statistics", count, sumUp);
        addReading("lines", count, parseLines);
    }
    addReading("page", isCounting() ? 10000 : 100000, drawPage);
}
