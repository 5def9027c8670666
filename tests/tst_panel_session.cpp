/// A driver in use, and what its trace says.
#include "tests/session_fixture.h"

#include <QtTest/QtTest>

namespace {

const char OnePlc[] = "settings maxBlockLen=32 plcStation=1 retryLimit=1 stationScope=0 remoteMode=0 ownStation=1 "
                      "writeMode=2 channelNo=7";

COMINFO severalStations()
{
    COMINFO settings = sessionSettings();
    settings.stationScope = 1;
    return settings;
}

} // namespace

class TstPanelSession : public QObject {
    Q_OBJECT

private:
    Plugin plugin;

    int write(TracedSession &session, int devType, const char *address, const char *values, int varId, int station = 1)
    {
        return session->setRegisterData(QString(), devType, QLatin1String(address), station, hex(values), 1, 3, varId);
    }

    /// Compares a trace without its moments line by line.
    void compareTrace(TracedSession &session, const QStringList &expected)
    {
        const QStringList lines = session.finishLines();
        for (int i = 0; i < qMin(lines.size(), expected.size()); ++i)
            QCOMPARE(lines.at(i), expected.at(i));
        QCOMPARE(lines.size(), expected.size());
    }

private slots:
    void initTestCase()
    {
        QString error;
        QVERIFY2(plugin.load(QStringLiteral(EC_DRIVER_PATH), &error), qPrintable(error));
    }

    void everyLineOfATraceHasItsMoment()
    {
        TracedSession session(plugin, sessionSettings());
        QCOMPARE(session->describe({described(8, "300", 2, "level")}), 1);
        QCOMPARE(
            session->setRegisterData(QStringLiteral("set point"), 7, QStringLiteral("100"), 1, hex("34 12"), 1, 3, 44),
            1);
        QCOMPARE(session.exchange("01 06 00 64 12 34"), 1);
        QCOMPARE(session.exchange("01 03 04 00 01 00 02"), 1);
        QCOMPARE(session.finish(),
                 QByteArray("# ecpanel trace 1\n"
                            "0.001000 settings maxBlockLen=32 plcStation=1 retryLimit=1 stationScope=0 remoteMode=0 "
                            "ownStation=1 writeMode=2 channelNo=7\n"
                            "0.002000 describe 1 = 1\n"
                            "0.003000 variable 8 1 2 300 level\n"
                            "0.004000 write 7 1 1 100 3412 3 44 set%20point = 1\n"
                            "0.005000 tx 010600641234C562 8 write\n"
                            "0.006000 rx 010600641234C562\n"
                            "0.007000 result 1\n"
                            "0.008000 done 7 3 44 1\n"
                            "0.009000 tx 01032F0C00020CDC 9 cyclic\n"
                            "0.010000 rx 0103040001000"
                            "22A32\n"
                            "0.011000 result 1\n"
                            "0.012000 image 7 100 3412\n"
                            "0.013000 image 8 300 01000200\n"
                            "0.014000 end\n"));
    }

    void aDeadPlcPurgesWhatIsQueued()
    {
        TracedSession session(plugin, sessionSettings());
        QCOMPARE(write(session, 7, "100", "34 12", 44), 1);
        QCOMPARE(write(session, 7, "101", "35 12", 45), 2);
        QCOMPARE(session->readOnce(15, QStringLiteral("10.3"), 1, 1, 3, 46), 1);
        QCOMPARE(session->writeList().size(), 2);
        QCOMPARE(session->onceReadList().size(), 1);
        QVERIFY(!session->isInFlight());
        QCOMPARE(session.exchange(""), 0);
        QVERIFY(session->isInFlight());
        QVERIFY(session->callbacks().isEmpty());
        QCOMPARE(session.exchange("01 06 00 64 12 35 00"), 74);
        QVERIFY(!session->isInFlight());
        QCOMPARE(session->callbacks().size(), 2);
        QCOMPARE(session->callbacks().at(0).varId, 44);
        QCOMPARE(session->callbacks().at(0).status, 2);
        QVERIFY(session->callbacks().at(1).isFailure);
        QCOMPARE(session->callbacks().at(1).connectNo, 3);
        QVERIFY(session->writeList().isEmpty());
        QCOMPARE(session.exchange("01 03 02 00 08"), 1);
        QCOMPARE(session->callbacks().size(), 1);
        QVERIFY(session.nextFrame().isEmpty());
        QVERIFY(session.nextFrame().isEmpty());
        QCOMPARE(session->settings().finishFlag, 1);
        QCOMPARE(session->callbacks().size(), 1);
        compareTrace(session, {
                                  OnePlc,
                                  "write 7 1 1 100 3412 3 44 - = 1",
                                  "write 7 1 1 101 3512 3 45 - = 2",
                                  "read-once 15 1 1 10.3 3 46 = 1",
                                  "tx 010600641234C562 8 write",
                                  "rx -",
                                  "result 0",
                                  "tx 010600641234C562 8 write",
                                  "rx 01060064123500A3C3",
                                  "result 74",
                                  "done 7 3 44 2",
                                  "fail 3 1",
                                  "tx 0103000A0001A408 7 once",
                                  "rx 0103020008B982",
                                  "result 1",
                                  "done 7 3 46 1",
                                  "idle 2",
                                  "image 7 10 0800",
                                  "image 7 100 3412",
                                  "end",
                              });
    }

    void aBitInAWordTakesTwoFrames()
    {
        TracedSession session(plugin, sessionSettings());
        QCOMPARE(write(session, 15, "10.3", "01", 44), 1);
        QCOMPARE(session.exchange("01 03 02 00 01"), 1);
        QVERIFY(session->isInFlight());
        QCOMPARE(session.exchange("01 06 00 0A 00 09"), 1);
        compareTrace(session, {
                                  OnePlc,
                                  "write 15 1 1 10.3 01 3 44 - = 1",
                                  "tx 0103000A0001A408 7 write",
                                  "rx 01030200017984",
                                  "result 1",
                                  "tx 0106000A000969CE 8 write",
                                  "rx 0106000A000969CE",
                                  "result 1",
                                  "done 7 3 44 1",
                                  "image 7 10 0100",
                                  "end",
                              });
    }

    void severalStationsKeepTheirValuesApart()
    {
        TracedSession session(plugin, severalStations());
        QCOMPARE(session->describe({described(7, "5", 1, "a", 2), described(2, "8", 8, "b", 3)}), 2);
        session->enableStation(3, false);
        QCOMPARE(write(session, 7, "5", "07 00", 44, 3), 1);
        QVERIFY(session.nextFrame().isEmpty());
        QVERIFY(session->writeList().isEmpty());
        QCOMPARE(session.exchange("02 03 02 12 34"), 1);
        session->enableStation(3, true);
        session->enableAllStations();
        QCOMPARE(session.exchange("03 01 01 81"), 1);
        QByteArray values;
        QCOMPARE(session->getRegisterData(7, QStringLiteral("9"), 9, &values, 1), 1);
        compareTrace(session, {
                                  "settings maxBlockLen=32 plcStation=1 retryLimit=1 stationScope=1 remoteMode=0 "
                                  "ownStation=1 writeMode=2 channelNo=7",
                                  "describe 2 = 2",
                                  "variable 7 2 1 5 a",
                                  "variable 2 3 8 8 b",
                                  "station 3 off",
                                  "write 7 3 1 5 0700 3 44 - = 1",
                                  "idle 1",
                                  "tx 0203000500019438 7 cyclic",
                                  "rx 0203021234F133",
                                  "result 1",
                                  "station 3 on",
                                  "stations on",
                                  "tx 030107D80008BD61 6 cyclic",
                                  "rx 030101819050",
                                  "result 1",
                                  "image 2 7 5 3412",
                                  "image 3 2 8 81",
                                  "end",
                              });
    }

    void aBroadcastHasNoReply()
    {
        TracedSession session(plugin, severalStations());
        QCOMPARE(write(session, 3, "5", "01", 44, 0), 1);
        QCOMPARE(session.nextFrame().left(17), QStringLiteral("00 05 11 35 FF 00"));
        QCOMPARE(session->answer(QByteArray()), 1);
        const QStringList lines = session.finishLines();
        QCOMPARE(lines.at(2), QStringLiteral("tx 00051135FF0098D9 0 write"));
        QCOMPARE(lines.mid(3, 3), QStringList({"rx -", "result 1", "done 7 3 44 1"}));
    }

    void remoteRequestsHaveTheirOwnFormat()
    {
        COMINFO settings = sessionSettings();
        settings.remoteMode = 1;
        TracedSession session(plugin, settings);
        QCOMPARE(session->describe({described(13, "205", 4)}), 1);
        QCOMPARE(write(session, 7, "100", "34 12", 44), 1);
        QCOMPARE(session.exchange("01 06 00 64 12 34"), 1);
        QCOMPARE(session.exchange("01 03 08 00 01 00 02 00 00 00 07"), 1);
        compareTrace(session, {
                                  "settings maxBlockLen=32 plcStation=1 retryLimit=1 stationScope=0 remoteMode=1 "
                                  "ownStation=1 writeMode=2 channelNo=7",
                                  "describe 1 = 1",
                                  "variable 13 1 4 205 -",
                                  "write 7 1 1 100 3412 3 44 - = 1",
                                  "tx 1803010101000700000064000100000000000000003412D0 8 write",
                                  "rx 010600641234C562",
                                  "result 1",
                                  "done 7 3 44 1",
                                  "tx 1600000101000D00000005000200000000000000002C 13 cyclic",
                                  "rx 0103080001000200000007BD15",
                                  "result 1",
                                  "image 7 100 3412",
                                  "image 13 5 0200010007000000",
                                  "end",
                              });
    }

    void anImageIsCutIntoRuns()
    {
        COMINFO settings = sessionSettings();
        settings.writeMode = 1;
        TracedSession session(plugin, settings);
        QCOMPARE(session->setRegisterData(QString(), 7, QStringLiteral("0"), 1, QByteArray(140, 1), 70, 0, 0), 1);
        QCOMPARE(write(session, 8, "10", "01 00", 0), 1);
        QCOMPARE(write(session, 8, "18", "02 00", 0), 1); // seven zeros between
        QCOMPARE(write(session, 8, "27", "03 00", 0), 1); // eight
        QCOMPARE(write(session, 6, "17", "01", 0), 1);
        QCOMPARE(write(session, 100, "65534", "FF FF", 0), 1);
        const auto image = session->image();
        QStringList lines;
        for (const QVector<QByteArray> &line : image)
            lines << QString::fromLatin1(line.at(0) + ' ' + line.at(1) + ' ' + line.at(2));
        QCOMPARE(lines, QStringList({
                            "6 16 02",
                            "7 0 " + QString(QStringLiteral("01")).repeated(128),
                            "7 64 " + QString(QStringLiteral("01")).repeated(12),
                            "8 10 010000000000000000000000000000000200",
                            "8 27 0300",
                            "100 65534 FFFF",
                        }));
    }

    void nothingOfASessionIsLeftToTheNext()
    {
        for (const COMINFO &settings : {sessionSettings(), severalStations()}) {
            TracedSession session(plugin, settings);
            session->describe({described(7, "5", 1)});
            session->enableStation(9, false);
            session.exchange("");
            write(session, 7, "7", "07 00", 44);
            session->readOnce(7, QStringLiteral("8"), 1, 1, 3, 45);
            session.exchange("");
            QVERIFY(!session->callbacks().isEmpty() || session->isInFlight());
            QVERIFY(!session->writeList().isEmpty() || !session->image().isEmpty());
        }
        const Emerson_EC_Series &driver = *plugin.driver;
        QVERIFY(driver.comInfo == nullptr && driver.requestDoneCallback == nullptr
                && driver.commFailCallback == nullptr);
        QVERIFY(driver.readList.isEmpty() && driver.writeList.isEmpty() && driver.onceReadList.isEmpty());
        QVERIFY(driver.protocolList.isEmpty() && driver.extendVarList.isEmpty() && driver.disabledStations.isEmpty());
        QCOMPARE(driver.servedList, int(ServedNone));
        QCOMPARE(driver.writeStreak + driver.onceStreak + driver.passCount + int(driver.failFlag), 0);

        TracedSession session(plugin, sessionSettings());
        QVERIFY(session->image().isEmpty());
        QVERIFY(session.nextFrame().isEmpty());
    }

    void notesStandWhereTheyWereMade()
    {
        TracedSession session(plugin, sessionSettings());
        QVERIFY(session.nextFrame().isEmpty());
        session->note("drop", {"late", "0103"});
        compareTrace(session, {OnePlc, "idle 1", "drop late 0103", "end"});
    }

    void aSessionNeedsNoTrace()
    {
        Session session(plugin, sessionSettings(), nullptr, std::function<qint64()>());
        QCOMPARE(session.describe({described(7, "5", 1)}), 1);
        QVERIFY(session.next() != nullptr);
        QCOMPARE(session.answer(withCrc("01 03 02 12 34")), 1);
        session.note("drop", {"late", "0103"});
        QCOMPARE(session.image().size(), 1);
    }
};

QTEST_APPLESS_MAIN(TstPanelSession)
#include "tst_panel_session.moc"
