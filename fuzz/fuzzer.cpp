// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "drivers.h"

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
