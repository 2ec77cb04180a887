// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "tracering_p.h"

#include <algorithm>
#include <cstring>

void XMLTraceRing::append(const QByteArray &line)
{
    const qsizetype size = bytes.size();
    if (line.size() > size)
        return;
    while (size - used < line.size()) {
        // The oldest line ends before the end of the bytes, or goes on at their beginning.
        qsizetype end = bytes.indexOf('\n', static_cast<int>(first));
        const qsizetype length =
            end >= 0 && end - first < used ? end - first + 1 : size - first + bytes.indexOf('\n') + 1;
        first = (first + length) % size;
        used -= length;
    }
    const qsizetype at = (first + used) % size;
    const qsizetype before = std::min<qsizetype>(line.size(), size - at);
    char *const data = bytes.data();
    std::memcpy(data + at, line.constData(), static_cast<std::size_t>(before));
    std::memcpy(data, line.constData() + before, static_cast<std::size_t>(line.size() - before));
    used += line.size();
}

QByteArray XMLTraceRing::lines() const
{
    const auto atEnd = static_cast<int>(std::min(used, bytes.size() - first));
    return bytes.mid(static_cast<int>(first), atEnd) + bytes.left(static_cast<int>(used) - atEnd);
}
