// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "benchmarks.h"

#include <QCoreApplication>

#include <malloc.h>

#include <cstdio>
#include <cstdlib>

void require(bool right, const std::string &what)
{
    if (right)
        return;
    std::fprintf(stderr, "zqxml-benchmark: %s\n", what.c_str());
    std::exit(1);
}

int main(int argc, char **argv)
{
    // The heap keeps what it has: giving pages back and taking them again would be most of what large trees cost, and
    // would hang on what ran before.
    mallopt(M_TRIM_THRESHOLD, -1);
    mallopt(M_MMAP_MAX, 0);
    mallopt(M_TOP_PAD, 64 << 20);

    const QCoreApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::AddCustomContext("qt", qVersion());
    addConversions();
    addPackets();
    addRouting();
    addObjects();
    addWire();
    addAsking();
    addPages();
    addTracing();
    addRoad();
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
