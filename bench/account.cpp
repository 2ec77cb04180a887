// SPDX-FileCopyrightText: 2026 The zqxml developers
// SPDX-License-Identifier: MIT

#include "account.h"

#include <malloc.h>

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdint>

namespace {

std::atomic<bool> open{false};
std::atomic<std::int64_t> blocks{0};
std::atomic<std::int64_t> bytes{0};

void *taken(void *block)
{
    if (open.load(std::memory_order_relaxed) && block) {
        ++blocks;
        bytes += static_cast<std::int64_t>(malloc_usable_size(block));
    }
    return block;
}

void given(void *block)
{
    if (open.load(std::memory_order_relaxed) && block)
        bytes -= static_cast<std::int64_t>(malloc_usable_size(block));
}

} // namespace

extern "C" {

void *__libc_malloc(std::size_t size);
void *__libc_calloc(std::size_t count, std::size_t size);
void *__libc_realloc(void *block, std::size_t size);
void *__libc_memalign(std::size_t alignment, std::size_t size);
void __libc_free(void *block);

void *malloc(std::size_t size) noexcept
{
    return taken(__libc_malloc(size));
}

void *calloc(std::size_t count, std::size_t size) noexcept
{
    return taken(__libc_calloc(count, size));
}

void *realloc(void *block, std::size_t size) noexcept
{
    given(block);
    return taken(__libc_realloc(block, size));
}

void *memalign(std::size_t alignment, std::size_t size) noexcept
{
    return taken(__libc_memalign(alignment, size));
}

void *aligned_alloc(std::size_t alignment, std::size_t size) noexcept
{
    return taken(__libc_memalign(alignment, size));
}

int posix_memalign(void **block, std::size_t alignment, std::size_t size) noexcept
{
    *block = taken(__libc_memalign(alignment, size));
    return *block ? 0 : ENOMEM;
}

void free(void *block) noexcept
{
    given(block);
    __libc_free(block);
}

} // extern "C"

Account::Account()
{
    blocks = 0;
    bytes = 0;
    open = true;
}

Account::~Account()
{
    open = false;
}

double Account::allocations() const
{
    return static_cast<double>(blocks.load());
}

double Account::liveBytes() const
{
    return static_cast<double>(bytes.load());
}
