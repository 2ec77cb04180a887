// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "tracereport.h"

#include "textcolumns.h"

#include "../zqxmltrace/printable_p.h"

#include <QFile>

#include <algorithm>
#include <vector>

namespace {

QString seconds(qint64 nanoseconds)
{
    return QString::number(static_cast<double>(nanoseconds) / 1e9, 'f', 6);
}

QString milliseconds(qint64 nanoseconds)
{
    return QString::number(static_cast<double>(nanoseconds) / 1e6, 'f', 3);
}

QString nameOf(const XMLTraceAgent &agent, const AgentNames &names, bool severalTraces)
{
    QString id = QString::number(agent.id);
    if (severalTraces)
        id.prepend(QString::number(agent.process + 1) + QLatin1Char(':'));
    const auto found = names.find(agent);
    return found == names.end() ? id : id + QLatin1Char(' ') + printable(found->second);
}

QByteArray section(const char *title, TextColumns table)
{
    return '\n' + QByteArray(title) + '\n' + table.takeText();
}

QByteArray pairsOf(const XMLTraceStatistics &statistics, const AgentNames &names, bool several)
{
    TextColumns table(
        {{"FROM", false}, {"TO", false}, {"PACKETS", true}, {"BYTES", true}, {"DROPPED", true}, {"LOST", true}});
    for (const auto &[pair, traffic] : statistics.traffic())
        table.add({nameOf(pair.first, names, several), nameOf(pair.second, names, several),
                   QString::number(traffic.packets),
                   traffic.bytes > 0 ? QString::number(traffic.bytes) : QStringLiteral("-"),
                   QString::number(traffic.dropped), QString::number(traffic.undeliverable)});
    return section("Packets", table);
}

QByteArray workOf(const XMLTraceStatistics &statistics, const AgentNames &names, bool several)
{
    std::vector<std::pair<XMLTraceAgent, XMLTraceStatistics::Work>> busiest;
    for (const auto &each : statistics.work()) {
        if (each.second.deliveries > 0)
            busiest.push_back(each);
    }
    std::stable_sort(busiest.begin(), busiest.end(),
                     [](const auto &a, const auto &b) { return a.second.time > b.second.time; });
    TextColumns table({{"AGENT", false},
                       {"TYPE", true},
                       {"PACKETS", true},
                       {"MS", true},
                       {"LONGEST MS", true},
                       {"WITH PACKET", true}});
    for (const auto &[agent, work] : busiest)
        table.add({nameOf(agent, names, several), QString::number(work.type), QString::number(work.deliveries),
                   milliseconds(work.time), milliseconds(work.longest), QString::number(work.longestPacket)});
    return section("Time in receive(), longest first", table);
}

QByteArray unansweredOf(const XMLTraceStatistics &statistics, const AgentNames &names, bool several)
{
    TextColumns table(
        {{"ASKER", false}, {"ASKED", false}, {"REQUESTS", true}, {"FIRST PACKET", true}, {"ACTION", true}});
    if (statistics.requests().open().empty())
        return QByteArray();
    for (const auto &[pair, requests] : statistics.requests().open()) {
        if (!requests.empty())
            table.add({nameOf(pair.first, names, several), nameOf(pair.second, names, several),
                       QString::number(requests.size()), QString::number(requests.front().packet),
                       QString::number(requests.front().type)});
    }
    return section("Requests without an answer", table);
}

} // namespace

bool readNames(const QString &name, AgentNames &names, QString *error)
{
    QFile file(name);
    if (!file.open(QIODevice::ReadOnly)) {
        *error = name + QStringLiteral(": ") + file.errorString();
        return false;
    }
    for (int number = 1; !file.atEnd(); ++number) {
        const QString line = QString::fromUtf8(file.readLine()).trimmed();
        if (line.isEmpty())
            continue;
        const QString place = line.section(QLatin1Char(' '), 0, 0);
        bool traceGood = true;
        bool idGood = false;
        XMLTraceAgent agent;
        if (place.contains(QLatin1Char(':')))
            agent.process = place.section(QLatin1Char(':'), 0, 0).toInt(&traceGood) - 1;
        agent.id = place.section(QLatin1Char(':'), -1).toInt(&idGood);
        const QString text = line.mid(place.size()).trimmed();
        if (!traceGood || !idGood || text.isEmpty()) {
            *error = QStringLiteral("%1:%2: an agent's id, a blank and its name are needed").arg(name).arg(number);
            return false;
        }
        names[agent] = text;
    }
    return true;
}

QByteArray toLine(const XMLTraceEvent &event, const AgentNames &names, bool severalTraces)
{
    QString line = seconds(event.time).rightJustified(14) + QStringLiteral("  ");
    const QString source = nameOf({event.process, event.source}, names, severalTraces);
    const QString what = QLatin1String(XMLTraceEvent::nameOf(event.event));
    if (event.isAgentEvent()) {
        line += QStringLiteral("agent %1 %2, type %3").arg(source, what).arg(event.sourceType);
    } else {
        line += QStringLiteral("#%1 %2  %3 -> %4")
                    .arg(QString::number(event.packet), what, source,
                         nameOf({event.process, event.destination}, names, severalTraces));
        if (event.event == XMLTraceEvent::Dropped)
            line += event.reason == XMLRouterObserver::Repeat ? QStringLiteral(", a repeat")
                                                              : QStringLiteral(", unregistered source");
        line += QStringLiteral("  ") + event.content();
        if (event.bytes >= 0)
            line += QStringLiteral(", %1 bytes").arg(event.bytes);
    }
    return line.toUtf8() + '\n';
}

QByteArray toSummary(const XMLTraceStatistics &statistics, const AgentNames &names, bool severalTraces)
{
    QString head = QStringLiteral("%1 events of %2 packets in %3 s\n")
                       .arg(statistics.events())
                       .arg(statistics.packets())
                       .arg(seconds(statistics.duration()));
    head += QStringLiteral("dropped: %1 repeats, %2 of unregistered sources; %3 undeliverable\n")
                .arg(statistics.dropped(XMLRouterObserver::Repeat))
                .arg(statistics.dropped(XMLRouterObserver::UnregisteredSource))
                .arg(statistics.undeliverable());
    head += QStringLiteral("queue: %1 packets at the most, delays of %2 ms (50 %), %3 ms (95 %), %4 ms (99 %)\n")
                .arg(QString::number(statistics.longestQueue()), milliseconds(statistics.queueDelay(0.5)),
                     milliseconds(statistics.queueDelay(0.95)), milliseconds(statistics.queueDelay(0.99)));
    return head.toUtf8() + pairsOf(statistics, names, severalTraces) + workOf(statistics, names, severalTraces)
        + unansweredOf(statistics, names, severalTraces);
}
