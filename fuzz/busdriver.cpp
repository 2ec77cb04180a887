// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "drivers.h"

#include "../zqxmlgate/gatesession_p.h"

#include <QRandomGenerator>

#include <algorithm>
#include <vector>

namespace {

/** One side of a session; what it sends waits until the driver carries it. */
class Side : public GateSession
{
public:
    explicit Side(quint64 epoch) : GateSession(counter, {1000, 8, 2000}), counter(epoch << 32) { }

    bool transmit(const QByteArray &frame, bool) override
    {
        sent.push_back(frame);
        return true;
    }

    void opened() override
    {
        got.clear();
    }

    bool received(const QByteArray &message, quint64 number) override
    {
        got.push_back(message);
        last = number;
        return message.size() % 2 == 0;
    }

    void unreadable() override
    {
        ++unreadables;
    }

    void ended(const QString &, int) override
    {
        ++ends;
        got.clear();
    }

    quint64 counter;
    std::vector<QByteArray> sent;
    std::vector<QByteArray> got;
    quint64 last = 0;
    int unreadables = 0;
    int ends = 0;
};

void carry(const QByteArray &bytes, Side &to, qint64 now)
{
    GateFrame frame;
    if (GateFrame::read(bytes, frame) != GateFrame::Readable || frame.kind == GateFrame::Announce)
        return;
    if (to.state() == GateSession::Closed)
        to.open(now);
    to.take(frame, now);
}

} // namespace

/**
 * Each byte, with those behind it, is a step: frames are carried, lost, doubled and come late, time passes, messages
 * are sent. As long as no session ends, what comes is the beginning of what was sent. A byte from 240 on sends the rest
 * of the input as a frame from nowhere.
 */
QString drivers::busFrames(const QByteArray &input)
{
    Side sides[] = {Side(1), Side(2)};
    std::vector<QByteArray> messages[2];
    qint64 now = 0;
    sides[0].open(now);
    bool forged = false;
    for (int i = 0; i < input.size(); ++i) {
        const int step = static_cast<unsigned char>(input.at(i));
        Side &from = sides[step & 1];
        Side &to = sides[1 - (step & 1)];
        const std::size_t which = from.sent.empty() ? 0 : static_cast<std::size_t>(step >> 4) % from.sent.size();
        switch (step >= 240 ? 7 : (step >> 1) % 7) {
        case 0: // carry the oldest
        case 1: // carry any
            if (!from.sent.empty()) {
                const auto place = from.sent.begin() + ((step >> 1) % 7 == 0 ? 0 : static_cast<std::ptrdiff_t>(which));
                const QByteArray frame = *place;
                from.sent.erase(place);
                carry(frame, to, now);
            }
            break;
        case 2: // twice
            if (!from.sent.empty())
                carry(QByteArray(from.sent[which]), to, now);
            break;
        case 3: // lost
            if (!from.sent.empty())
                from.sent.erase(from.sent.begin() + static_cast<std::ptrdiff_t>(which));
            break;
        case 4:
            now += step;
            for (Side &side : sides)
                side.tick(now);
            break;
        case 5: {
            const QByteArray message(step % 50, static_cast<char>(messages[step & 1].size()));
            if (from.queue(message, true, now))
                messages[step & 1].push_back(message);
            break;
        }
        case 6:
            from.setDelivered(from.last, now);
            break;
        default:
            forged = true;
            carry(input.mid(i + 1), to, now);
        }
        for (const int side : {0, 1}) {
            if (forged || sides[0].ends + sides[1].ends > 0)
                continue;
            if (sides[side].unreadables > 0)
                return QStringLiteral("step %1: a frame of the other side is unreadable").arg(i);
            const auto &got = sides[side].got;
            const auto &expected = messages[1 - side];
            if (got.size() > expected.size() || !std::equal(got.begin(), got.end(), expected.begin()))
                return QStringLiteral("step %1: side %2 got something else than was sent").arg(i).arg(side);
        }
    }
    return QString();
}

QByteArray drivers::busExample(quint32 seed)
{
    QRandomGenerator random(seed);
    QByteArray steps;
    for (int more = random.bounded(400); more > 0; --more)
        steps += static_cast<char>(random.bounded(seed % 4 == 0 ? 250 : 240));
    GateFrame frame;
    frame.kind = static_cast<GateFrame::Kind>(1 + random.bounded(5));
    frame.from = (quint64(1 + random.bounded(2)) << 32) + static_cast<quint64>(random.bounded(3));
    frame.to = (quint64(1 + random.bounded(2)) << 32) + static_cast<quint64>(random.bounded(3));
    frame.number = static_cast<quint64>(random.bounded(9));
    frame.received = static_cast<quint64>(random.bounded(9));
    frame.delivered = static_cast<quint64>(random.bounded(9));
    frame.body = QByteArray(frame.kind == GateFrame::Open ? 12 : 1, '\3');
    return seed % 4 == 0 ? steps + '\xff' + frame.toBytes() : steps;
}
