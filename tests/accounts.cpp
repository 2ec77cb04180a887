// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "accounts.h"

#include <standin/zqrecords.h>
#include <standin/zqstandin.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

std::atomic<long> blocks{0};

} // namespace

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define __SANITIZE_ADDRESS__
#endif
#endif
#if defined(__GLIBC__) && !defined(__SANITIZE_ADDRESS__)

#include <malloc.h>
#include <unistd.h>

#include <algorithm>
#include <mutex>

extern "C" {
void *__libc_malloc(std::size_t size);
void *__libc_calloc(std::size_t count, std::size_t size);
void *__libc_realloc(void *block, std::size_t size);
void *__libc_memalign(std::size_t alignment, std::size_t size);
void __libc_free(void *block);
}

namespace {

constexpr unsigned char fresh = 0xa5;
constexpr unsigned char gone = 0xdd;
constexpr std::size_t small = 1024;

std::mutex mutex;
void *kept[8192];
std::size_t oldest = 0;

[[noreturn]] void fail(const char *message)
{
    if (write(STDERR_FILENO, message, std::strlen(message)) < 0)
        std::_Exit(1);
    std::abort();
}

bool isAllGone(const void *block)
{
    const auto *const bytes = static_cast<const unsigned char *>(block);
    return std::all_of(bytes, bytes + malloc_usable_size(const_cast<void *>(block)),
                       [](unsigned char byte) { return byte == gone; });
}

void *counted(void *block)
{
    blocks += block ? 1 : 0;
    return block;
}

} // namespace

extern "C" void *malloc(std::size_t size)
{
    void *const block = counted(__libc_malloc(size));
    if (block)
        std::memset(block, fresh, std::min(size, small));
    return block;
}

extern "C" void *calloc(std::size_t count, std::size_t size)
{
    return counted(__libc_calloc(count, size));
}

extern "C" void *realloc(void *block, std::size_t size)
{
    blocks -= block ? 1 : 0;
    return counted(__libc_realloc(block, size));
}

extern "C" void *memalign(std::size_t alignment, std::size_t size)
{
    return counted(__libc_memalign(alignment, size));
}

extern "C" void *aligned_alloc(std::size_t alignment, std::size_t size)
{
    return memalign(alignment, size);
}

extern "C" int posix_memalign(void **block, std::size_t alignment, std::size_t size)
{
    *block = memalign(alignment, size);
    return *block ? 0 : ENOMEM;
}

extern "C" void free(void *block)
{
    if (!block)
        return;
    --blocks;
    const std::size_t size = malloc_usable_size(block);
    if (size > small)
        return __libc_free(block);
    if (isAllGone(block))
        fail("freed twice\n");
    std::memset(block, gone, size);
    const std::lock_guard<std::mutex> locked(mutex);
    std::swap(block, kept[oldest++ % std::size(kept)]);
    if (block && !isAllGone(block))
        fail("written to after it was freed\n");
    __libc_free(block);
}

#endif

int runWithAccounts(QObject &test, int argc, char **argv)
{
    int status = QTest::qExec(&test, argc, argv);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    long left = 0;
    // Where others keep the accounts nothing is counted.
    for (int more = blocks > 0 ? 4 : 0; status == 0 && more > 0; more = left > 0 ? more - 1 : 0) {
        const long before = blocks;
        status = QTest::qExec(&test, QCoreApplication::arguments() << QStringLiteral("-silent"));
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        left = blocks - before;
    }
    if (left <= 0 && ZQLiveRecords() == 0 && ZQLiveConverters() == 0)
        return status;
    std::fprintf(stderr, "%s: left over: %ld blocks in the last run, %u records, %u converters\n", argv[0], left,
                 ZQLiveRecords(), ZQLiveConverters());
    return 1;
}
