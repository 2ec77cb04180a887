// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef STANDIN_WATCHDOG_P_H
#define STANDIN_WATCHDOG_P_H

#include <QtGlobal>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

/**
 * Cuts the connection to a server that is waited for and says nothing. A server process that lives and does not go on,
 * stopped by a signal say, keeps none of its own time-outs, and the network finds nothing wrong with it.
 */
class Watchdog
{
public:
    Watchdog() = default;
    ~Watchdog();
    Q_DISABLE_COPY(Watchdog)

    /** From now on watches \a socket, which may be silent for \a limit; -1 for none, before a socket is closed. */
    void watch(int socket, std::chrono::milliseconds limit = {});

    /** While it exists, the server is waited for. */
    class Wait
    {
    public:
        explicit Wait(Watchdog &keeper);
        ~Wait();
        Q_DISABLE_COPY(Wait)

    private:
        Watchdog &watchdog;
    };

    /** The server has said something. */
    void hear();

    /** Returns whether the connection had to be cut. */
    bool hasCut();

private:
    using Clock = std::chrono::steady_clock;

    void run();

    std::thread thread; ///< where there is something to watch
    std::mutex mutex; ///< of all that follows
    std::condition_variable changed;
    std::chrono::milliseconds allowed{};
    Clock::time_point deadline;
    int watched = -1;
    bool waiting = false;
    bool cut = false;
    bool over = false;
};

#endif
