/// Set-up, reads and writes from three threads while a fourth runs the cycle. Nothing waits for a moment in time: a
/// test ends after a number of requests.
#include "host/plugin.h"
#include "tests/bytes_text.h"

#include <QtTest/QtTest>

#include <atomic>
#include <thread>
#include <vector>

namespace {

enum { Cycles = 30000, BlockWords = 16, FirstWord = 100 };

std::atomic<int> doneCalls;
std::atomic<int> failCalls;

void noteDone(int, int, int, int)
{
    ++doneCalls;
}

void noteFailure(QList<RW_VAR> &list, int, int)
{
    if (list.isEmpty())
        ++failCalls;
}

unsigned wordAt(const QByteArray &bytes, int index)
{
    return static_cast<unsigned char>(bytes.at(index)) << 8 | static_cast<unsigned char>(bytes.at(index + 1));
}

/// A correct reply to a request; every register reads as value.
QByteArray replyTo(const Protocol &request, int value)
{
    if (request.replyLen == 0)
        return QByteArray();
    QByteArray reply = request.frame.left(2);
    if (request.dataLen > 0) {
        reply.append(static_cast<char>(request.dataLen));
        while (reply.size() < request.replyLen - 2) {
            reply.append(static_cast<char>(value >> 8));
            if (reply.size() < request.replyLen - 2)
                reply.append(static_cast<char>(value));
        }
    } else {
        reply = request.frame.left(6);
    }
    return withCrc(reply.toHex());
}

/// True when the frame carries the right CRC, and, for a write of registers, stays on one side of the gap between the
/// two pieces of its area.
bool isSoundFrame(const Protocol &request)
{
    const QByteArray frame = request.frame;
    if (frame.size() != request.frameLen || frame != withCrc(frame.left(frame.size() - 2).toHex()))
        return false;
    if (frame.at(1) != 0x10)
        return true;
    const unsigned first = wordAt(frame, 2);
    const unsigned last = first + wordAt(frame, 4) - 1;
    return (first >= 9000 && last <= 9255) || first >= 11000;
}

} // namespace

class TstPluginThreads : public QObject {
    Q_OBJECT

private:
    Plugin plugin;
    COMINFO settings;
    std::atomic<bool> running;
    std::atomic<int> torn;    ///< Blocks of which one half was older than the other.
    std::atomic<int> unsound; ///< Frames that must not go out.

    /// Answers every request, each tenth of them not at all.
    void runCycle(bool checkFrames)
    {
        for (int cycle = 0; cycle < Cycles;) {
            Protocol *request = plugin.comCommunication();
            if (request == nullptr) {
                std::this_thread::yield();
                continue;
            }
            ++cycle;
            if (checkFrames && !isSoundFrame(*request))
                ++unsound;
            QByteArray reply = cycle % 10 == 9 ? QByteArray() : replyTo(*request, cycle & 0x7FFF);
            plugin.dataCom(&reply, reply.size());
        }
        running = false;
    }

    void readScreens()
    {
        QByteArray values;
        while (running) {
            plugin.getRegisterData(0, 8, QString::number(FirstWord), 1, &values, BlockWords);
            if (values != values.left(2).repeated(BlockWords))
                ++torn;
            plugin.getRegisterData(0, 13, QStringLiteral("250"), 2, &values, 8);
            values.clear();
        }
    }

    void writeValues()
    {
        for (int i = 0; running; ++i) {
            QByteArray words(20, static_cast<char>(i));
            plugin.setRegisterData(QString(), 9, QStringLiteral("250"), 1, &words, 10, 1, i & 7);
            plugin.setRegisterData(QString(), 15, QStringLiteral("3000.5"), 1, &words, 1, 1, 9);
            std::this_thread::yield();
        }
    }

    void setUpAgain()
    {
        QList<VARDESC> variables;
        VARDESC block;
        block.devType = 8;
        block.station = 1;
        block.addrText = QString::number(FirstWord);
        block.count = BlockWords;
        variables << block;
        block.devType = 3;
        block.station = 2;
        variables << block;
        for (int i = 0; running; ++i) {
            plugin.setComInfo(&settings);
            plugin.registCallBackFuncIntf(noteDone, noteFailure);
            plugin.flashLocalRegister(&settings, nullptr, &block);
            plugin.enCommStation(2, i & 1);
            plugin.enCommStation(i % 97 == 0 ? -1 : 5, 0);
            if (i % 16 == 0)
                plugin.reCreatReadVarList(variables);
            RW_VAR once;
            once.devType = 2;
            once.station = 2;
            once.panelStation = settings.ownStation;
            once.varId = i & 15;
            once.count = 12;
            once.addrText = QStringLiteral("7");
            plugin.addListOnceReadVar(&once, 0);
            plugin.plcAddressChangeIntef(13, QStringLiteral("222"));
            plugin.queryFinishFlag();
            std::this_thread::yield();
        }
    }

private slots:
    void initTestCase()
    {
        QString error;
        QVERIFY2(plugin.load(QStringLiteral(EC_DRIVER_PATH), &error), qPrintable(error));
    }

    void everythingAtOnce_data()
    {
        QTest::addColumn<int>("stationScope");
        QTest::addColumn<int>("remoteMode");
        QTest::addColumn<int>("ownStation");

        QTest::newRow("one PLC") << 0 << 0 << 0;
        QTest::newRow("several PLCs") << 1 << 0 << 0;
        QTest::newRow("one PLC, remote format") << 0 << 1 << 0;
        QTest::newRow("several PLCs, another panel's replies") << 1 << 1 << 9;
    }

    void everythingAtOnce()
    {
        QFETCH(int, stationScope);
        QFETCH(int, remoteMode);
        QFETCH(int, ownStation);
        settings = COMINFO();
        settings.maxBlockLen = 32;
        settings.plcStation = 1;
        settings.retryLimit = 1;
        settings.writeMode = 2;
        settings.stationScope = stationScope;
        settings.remoteMode = remoteMode;
        settings.ownStation = ownStation;
        plugin.setComInfo(&settings);
        plugin.registCallBackFuncIntf(noteDone, noteFailure);
        running = true;
        torn = 0;
        unsound = 0;
        doneCalls = 0;
        failCalls = 0;

        std::vector<std::thread> threads;
        threads.emplace_back([this] { readScreens(); });
        threads.emplace_back([this] { writeValues(); });
        threads.emplace_back([this] { setUpAgain(); });
        runCycle(remoteMode == 0);
        for (std::thread &thread : threads)
            thread.join();

        QCOMPARE(torn.load(), 0);
        QCOMPARE(unsound.load(), 0);
        QVERIFY2(doneCalls > 0, "no write was ever answered");
        QVERIFY2(failCalls > 0, "no request ever failed");
        QVERIFY(plugin.driver->writeList.size() <= 1025);
        QVERIFY(plugin.driver->onceReadList.size() <= 1024);
    }
};

QTEST_APPLESS_MAIN(TstPluginThreads)
#include "tst_plugin_threads.moc"
