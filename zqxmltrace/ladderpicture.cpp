// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "xmlladder.h"

#include "laddertext_p.h"
#include "printable_p.h"

#include <QIODevice>
#include <QXmlStreamWriter>

#include <algorithm>

namespace {

// Places in the picture, in its units.
constexpr int LEFT = 96;
constexpr int COLUMN = 230;
constexpr int TOP = 44;
constexpr int ROW = 30;

const char style[] = R"(
text { font: 12px system-ui, sans-serif; fill: #1b1f24 }
.time { fill: #66707a } .title { font-weight: 600; text-anchor: middle }
.back { fill: #ffffff } .life { stroke: #c9d1d9 } .pause { stroke: #9a6700; stroke-dasharray: 4 4 }
.shaft { stroke: #1f5fbf; stroke-width: 1.5; fill: none } .head { fill: #1f5fbf }
.reply .shaft { stroke: #1a7f4b; stroke-dasharray: 5 3 } .reply .head { fill: #1a7f4b }
.bad .shaft, .bad .cross { stroke: #c62828; stroke-width: 1.5; fill: none } .bad text { fill: #c62828 }
@media (prefers-color-scheme: dark) {
text { fill: #e6eaee } .time { fill: #96a1ac } .back { fill: #14181d } .life { stroke: #3a434d }
.shaft { stroke: #7ab0ff } .head { fill: #7ab0ff } .pause { stroke: #e3b341 }
.reply .shaft { stroke: #57d19a } .reply .head { fill: #57d19a }
.bad .shaft, .bad .cross { stroke: #ff8a80 } .bad text { fill: #ff8a80 }
}
)";

void writeLine(QXmlStreamWriter &xml, const char *name, int x1, int y1, int x2, int y2)
{
    xml.writeEmptyElement(QStringLiteral("line"));
    xml.writeAttribute(QStringLiteral("class"), QLatin1String(name));
    xml.writeAttribute(QStringLiteral("x1"), QString::number(x1));
    xml.writeAttribute(QStringLiteral("y1"), QString::number(y1));
    xml.writeAttribute(QStringLiteral("x2"), QString::number(x2));
    xml.writeAttribute(QStringLiteral("y2"), QString::number(y2));
}

void writePath(QXmlStreamWriter &xml, const char *name, const QString &path)
{
    xml.writeEmptyElement(QStringLiteral("path"));
    xml.writeAttribute(QStringLiteral("class"), QLatin1String(name));
    xml.writeAttribute(QStringLiteral("d"), path);
}

void writeLabel(QXmlStreamWriter &xml, const char *name, int x, int y, const QString &text)
{
    xml.writeStartElement(QStringLiteral("text"));
    xml.writeAttribute(QStringLiteral("class"), QLatin1String(name));
    xml.writeAttribute(QStringLiteral("x"), QString::number(x));
    xml.writeAttribute(QStringLiteral("y"), QString::number(y));
    xml.writeCharacters(printable(text));
    xml.writeEndElement();
}

int centreOf(int column)
{
    return LEFT + column * COLUMN + COLUMN / 2;
}

void writeArrow(QXmlStreamWriter &xml, int from, int to, int y, bool broken)
{
    if (from == to) {
        writePath(xml, "shaft", QStringLiteral("M%1 %2 h26 v8 h-20").arg(from).arg(y - 8));
        writePath(xml, "head", QStringLiteral("M%1 %2 l8 -4 v8 z").arg(from + 2).arg(y));
        return;
    }
    const int way = from < to ? 1 : -1;
    writeLine(xml, "shaft", from, y, to - way * (broken ? 14 : 6), y);
    if (broken)
        writePath(xml, "cross", QStringLiteral("M%1 %2 l8 8 m0 -8 l-8 8").arg(to - way * 12 - 4).arg(y - 4));
    else
        writePath(xml, "head", QStringLiteral("M%1 %2 l%3 -4 v8 z").arg(to - way).arg(y).arg(-way * 9));
}

} // namespace

bool XMLLadder::writeSvg(QIODevice *device) const
{
    const std::vector<Arrow> drawn = arrows();
    const int width = LEFT + static_cast<int>(columns.size()) * COLUMN;
    const int height = TOP + static_cast<int>(drawn.size()) * ROW + 14;
    QXmlStreamWriter xml(device);
    xml.setAutoFormatting(true);
    xml.setAutoFormattingIndent(1);
    xml.writeStartElement(QStringLiteral("svg"));
    xml.writeAttribute(QStringLiteral("xmlns"), QStringLiteral("http://www.w3.org/2000/svg"));
    xml.writeAttribute(QStringLiteral("width"), QString::number(width));
    xml.writeAttribute(QStringLiteral("height"), QString::number(height));
    xml.writeAttribute(QStringLiteral("viewBox"), QStringLiteral("0 0 %1 %2").arg(width).arg(height));
    xml.writeTextElement(QStringLiteral("style"), QLatin1String(style));
    xml.writeEmptyElement(QStringLiteral("rect"));
    xml.writeAttribute(QStringLiteral("class"), QStringLiteral("back"));
    xml.writeAttribute(QStringLiteral("width"), QString::number(width));
    xml.writeAttribute(QStringLiteral("height"), QString::number(height));
    for (int column = 0; column < static_cast<int>(columns.size()); ++column) {
        writeLabel(xml, "title", centreOf(column), 22, titleOf(column));
        writeLine(xml, "life", centreOf(column), TOP - 10, centreOf(column), height);
    }
    int y = TOP + ROW - 6;
    qint64 last = rows.empty() ? 0 : rows.front().time;
    for (const Arrow &arrow : drawn) {
        const Row &row = rows[arrow.first];
        QString time = shortTime(row.time);
        if (row.time - last >= PAUSE) {
            time += QStringLiteral(" +") + duration(row.time - last);
            writeLine(xml, "pause", 8, y - ROW + 7, width - 8, y - ROW + 7);
        }
        last = rows[arrow.first + arrow.count - 1].time;
        const bool broken = row.outcome != Delivered && row.outcome != Waiting;
        xml.writeStartElement(QStringLiteral("g"));
        xml.writeAttribute(QStringLiteral("class"),
                           broken                  ? QStringLiteral("bad")
                               : row.answered >= 0 ? QStringLiteral("reply")
                                                   : QStringLiteral("packet"));
        const int from = centreOf(row.source);
        const int to = centreOf(row.destination);
        writeLabel(xml, "time", 8, y, time);
        writeArrow(xml, from, to, y, broken);
        writeLabel(xml, "label", std::min(from, to) + (from == to ? 34 : 8), y - 6,
                   QStringLiteral("#%1 ").arg(row.packet) + captionOf(arrow));
        xml.writeEndElement();
        y += ROW;
    }
    xml.writeEndElement();
    xml.writeEndDocument();
    return !xml.hasError();
}
