// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef ZQXMLTRACE_XMLTRACEFILTER_H
#define ZQXMLTRACE_XMLTRACEFILTER_H

#include <zqxmltrace/xmltraceevent.h>

#include <QStringList>

/**
 * Chooses events of a trace.
 * \code
 * src=3 dst=-1 kind=action type=1002 event=dropped
 * \endcode
 * Each condition is a key and one value or several between commas, of which one must fit; an event fits when all
 * conditions do. The keys: "src" and "dst", an agent's id (an event of an agent has it as its "src"); "agent", either
 * of both; "kind", the name of an element in the body, or "other"; "type", the type of an action in the body; "event",
 * "packet".
 */
class ZQXMLTRACE_EXPORT XMLTraceFilter
{
public:
    /** Lets everything through. */
    XMLTraceFilter() = default;

    /** Adds the condition \a text; false when it is none, and \a error, unless null, then says why in one line. */
    bool add(const QString &text, QString *error = nullptr);

    /** Returns true when \a event fits every condition. */
    bool matches(const XMLTraceEvent &event) const;

    /** Returns true when there is no condition. */
    bool isEmpty() const;

private:
    enum Key : int { Source, Destination, Agent, Kind, Type, Event, Packet };

    struct Condition {
        Key key;
        QList<qint64> values;
    };

    static bool fits(const Condition &condition, const XMLTraceEvent &event);

    QList<Condition> conditions;
};

#endif
