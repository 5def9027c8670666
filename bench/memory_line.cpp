#include "bench/memory_line.h"

#include "bench/driver_rig.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sys/ioctl.h>
#include <sys/select.h>
#include <termios.h>
#include <unistd.h>

namespace {

enum { LineDescriptor = 1000 }; // no open file's; a descriptor set takes up to 1023

QByteArray prepared;
const char *unread = nullptr;

} // namespace

extern "C" {

ssize_t __read(int descriptor, void *bytes, size_t size);
ssize_t __write(int descriptor, const void *bytes, size_t size);
int __select(int count, fd_set *reading, fd_set *writing, fd_set *failing, timeval *time);

ssize_t write(int descriptor, const void *bytes, size_t size)
{
    if (descriptor != LineDescriptor)
        return __write(descriptor, bytes, size);
    unread = prepared.constData();
    return ssize_t(size);
}

ssize_t read(int descriptor, void *bytes, size_t size)
{
    if (descriptor != LineDescriptor)
        return __read(descriptor, bytes, size);
    std::memcpy(bytes, unread, size);
    unread += size;
    return ssize_t(size);
}

int select(int count, fd_set *reading, fd_set *writing, fd_set *failing, timeval *time)
{
    return count == LineDescriptor + 1 ? 1 : __select(count, reading, writing, failing, time);
}

int tcflush(int descriptor, int queue)
{
    return descriptor == LineDescriptor ? 0 : ::ioctl(descriptor, TCFLSH, queue);
}

} // extern "C"

MemoryMaster::MemoryMaster(int registers)
    : m_context(modbus_new_rtu("in memory", 115200, 'N', 8, 1)), m_registers(registers)
{
    prepared = replyOf(registers);
    if (m_context == nullptr || modbus_set_slave(m_context, 1) != 0
        || modbus_set_socket(m_context, LineDescriptor) != 0) {
        std::fprintf(stderr, "bench: libmodbus: %s\n", modbus_strerror(errno));
        std::exit(1);
    }
}

MemoryMaster::~MemoryMaster()
{
    modbus_free(m_context);
}

void MemoryMaster::fullPass()
{
    for (int i = 0; i < Blocks; ++i)
        transaction();
    bool isRight = m_bad == 0;
    for (int i = 0; i < m_registers; ++i)
        isRight = isRight && m_words[i] == (unsigned(2 * i) << 8 & 0xFF00) + (unsigned(2 * i + 1) & 0xFF);
    if (!isRight) {
        std::fprintf(stderr, "bench: libmodbus did not read what was sent\n");
        std::exit(1);
    }
}
