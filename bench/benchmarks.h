// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef BENCH_BENCHMARKS_H
#define BENCH_BENCHMARKS_H

#include "account.h"

#include <benchmark/benchmark.h>
#include <valgrind/callgrind.h>

#include <string>

/**
 * \file
 * The benchmarks are named "path/form/size": what is done; by whom (ours, the floor, the plain form, a peer); on how
 * much. table.py reads the names. Each form of a path is checked to give what the others give before it is timed.
 */

/** Ends the program with a line that names \a what unless \a right. */
void require(bool right, const std::string &what);

/**
 * Adds a benchmark. \a prepare is called with its state before each repetition and returns what is timed: a callable
 * whose result is destroyed within the time. One more call, not timed, gives the counters "allocations" and
 * "live_bytes", of which the latter is what the result holds.
 *
 * Under callgrind the iterations are fixed, and each benchmark dumps its own counts under its name.
 */
template <typename Prepare>
benchmark::internal::Benchmark *add(const std::string &name, Prepare prepare)
{
    benchmark::internal::Benchmark *const added =
        benchmark::RegisterBenchmark(name.c_str(), [name, prepare](benchmark::State &state) {
            auto call = prepare(state);
            {
                const Account account;
                auto result = call();
                benchmark::DoNotOptimize(result);
                const double allocations = account.allocations();
                const double liveBytes = account.liveBytes();
                state.counters["allocations"] = allocations;
                state.counters["live_bytes"] = liveBytes;
            }
            CALLGRIND_ZERO_STATS;
            for (auto _ : state) {
                auto result = call();
                benchmark::DoNotOptimize(result);
            }
            CALLGRIND_DUMP_STATS_AT(name.c_str());
        });
    if (RUNNING_ON_VALGRIND)
        added->Iterations(10);
    return added;
}

void addConversions(); ///< Records to XML, and XML to record text.
void addPackets(); ///< Comparing packets.
void addRouting(); ///< Sending and delivering packets.
void addObjects(); ///< Properties, and constructing an object.
void addRoad(); ///< A request for a thousand jobs, from its sending to the rebuilt records.

#endif
