// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "gateframe_p.h"

#include <QtEndian>

namespace {

// The shortest and the longest body of each kind; of data the longest is what the transport takes.
struct {
    int shortest;
    int longest;
} const bodySizes[] = {{1, 0}, {1, 1}, {12, 12}, {1, 1}, {1, 1 << 26}, {0, 0}};

} // namespace

GateFrame::Result GateFrame::read(const QByteArray &bytes, GateFrame &frame, int *otherVersion)
{
    if (bytes.size() < 3 || !bytes.startsWith("ZQ"))
        return Unreadable;
    const auto *const data = reinterpret_cast<const uchar *>(bytes.constData());
    if (data[2] != version) {
        if (otherVersion)
            *otherVersion = data[2];
        return OtherVersion;
    }
    if (bytes.size() < headerSize || data[3] < Announce || data[3] > Close)
        return Unreadable;
    frame.kind = static_cast<Kind>(data[3]);
    quint64 *const fields[] = {&frame.from, &frame.to, &frame.number, &frame.received, &frame.delivered};
    const uchar *place = data + 4;
    for (quint64 *const field : fields) {
        *field = qFromBigEndian<quint64>(place);
        place += sizeof(quint64);
    }
    frame.body = bytes.mid(headerSize);
    const auto &sizes = bodySizes[frame.kind];
    if (frame.from == 0 || frame.body.size() < sizes.shortest || frame.body.size() > sizes.longest)
        return Unreadable;
    return Readable;
}

QByteArray GateFrame::toBytes() const
{
    QByteArray bytes;
    bytes.reserve(headerSize + body.size());
    bytes.append("ZQ", 2).append(static_cast<char>(version)).append(static_cast<char>(kind));
    bytes.resize(headerSize);
    auto *place = reinterpret_cast<uchar *>(bytes.data()) + 4;
    for (const quint64 field : {from, to, number, received, delivered}) {
        qToBigEndian(field, place);
        place += sizeof(quint64);
    }
    return bytes.append(body);
}

quint8 GateFrame::flags() const
{
    return static_cast<quint8>(body.at(0));
}
