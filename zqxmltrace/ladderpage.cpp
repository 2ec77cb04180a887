// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "xmlladder.h"

#include "ladderpage.h"
#include "laddertext_p.h"
#include "traceline_p.h"

#include <QIODevice>

namespace {

// What stands in the page as data must not end or begin markup there.
QByteArray inPage(QByteArray json)
{
    json.replace("</", "<\\/");
    json.replace("<!", "\\u003c!");
    return json;
}

QByteArray quoted(const QByteArray &text)
{
    QByteArray json;
    appendText(json, text);
    return inPage(json);
}

} // namespace

bool XMLLadder::writeHtml(QIODevice *device) const
{
    const QByteArray page(ladderPage);
    const int place = static_cast<int>(page.indexOf(DATA_MARK));
    QByteArray text = page.left(place) + "{\"outcomes\":[";
    for (int outcome = Waiting; outcome <= UnknownDestination; ++outcome) {
        const char *const name = outcome == Delivered ? "delivered" : nameOf(static_cast<Outcome>(outcome));
        text += (outcome > 0 ? "," : "") + quoted(name);
    }
    text += "],\"agents\":[";
    for (std::size_t i = 0; i < columns.size(); ++i)
        text += (i > 0 ? "," : "") + quoted(titleOf(static_cast<int>(i)).toUtf8());
    text += "],\"rows\":[";
    bool good = device->write(text) >= 0;
    for (std::size_t i = 0; i < rows.size() && good; ++i) {
        const Row &row = rows[i];
        text = i > 0 ? ",\n[" : "\n[";
        for (const qint64 number :
             {row.time, static_cast<qint64>(row.packet), qint64(row.source), qint64(row.destination),
              qint64(row.outcome), row.delay, row.duration, row.answered, row.bytes})
            text += QByteArray::number(number) + ',';
        text += quoted(row.label.toUtf8());
        if (!row.wire.isEmpty())
            text += ',' + quoted(row.wire);
        text += ']';
        good = device->write(text) >= 0;
    }
    return good && device->write("]}" + page.mid(place + static_cast<int>(sizeof DATA_MARK) - 1)) >= 0;
}
