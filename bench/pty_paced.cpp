// The least that a slow line can cost a program: requests made before, a sleep for the silence and one until the reply
// must be there.
#include "bench/answer_counter.h"
#include "bench/pty_masters.h"

#include <cstdio>
#include <iterator>
#include <poll.h>
#include <time.h>
#include <vector>

namespace {

enum {
    Baud = 115200,
    BitsPerByte = 11,
    Silence = 1750,      // microseconds
    Margin = 300,        // microseconds by which a reply may be late before it costs another sleep
    ReplyTimeout = 1000, // milliseconds
    RequestLength = 8,
    Framing = 5,
    LongestReply = 256
};

struct Read {
    unsigned char function;
    int first, quantity;
};

/// What ecpanel reads in a pass of the tags that the measurement gives it.
const Read Pass[] = {{1, 4040, 8},  {1, 12000, 56}, {3, 0, 32},    {3, 32, 8},   {3, 8250, 6},
                     {3, 12000, 6}, {3, 9000, 5},   {3, 9800, 12}, {3, 10000, 8}};

unsigned char low(unsigned value)
{
    return static_cast<unsigned char>(value);
}

struct Request {
    unsigned char bytes[RequestLength];
    int replyLength;

    explicit Request(const Read &read)
        : bytes{1,
                read.function,
                low(unsigned(read.first) >> 8),
                low(unsigned(read.first)),
                low(unsigned(read.quantity) >> 8),
                low(unsigned(read.quantity)),
                0,
                0},
          replyLength(Framing + (read.function == 1 ? (read.quantity + 7) / 8 : 2 * read.quantity))
    {
        unsigned crc = 0xFFFF;
        for (int i = 0; i < RequestLength - 2; ++i) {
            crc ^= bytes[i];
            for (int bit = 0; bit < 8; ++bit)
                crc = (crc & 1) != 0 ? crc >> 1 ^ 0xA001 : crc >> 1;
        }
        bytes[RequestLength - 2] = low(crc);
        bytes[RequestLength - 1] = low(crc >> 8);
    }

    /// From the first byte out until the last one must be back.
    long microseconds() const
    {
        return (RequestLength + replyLength) * BitsPerByte * 1000000L / Baud + Silence + Margin;
    }
};

void sleepFor(long microseconds)
{
    const timespec time = {0, microseconds * 1000};
    ::nanosleep(&time, nullptr);
}

bool receive(int line, int length)
{
    unsigned char reply[LongestReply];
    for (int got = 0; got < length;) {
        pollfd entry = {line, POLLIN, 0};
        if (::poll(&entry, 1, ReplyTimeout) != 1)
            return false;
        const ssize_t count = ::read(line, reply + got, size_t(length - got));
        if (count <= 0)
            return false;
        got += int(count);
    }
    return true;
}

} // namespace

int masterPaced(const char *device, const char *counterFile)
{
    const int line = openRaw(device);
    volatile std::uint64_t *const answers = mapCounter(counterFile);
    const std::vector<Request> requests(std::begin(Pass), std::end(Pass));
    for (std::size_t i = 0; answers != nullptr; i = (i + 1) % requests.size()) {
        const Request &request = requests[i];
        sleepFor(Silence);
        if (::write(line, request.bytes, RequestLength) != RequestLength)
            break;
        sleepFor(request.microseconds());
        if (!receive(line, request.replyLength))
            break;
        *answers = *answers + 1;
    }
    std::perror("paced");
    return 1;
}
