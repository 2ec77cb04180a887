// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "drivers.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QByteArray input(reinterpret_cast<const char *>(data), static_cast<int>(size));
    const QString difference = drivers::ALL[ZQXML_FUZZ_DRIVER].run(input);
    if (!difference.isEmpty()) {
        std::fprintf(stderr, "%s: %s\n", drivers::ALL[ZQXML_FUZZ_DRIVER].name, difference.toUtf8().constData());
        std::abort();
    }
    return 0;
}

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t *data, std::size_t size, std::size_t maximum);

/** Now and then goes on from a random input that is well formed, which changes of bytes rarely lead to. */
extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t *data, std::size_t size, std::size_t maximum,
                                               unsigned int seed)
{
    if (seed % 32 != 0)
        return LLVMFuzzerMutate(data, size, maximum);
    const QByteArray example = drivers::ALL[ZQXML_FUZZ_DRIVER].example(seed / 32);
    const std::size_t kept = std::min(static_cast<std::size_t>(example.size()), maximum);
    std::copy_n(example.constData(), kept, data);
    return kept;
}
