// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "gatesession_p.h"

#include <QtEndian>

#include <algorithm>

namespace {

// Milliseconds.
constexpr qint64 openInterval = 200;
constexpr qint64 openTime = 5000;
constexpr qint64 invitationInterval = 100;
constexpr qint64 beatInterval = 1000;
constexpr qint64 probeInterval = 200;
constexpr qint64 busySilence = 300; // before the first probe
constexpr qint64 idleSilence = 1500;
constexpr qint64 trafficMemory = 2000;
constexpr qint64 absenceTime = 800; // from the first report of absence to the end
constexpr int absencesNeeded = 3;
constexpr qint64 longestSilence = 30000; // a slow question stops the other side's event loop
constexpr qint64 returnTime = 6000; // the other side's longest pause between tries to connect, and some
constexpr qint64 gapInterval = 50;
constexpr int firstPatience = 100;
constexpr int longestPatience = 2000;

// What waits that may not be refused. Who is so far behind takes nothing.
constexpr std::size_t mostFrames = 200000;

constexpr quint32 mostFlightFrames = 4096;
constexpr quint32 mostFlightBytes = 8 << 20;

} // namespace

GateSession::GateSession(quint64 &counter, const Limits &limits)
    : sessions(counter), ownLimits(limits), theirLimits(limits), currentState(Closed), mine(0), next(0), theirs(0),
      absentSince(0), patientUntil(0), opensSince(0), lastOpen(0)
{
    reset(0);
}

GateSession::~GateSession() = default;

GateSession::State GateSession::state() const
{
    return currentState;
}

quint32 GateSession::theirEpoch() const
{
    return gateEpochOf(theirs);
}

quint32 GateSession::largestMessage() const
{
    return std::min(ownLimits.message, theirLimits.message);
}

quint64 GateSession::session() const
{
    return mine;
}

bool GateSession::isBusy() const
{
    return currentState == Opening || !out.empty() || tellSoon || told != deliveredHere();
}

int GateSession::waitingPackets() const
{
    return outPackets;
}

bool GateSession::isRelieved() const
{
    return outPackets < backlogPackets / 2 && outBytes < backlogBytes / 2;
}

void GateSession::reset(qint64 now)
{
    out.clear();
    firstOut = nextToSend = 1;
    sentUpTo = theyReceived = 0;
    outBytes = flightBytes = 0;
    outPackets = 0;
    filledAt = 0;
    fillTime = progressTime = now;
    patience = firstPatience;
    recovering = false;
    receivedUpTo = 0;
    partial.clear();
    inMessage = false;
    pending.clear();
    early.clear();
    pendingBytes = earlyBytes = untoldBytes = 0;
    told = 0;
    tellSoon = gapTold = false;
    gapTime = now;
    heard = lastTraffic = lastSent = lastProbe = now;
    absentSince = 0;
    absences = 0;
}

void GateSession::open(qint64 now)
{
    currentState = Opening;
    mine = ++sessions;
    opensSince = lastOpen = now;
    sendOpen(mine, 0);
}

void GateSession::invite(qint64 now)
{
    if (now - lastOpen < invitationInterval)
        return;
    lastOpen = now;
    sendOpen(currentState == Open ? next : mine, 0);
}

void GateSession::take(const GateFrame &frame, qint64 now)
{
    if (currentState == Open && frame.from == theirs && frame.to == mine)
        takeInSession(frame, now);
    else if (frame.kind == GateFrame::Open)
        takeOpen(frame, now);
    else if (frame.kind != GateFrame::Close && !isLate(frame))
        invite(now); // the other side does not know that a session has ended
}

/** Returns whether a frame was sent before the other side went on to this session. */
bool GateSession::isLate(const GateFrame &frame) const
{
    return currentState == Open && gateEpochOf(frame.from) == theirEpoch() && frame.from < theirs;
}

void GateSession::takeOpen(const GateFrame &frame, qint64 now)
{
    if (frame.to == 0)
        sendOpen(currentState == Open && frame.from != theirs ? next : mine, frame.from);
    else if (frame.to == (currentState == Open ? next : mine))
        adopt(frame, now);
}

void GateSession::adopt(const GateFrame &frame, qint64 now)
{
    if (currentState == Open) {
        const quint64 number = next;
        end(QStringLiteral("began anew"));
        mine = number;
    }
    next = ++sessions;
    theirs = frame.from;
    const auto *const body = reinterpret_cast<const uchar *>(frame.body.constData());
    theirLimits.message = qFromBigEndian<quint32>(body);
    theirLimits.frames = std::clamp(qFromBigEndian<quint32>(body + 4), 1u, mostFlightFrames);
    theirLimits.bytes = std::min(qFromBigEndian<quint32>(body + 8), mostFlightBytes);
    reset(now);
    currentState = Open;
    sendOpen(mine, theirs);
    opened();
}

void GateSession::sendOpen(quint64 from, quint64 to)
{
    GateFrame frame;
    frame.kind = GateFrame::Open;
    frame.from = from;
    frame.to = to;
    frame.body.resize(12);
    auto *const body = reinterpret_cast<uchar *>(frame.body.data());
    qToBigEndian(ownLimits.message, body);
    qToBigEndian(ownLimits.frames, body + 4);
    qToBigEndian(ownLimits.bytes, body + 8);
    transmit(frame.toBytes(), false);
}

void GateSession::takeInSession(const GateFrame &frame, qint64 now)
{
    heard = now;
    absentSince = 0;
    absences = 0;
    if (frame.kind == GateFrame::Open)
        return;
    if (!takeAcknowledgement(frame, now))
        return unreadable();
    if (frame.kind == GateFrame::Close)
        return end(QStringLiteral("left"));
    if (frame.kind == GateFrame::Data)
        return takeData(frame, now);
    if (frame.flags() & GateFrame::Gap)
        takeGap(frame.number, now);
    if (frame.flags() & GateFrame::Answer)
        sendBeat(0, now);
}

bool GateSession::takeAcknowledgement(const GateFrame &frame, qint64 now)
{
    if (frame.received > sentUpTo || frame.delivered > frame.received)
        return false;
    if (frame.received > theyReceived) {
        theyReceived = frame.received;
        progressTime = now;
        patience = firstPatience;
        if (recovering || nextToSend <= theyReceived)
            rewind();
        recovering = false;
    }
    for (; firstOut <= frame.delivered; ++firstOut) {
        const Outgoing &first = out.front();
        outBytes -= first.body.size();
        flightBytes -= first.body.size();
        outPackets -= first.isPacket ? 1 : 0;
        out.pop_front();
        progressTime = now;
    }
    sendMore(now);
    return true;
}

/** Goes on with the frame behind those that they have. */
void GateSession::rewind()
{
    nextToSend = theyReceived + 1;
    flightBytes = 0;
    for (quint64 i = 0; firstOut + i < nextToSend; ++i)
        flightBytes += out[i].body.size();
}

/** Sends again what is missing in front of the frame that has come before its turn. */
void GateSession::takeGap(quint64 cameEarly, qint64 now)
{
    const quint64 missing = theyReceived + 1;
    if (missing > sentUpTo || (filledAt == missing && now - fillTime < gapInterval))
        return;
    filledAt = missing;
    fillTime = now;
    const quint64 end = std::min(std::max(cameEarly, missing + 1), nextToSend);
    for (quint64 number = missing; number < end && sendFrame(number, now); ++number) { }
}

void GateSession::takeData(const GateFrame &frame, qint64 now)
{
    lastTraffic = now;
    tellSoon = true;
    if (frame.number <= receivedUpTo)
        return;
    if (frame.number > receivedUpTo + 1) {
        keepEarly(frame);
        if (!gapTold || now - gapTime >= gapInterval)
            tellGap(frame.number, now);
        return;
    }
    acceptPart(frame.number, frame.body);
    while (currentState == Open && !early.empty() && early.begin()->first <= receivedUpTo + 1) {
        const auto [number, body] = *early.begin();
        earlyBytes -= body.size();
        early.erase(early.begin());
        acceptPart(number, body);
    }
    gapTold = false;
    if (currentState == Open && !early.empty())
        tellGap(early.begin()->first, now);
    tellIfDue(now);
}

void GateSession::keepEarly(const GateFrame &frame)
{
    if (frame.number > receivedUpTo + ownLimits.frames
        || earlyBytes + frame.body.size() > static_cast<qint64>(ownLimits.bytes))
        return;
    if (early.emplace(frame.number, frame.body).second)
        earlyBytes += frame.body.size();
}

void GateSession::tellGap(quint64 cameEarly, qint64 now)
{
    gapTold = true;
    gapTime = now;
    sendBeat(GateFrame::Gap, now, false, cameEarly);
}

/** On purpose without a word to who sends more than the window: it comes again. */
void GateSession::acceptPart(quint64 number, const QByteArray &body)
{
    if (number != receivedUpTo + 1 || pending.size() >= ownLimits.frames
        || pendingBytes > static_cast<qint64>(ownLimits.bytes))
        return;
    ++receivedUpTo;
    untoldBytes += body.size();
    takePart(body);
}

void GateSession::takePart(const QByteArray &body)
{
    const int flags = static_cast<unsigned char>(body.at(0));
    if (flags & GateFrame::First) {
        partial.clear();
        inMessage = true;
    }
    if (!inMessage || partial.size() + body.size() - 1 > static_cast<qint64>(ownLimits.message)) {
        inMessage = false;
        partial.clear();
        return unreadable();
    }
    if (flags == (GateFrame::First | GateFrame::Last))
        partial = body.mid(1);
    else
        partial.append(body.constData() + 1, body.size() - 1);
    if (!(flags & GateFrame::Last))
        return;
    inMessage = false;
    const QByteArray message = std::exchange(partial, QByteArray());
    const quint64 number = receivedUpTo;
    if (received(message, number))
        return;
    pending.push_back({number, static_cast<int>(message.size())});
    pendingBytes += message.size();
}

quint64 GateSession::deliveredHere() const
{
    return pending.empty() ? receivedUpTo : pending.front().number - 1;
}

void GateSession::setDelivered(quint64 number, qint64 now)
{
    while (!pending.empty() && pending.front().number <= number) {
        pendingBytes -= pending.front().bytes;
        pending.pop_front();
    }
    tellIfDue(now);
}

/** Acknowledges before the other side has to wait for it; the rest is left to tick(). */
void GateSession::tellIfDue(qint64 now)
{
    if (currentState == Open
        && (deliveredHere() - told >= ownLimits.frames / 4
            || (told != deliveredHere() && untoldBytes >= static_cast<qint64>(ownLimits.bytes / 4))))
        sendBeat(0, now);
}

GateFrame GateSession::makeFrame(GateFrame::Kind kind) const
{
    GateFrame frame;
    frame.kind = kind;
    frame.from = mine;
    frame.to = theirs;
    frame.received = receivedUpTo;
    frame.delivered = deliveredHere();
    return frame;
}

void GateSession::sendBeat(int flags, qint64 now, bool probe, quint64 number)
{
    GateFrame frame = makeFrame(GateFrame::Beat);
    frame.number = number;
    frame.body = QByteArray(1, static_cast<char>(flags));
    if (!transmit(frame.toBytes(), probe))
        return;
    lastSent = now;
    told = frame.delivered;
    untoldBytes = 0;
    tellSoon = false;
}

bool GateSession::sendFrame(quint64 number, qint64 now)
{
    GateFrame frame = makeFrame(GateFrame::Data);
    frame.number = number;
    frame.body = out[number - firstOut].body;
    if (!transmit(frame.toBytes(), false))
        return false;
    if (theyReceived == sentUpTo)
        progressTime = now;
    sentUpTo = std::max(sentUpTo, number);
    lastSent = lastTraffic = now;
    told = frame.delivered;
    untoldBytes = 0;
    tellSoon = false;
    return true;
}

void GateSession::sendMore(qint64 now)
{
    while (currentState == Open && nextToSend - firstOut < std::min<quint64>(out.size(), theirLimits.frames)) {
        const auto size = out[nextToSend - firstOut].body.size();
        if ((flightBytes > 0 && flightBytes + size > static_cast<qint64>(theirLimits.bytes))
            || !sendFrame(nextToSend, now))
            return;
        flightBytes += size;
        ++nextToSend;
    }
}

bool GateSession::queue(const QByteArray &message, bool isPacket, qint64 now)
{
    if (currentState != Open)
        return false;
    if (isPacket && outPackets > 0 && (outPackets >= backlogPackets || outBytes + message.size() > backlogBytes))
        return false;
    if (!isPacket && out.size() > mostFrames) {
        end(QStringLiteral("takes nothing"));
        return false;
    }
    int flags = GateFrame::First;
    for (int place = 0; !(flags & GateFrame::Last); place += partSize) {
        const bool last = message.size() - place <= partSize;
        flags |= last ? GateFrame::Last : 0;
        QByteArray body(1, static_cast<char>(flags));
        body.append(message.constData() + place, last ? static_cast<int>(message.size()) - place : partSize);
        outBytes += body.size();
        out.push_back({body, isPacket && last});
        flags &= ~GateFrame::First;
    }
    outPackets += isPacket ? 1 : 0;
    sendMore(now);
    return true;
}

void GateSession::takeAbsence(qint64 now)
{
    if (currentState != Open || now < patientUntil)
        return;
    if (absences++ == 0)
        absentSince = now;
}

void GateSession::linkIsUp(qint64 now)
{
    patientUntil = now + returnTime;
    heard = now;
    absences = 0;
    opensSince = now;
    patience = firstPatience;
}

void GateSession::tick(qint64 now)
{
    if (currentState == Opening) {
        if (now - opensSince > openTime) {
            currentState = Closed;
        } else if (now - lastOpen >= std::max(openInterval, lastOpen - opensSince)) { // twice as long each time
            lastOpen = now;
            sendOpen(mine, 0);
        }
        return;
    }
    if (currentState != Open)
        return;
    resend(now);
    sendMore(now);
    if (tellSoon || told != deliveredHere())
        sendBeat(0, now);
    watch(now);
}

void GateSession::resend(qint64 now)
{
    if (sentUpTo < firstOut || now - progressTime < patience)
        return;
    progressTime = now;
    patience = std::min(2 * patience, longestPatience);
    if (theyReceived == sentUpTo) // what is not delivered is on its way, or the acknowledgement got lost
        return sendBeat(GateFrame::Answer, now);
    recovering = true;
    sendFrame(theyReceived + 1, now);
}

void GateSession::watch(qint64 now)
{
    if (now - lastSent >= beatInterval)
        sendBeat(0, now);
    const bool traffic = !out.empty() || now - lastTraffic < trafficMemory;
    const qint64 silence = now - heard;
    if (silence >= (traffic ? busySilence : idleSilence) && now - lastProbe >= probeInterval) {
        lastProbe = now;
        sendBeat(GateFrame::Answer, now, true);
    }
    if (absences >= absencesNeeded && now - absentSince >= absenceTime)
        end(QStringLiteral("is gone"));
    else if (silence >= longestSilence && now >= patientUntil)
        end(QStringLiteral("is silent"));
}

void GateSession::close()
{
    if (currentState == Open)
        transmit(makeFrame(GateFrame::Close).toBytes(), false);
    currentState = Closed;
}

void GateSession::abort(const QString &reason)
{
    if (currentState != Open)
        return;
    transmit(makeFrame(GateFrame::Close).toBytes(), false);
    end(reason);
}

void GateSession::end(const QString &reason)
{
    const int lost = outPackets;
    currentState = Closed;
    reset(heard);
    ended(reason, lost);
}
