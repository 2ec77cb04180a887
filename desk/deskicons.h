// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef DESK_DESKICONS_H
#define DESK_DESKICONS_H

#include <QIcon>

class QPalette;

/** Stands for what a tool bar has no room for. */
constexpr int moreIcon = -1;

/** Returns moreIcon or the icon of a DeskAgent::ActionType in the colours of \a palette, sharp at any scale. */
QIcon deskIcon(int type, const QPalette &palette);

#endif
