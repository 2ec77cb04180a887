// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef TOOLS_PACKETINPUT_H
#define TOOLS_PACKETINPUT_H

#include <QByteArray>
#include <QString>

#include <vector>

/** A packet of an input. */
struct InputPacket {
    QString place; ///< "file, packet 2"
    QByteArray wire; ///< its wire form
    bool isPrinted; ///< it was read as printed
    bool isCanonical; ///< it was in the wire form byte for byte
};

using InputPackets = std::vector<InputPacket>;

/**
 * Reads all packets of \a file, "-" for standard input. One is taken for printed when a line feed follows its first tag
 * or a line "-- title --" stands before it. Returns false with a line for people in \a error when one cannot be read,
 * or there is none.
 */
bool readPackets(const QString &file, InputPackets &packets, QString *error);

#endif
