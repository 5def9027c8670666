#include "bench/driver_rig.h"
#include "bench/pty_masters.h"

#include <cstdio>
#include <fcntl.h>
#include <modbus/modbus.h>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

namespace {

enum { ReplyTimeout = 1000 }; // milliseconds

int complain(const char *what)
{
    std::perror(what);
    return 1;
}

} // namespace

int openRaw(const char *device)
{
    const int descriptor = ::open(device, O_RDWR | O_NOCTTY);
    termios mode;
    if (descriptor < 0 || ::tcgetattr(descriptor, &mode) != 0)
        return -1;
    ::cfmakeraw(&mode);
    return ::tcsetattr(descriptor, TCSANOW, &mode) == 0 ? descriptor : -1;
}

int masterRaw(const char *device, int registers)
{
    const int line = openRaw(device);
    const unsigned char request[] = {1, 3, 0, 0, 0, static_cast<unsigned char>(registers), 0, 0};
    const int length = 2 * registers + 5;
    unsigned char reply[256];
    while (::write(line, request, sizeof request) == sizeof request) {
        for (int got = 0; got < length;) {
            const ssize_t count = ::read(line, reply + got, sizeof reply - size_t(got));
            if (count <= 0)
                return complain("raw: read");
            got += int(count);
        }
    }
    return complain("raw: write");
}

int masterDriver(const char *device, int registers)
{
    DriverRig rig(Storage::Image, PtyBlocks, registers);
    const int line = openRaw(device);
    QByteArray reply(256, '\0');
    for (;;) {
        const Protocol &request = *rig.driver().comCommunication();
        if (::write(line, request.frame.constData(), size_t(request.frameLen)) != request.frameLen)
            return complain("driver: write");
        int got = 0;
        while (got < request.replyLen) {
            pollfd entry = {line, POLLIN, 0};
            if (::poll(&entry, 1, ReplyTimeout) != 1)
                return complain("driver: poll");
            const ssize_t count = ::read(line, reply.data() + got, size_t(reply.size() - got));
            if (count <= 0)
                return complain("driver: read");
            got += int(count);
        }
        if (rig.driver().dataCom(&reply, got)->resultCode != 1)
            return complain("driver: a reply that is not good");
    }
}

int masterLibmodbus(const char *device, int registers)
{
    modbus_t *const context = modbus_new_rtu(device, 115200, 'N', 8, 1);
    if (context == nullptr || modbus_set_slave(context, 1) != 0 || modbus_connect(context) != 0)
        return complain("libmodbus: connect");
    uint16_t words[MODBUS_MAX_READ_REGISTERS];
    for (int block = 0;; block = (block + 1) % PtyBlocks)
        if (modbus_read_registers(context, block * registers, registers, words) != registers)
            return complain(modbus_strerror(errno));
}
