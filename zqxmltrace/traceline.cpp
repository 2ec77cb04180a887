// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "traceline_p.h"

#include <QCoreApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <charconv>
#include <climits>

namespace {

template <typename Number>
void appendNumber(QByteArray &line, Number number)
{
    char digits[24];
    const auto end = std::to_chars(std::begin(digits), std::end(digits), number).ptr;
    line.append(digits, static_cast<int>(end - digits));
}

template <typename Number>
void appendMember(QByteArray &line, const char *name, Number number)
{
    line += ",\"";
    line += name;
    line += "\":";
    appendNumber(line, number);
}

void appendContent(QByteArray &line, const XMLTraceEvent &event)
{
    line += ",\"kinds\":{";
    bool first = true;
    for (int kind = 0; kind < XMLTraceEvent::KindCount; ++kind) {
        if (event.kinds[static_cast<std::size_t>(kind)] == 0)
            continue;
        line += first ? "\"" : ",\"";
        first = false;
        line += XMLTraceEvent::nameOf(static_cast<XMLTraceEvent::Kind>(kind));
        line += "\":";
        appendNumber(line, event.kinds[static_cast<std::size_t>(kind)]);
    }
    line += '}';
    if (!event.actionTypes.isEmpty()) {
        line += ",\"actions\":[";
        for (int i = 0; i < event.actionTypes.size(); ++i) {
            if (i > 0)
                line += ',';
            appendNumber(line, event.actionTypes.at(i));
        }
        line += ']';
    }
    if (event.bytes >= 0)
        appendMember(line, "bytes", event.bytes);
    if (!event.wire.isEmpty()) {
        line += ",\"wire\":";
        appendText(line, event.wire);
    }
}

const char *nameOf(XMLRouterObserver::DropReason reason)
{
    return reason == XMLRouterObserver::Repeat ? "repeat" : "source";
}

/** Gives the place of \a name among the names of a vocabulary; false when it is none of them. */
template <typename Value>
bool find(const QJsonValue &name, int count, Value &value)
{
    const QString text = name.toString();
    for (int i = 0; i < count; ++i) {
        value = static_cast<Value>(i);
        if (text == QLatin1String(XMLTraceEvent::nameOf(value)))
            return true;
    }
    return false;
}

/** Reads a number that is not negative and that all readers of JSON take exactly; \a missing for anything else. */
qint64 readInteger(const QJsonValue &value, qint64 missing = 0)
{
    constexpr double end = 9007199254740992.0; // 2 to the 53
    const double number = value.toDouble(-1);
    return number >= 0 && number < end ? static_cast<qint64>(number) : missing;
}

void readContent(const QJsonObject &object, XMLTraceEvent &event)
{
    const QJsonObject kinds = object.value(QLatin1String("kinds")).toObject();
    for (auto each = kinds.begin(); each != kinds.end(); ++each) {
        auto kind = XMLTraceEvent::Other;
        find(each.key(), XMLTraceEvent::KindCount, kind);
        int &count = event.kinds[static_cast<std::size_t>(kind)];
        count = static_cast<int>(std::clamp<qint64>(qint64(count) + each.value().toInt(), 0, INT_MAX));
    }
    const QJsonArray actions = object.value(QLatin1String("actions")).toArray();
    for (const QJsonValue &type : actions)
        event.actionTypes << type.toInt();
    event.wire = object.value(QLatin1String("wire")).toString().toUtf8();
    event.bytes = readInteger(object.value(QLatin1String("bytes")), -1);
}

} // namespace

void appendText(QByteArray &line, const QByteArray &text)
{
    static const char digits[] = "0123456789abcdef";
    line += '"';
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (c == '"' || c == '\\') {
            line += '\\';
            line += c;
        } else if (byte < 0x20 || byte == 0x7f) {
            line += "\\u00";
            line += digits[byte >> 4];
            line += digits[byte & 15];
        } else {
            line += c;
        }
    }
    line += '"';
}

void appendHeader(QByteArray &line, qint64 start)
{
    line += "{\"trace\":";
    appendNumber(line, TRACE_VERSION);
    appendMember(line, "start", start);
    appendMember(line, "pid", QCoreApplication::applicationPid());
    line += ",\"program\":";
    appendText(line, QCoreApplication::applicationName().toUtf8());
    line += "}\n";
}

void appendLine(QByteArray &line, const XMLTraceEvent &event)
{
    line += "{\"time\":";
    appendNumber(line, event.time);
    line += ",\"event\":\"";
    line += XMLTraceEvent::nameOf(event.event);
    line += '"';
    if (event.isAgentEvent()) {
        appendMember(line, "agent", event.source);
        appendMember(line, "type", event.sourceType);
        line += "}\n";
        return;
    }
    appendMember(line, "packet", event.packet);
    appendMember(line, "src", event.source);
    appendMember(line, "dst", event.destination);
    if (event.event == XMLTraceEvent::Dropped) {
        line += ",\"reason\":\"";
        line += nameOf(event.reason);
        line += '"';
    }
    if (event.event == XMLTraceEvent::Queued || event.event == XMLTraceEvent::Dropped) {
        appendMember(line, "src_type", event.sourceType);
        appendMember(line, "dst_type", event.destinationType);
        appendContent(line, event);
    }
    line += "}\n";
}

bool readHeader(const QByteArray &line, int &version, qint64 &start)
{
    const QJsonObject object = QJsonDocument::fromJson(line).object();
    version = object.value(QLatin1String("trace")).toInt();
    start = readInteger(object.value(QLatin1String("start")));
    return version > 0;
}

bool readLine(const QByteArray &line, XMLTraceEvent &event)
{
    const QJsonObject object = QJsonDocument::fromJson(line).object();
    event = XMLTraceEvent();
    if (!find(object.value(QLatin1String("event")), XMLTraceEvent::Delivered + 1, event.event))
        return false;
    event.time = readInteger(object.value(QLatin1String("time")));
    if (event.isAgentEvent()) {
        event.source = object.value(QLatin1String("agent")).toInt();
        event.sourceType = object.value(QLatin1String("type")).toInt();
        return true;
    }
    event.packet = static_cast<quint64>(readInteger(object.value(QLatin1String("packet"))));
    event.source = object.value(QLatin1String("src")).toInt();
    event.destination = object.value(QLatin1String("dst")).toInt();
    event.sourceType = object.value(QLatin1String("src_type")).toInt(event.sourceType);
    event.destinationType = object.value(QLatin1String("dst_type")).toInt(event.destinationType);
    if (object.value(QLatin1String("reason")).toString() == QLatin1String(nameOf(XMLRouterObserver::Repeat)))
        event.reason = XMLRouterObserver::Repeat;
    readContent(object, event);
    return event.packet > 0;
}
