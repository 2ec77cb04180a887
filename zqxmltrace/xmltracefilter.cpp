// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "xmltracefilter.h"

#include <QCoreApplication>

#include <algorithm>

namespace {

const char *const keyNames[] = {"src", "dst", "agent", "kind", "type", "event", "packet"};

QString tr(const char *text)
{
    return QCoreApplication::translate("XMLTraceFilter", text);
}

template <typename Value>
int placeOf(const QString &name, int count)
{
    for (int i = 0; i < count; ++i) {
        if (name == QLatin1String(XMLTraceEvent::nameOf(static_cast<Value>(i))))
            return i;
    }
    return -1;
}

} // namespace

bool XMLTraceFilter::add(const QString &text, QString *error)
{
    const auto fail = [error](const QString &message) {
        if (error)
            *error = message;
        return false;
    };
    const int equals = static_cast<int>(text.indexOf(QLatin1Char('=')));
    const auto name = std::find_if(std::begin(keyNames), std::end(keyNames), [&](const char *each) {
        return text.left(std::max(0, equals)) == QLatin1String(each);
    });
    if (name == std::end(keyNames))
        return fail(
            tr("'%1' is no condition: src, dst, agent, kind, type, event or packet, and = and a value").arg(text));
    Condition condition{static_cast<Key>(name - std::begin(keyNames)), {}};
    const QStringList values = text.mid(equals + 1).split(QLatin1Char(','));
    for (const QString &value : values) {
        bool ok = true;
        qint64 number = 0;
        if (condition.key == Kind)
            number = placeOf<XMLTraceEvent::Kind>(value, XMLTraceEvent::KindCount);
        else if (condition.key == Event)
            number = placeOf<XMLTraceEvent::Event>(value, XMLTraceEvent::Delivered + 1);
        else
            number = value.toLongLong(&ok);
        if (!ok || ((condition.key == Kind || condition.key == Event) && number < 0))
            return fail(tr("'%1' is no value of '%2'").arg(value, QLatin1String(*name)));
        condition.values << number;
    }
    conditions << condition;
    return true;
}

bool XMLTraceFilter::matches(const XMLTraceEvent &event) const
{
    return std::all_of(conditions.cbegin(), conditions.cend(),
                       [&event](const Condition &condition) { return fits(condition, event); });
}

bool XMLTraceFilter::isEmpty() const
{
    return conditions.isEmpty();
}

bool XMLTraceFilter::fits(const Condition &condition, const XMLTraceEvent &event)
{
    const QList<qint64> &values = condition.values;
    const bool ofPacket = !event.isAgentEvent();
    switch (condition.key) {
    case Source:
        return values.contains(event.source);
    case Destination:
        return ofPacket && values.contains(event.destination);
    case Agent:
        return values.contains(event.source) || (ofPacket && values.contains(event.destination));
    case Kind:
        return std::any_of(values.cbegin(), values.cend(),
                           [&event](qint64 kind) { return event.kinds[static_cast<std::size_t>(kind)] > 0; });
    case Type:
        return std::any_of(event.actionTypes.cbegin(), event.actionTypes.cend(),
                           [&values](int type) { return values.contains(type); });
    case Event:
        return values.contains(event.event);
    case Packet:
        return ofPacket && values.contains(static_cast<qint64>(event.packet));
    }
    return false;
}
