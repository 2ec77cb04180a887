// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "progress.h"

#include <cstdio>
#include <unistd.h>

Progress::Progress() : watched(::isatty(STDERR_FILENO) != 0), inTheWay(::isatty(STDOUT_FILENO) != 0)
{
    timer.start();
}

Progress::~Progress()
{
    clear();
}

bool Progress::isDue() const
{
    return watched && timer.elapsed() >= next;
}

void Progress::show(const QString &text)
{
    if (!isDue())
        return;
    std::fprintf(stderr, "\r%s\033[K", text.toUtf8().constData());
    shown = true;
    next = timer.elapsed() + 100;
}

void Progress::clear()
{
    if (shown)
        std::fputs("\r\033[K", stderr);
    shown = false;
}

void Progress::makeRoom()
{
    if (inTheWay)
        clear();
}
