// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "drivers.h"

#include <zqxmltrace/traceline_p.h>
#include <zqxmltrace/xmlladder.h>
#include <zqxmltrace/xmltracereader.h>
#include <zqxmltrace/xmltracestatistics.h>

#include <QBuffer>
#include <QJsonDocument>

#include <random>

namespace {

/** Reads a trace to its end, sums it up, and draws it; returns what was read as lines. */
QByteArray written(XMLTraceReader &reader, XMLTraceStatistics &statistics, XMLLadder &ladder)
{
    QByteArray lines;
    appendHeader(lines, reader.start());
    for (XMLTraceEvent event; reader.next(event);) {
        appendLine(lines, event);
        statistics.add(event);
        ladder.add(event);
    }
    return reader.error().isEmpty() ? lines : QByteArray();
}

/** Everything behind the first line, which tells the process that wrote it. */
QByteArray behindFirst(const QByteArray &lines)
{
    return lines.mid(lines.indexOf('\n') + 1);
}

QByteArray drawn(const XMLLadder &ladder, bool (XMLLadder::*write)(QIODevice *) const)
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    (ladder.*write)(&buffer);
    return buffer.data();
}

QString checkDrawings(const XMLLadder &ladder)
{
    for (const auto write : {&XMLLadder::writeText, &XMLLadder::writeMermaid, &XMLLadder::writeSvg}) {
        const QString text = QString::fromUtf8(drawn(ladder, write));
        for (const QChar c : text) {
            if (c != QLatin1Char('\n') && (c.category() == QChar::Other_Control || c == QChar(0x202e)))
                return QStringLiteral("a drawing holds the character %1").arg(c.unicode());
        }
    }
    const QByteArray page = drawn(ladder, &XMLLadder::writeHtml);
    const QByteArray begin = "id=\"data\">";
    const int at = static_cast<int>(page.indexOf(begin) + begin.size());
    QJsonParseError error;
    QJsonDocument::fromJson(page.mid(at, page.indexOf("</script>", at) - at), &error);
    return error.error == QJsonParseError::NoError ? QString()
                                                   : QStringLiteral("the page's data: ") + error.errorString();
}

} // namespace

QString drivers::traceRead(const QByteArray &input)
{
    QByteArray lines;
    XMLTraceStatistics statistics;
    XMLLadder ladder;
    for (int round = 0; round < 2; ++round) {
        QBuffer buffer;
        buffer.setData(round == 0 ? input : lines);
        buffer.open(QIODevice::ReadOnly);
        XMLTraceReader reader(&buffer);
        const QByteArray found = written(reader, statistics, ladder);
        if (round == 0)
            lines = found;
        else if (!lines.isEmpty() && (behindFirst(found) != behindFirst(lines) || reader.damagedLines() > 0))
            return QStringLiteral("read again as\n%1\nnot as\n%2")
                .arg(QString::fromUtf8(found), QString::fromUtf8(lines));
    }
    return checkDrawings(ladder);
}

QByteArray drivers::traceExample(quint32 seed)
{
    std::mt19937 random(seed);
    const auto below = [&random](int count) { return static_cast<int>(random() % static_cast<unsigned int>(count)); };
    QByteArray trace;
    appendHeader(trace, seed);
    XMLTraceEvent event;
    for (int left = below(12); left > 0; --left) {
        event.time += below(1000000000);
        event.event = static_cast<XMLTraceEvent::Event>(below(XMLTraceEvent::Delivered + 1));
        event.packet = event.isAgentEvent() ? 0 : static_cast<quint64>(1 + below(4));
        event.source = below(4);
        event.destination = below(4) - 1;
        event.reason = static_cast<XMLRouterObserver::DropReason>(below(2));
        event.kinds = {};
        event.kinds[static_cast<std::size_t>(below(XMLTraceEvent::KindCount))] = below(3);
        event.actionTypes.clear();
        if (event.kinds[XMLTraceEvent::Action] > 0)
            event.actionTypes << below(3000);
        event.wire = below(2) ? QByteArray("<a b=\"</script>\"/>\n") : QByteArray();
        event.bytes = event.wire.isEmpty() ? -1 : event.wire.size();
        appendLine(trace, event);
    }
    for (int changes = below(4); changes > 0; --changes)
        trace[below(static_cast<int>(trace.size()))] = static_cast<char>(below(256));
    return trace;
}
