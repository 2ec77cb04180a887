// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef BENCH_ACCOUNT_H
#define BENCH_ACCOUNT_H

/**
 * Counts what is allocated while it lives, by every library of the process on every thread that malloc() serves. One at
 * a time. The program brings its own malloc() for this, a thin one around the C library's; while no account is open it
 * adds one test to each call, in all that is compared alike.
 */
class Account
{
public:
    Account();
    ~Account();
    Account(const Account &) = delete;
    Account &operator=(const Account &) = delete;

    double allocations() const; ///< Returns how many blocks were allocated or moved.
    double liveBytes() const; ///< Returns the bytes of the blocks allocated less those of the blocks freed.
};

#endif
