// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef ZQXMLTRACE_XMLTRACERECORDER_H
#define ZQXMLTRACE_XMLTRACERECORDER_H

#include <zqxml/xmlrouterobserver.h>
#include <zqxmltrace/zqxmltrace_export.h>

#include <QElapsedTimer>
#include <QObject>
#include <QPointer>
#include <QStringList>
#include <QTimer>

#include <deque>
#include <memory>
#include <unordered_map>
#include <vector>

class QFile;
class XMLRouter;
class XMLTraceRing;
struct XMLTraceEvent;

/**
 * Records what a router does, as lines of JSON, from its construction to its destruction.
 * \code
 * XMLTraceRecorder recorder(&router, QStringLiteral("traffic.jsonl"));
 * \endcode
 * It is the router's observer meanwhile, and does not change what the router does. Lines are kept back for up to a
 * tenth of a second and are then written at once; a process that crashes loses those. What cannot be written any more
 * ends the trace, not the router: a full disk, a pipe without a reader, a file that was deleted.
 *
 * Used from the router's thread. The router may go before the recorder, and the other way round.
 */
class ZQXMLTRACE_EXPORT XMLTraceRecorder : public QObject, public XMLRouterObserver
{
    Q_OBJECT

public:
    /** What is recorded of a packet. */
    enum Content : int {
        Headers, ///< agents, kinds of content, types of actions: takes about a microsecond a packet
        Sizes, ///< also the size of the wire form, for which the packet is encoded
        Bodies ///< also the wire form itself: whatever the packet says can be read in the trace
    };

    /**
     * Starts a trace of \a router in the file \a file, which is replaced. When that fails, isRecording() is false and
     * error() says why.
     */
    XMLTraceRecorder(XMLRouter *router, const QString &file, Content content = Headers);

    /** Starts a trace of \a router in memory, of which the last \a size bytes are kept. \sa ring() */
    XMLTraceRecorder(XMLRouter *router, int size, Content content = Headers);

    /** Ends the trace and writes what was kept back. */
    ~XMLTraceRecorder() override;

    /**
     * Has the values of the attributes \a keys, and of all attributes and texts in elements \a keys, recorded as "***".
     * Sizes are those of the packet as it is recorded then.
     */
    void setMaskedKeys(const QStringList &keys);

    /** Returns true until the trace has ended for a reason that error() tells. */
    bool isRecording() const;

    /** Returns why the trace has ended, in one line; empty while it is going on. */
    QString error() const;

    /** Returns how many events the trace lacks since it has ended; lines that were kept back then count. */
    quint64 lostEvents() const;

    /** Writes the lines that are kept back; true when all lines so far are written. */
    bool flush();

    /** Returns the whole lines that a trace in memory still holds, behind the line that a trace begins with. */
    QByteArray ring() const;

    void agentAdded(int id, int type) override; ///< Records the event.
    void agentRemoved(int id) override; ///< Records the event.
    void packetQueued(XMLPacket &packet) override; ///< Records the event.
    void packetDropped(XMLPacket &packet, DropReason reason) override; ///< Records the event.
    void packetAboutToBeDelivered(XMLPacket &packet, int destination) override; ///< Records the event.
    void packetDelivered(int destination) override; ///< Records the event.
    void packetUndeliverable(XMLPacket &packet) override; ///< Records the event.

Q_SIGNALS:
    /** The trace has ended because it cannot be written; emitted once. */
    void stopped(const QString &reason);

private:
    struct Waiting {
        const XMLPacket *packet;
        quint64 number;
        int source;
    };

    XMLTraceRecorder(XMLRouter *router, Content content, std::unique_ptr<QFile> file,
                     std::unique_ptr<XMLTraceRing> ring);
    void describe(XMLTraceEvent &event, XMLPacket &packet);
    QByteArray wireOf(const XMLPacket &packet) const;
    Waiting takeWaiting(XMLPacket &packet);
    int typeOf(int id);
    void write(const XMLTraceEvent &event);
    void stop(const QString &reason);

    QPointer<XMLRouter> router;
    const Content content;
    QStringList maskedKeys;
    std::unique_ptr<QFile> file;
    std::unique_ptr<XMLTraceRing> lines;
    QByteArray buffer; // whole lines that are not in the file yet
    quint64 buffered = 0; // how many
    QTimer timer;
    qint64 start; // microseconds since 1970 when the clock was started
    QElapsedTimer clock;
    quint64 lastPacket = 0;
    std::deque<Waiting> waiting; // the packets in the router's queue, as far as the trace has seen them queued
    std::vector<Waiting> delivering; // the packets whose receive() runs, the innermost last
    std::unordered_map<int, int> types; // of agents, by id
    QString reason;
    quint64 lost = 0;
};

#endif
