/// A count in a file, which another program may read at any moment.
#pragma once

#include <cstdint>
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

/// Makes the file when there is none. Null when it cannot be mapped.
inline volatile std::uint64_t *mapCounter(const char *file)
{
    const int descriptor = ::open(file, O_RDWR | O_CREAT, 0644);
    if (descriptor < 0 || ::ftruncate(descriptor, sizeof(std::uint64_t)) != 0)
        return nullptr;
    void *const memory = ::mmap(nullptr, sizeof(std::uint64_t), PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0);
    return memory != MAP_FAILED ? static_cast<volatile std::uint64_t *>(memory) : nullptr;
}
