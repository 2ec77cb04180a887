// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "traceline_p.h"

#include <QCoreApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <array>
#include <charconv>
#include <climits>
#include <cstring>

namespace {

/** Writes behind the end of an array whose room is made once, not for each of the many small parts of a line. */
class Writer
{
public:
    Writer(QByteArray &target, int room) : bytes(target)
    {
        const int end = static_cast<int>(bytes.size());
        bytes.resize(end + room);
        out = bytes.data() + end;
    }

    ~Writer()
    {
        bytes.resize(static_cast<int>(out - bytes.constData()));
    }
    Q_DISABLE_COPY(Writer)

    void put(char c)
    {
        *out++ = c;
    }

    template <std::size_t size>
    void put(const char (&literal)[size])
    {
        std::memcpy(out, literal, size - 1);
        out += size - 1;
    }

    void put(const char *begin, const char *end)
    {
        std::memcpy(out, begin, static_cast<std::size_t>(end - begin));
        out += end - begin;
    }

    void putName(const char *name)
    {
        put(name, name + std::strlen(name));
    }

    template <typename Number>
    void putNumber(Number number)
    {
        // Not in place: with Qt 5, g++ 12 takes that for a write behind the end.
        std::array<char, DIGITS> digits;
        put(digits.data(), std::to_chars(digits.data(), digits.data() + DIGITS, number).ptr);
    }

    static constexpr int DIGITS = 20; ///< of a number, at the most, and its sign

private:
    QByteArray &bytes;
    char *out;
};

constexpr int LINE = 512; // bytes that a line has room for, its actions and its wire form apart

void putContent(Writer &line, const XMLTraceEvent &event)
{
    line.put(",\"kinds\":{");
    bool first = true;
    for (int kind = 0; kind < XMLTraceEvent::KindCount; ++kind) {
        if (event.kinds[static_cast<std::size_t>(kind)] == 0)
            continue;
        if (!first)
            line.put(',');
        first = false;
        line.put('"');
        line.putName(XMLTraceEvent::nameOf(static_cast<XMLTraceEvent::Kind>(kind)));
        line.put("\":");
        line.putNumber(event.kinds[static_cast<std::size_t>(kind)]);
    }
    line.put('}');
    if (!event.actionTypes.isEmpty()) {
        line.put(",\"actions\":[");
        for (int i = 0; i < event.actionTypes.size(); ++i) {
            if (i > 0)
                line.put(',');
            line.putNumber(event.actionTypes.at(i));
        }
        line.put(']');
    }
    if (event.bytes >= 0) {
        line.put(",\"bytes\":");
        line.putNumber(event.bytes);
    }
}

constexpr std::array<bool, 256> escapedCharacters()
{
    std::array<bool, 256> table = {};
    for (std::size_t c = 0; c < 0x20; ++c)
        table[c] = true;
    table['"'] = table['\\'] = table[0x7f] = true;
    return table;
}

constexpr std::array<bool, 256> isEscaped = escapedCharacters();

void putEscaped(Writer &line, char c)
{
    static constexpr char digits[] = "0123456789abcdef";
    line.put('\\');
    if (c == '"' || c == '\\')
        return line.put(c);
    line.put("u00");
    line.put(digits[c >> 4]);
    line.put(digits[c & 15]);
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
    for (const auto &type : actions)
        event.actionTypes << type.toInt();
    event.wire = object.value(QLatin1String("wire")).toString().toUtf8();
    event.bytes = readInteger(object.value(QLatin1String("bytes")), -1);
}

} // namespace

void appendText(QByteArray &line, const QByteArray &text)
{
    constexpr int part = 4096;
    line += '"';
    for (int from = 0; from < text.size(); from += part) {
        const int size = std::min(part, static_cast<int>(text.size()) - from);
        Writer writer(line, 6 * size);
        const char *at = text.constData() + from;
        const char *const end = at + size;
        while (at < end) {
            const char *const run = at;
            while (at < end && !isEscaped[static_cast<unsigned char>(*at)])
                ++at;
            writer.put(run, at);
            if (at < end)
                putEscaped(writer, *at++);
        }
    }
    line += '"';
}

void appendHeader(QByteArray &line, qint64 start)
{
    line += "{\"trace\":" + QByteArray::number(TRACE_VERSION) + ",\"start\":" + QByteArray::number(start)
        + ",\"pid\":" + QByteArray::number(QCoreApplication::applicationPid()) + ",\"program\":";
    appendText(line, QCoreApplication::applicationName().toUtf8());
    line += "}\n";
}

void appendLine(QByteArray &line, const XMLTraceEvent &event)
{
    {
        Writer writer(line, LINE + static_cast<int>(event.actionTypes.size()) * (Writer::DIGITS + 1));
        writer.put("{\"time\":");
        writer.putNumber(event.time);
        writer.put(",\"event\":\"");
        writer.putName(XMLTraceEvent::nameOf(event.event));
        if (event.isAgentEvent()) {
            writer.put("\",\"agent\":");
            writer.putNumber(event.source);
            writer.put(",\"type\":");
            writer.putNumber(event.sourceType);
            writer.put("}\n");
            return;
        }
        writer.put("\",\"packet\":");
        writer.putNumber(event.packet);
        writer.put(",\"src\":");
        writer.putNumber(event.source);
        writer.put(",\"dst\":");
        writer.putNumber(event.destination);
        if (event.event == XMLTraceEvent::Dropped) {
            writer.put(",\"reason\":\"");
            writer.putName(nameOf(event.reason));
            writer.put('"');
        }
        if (event.event == XMLTraceEvent::Queued || event.event == XMLTraceEvent::Dropped) {
            writer.put(",\"src_type\":");
            writer.putNumber(event.sourceType);
            writer.put(",\"dst_type\":");
            writer.putNumber(event.destinationType);
            putContent(writer, event);
        }
        if (event.wire.isEmpty() || (event.event != XMLTraceEvent::Queued && event.event != XMLTraceEvent::Dropped)) {
            writer.put("}\n");
            return;
        }
        writer.put(",\"wire\":");
    }
    appendText(line, event.wire);
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
