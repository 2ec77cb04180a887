// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef ZQXMLVIEW_SHOWNICON_P_H
#define ZQXMLVIEW_SHOWNICON_P_H

#include <QIcon>
#include <QString>

/**
 * Returns the picture at \a location: a local file, by its path or as a "file" URL, a resource of the program, or a
 * "data" URL in base64. A null icon for what is elsewhere, larger than 16 MiB, or no picture.
 */
QIcon toIcon(const QString &location);

#endif
