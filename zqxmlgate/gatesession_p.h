// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef ZQXMLGATE_GATESESSION_P_H
#define ZQXMLGATE_GATESESSION_P_H

#include "gateframe_p.h"

#include <QString>

#include <deque>
#include <map>

/**
 * What one gateway knows of another: opens a session with it and gives the messages of each side to the other, all of
 * them, once, in order, until the session ends. Times are milliseconds of a clock that never goes back.
 */
class GateSession
{
public:
    enum State { Closed, Opening, Open };

    /** What a side takes. */
    struct Limits {
        quint32 message; ///< bytes of a message
        quint32 frames; ///< frames that are sent and not delivered
        quint32 bytes; ///< of those
    };

    /** Makes a closed session; \a counter, shared by the sessions of a gateway, holds the last one's number. */
    GateSession(quint64 &counter, const Limits &limits);
    virtual ~GateSession();

    State state() const;
    quint32 theirEpoch() const; ///< Returns 0 unless the session is open.
    quint32 largestMessage() const; ///< Returns the bytes that both sides take.

    void open(qint64 now); ///< Begins to open a closed session.
    void invite(qint64 now); ///< Asks the other side for a new session though one may be open: it has a new epoch.
    void take(const GateFrame &frame, qint64 now); ///< Takes a frame of any kind but Announce.
    void takeAbsence(qint64 now); ///< Nobody has taken what was sent.
    void linkIsUp(qint64 now); ///< The transport is connected again; the other side may need a while.
    void tick(qint64 now); ///< Does what is due.
    void sendMore(qint64 now); ///< Sends what the other side's window takes.
    void close(); ///< Says goodbye; ended() is not called.
    void abort(const QString &reason); ///< Ends the session as if it were gone.

    /** Queues a message. False when it is a packet and too much waits already. */
    bool queue(const QByteArray &message, bool isPacket, qint64 now);

    /** The messages up to \a number have reached their agents. */
    void setDelivered(quint64 number, qint64 now);

    quint64 session() const; ///< Returns the number of our side.
    bool isBusy() const; ///< Returns whether something is due soon.
    int waitingPackets() const; ///< Returns how many packets are not delivered.
    bool isRelieved() const; ///< Returns whether less than half of the backlog waits.

    static constexpr int partSize = 60 * 1024; ///< bytes of a message in a frame
    static constexpr qint64 backlogBytes = 32 << 20;
    static constexpr int backlogPackets = 20000;

protected:
    /** Sends a frame; \a probe asks for takeAbsence(). False when it cannot be sent now. */
    virtual bool transmit(const QByteArray &frame, bool probe) = 0;
    virtual void opened() = 0; ///< Messages may be queued.
    /** A message has come. True when it is dealt with, and setDelivered() is not called for it. */
    virtual bool received(const QByteArray &message, quint64 number) = 0;
    virtual void unreadable() = 0; ///< Something has come that the other side should not send.
    virtual void ended(const QString &reason, int lostPackets) = 0; ///< The session has ended.

private:
    struct Outgoing {
        QByteArray body;
        bool isPacket; ///< the last part of one
    };

    bool isLate(const GateFrame &frame) const;
    void takeOpen(const GateFrame &frame, qint64 now);
    void adopt(const GateFrame &frame, qint64 now);
    void takeInSession(const GateFrame &frame, qint64 now);
    bool takeAcknowledgement(const GateFrame &frame, qint64 now);
    void takeGap(quint64 cameEarly, qint64 now);
    void takeData(const GateFrame &frame, qint64 now);
    void keepEarly(const GateFrame &frame);
    void tellGap(quint64 cameEarly, qint64 now);
    void acceptPart(quint64 number, const QByteArray &body);
    void takePart(const QByteArray &body);
    void sendOpen(quint64 from, quint64 to);
    void sendBeat(int flags, qint64 now, bool probe = false, quint64 number = 0);
    bool sendFrame(quint64 number, qint64 now);
    void rewind();
    void watch(qint64 now);
    void resend(qint64 now);
    void tellIfDue(qint64 now);
    void reset(qint64 now);
    void end(const QString &reason);
    quint64 deliveredHere() const;
    GateFrame makeFrame(GateFrame::Kind kind) const;

    quint64 &sessions;
    const Limits ownLimits;
    Limits theirLimits;
    State currentState;
    quint64 mine;
    quint64 next; ///< the number that a new session would have while this one is open
    quint64 theirs;

    // What goes out: those that are not known to be delivered, the first one's number, and how far they are.
    std::deque<Outgoing> out;
    quint64 firstOut;
    quint64 nextToSend;
    quint64 sentUpTo;
    quint64 theyReceived;
    qint64 outBytes;
    qint64 flightBytes; ///< of those before nextToSend
    int outPackets;
    quint64 filledAt; // the frame that was sent again last because it was missed
    qint64 fillTime;
    qint64 progressTime; ///< of the last progress, or the last try
    int patience; ///< ms without progress after which one is tried again
    bool recovering;

    // What comes in.
    quint64 receivedUpTo;
    QByteArray partial;
    bool inMessage;
    struct Pending {
        quint64 number;
        int bytes;
    };
    std::deque<Pending> pending; ///< handed over and not delivered
    qint64 pendingBytes;
    std::map<quint64, QByteArray> early; // came before their turn
    qint64 earlyBytes;
    quint64 told; ///< the number that was acknowledged last
    qint64 untoldBytes;
    bool tellSoon;
    bool gapTold;
    qint64 gapTime;

    qint64 heard; ///< when the other side was heard last
    qint64 lastTraffic;
    qint64 lastSent;
    qint64 lastProbe;
    qint64 absentSince;
    int absences;
    qint64 patientUntil; ///< absence does not count before
    qint64 opensSince;
    qint64 lastOpen;
};

#endif
