// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "watchdog_p.h"

#include <sys/socket.h>

Watchdog::~Watchdog()
{
    if (!thread.joinable())
        return;
    {
        const std::lock_guard<std::mutex> lock(mutex);
        over = true;
    }
    changed.notify_one();
    thread.join();
}

void Watchdog::watch(int socket, std::chrono::milliseconds limit)
{
    const std::lock_guard<std::mutex> lock(mutex);
    watched = socket;
    allowed = limit;
    deadline = Clock::now() + limit;
    cut = false;
    if (socket < 0)
        return;
    if (!thread.joinable())
        thread = std::thread([this] { run(); });
    changed.notify_one();
}

Watchdog::Wait::Wait(Watchdog &keeper) : watchdog(keeper)
{
    const std::lock_guard<std::mutex> lock(watchdog.mutex);
    watchdog.waiting = true;
    watchdog.deadline = Clock::now() + watchdog.allowed;
    watchdog.changed.notify_one();
}

Watchdog::Wait::~Wait()
{
    const std::lock_guard<std::mutex> lock(watchdog.mutex);
    watchdog.waiting = false;
}

void Watchdog::hear()
{
    const std::lock_guard<std::mutex> lock(mutex);
    deadline = Clock::now() + allowed;
}

bool Watchdog::hasCut()
{
    const std::lock_guard<std::mutex> lock(mutex);
    return cut;
}

void Watchdog::run()
{
    std::unique_lock<std::mutex> lock(mutex);
    while (!over) {
        if (!waiting || watched < 0) {
            changed.wait(lock);
        } else if (Clock::now() < deadline) {
            changed.wait_until(lock, deadline);
        } else {
            ::shutdown(watched, SHUT_RDWR); // what waits for the socket reads its end
            watched = -1;
            cut = true;
        }
    }
}
