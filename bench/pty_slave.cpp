/// The PLC of every measurement over a pseudo-terminal: answers a read of coils or registers at once and does nothing
/// else, so that what is measured is the master.
///     pty_slave LINK COUNT_FILE     the terminal appears as LINK; the file holds the number of answers, as 64 bits
#include "bench/answer_counter.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <termios.h>

namespace {

enum { RequestLength = 8, Framing = 5, LongestReply = 256 };

/// The answer to the last request, kept: masters ask for the same number again and again.
struct Reply {
    unsigned char bytes[LongestReply];
    int length;
};

void appendCrc(Reply &reply)
{
    unsigned crc = 0xFFFF;
    for (int i = 0; i < reply.length; ++i) {
        crc ^= reply.bytes[i];
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc & 1) != 0 ? crc >> 1 ^ 0xA001 : crc >> 1;
    }
    reply.bytes[reply.length++] = static_cast<unsigned char>(crc);
    reply.bytes[reply.length++] = static_cast<unsigned char>(crc >> 8);
}

void makeReply(Reply &reply, const unsigned char *request)
{
    const int quantity = request[4] << 8 | request[5];
    const int bytes = request[1] == 3 ? 2 * quantity : (quantity + 7) / 8;
    if ((request[1] != 1 && request[1] != 3) || bytes < 1 || bytes > LongestReply - Framing) {
        std::fprintf(stderr, "pty_slave: a request that it does not know\n");
        std::exit(1);
    }
    reply.bytes[0] = request[0];
    reply.bytes[1] = request[1];
    reply.bytes[2] = static_cast<unsigned char>(bytes);
    for (int i = 0; i < bytes; ++i)
        reply.bytes[3 + i] = static_cast<unsigned char>(i);
    reply.length = 3 + bytes;
    appendCrc(reply);
}

/// A new terminal in raw mode; its other end stays open here, or reading would fail while no master is there.
int openTerminal(const char *link)
{
    const int descriptor = ::posix_openpt(O_RDWR | O_NOCTTY);
    if (descriptor < 0 || ::grantpt(descriptor) != 0 || ::unlockpt(descriptor) != 0)
        return -1;
    const char *const name = ::ptsname(descriptor);
    const int other = name != nullptr ? ::open(name, O_RDWR | O_NOCTTY) : -1;
    termios mode;
    if (other < 0 || ::tcgetattr(other, &mode) != 0)
        return -1;
    ::cfmakeraw(&mode);
    ::unlink(link);
    return ::tcsetattr(other, TCSANOW, &mode) == 0 && ::symlink(name, link) == 0 ? descriptor : -1;
}

} // namespace

int main(int argc, char **argv)
{
    volatile std::uint64_t *const answers = argc == 3 ? mapCounter(argv[2]) : nullptr;
    const int line = answers != nullptr ? openTerminal(argv[1]) : -1;
    if (line < 0) {
        std::perror("usage: pty_slave LINK COUNT_FILE");
        return 1;
    }
    unsigned char request[RequestLength], known[RequestLength] = {0};
    Reply reply;
    int length = 0;
    for (;;) {
        const ssize_t count = ::read(line, request + length, size_t(RequestLength - length));
        if (count <= 0)
            return 1;
        length += int(count);
        if (length < RequestLength)
            continue;
        length = 0;
        // Station, function and quantity make the answer, the address does not.
        if (std::memcmp(request, known, 2) != 0 || std::memcmp(request + 4, known + 4, 2) != 0)
            makeReply(reply, request);
        std::memcpy(known, request, RequestLength);
        *answers = *answers + 1;
        if (::write(line, reply.bytes, size_t(reply.length)) != reply.length)
            return 1;
    }
}
