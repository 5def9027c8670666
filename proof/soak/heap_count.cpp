// Takes the place of the C library's functions in the whole process, its libraries included, and counts.
#include "heap_count.h"

#include <atomic>
#include <cerrno>
#include <cstddef>

extern "C" {
void *__libc_malloc(std::size_t size);
void *__libc_calloc(std::size_t count, std::size_t size);
void *__libc_realloc(void *block, std::size_t size);
void *__libc_memalign(std::size_t alignment, std::size_t size);
void __libc_free(void *block);
}

namespace {

std::atomic<long long> live{0};
std::atomic<long long> taken{0};

void *counted(void *block)
{
    taken.fetch_add(1, std::memory_order_relaxed);
    live.fetch_add(block != nullptr, std::memory_order_relaxed);
    return block;
}

} // namespace

long long liveHeapBlocks()
{
    return live.load(std::memory_order_relaxed);
}

long long heapBlocksTaken()
{
    return taken.load(std::memory_order_relaxed);
}

extern "C" {

void *malloc(std::size_t size)
{
    return counted(__libc_malloc(size));
}

void *calloc(std::size_t count, std::size_t size)
{
    return counted(__libc_calloc(count, size));
}

void *realloc(void *block, std::size_t size)
{
    if (block == nullptr)
        return malloc(size);
    taken.fetch_add(1, std::memory_order_relaxed);
    void *const moved = __libc_realloc(block, size);
    // A size of 0 frees.
    if (moved == nullptr && size == 0)
        live.fetch_sub(1, std::memory_order_relaxed);
    return moved;
}

void *memalign(std::size_t alignment, std::size_t size)
{
    return counted(__libc_memalign(alignment, size));
}

void *aligned_alloc(std::size_t alignment, std::size_t size)
{
    return memalign(alignment, size);
}

int posix_memalign(void **block, std::size_t alignment, std::size_t size)
{
    *block = memalign(alignment, size);
    return *block != nullptr ? 0 : ENOMEM;
}

void free(void *block)
{
    live.fetch_sub(block != nullptr, std::memory_order_relaxed);
    __libc_free(block);
}
}
