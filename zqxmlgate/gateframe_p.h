// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef ZQXMLGATE_GATEFRAME_P_H
#define ZQXMLGATE_GATEFRAME_P_H

#include <QByteArray>

/** What two gateways send each other, as docs/bus-protocol.md describes it. */
struct GateFrame {
    enum Kind : quint8 { Announce = 1, Open = 2, Beat = 3, Data = 4, Close = 5 };
    enum AnnounceFlag : quint8 { Exports = 1, Asks = 2, Taken = 4 };
    enum BeatFlag : quint8 { Gap = 1, Answer = 2 };
    enum DataFlag : quint8 { First = 1, Last = 2 };
    enum Result { Readable, Unreadable, OtherVersion };

    static constexpr quint8 version = 1;
    static constexpr int headerSize = 44;

    /** Reads \a bytes, whose version is in \a otherVersion when it is another. */
    static Result read(const QByteArray &bytes, GateFrame &frame, int *otherVersion = nullptr);

    QByteArray toBytes() const;

    quint8 flags() const; ///< the first byte of the body

    Kind kind = Beat;
    quint64 from = 0; ///< the sender's epoch and session
    quint64 to = 0; ///< the receiver's; 0 when it is not known yet
    quint64 number = 0;
    quint64 received = 0;
    quint64 delivered = 0;
    QByteArray body;
};

/** Returns the epoch of a session. */
inline quint32 gateEpochOf(quint64 session)
{
    return static_cast<quint32>(session >> 32);
}

#endif
