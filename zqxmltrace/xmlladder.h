// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef ZQXMLTRACE_XMLLADDER_H
#define ZQXMLTRACE_XMLLADDER_H

#include <zqxmltrace/xmltracerequests.h>

#include <QString>

#include <map>
#include <set>
#include <unordered_map>
#include <vector>

class QIODevice;

/**
 * Draws a trace as a sequence diagram: a column for each agent, an arrow for each packet, from the top down.
 *
 * An arrow tells what the packet holds, and whether it was delivered, waits, was dropped, or had nobody to go to. A
 * packet that goes back to where a request came from is drawn as its reply. Arrows that say the same one after the
 * other are drawn once, with their number; long pauses are drawn as such. Agents without a type, as each request of an
 * XMLRequester has one, take the column of one that is gone, so that a trace of many requests has few columns. Names
 * and contents are escaped in every form: nothing in a packet acts on the terminal, the diagram or the page.
 */
class ZQXMLTRACE_EXPORT XMLLadder
{
public:
    /** Names the agent \a agent; without a name it is shown by its id and type. */
    void setName(const XMLTraceAgent &agent, const QString &name);

    /** Adds one event; those of several traces in the order of their times. */
    void add(const XMLTraceEvent &event);

    /** Writes the diagram in box-drawing characters, UTF-8, a line an arrow. False when \a device fails. */
    bool writeText(QIODevice *device) const;

    /** Writes the diagram in the language of Mermaid. False when \a device fails. */
    bool writeMermaid(QIODevice *device) const;

    /** Writes the diagram as an SVG picture without scripts, for light and dark surroundings. False when \a device
     * fails. */
    bool writeSvg(QIODevice *device) const;

    /**
     * Writes one page of HTML that needs no other file and no network, to search, filter and read packets. False when
     * \a device fails.
     */
    bool writeHtml(QIODevice *device) const;

private:
    enum Outcome : int { Waiting, Delivered, Repeat, UnknownSource, UnknownDestination };

    struct Row {
        qint64 time;
        quint64 packet;
        int process;
        int source; // column
        int destination; // column
        Outcome outcome;
        qint64 delay; // nanoseconds in the queue; -1 when it was not delivered
        qint64 duration; // nanoseconds in receive(); -1 when that did not return
        qint64 answered; // the row that this one replies to; -1 for none
        qint64 bytes;
        QString label;
        QByteArray wire;
    };

    /** Rows that are drawn as one arrow. */
    struct Arrow {
        std::size_t first;
        std::size_t count;
    };

    void addAgent(const XMLTraceEvent &event);
    int columnOf(int process, int id, int type);
    QString titleOf(int column) const;
    std::vector<Arrow> arrows() const;
    QString captionOf(const Arrow &arrow) const;
    static const char *nameOf(Outcome outcome);

    struct Column {
        XMLTraceAgent agent; // the first of those that are drawn in it
        int type;
        int lastID; // the last of those
        bool isRegistered; // at some time, as far as the trace tells
    };

    std::vector<Column> columns;
    std::map<XMLTraceAgent, int> columnNumbers;
    std::set<XMLTraceAgent> typeless; // agents without a type that are registered
    std::map<int, std::vector<int>> vacant; // columns of such agents that are gone, by process
    std::map<XMLTraceAgent, QString> names;
    std::vector<Row> rows;
    std::unordered_map<quint64, std::size_t> places; // rows by packet, of packets that are not done with
    std::unordered_map<quint64, std::size_t> asked; // rows of requests without an answer
    XMLTraceRequests requests;
};

#endif
