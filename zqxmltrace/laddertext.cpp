// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "laddertext_p.h"

#include "printable_p.h"

#include <iterator>

QString mermaidText(const QString &text)
{
    QString escaped;
    const QString shown = printable(text);
    for (const QChar c : shown) {
        // These begin comments, entities or other statements, or are read as markup.
        if (QStringLiteral("#;:<>&\"%{}").contains(c))
            escaped += QStringLiteral("#%1;").arg(c.unicode());
        else
            escaped += c;
    }
    return escaped;
}

QString duration(qint64 nanoseconds)
{
    static const struct {
        qint64 size;
        const char *name;
    } units[] = {{1000000000, "s"}, {1000000, "ms"}, {1000, "us"}};
    for (const auto &unit : units) {
        if (nanoseconds >= unit.size)
            return QString::number(static_cast<double>(nanoseconds) / static_cast<double>(unit.size), 'g', 3)
                + QLatin1Char(' ') + QLatin1String(unit.name);
    }
    return QString::number(nanoseconds) + QStringLiteral(" ns");
}

QString shortTime(qint64 nanoseconds)
{
    return QString::number(static_cast<double>(nanoseconds) / 1e9, 'f', 6);
}
