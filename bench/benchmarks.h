// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#ifndef BENCH_BENCHMARKS_H
#define BENCH_BENCHMARKS_H

#include "account.h"

#include <benchmark/benchmark.h>
#include <valgrind/callgrind.h>

#include <memory>
#include <string>

/**
 * \file
 * The benchmarks are named "path/form/size": what is done; by whom (ours, the floor, the plain form, a peer); on how
 * much. table.py reads the names. Each form of a path is checked to give what the others give before it is timed.
 */

/** Ends the program with a line that names \a what unless \a right. */
void require(bool right, const std::string &what);

/** Returns true when instructions are counted, not times: by callgrind, which makes everything slow. */
inline bool isCounting()
{
    return RUNNING_ON_VALGRIND != 0;
}

/** How much a benchmark does at once: what is large is counted over one iteration only. */
enum class Load { Small, Large };

/**
 * Adds a benchmark that does what \a prepare returns, which is called with the state before each repetition. When
 * counting, the iterations are fixed, and their counts are dumped under \a name and their number.
 */
template <typename Prepare>
benchmark::internal::Benchmark *addRun(const std::string &name, Load load, Prepare prepare)
{
    const int iterations = load == Load::Large ? 1 : 10;
    const std::string title = name + ' ' + std::to_string(iterations);
    benchmark::internal::Benchmark *const added =
        benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State &state) {
            auto run = prepare(state);
            if (!isCounting()) {
                for (auto _ : state)
                    run();
                return;
            }
            for (auto _ : state) {
                CALLGRIND_ZERO_STATS;
                for (int i = 0; i < iterations; ++i)
                    run();
                CALLGRIND_DUMP_STATS_AT(title.c_str());
            }
        });
    if (isCounting())
        added->Iterations(1);
    return added;
}

/**
 * Adds a benchmark. \a prepare is called with its state before each repetition and returns what is timed: a callable
 * whose result is destroyed within the time. One more call, not timed, gives the counters "allocations" and
 * "live_bytes", of which the latter is what the result holds.
 */
template <typename Prepare>
benchmark::internal::Benchmark *add(const std::string &name, Prepare prepare, Load load = Load::Small)
{
    return addRun(name, load, [prepare](benchmark::State &state) {
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
        return [call]() mutable {
            auto result = call();
            benchmark::DoNotOptimize(result);
        };
    });
}

/** Adds a benchmark of the end of what \a make returns. */
template <typename Make>
void addEnd(const std::string &name, Make make)
{
    addRun(name, Load::Small, [make](benchmark::State &state) {
        make();
        return [make, &state] {
            CALLGRIND_TOGGLE_COLLECT;
            state.PauseTiming();
            auto made = std::make_unique<decltype(make())>(make());
            state.ResumeTiming();
            CALLGRIND_TOGGLE_COLLECT;
            made.reset();
        };
    });
}

void addConversions(); ///< Records to XML, and XML to record text.
void addPackets(); ///< Comparing packets.
void addRouting(); ///< Sending and delivering packets.
void addObjects(); ///< Properties, and constructing an object.
void addWire(); ///< Packets to the wire form and back.
void addAsking(); ///< A request and its reply, and reading a record by names.
void addPages(); ///< The longest turn of the event loop while records come in pages.
void addTracing(); ///< Recording traffic, and what traces become.
void addRoad(); ///< A request for a thousand jobs, from its sending to the rebuilt records.

#endif
