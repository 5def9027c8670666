/// The built library as a host meets it: loaded by path, driven by symbol name, answered byte by byte.
#include "host/plugin.h"
#include "tests/bytes_text.h"

#include <QtTest/QtTest>

#include <dlfcn.h>

namespace {

struct Done {
    int channelNo, connectNo, varId, status;
};
QList<Done> done;
int failures;

void noteDone(int channelNo, int connectNo, int varId, int status)
{
    done.append(Done{channelNo, connectNo, varId, status});
}

void noteFailure(QList<RW_VAR> &, int, int)
{
    ++failures;
}

VARDESC variable(int devType, const char *addrText, int count)
{
    VARDESC description;
    description.devType = static_cast<unsigned char>(devType);
    description.station = 1;
    description.addrText = QLatin1String(addrText);
    description.count = count;
    return description;
}

} // namespace

class TstPluginCycle : public QObject {
    Q_OBJECT

private:
    Plugin *plugin = nullptr;
    COMINFO settings;

    /// The next frame in hex; empty when there is none.
    QString nextFrame()
    {
        const Protocol *pending = plugin->comCommunication();
        return pending != nullptr ? toHex(pending->frame.left(pending->frameLen)) : QString();
    }

    int answer(const QByteArray &bytes)
    {
        QByteArray reply = bytes;
        return plugin->dataCom(&reply, reply.size())->resultCode;
    }

    int write(int devType, const char *addrText, const char *values, int count)
    {
        QByteArray bytes = hex(values);
        return plugin->setRegisterData(QString(), devType, QLatin1String(addrText), 1, &bytes, count, 3, 44);
    }

    QString read(int devType, const char *addrText, int count)
    {
        QByteArray values;
        if (plugin->getRegisterData(0, devType, QLatin1String(addrText), 1, &values, count) != 1)
            return QStringLiteral("unusable address");
        return toHex(values);
    }

private slots:
    void init()
    {
        QString error;
        plugin = new Plugin;
        QVERIFY2(plugin->load(QStringLiteral(EC_DRIVER_PATH), &error), qPrintable(error));
        settings = COMINFO();
        settings.maxBlockLen = 32;
        settings.plcStation = 1;
        settings.ownStation = 1;
        settings.retryLimit = 1;
        settings.writeMode = 2;
        settings.channelNo = 7;
        done.clear();
        failures = 0;
        plugin->setComInfo(&settings);
        plugin->registCallBackFuncIntf(noteDone, noteFailure);
    }

    void cleanup()
    {
        delete plugin;
        plugin = nullptr;
    }

    void polledValuesReachTheScreen()
    {
        QList<VARDESC> variables;
        variables << variable(8, "300", 4) << variable(2, "10", 6);
        QCOMPARE(plugin->reCreatReadVarList(variables), 2);

        QCOMPARE(nextFrame(), QStringLiteral("01 01 07 D8 00 08 BC 83"));
        QCOMPARE(answer(withCrc("01 01 01 2C")), 1);
        QCOMPARE(nextFrame(), QStringLiteral("01 03 2F 0C 00 04 8C DE"));
        QCOMPARE(answer(withCrc("01 03 08 00 01 00 02 AB CD 00 04")), 1);
        QCOMPARE(settings.finishFlag, 0);
        QCOMPARE(nextFrame(), QStringLiteral("01 01 07 D8 00 08 BC 83"));
        QCOMPARE(answer(withCrc("01 01 01 2C")), 1);
        QCOMPARE(settings.finishFlag, 1);

        QCOMPARE(read(2, "10", 6), QStringLiteral("01 01 00 01 00 00"));
        QCOMPARE(read(8, "300", 4), QStringLiteral("01 00 02 00 CD AB 04 00"));
        QCOMPARE(read(14, "302", 2), QStringLiteral("04 00 CD AB"));
        QCOMPARE(read(16, "302.15", 1), QStringLiteral("01"));
    }

    void everyKindOfWriteGoesOutAndIsReported_data()
    {
        QTest::addColumn<int>("devType");
        QTest::addColumn<QByteArray>("address");
        QTest::addColumn<QByteArray>("values");
        QTest::addColumn<int>("count");
        QTest::addColumn<QString>("frame");
        QTest::addColumn<QByteArray>("echo");

        QTest::newRow("bit on") << 3 << QByteArray("5") << QByteArray("01") << 1 << "01 05 11 35 FF 00 99 08"
                                << QByteArray("01 05 11 35 FF 00");
        QTest::newRow("bit off") << 3 << QByteArray("5") << QByteArray("00") << 1 << "01 05 11 35 00 00 D8 F8"
                                 << QByteArray("01 05 11 35 00 00");
        QTest::newRow("word") << 7 << QByteArray("100") << QByteArray("34 12") << 1 << "01 06 00 64 12 34 C5 62"
                              << QByteArray("01 06 00 64 12 34");
        QTest::newRow("words") << 10 << QByteArray("0") << QByteArray("34 12 78 56") << 2
                               << "01 10 25 1C 00 02 04 12 34 56 78 2F 53" << QByteArray("01 10 25 1C 00 02");
        QTest::newRow("32-bit") << 12 << QByteArray("0") << QByteArray("78 56 34 12") << 2
                                << "01 10 00 00 00 02 04 12 34 56 78 88 9B" << QByteArray("01 10 00 00 00 02");
        QTest::newRow("special") << 13 << QByteArray("256") << QByteArray("78 56 34 12") << 2
                                 << "01 10 27 10 00 02 04 12 34 56 78 36 66" << QByteArray("01 10 27 10 00 02");
    }

    void everyKindOfWriteGoesOutAndIsReported()
    {
        QFETCH(int, devType);
        QFETCH(QByteArray, address);
        QFETCH(QByteArray, values);
        QFETCH(int, count);
        QFETCH(QString, frame);
        QFETCH(QByteArray, echo);

        QCOMPARE(write(devType, address, values, count), 1);
        QCOMPARE(nextFrame(), frame);
        QCOMPARE(read(devType, address, count), toHex(hex(values)));
        QCOMPARE(answer(withCrc(echo)), 1);
        QCOMPARE(done.size(), 1);
        QCOMPARE(done.at(0).channelNo, 7);
        QCOMPARE(done.at(0).connectNo, 3);
        QCOMPARE(done.at(0).varId, 44);
        QCOMPARE(done.at(0).status, 1);
        QVERIFY(nextFrame().isEmpty());
    }

    void aBitInsideAWordIsReadChangedAndWrittenBack()
    {
        QCOMPARE(write(15, "10.3", "01", 1), 1);
        QCOMPARE(nextFrame(), QStringLiteral("01 03 00 0A 00 01 A4 08"));
        QCOMPARE(answer(withCrc("01 03 02 00 00")), 1);
        QCOMPARE(nextFrame(), QStringLiteral("01 06 00 0A 00 08 A8 0E"));
        QVERIFY(done.isEmpty());
        QCOMPARE(answer(withCrc("01 06 00 0A 00 08")), 1);
        QCOMPARE(done.size(), 1);
        QVERIFY(nextFrame().isEmpty());
    }

    void aSilentPlcIsAskedAgainAndThenGivenUp()
    {
        QCOMPARE(write(7, "100", "34 12", 1), 1);
        QCOMPARE(nextFrame(), QStringLiteral("01 06 00 64 12 34 C5 62"));
        QCOMPARE(answer(QByteArray()), 0);
        QCOMPARE(nextFrame(), QStringLiteral("01 06 00 64 12 34 C5 62"));
        QCOMPARE(answer(QByteArray()), 44);
        QCOMPARE(done.size(), 1);
        QCOMPARE(done.at(0).status, 2);
        QCOMPARE(failures, 1);
        QVERIFY(nextFrame().isEmpty());
    }

    void remoteRequestsDescribeTheVariable()
    {
        settings.remoteMode = 1;
        RW_VAR var;
        var.devType = 13;
        var.address = 5;
        var.count = 2;
        var.station = 5;
        var.panelStation = 9;
        var.subIndex = -1;
        QCOMPARE(plugin->addListReadVar(&var), 1);
        const Protocol *pending = plugin->comCommunication();
        QCOMPARE(toHex(pending->frame),
                 QStringLiteral("16 00 00 09 05 00 0D 00 00 00 05 00 02 FF FF FF FF 00 00 00 00 34"));
        QCOMPARE(pending->replyLen, 13);
        QCOMPARE(answer(withCrc("05 03 08 00 01 00 02 00 00 00 07")), 1);
        QCOMPARE(read(13, "205", 2), QStringLiteral("02 00 01 00"));
        QCOMPARE(read(13, "206", 2), QStringLiteral("07 00 00 00"));
    }

    void missingPointersAreBorne()
    {
        plugin->registCallBackFuncIntf(nullptr, nullptr);
        QCOMPARE(plugin->addListReadVar(nullptr), 0);
        QCOMPARE(plugin->addListWriteVar(nullptr, 0), 0);
        QCOMPARE(plugin->addListOnceReadVar(nullptr, 0), 0);
        QCOMPARE(plugin->getRegisterData(0, 7, QStringLiteral("1"), 1, nullptr, 1), 0);
        QCOMPARE(plugin->setRegisterData(QString(), 7, QStringLiteral("1"), 1, nullptr, 1, 0, 0), 0);
        QCOMPARE(write(7, "100", "34 12", 1), 1);
        QCOMPARE(nextFrame(), QStringLiteral("01 06 00 64 12 34 C5 62"));
        QCOMPARE(plugin->dataCom(nullptr, 0)->resultCode, 0);
        QCOMPARE(plugin->dataCom(nullptr, 8)->resultCode, 14);
        QVERIFY(nextFrame().isEmpty());
    }

    void withoutSettingsEverythingReadsAsZero()
    {
        plugin->setComInfo(nullptr);
        QCOMPARE(write(7, "100", "34 12", 1), 1);
        QCOMPARE(read(7, "100", 1), QStringLiteral("34 12"));
        QVERIFY(plugin->driver->writeList.isEmpty());
        QList<VARDESC> variables;
        variables << variable(7, "5", 1);
        QCOMPARE(plugin->reCreatReadVarList(variables), 1);
        QCOMPARE(plugin->driver->readList.at(0).station, 0);
        QVERIFY(plugin->comCommunication() != nullptr);
        QCOMPARE(answer(QByteArray()), 1);
    }

    void unloadingReallyUnloads()
    {
        QVERIFY(write(7, "100", "34 12", 1) == 1);
        delete plugin;
        plugin = nullptr;
        void *still = ::dlopen(EC_DRIVER_PATH, RTLD_NOW | RTLD_NOLOAD);
        const bool resident = still != nullptr;
        if (resident)
            ::dlclose(still);
        QVERIFY(!resident);

        init();
        QCOMPARE(read(7, "100", 1), QStringLiteral("00 00"));
        QVERIFY(nextFrame().isEmpty());
    }

    void checksumsAreFoundByName()
    {
        void *library = ::dlopen(EC_DRIVER_PATH, RTLD_NOW | RTLD_NOLOAD);
        QVERIFY(library != nullptr);
        typedef unsigned short (*Checksum)(unsigned char *, unsigned short);
        unsigned char bytes[] = {0x01, 0x03, 0x00, 0x00, 0x00, 0x01};
        QCOMPARE(int(reinterpret_cast<Checksum>(::dlsym(library, "CalCRC"))(bytes, 6)), 0x0A84);
        QCOMPARE(int(reinterpret_cast<Checksum>(::dlsym(library, "CalSUM"))(bytes, 6)), 5);
        QCOMPARE(int(reinterpret_cast<Checksum>(::dlsym(library, "CalLRC"))(bytes, 6)), 251);
        QCOMPARE(int(reinterpret_cast<Checksum>(::dlsym(library, "CalXOR"))(bytes, 6)), 3);
        typedef int (*Digit)(int);
        QCOMPARE(reinterpret_cast<Digit>(::dlsym(library, "DigitalToASCII"))(10), int('A'));
        QCOMPARE(reinterpret_cast<Digit>(::dlsym(library, "ASCIIToDigital"))('F'), 15);
        ::dlclose(library);
    }

    void hostPointersAreKept()
    {
        void *library = ::dlopen(EC_DRIVER_PATH, RTLD_NOW | RTLD_NOLOAD);
        QVERIFY(library != nullptr);
        int bits = 0, words = 0, third = 0;
        plugin->flashLocalRegister(&bits, &words, &third);
        QCOMPARE(*static_cast<void **>(::dlsym(library, "LB")), static_cast<void *>(&bits));
        QCOMPARE(*static_cast<void **>(::dlsym(library, "LW")), static_cast<void *>(&words));
        QCOMPARE(*static_cast<void **>(::dlsym(library, "RWI")), static_cast<void *>(&third));
        ::dlclose(library);
    }
};

QTEST_APPLESS_MAIN(TstPluginCycle)
#include "tst_plugin_cycle.moc"
