/// The serial port as a Channel, on a real pseudo-terminal. Times are far beyond what the calls need: no time decides.
#include "host/serial_channel.h"

#include "tests/line_script.h"

#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>
#include <QtTest/QtTest>

#include <fcntl.h>
#include <poll.h>
#include <termios.h>
#include <thread>
#include <unistd.h>

namespace {

constexpr qint64 Second = 1000000;

/// The other end of a cable.
class Terminal {
public:
    Terminal() : fd(::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC))
    {
        char name[128] = "";
        if (fd < 0 || ::grantpt(fd) != 0 || ::unlockpt(fd) != 0 || ::ptsname_r(fd, name, sizeof name) != 0)
            qFatal("cannot open a pseudo-terminal");
        path = QString::fromLocal8Bit(name);
    }
    ~Terminal() { hangUp(); }

    void hangUp()
    {
        if (fd >= 0)
            ::close(fd);
        fd = -1;
    }
    void send(const QByteArray &bytes) { QCOMPARE(::write(fd, bytes.constData(), size_t(bytes.size())), bytes.size()); }
    /// As many bytes, or fewer when no more come within five seconds.
    QByteArray receive(int count)
    {
        QByteArray bytes;
        pollfd entry = {fd, POLLIN, 0};
        while (bytes.size() < count && ::poll(&entry, 1, 5000) > 0) {
            char chunk[4096];
            const ssize_t got = ::read(fd, chunk, sizeof chunk);
            if (got <= 0)
                break;
            bytes.append(chunk, int(got));
        }
        return bytes;
    }

    int fd;
    QString path;
};

LineSettings settingsOf(const QString &port)
{
    LineSettings settings = evenParity();
    settings.port = port;
    settings.parity = Parity::None;
    settings.stopBits = 2;
    settings.replyTimeout = 5000;
    return settings;
}

QByteArray allBytes()
{
    QByteArray bytes;
    for (int i = 0; i < 256; ++i)
        bytes.append(char(i));
    return bytes;
}

/// All bytes up to a count, in as many calls as it takes.
QByteArray receive(SerialChannel &channel, int count)
{
    QByteArray bytes;
    const qint64 until = channel.now() + 5 * Second;
    while (bytes.size() < count && channel.now() < until)
        bytes += channel.receiveUntil(until);
    return bytes;
}

Request word()
{
    return {hex("01 03 07 D0 00 01 84 87"), 7, 1, 0x03, false};
}

} // namespace

class TstPanelSerial : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void portThatIsNotThereIsRefused();
    void fileThatIsNoPortIsRefused();
    void portIsSetUp();
    void parityDoesNotKeepAPseudoTerminalFromOpening();
    void everyByteGoesBothWays();
    void everyByteOfALongBurstComes();
    void aBurstThatFillsAReadIsNotTheEnd();
    void waitEndsAtItsMoment();
    void pastMomentOnlyLooks();
    void bytesThatQtHasReadAreNotLost();
    void hangUpIsNoticedWhileWaiting();
    void hangUpBehindBytesIsNoticed();
    void hangUpIsNoticedWhileSending();
    void closedPortAnswersAtOnce();
    void portThatTakesNothingIsGivenUp();
    void portThatCameBackIsOpenedAgain();
    void momentsGoOnWhileThePortIsClosed();
    void restEndsAtItsMomentWhateverComes();
    void hangUpEndsARest();
    void sleepEndsAtItsMoment();
    void wakeEndsASleep();
    void wakeBeforeASleepIsNotLost();
    void abortEndsAWaitForBytes();
    void abortEndsASendThatNobodyTakes();
    void portThatIsOpenAlreadyIsRefused();
    void lineTransactsOverThePort();
    void lineNoticesTheHangUp();

private:
    std::unique_ptr<Terminal> terminal;
    std::unique_ptr<SerialChannel> channel;
    QString error;
};

void TstPanelSerial::init()
{
    error.clear();
    terminal.reset(new Terminal);
    channel.reset(new SerialChannel(settingsOf(terminal->path)));
    QVERIFY2(channel->open(&error), qPrintable(error));
    QVERIFY(channel->isOpen());
}

void TstPanelSerial::cleanup()
{
    channel.reset();
    terminal.reset();
}

void TstPanelSerial::portThatIsNotThereIsRefused()
{
    SerialChannel other(settingsOf(QStringLiteral("/nowhere/port")));
    QVERIFY(!other.open(&error));
    QVERIFY(!other.isOpen());
    QCOMPARE(error, QStringLiteral("cannot open port /nowhere/port: No such file or directory; "
                                   "expected a serial port that takes 19200 baud 8N2"));
}

void TstPanelSerial::fileThatIsNoPortIsRefused()
{
    QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("file"));
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.close();
    SerialChannel other(settingsOf(path));
    QVERIFY(!other.open(&error));
    QVERIFY(!other.isOpen());
    QVERIFY2(error.startsWith(QStringLiteral("cannot open port ") + path), qPrintable(error));
}

// A pseudo-terminal keeps no parity: stop bits, speed and raw bytes are what it shows.
void TstPanelSerial::portIsSetUp()
{
    termios state;
    QCOMPARE(::tcgetattr(terminal->fd, &state), 0);
    QCOMPARE(::cfgetospeed(&state), speed_t(B19200));
    QCOMPARE(::cfgetispeed(&state), speed_t(B19200));
    QCOMPARE(state.c_cflag & CSIZE, tcflag_t(CS8));
    QVERIFY((state.c_cflag & CSTOPB) != 0);
    QVERIFY((state.c_cflag & (PARENB | CRTSCTS)) == 0);
    QVERIFY((state.c_iflag & (IXON | IXOFF | ICRNL | INLCR | ISTRIP)) == 0);
    QVERIFY((state.c_lflag & (ICANON | ECHO | ISIG)) == 0);
    QVERIFY((state.c_oflag & OPOST) == 0);

    LineSettings settings = settingsOf(terminal->path);
    settings.baud = 9600;
    settings.stopBits = 1;
    channel.reset(new SerialChannel(settings));
    QVERIFY2(channel->open(&error), qPrintable(error));
    QCOMPARE(::tcgetattr(terminal->fd, &state), 0);
    QCOMPARE(::cfgetospeed(&state), speed_t(B9600));
    QVERIFY((state.c_cflag & CSTOPB) == 0);
}

void TstPanelSerial::parityDoesNotKeepAPseudoTerminalFromOpening()
{
    for (const Parity parity : {Parity::Even, Parity::Odd}) {
        LineSettings settings = settingsOf(terminal->path);
        settings.parity = parity;
        channel.reset(new SerialChannel(settings));
        QVERIFY2(channel->open(&error), qPrintable(error));
        QVERIFY(channel->send("abc"));
        QCOMPARE(terminal->receive(3), QByteArray("abc"));
    }
}

void TstPanelSerial::everyByteGoesBothWays()
{
    QVERIFY(channel->send(allBytes()));
    QCOMPARE(terminal->receive(256), allBytes());
    terminal->send(allBytes());
    QCOMPARE(receive(*channel, 256), allBytes());
}

// More than one read takes.
void TstPanelSerial::everyByteOfALongBurstComes()
{
    QByteArray bytes;
    while (bytes.size() < 64 * 1024)
        bytes += allBytes();
    std::thread other([&] { terminal->send(bytes); });
    const QByteArray received = receive(*channel, bytes.size());
    other.join();
    QVERIFY(received == bytes);
}

// As much as a read takes, and a multiple of it: the next look finds nothing, which is not the end of the port.
void TstPanelSerial::aBurstThatFillsAReadIsNotTheEnd()
{
    for (const int count : {1024, 2048}) {
        const QByteArray bytes(count, 'x');
        terminal->send(bytes);
        QCOMPARE(receive(*channel, count), bytes);
        QCOMPARE(channel->receiveUntil(channel->now() + 1000), QByteArray());
        QVERIFY(channel->isOpen());
    }
    terminal->send("y");
    QCOMPARE(receive(*channel, 1), QByteArray("y"));
}

void TstPanelSerial::waitEndsAtItsMoment()
{
    const qint64 moment = channel->now() + 30000;
    QCOMPARE(channel->receiveUntil(moment), QByteArray());
    QVERIFY(channel->now() >= moment);
    QVERIFY(channel->now() < moment + 5 * Second);
    QVERIFY(channel->isOpen());
}

void TstPanelSerial::pastMomentOnlyLooks()
{
    QCOMPARE(channel->receiveUntil(0), QByteArray());
    terminal->send("abc");
    QByteArray bytes;
    const qint64 until = channel->now() + 5 * Second;
    while (bytes.size() < 3 && channel->now() < until)
        bytes += channel->receiveUntil(0);
    QCOMPARE(bytes, QByteArray("abc"));
    QVERIFY(channel->isOpen());
}

void TstPanelSerial::bytesThatQtHasReadAreNotLost()
{
    terminal->send("abc");
    QTest::qWait(50);
    terminal->send("def");
    QCOMPARE(receive(*channel, 6), QByteArray("abcdef"));
}

void TstPanelSerial::hangUpIsNoticedWhileWaiting()
{
    std::thread other([this] {
        ::usleep(50000);
        terminal->hangUp();
    });
    const qint64 start = channel->now();
    const QByteArray bytes = channel->receiveUntil(start + 60 * Second);
    other.join();
    QCOMPARE(bytes, QByteArray());
    QVERIFY(!channel->isOpen());
    QVERIFY(channel->now() < start + 30 * Second);
}

void TstPanelSerial::hangUpBehindBytesIsNoticed()
{
    terminal->send("abc");
    terminal->hangUp();
    const qint64 until = channel->now() + 60 * Second;
    while (channel->isOpen() && channel->now() < until)
        channel->receiveUntil(until);
    QVERIFY(!channel->isOpen());
    QVERIFY(channel->now() < until - 30 * Second);
}

void TstPanelSerial::hangUpIsNoticedWhileSending()
{
    terminal->hangUp();
    QVERIFY(!channel->send("abc"));
    QVERIFY(!channel->isOpen());
}

void TstPanelSerial::closedPortAnswersAtOnce()
{
    channel->close();
    const qint64 start = channel->now();
    QVERIFY(!channel->isOpen());
    QVERIFY(!channel->send("abc"));
    QCOMPARE(channel->receiveUntil(start + 60 * Second), QByteArray());
    QVERIFY(channel->now() < start + 30 * Second);
}

void TstPanelSerial::portThatTakesNothingIsGivenUp()
{
    LineSettings settings = settingsOf(terminal->path);
    settings.baud = 921600;
    channel.reset(new SerialChannel(settings));
    QVERIFY2(channel->open(&error), qPrintable(error));
    const qint64 start = channel->now();
    // They take 1.2 s at this speed.
    QVERIFY(!channel->send(QByteArray(100000, 'x')));
    QVERIFY(!channel->isOpen());
    QVERIFY(channel->now() < start + 60 * Second);
}

void TstPanelSerial::portThatCameBackIsOpenedAgain()
{
    QTemporaryDir folder;
    const QString link = folder.filePath(QStringLiteral("port"));
    QVERIFY(QFile::link(terminal->path, link));
    SerialChannel other(settingsOf(link));
    QVERIFY2(other.open(&error), qPrintable(error));
    terminal->hangUp();
    QCOMPARE(other.receiveUntil(other.now() + 5 * Second), QByteArray());
    QVERIFY(!other.isOpen());

    QVERIFY(QFile::remove(link));
    QVERIFY(!other.open(&error));
    Terminal second;
    QVERIFY(QFile::link(second.path, link));
    QVERIFY2(other.open(&error), qPrintable(error));
    QVERIFY(other.send("abc"));
    QCOMPARE(second.receive(3), QByteArray("abc"));
    second.send("def");
    QCOMPARE(receive(other, 3), QByteArray("def"));
}

void TstPanelSerial::momentsGoOnWhileThePortIsClosed()
{
    ::usleep(20000);
    const qint64 before = channel->now();
    QVERIFY(before >= 20000);
    channel->close();
    QVERIFY(channel->now() >= before);
    QVERIFY2(channel->open(&error), qPrintable(error));
    QVERIFY(channel->now() >= before);
}

void TstPanelSerial::restEndsAtItsMomentWhateverComes()
{
    std::thread other([this] {
        for (const char byte : {'a', 'b', 'c'}) {
            ::usleep(5000);
            terminal->send(QByteArray(1, byte));
        }
    });
    const qint64 moment = channel->now() + 100000;
    channel->restUntil(moment);
    QVERIFY(channel->now() >= moment);
    other.join();
    QCOMPARE(receive(*channel, 3), QByteArray("abc"));
    channel->restUntil(0);
    QVERIFY(channel->now() < moment + 5 * Second);
}

void TstPanelSerial::hangUpEndsARest()
{
    std::thread other([this] {
        ::usleep(50000);
        terminal->hangUp();
    });
    const qint64 start = channel->now();
    channel->restUntil(start + 60 * Second);
    other.join();
    QVERIFY(channel->now() < start + 30 * Second);
    QCOMPARE(channel->receiveUntil(start + 60 * Second), QByteArray());
    QVERIFY(!channel->isOpen());
    channel->restUntil(start + 60 * Second);
    QVERIFY(channel->now() < start + 30 * Second);
}

void TstPanelSerial::sleepEndsAtItsMoment()
{
    const qint64 moment = channel->now() + 20000;
    channel->sleepUntil(moment);
    QVERIFY(channel->now() >= moment);
    channel->sleepUntil(0);
    QVERIFY(channel->now() < moment + 5 * Second);
}

void TstPanelSerial::wakeEndsASleep()
{
    std::thread other([this] {
        ::usleep(50000);
        channel->wake();
    });
    const qint64 start = channel->now();
    channel->sleepUntil(start + 60 * Second);
    other.join();
    QVERIFY(channel->now() < start + 30 * Second);
}

void TstPanelSerial::wakeBeforeASleepIsNotLost()
{
    channel->wake();
    const qint64 start = channel->now();
    channel->sleepUntil(start + 60 * Second);
    QVERIFY(channel->now() < start + 30 * Second);
    const qint64 moment = channel->now() + 20000;
    channel->sleepUntil(moment);
    QVERIFY(channel->now() >= moment);
}

void TstPanelSerial::abortEndsAWaitForBytes()
{
    std::thread other([this] {
        ::usleep(50000);
        channel->abort();
    });
    const qint64 start = channel->now();
    const QByteArray bytes = channel->receiveUntil(start + 60 * Second);
    other.join();
    QCOMPARE(bytes, QByteArray());
    QVERIFY(!channel->isOpen());
    QVERIFY(channel->now() < start + 30 * Second);
}

void TstPanelSerial::abortEndsASendThatNobodyTakes()
{
    std::thread other([this] {
        ::usleep(50000);
        channel->abort();
    });
    const qint64 start = channel->now();
    // They take 57 s at this speed.
    const bool isSent = channel->send(QByteArray(100000, 'x'));
    other.join();
    QVERIFY(!isSent);
    QVERIFY(!channel->isOpen());
    QVERIFY(channel->now() < start + 30 * Second);
}

void TstPanelSerial::portThatIsOpenAlreadyIsRefused()
{
    SerialChannel second(settingsOf(terminal->path));
    QVERIFY(!second.open(&error));
    QCOMPARE(error, QString::fromLatin1("cannot open port %1: another program has it open; expected a serial port that "
                                        "takes 19200 baud 8N2")
                        .arg(terminal->path));
    QVERIFY(!second.isOpen());
    QVERIFY(channel->isOpen());
    QVERIFY(channel->send("abc"));
    QCOMPARE(terminal->receive(3), QByteArray("abc"));
}

void TstPanelSerial::lineTransactsOverThePort()
{
    LineSettings settings = settingsOf(terminal->path);
    settings.silence = 0;
    Line line(*channel, settings, bitwiseCrc);
    QByteArray requests;
    std::thread plc([&] {
        for (int i = 0; i < 200; ++i) {
            requests += terminal->receive(8);
            const QByteArray reply = hex("01 03 02 12 34 B5 33");
            if (::write(terminal->fd, reply.constData(), 7) != 7)
                return;
        }
    });
    int good = 0;
    for (int i = 0; i < 200; ++i) {
        const Transaction transaction = line.transact(word());
        good += transaction.outcome == Outcome::Good && transaction.reply == hex("01 03 02 12 34 B5 33");
    }
    plc.join();
    QCOMPARE(good, 200);
    QCOMPARE(requests, hex("01 03 07 D0 00 01 84 87").repeated(200));
}

void TstPanelSerial::lineNoticesTheHangUp()
{
    Line line(*channel, settingsOf(terminal->path), bitwiseCrc);
    std::thread other([this] {
        terminal->receive(8);
        terminal->hangUp();
    });
    const Transaction transaction = line.transact(word());
    other.join();
    QCOMPARE(transaction.outcome, Outcome::PortGone);
    QCOMPARE(transaction.reply, QByteArray());
    QCOMPARE(line.transact(word()).outcome, Outcome::PortGone);
}

QTEST_GUILESS_MAIN(TstPanelSerial)
#include "tst_panel_serial.moc"
