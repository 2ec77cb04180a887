// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "xmltraceevent.h"

const char *XMLTraceEvent::nameOf(Event event)
{
    switch (event) {
    case AgentAdded:
        return "added";
    case AgentRemoved:
        return "removed";
    case Dropped:
        return "dropped";
    case Queued:
        return "queued";
    case Undeliverable:
        return "undeliverable";
    case Delivering:
        return "delivering";
    case Delivered:
        return "delivered";
    }
    return "";
}

const char *XMLTraceEvent::nameOf(Kind kind)
{
    switch (kind) {
    case Packetable:
        return "packetable";
    case Action:
        return "action";
    case UI:
        return "ui";
    case Image:
        return "img";
    case Message:
        return "msg";
    case Other:
    case KindCount:
        break;
    }
    return "other";
}

QString XMLTraceEvent::content() const
{
    QString text;
    for (int kind = 0; kind < KindCount; ++kind) {
        const int count = kinds[static_cast<std::size_t>(kind)];
        if (count == 0)
            continue;
        text += text.isEmpty() ? QString() : QStringLiteral(", ");
        if (count > 1)
            text += QString::number(count) + QLatin1Char(' ');
        text += QLatin1String(nameOf(static_cast<Kind>(kind)));
        if (kind == Action) {
            for (const int type : actionTypes)
                text += QLatin1Char(' ') + QString::number(type);
        }
    }
    return text.isEmpty() ? QStringLiteral("empty") : text;
}
