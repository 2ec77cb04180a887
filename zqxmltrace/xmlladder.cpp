// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "xmlladder.h"

#include "laddertext_p.h"
#include "printable_p.h"

#include <QIODevice>

#include <algorithm>

namespace {

constexpr int COLUMN_WIDTH = 24; // places of a terminal

// Packets are numbered in each trace anew.
quint64 keyOf(int process, quint64 packet)
{
    return packet | (static_cast<quint64>(process) << 48);
}

quint64 keyOf(const XMLTraceEvent &event)
{
    return keyOf(event.process, event.packet);
}

QString fitted(const QString &text, int width)
{
    return text.size() <= width ? text : text.left(width - 1) + QChar(0x2026);
}

} // namespace

void XMLLadder::setName(const XMLTraceAgent &agent, const QString &name)
{
    names[agent] = name;
}

void XMLLadder::add(const XMLTraceEvent &event)
{
    if (event.isAgentEvent())
        return addAgent(event);
    auto found = places.find(keyOf(event));
    if (found == places.end()) {
        if (event.event == XMLTraceEvent::Delivered)
            return;
        Row row{event.time, event.packet, event.process,   0,         0, Waiting, -1, -1,
                -1,         event.bytes,  event.content(), event.wire};
        row.source = columnOf(event.process, event.source, event.sourceType);
        row.destination = columnOf(event.process, event.destination, event.destinationType);
        found = places.emplace(keyOf(event), rows.size()).first;
        rows.push_back(row);
    }
    Row &row = rows[found->second];
    const quint64 answered = requests.add(event);
    switch (event.event) {
    case XMLTraceEvent::Queued: {
        columns[static_cast<std::size_t>(row.source)].isRegistered = true;
        const auto request = asked.find(keyOf(event.process, answered));
        if (request != asked.end()) {
            row.answered = static_cast<qint64>(request->second);
            asked.erase(request);
        } else if (!event.actionTypes.isEmpty()) {
            asked.emplace(keyOf(event), found->second);
        }
        return;
    }
    case XMLTraceEvent::Delivering:
        columns[static_cast<std::size_t>(row.destination)].isRegistered = true;
        row.outcome = Delivered;
        row.delay = event.time - row.time;
        return;
    case XMLTraceEvent::Delivered:
        row.duration = event.time - row.time - row.delay;
        break;
    case XMLTraceEvent::Undeliverable:
        row.outcome = UnknownDestination;
        break;
    default:
        row.outcome = event.reason == XMLRouterObserver::Repeat ? Repeat : UnknownSource;
        break;
    }
    places.erase(found);
}

void XMLLadder::addAgent(const XMLTraceEvent &event)
{
    const XMLTraceAgent agent{event.process, event.source};
    if (event.event == XMLTraceEvent::AgentAdded && event.sourceType == XMLAgent::NO_AGENT_TYPE) {
        typeless.insert(agent);
    } else if (event.event == XMLTraceEvent::AgentRemoved && typeless.erase(agent) > 0) {
        const auto column = columnNumbers.find(agent);
        if (column != columnNumbers.end())
            vacant[event.process].push_back(column->second);
    }
}

int XMLLadder::columnOf(int process, int id, int type)
{
    const auto [found, isNew] = columnNumbers.emplace(XMLTraceAgent{process, id}, columns.size());
    if (isNew && typeless.count(found->first) > 0 && !vacant[process].empty()) {
        found->second = vacant[process].back();
        vacant[process].pop_back();
        columns[static_cast<std::size_t>(found->second)].lastID = id;
    } else if (isNew) {
        columns.push_back({found->first, type, id, false});
    }
    Column &column = columns[static_cast<std::size_t>(found->second)];
    if (type != XMLAgent::NO_AGENT_TYPE)
        column.type = type;
    return found->second;
}

QString XMLLadder::titleOf(int column) const
{
    const Column &shown = columns[static_cast<std::size_t>(column)];
    const auto named = names.find(shown.agent);
    const QString id = QString::number(shown.agent.id);
    if (named != names.end())
        return printable(named->second) + QLatin1Char(' ') + id;
    if (shown.agent.id == -1 && shown.type == XMLAgent::COMM_SERVER_AGENT_TYPE)
        return QStringLiteral("comm server -1");
    if (shown.type != XMLAgent::NO_AGENT_TYPE)
        return QStringLiteral("agent %1 type %2").arg(id).arg(shown.type);
    if (shown.lastID != shown.agent.id)
        return QStringLiteral("agents %1 to %2").arg(id).arg(shown.lastID);
    return (shown.isRegistered ? QStringLiteral("agent ") : QStringLiteral("nobody ")) + id;
}

std::vector<XMLLadder::Arrow> XMLLadder::arrows() const
{
    std::vector<Arrow> result;
    for (std::size_t i = 0; i < rows.size(); ++i) {
        if (!result.empty()) {
            const Row &last = rows[result.back().first];
            const Row &row = rows[i];
            if (last.source == row.source && last.destination == row.destination && last.outcome == row.outcome
                && last.label == row.label && last.answered < 0 && row.answered < 0
                && row.time - rows[i - 1].time < PAUSE) {
                ++result.back().count;
                continue;
            }
        }
        result.push_back({i, 1});
    }
    return result;
}

QString XMLLadder::captionOf(const Arrow &arrow) const
{
    const Row &row = rows[arrow.first];
    QString text = row.label;
    if (arrow.count > 1)
        text += QStringLiteral(" x %1").arg(arrow.count);
    if (row.answered >= 0)
        text += QStringLiteral(", reply to #%1").arg(rows[static_cast<std::size_t>(row.answered)].packet);
    if (row.outcome != Delivered)
        text += QStringLiteral(" (%1)").arg(QLatin1String(nameOf(row.outcome)));
    return text;
}

const char *XMLLadder::nameOf(Outcome outcome)
{
    switch (outcome) {
    case Waiting:
        return "not delivered yet";
    case Delivered:
        break;
    case Repeat:
        return "dropped: repeat";
    case UnknownSource:
        return "dropped: unregistered source";
    case UnknownDestination:
        return "undeliverable";
    }
    return "";
}

bool XMLLadder::writeText(QIODevice *device) const
{
    const int margin = 12;
    const auto put = [device](QString line) {
        while (line.endsWith(QLatin1Char(' ')))
            line.chop(1);
        return device->write(line.toUtf8() + '\n') >= 0;
    };
    const int count = static_cast<int>(columns.size());
    QString head(margin, QLatin1Char(' '));
    QString lines(margin, QLatin1Char(' '));
    for (int i = 0; i < count; ++i) {
        head += fitted(titleOf(i), COLUMN_WIDTH - 2).leftJustified(COLUMN_WIDTH);
        lines += QString(QChar(0x2502)).leftJustified(COLUMN_WIDTH);
    }
    bool good = put(head) && put(lines);
    qint64 last = rows.empty() ? 0 : rows.front().time;
    for (const Arrow &arrow : arrows()) {
        const Row &row = rows[arrow.first];
        if (row.time - last >= PAUSE)
            good = good
                && put(QString(margin, QLatin1Char(' ')) + QChar(0x22ee) + QLatin1Char(' ')
                       + duration(row.time - last));
        last = rows[arrow.first + arrow.count - 1].time;
        QString line = lines;
        const int from = margin + row.source * COLUMN_WIDTH;
        const int to = margin + row.destination * COLUMN_WIDTH;
        const bool broken = row.outcome != Delivered && row.outcome != Waiting;
        if (from == to) {
            line.replace(from, 3, QStringLiteral("\u251c\u2500\u21ba"));
        } else {
            const int left = std::min(from, to) + 1;
            const int right = std::max(from, to) - 1;
            line.replace(left, right - left + 1,
                         QString(right - left + 1, row.answered >= 0 ? QChar(0x2504) : QChar(0x2500)));
            line[from < to ? right : left] = broken ? QChar(0x2717) : from < to ? QChar(0x25b6) : QChar(0x25c0);
        }
        line.replace(0, margin, shortTime(row.time).rightJustified(margin - 2) + QStringLiteral("  "));
        good = good && put(line + QStringLiteral("#%1 ").arg(row.packet) + captionOf(arrow));
    }
    return good;
}

bool XMLLadder::writeMermaid(QIODevice *device) const
{
    QString text = QStringLiteral("sequenceDiagram\n");
    for (std::size_t i = 0; i < columns.size(); ++i)
        text += QStringLiteral("    participant a%1 as %2\n")
                    .arg(QString::number(i), mermaidText(titleOf(static_cast<int>(i))));
    qint64 last = rows.empty() ? 0 : rows.front().time;
    for (const Arrow &arrow : arrows()) {
        const Row &row = rows[arrow.first];
        if (row.time - last >= PAUSE && !columns.empty())
            text += QStringLiteral("    Note over a0: %1\n").arg(duration(row.time - last));
        last = rows[arrow.first + arrow.count - 1].time;
        const bool broken = row.outcome != Delivered && row.outcome != Waiting;
        const QString line = broken ? QStringLiteral("-x")
            : row.answered >= 0     ? QStringLiteral("-->>")
                                    : QStringLiteral("->>");
        text += QStringLiteral("    a%1%2a%3: %4\n")
                    .arg(QString::number(row.source), line, QString::number(row.destination),
                         mermaidText(QStringLiteral("#%1 ").arg(row.packet) + captionOf(arrow)));
    }
    return device->write(text.toUtf8()) >= 0;
}
