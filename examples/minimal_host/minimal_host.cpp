/// The least that a correct host does: load the driver, poll a pass, print it; write a SETPOINT, poll and print again.
#include "driver/emerson_ec_series.h"
#include <QtCore/QtEndian>
#include <cstdio>
#include <dlfcn.h>
#include <fcntl.h>
#include <memory>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

enum Milliseconds { Silence = 3, ReplyTimeout = 300, LateWindow = 100, Turnaround = 100, Idle = 10 };
enum ExitCode { Wrong = 2, PortFailed = 3, NoGoodAnswer = 4 };
using Failure = std::pair<ExitCode, QByteArray>;
void *library = nullptr;
COMINFO settings;    // Must outlive the driver's use of it.
int writeStatus = 0; // 1 = acknowledged, 2 = given up

/// A function of the driver: by its name, with its type from the header. Nothing is linked.
#define DRIVER(name) reinterpret_cast<decltype(&::name)>(dlsym(library, #name))

int openPort(const char *path)
{
    termios line = {};
    cfmakeraw(&line);
    line.c_cflag = CLOCAL | CREAD | CS8 | CSTOPB; // 8N2
    cfsetspeed(&line, B19200);                    // 3.5 characters take 2.1 ms.
    const int port = open(path, O_RDWR | O_NOCTTY | O_CLOEXEC);
    return tcsetattr(port, TCSANOW, &line) == 0 ? port : throw Failure(PortFailed, QByteArray("no port at ") + path);
}

/// What is there as soon as something comes; nothing after so many milliseconds.
QByteArray hear(int port, int milliseconds)
{
    pollfd entry = {port, POLLIN, 0};
    if (poll(&entry, 1, milliseconds) == 0)
        return QByteArray();
    char bytes[256];
    const ssize_t count = read(port, bytes, sizeof bytes);
    return count > 0 ? QByteArray(bytes, int(count)) : throw Failure(PortFailed, "the port is gone");
}

/// Sends a frame. Returns all bytes that came for it; the driver judges them.
QByteArray transact(int port, const Protocol &request)
{
    poll(nullptr, 0, Silence);
    tcflush(port, TCIFLUSH); // What comes late would be taken for the reply to this frame.
    if (write(port, request.frame.constData(), size_t(request.frameLen)) != request.frameLen || tcdrain(port) != 0)
        throw Failure(PortFailed, "the port is gone");
    QByteArray reply, piece = hear(port, request.replyLen == 0 ? Turnaround : ReplyTimeout); // 0: none answers
    while (!piece.isEmpty() && reply.size() <= request.replyLen) {
        reply += piece;
        piece = hear(port, reply.size() < request.replyLen ? ReplyTimeout : Silence);
    }
    poll(nullptr, 0, reply.size() < request.replyLen ? LateWindow : 0); // The rest must not meet the next frame.
    return reply;
}

/// One turn of the cycle: each frame is followed by exactly one DataCom, whatever came.
void turn(int port)
{
    const Protocol *const request = DRIVER(ComCommunication)();
    if (!request)
        return void(poll(nullptr, 0, Idle));
    QByteArray reply = transact(port, *request);
    const int code = DRIVER(DataCom)(&reply, reply.size())->resultCode; // 0: the frame will be sent again.
    if (code > 1 && code != 100)
        throw Failure(NoGoodAnswer,
                      "the PLC gave no good answer (11 CRC, 41 silence, 71 length): " + QByteArray::number(code));
}

void printPass(int port, const QList<VARDESC> &tags)
{
    for (settings.finishFlag = 0; settings.finishFlag == 0;) // 1 when every block has been read.
        turn(port);
    for (const VARDESC &tag : tags) {
        QByteArray bytes(4, '\0'); // Least significant byte first; of a bit one byte, 0 or 1.
        DRIVER(GetRegisterData)(0, tag.devType, tag.addrText, tag.station, &bytes, tag.count);
        std::printf("%s %u\n", qPrintable(tag.nameText), qFromLittleEndian<quint32>(bytes.constData()));
    }
}

void run(int port, const QByteArray &setpoint, int station)
{
    settings.maxBlockLen = 32;
    settings.retryLimit = 2;   // A frame is sent three times at most.
    settings.stationScope = 1; // Each variable names its station.
    settings.writeMode = 2;    // Writes go to the PLC, not only into the image.
    DRIVER(SetComInfo)(&settings);
    // Both run under the driver's lock: short, and calling nothing of it. What failed, DataCom tells too.
    DRIVER(RegistCallBackFuncIntf)([](int, int, int, int status) { writeStatus = status; }, [](auto &, int, int) {});
    QList<VARDESC> tags = {{0, 7, 1, 0, "100", "setpoint", 1}, // type 7, station 1, address 100, 1 element
                           {0, 12, 1, 0, "112", "total", 2},   // 32 bits: 2 elements
                           {0, 1, 1, 0, "10", "pump", 1}};
    DRIVER(ReCreatReadVarList)(tags);
    printPass(port, tags);
    if (setpoint.isEmpty())
        return;
    QByteArray bytes(2, '\0');
    qToLittleEndian(setpoint.toUShort(), bytes.data());
    DRIVER(SetRegisterData)("setpoint", 7, "100", station, &bytes, 1, 0, 1); // Queued; the cycle sends it.
    while (writeStatus == 0)
        turn(port);
    std::puts("written");
    printPass(port, tags);
}

int main(int argc, char **argv)
try {
    library = argc > 2 ? dlopen(argv[1], RTLD_NOW | RTLD_LOCAL)
                       : throw Failure(Wrong, "usage: minimal_host DRIVER PORT [SETPOINT [STATION, 0 = all]]");
    const std::unique_ptr<void, int (*)(void *)> unloading(library, dlclose); // Last: nothing it gave out is kept.
    if (!library || !DRIVER(SetRegisterData))
        throw Failure(Wrong, dlerror());
    run(openPort(argv[2]), argv[3], argc > 4 ? QByteArray(argv[4]).toInt() : 1);
} catch (const Failure &failure) {
    std::fprintf(stderr, "minimal_host: %s\n", failure.second.constData());
    return failure.first;
}
