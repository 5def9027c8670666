/// A driver that does not do what is asked, or is no such driver: what the host makes of it. Single functions of the
/// built library are exchanged for ones that refuse.
#include "host/plan.h"
#include "tests/panel_rig.h"

#include <QtCore/QTemporaryDir>
#include <QtTest/QtTest>

namespace {

/// Exchanges one of the loaded driver's functions as long as it lives.
template <class Function>
class Exchanged {
public:
    Exchanged(Function Plugin::*which, Function instead)
        : place(const_cast<Plugin &>(loadedDriver()).*which), former(place)
    {
        place = instead;
    }
    ~Exchanged() { place = former; }

private:
    Function &place;
    const Function former;
};

PanelRig &withOneTag(PanelRig &rig)
{
    rig.csv = "speed,7,100,,1,uint16,,,,rw\n";
    return rig;
}

} // namespace

class TstPanelRefusals : public QObject {
    Q_OBJECT

private slots:
    void aWriteThatTheDriverDoesNotTakeIsRefused()
    {
        PanelRig rig;
        withOneTag(rig).start();
        const Exchanged<decltype(Plugin::setRegisterData)> refusing(
            &Plugin::setRegisterData, [](QString, int, QString, int, QByteArray *, int, int, int) { return 0; });
        const int id = rig.write(QStringLiteral("speed"), QStringLiteral("7"));
        QCOMPARE(rig.stateOf(id), WriteState::Refused);
        QCOMPARE(rig.panel->writes().count(WriteState::Refused), qint64(1));
        QCOMPARE(rig.value(QStringLiteral("speed")).isPending, false);
        QVERIFY(rig.runPass());
        QCOMPARE(rig.heard.writes.size(), 1);
    }

    void aPanelDoesNotStartWithATagThatNoBlockCovers()
    {
        PanelRig rig;
        withOneTag(rig).start();
        const QList<Tag> tags = rig.panel->tags();
        rig.end();
        const Exchanged<decltype(Plugin::reCreatReadVarList)> empty(&Plugin::reCreatReadVarList,
                                                                    [](QList<VARDESC> &) { return 0; });
        Panel panel(loadedDriver(), rig.settings, tags, *rig.line, nullptr);
        QString error;
        QVERIFY(!panel.start(&error));
        QCOMPARE(error, QStringLiteral("tag speed: the driver made no block for all of code 7 at 100; expected one"));
    }

    void withoutPollingNoBlockIsNeeded()
    {
        PanelRig rig;
        withOneTag(rig).start();
        const QList<Tag> tags = rig.panel->tags();
        rig.end();
        Panel panel(loadedDriver(), rig.settings, tags, *rig.line, nullptr);
        panel.setPolling(false);
        QString error;
        QVERIFY2(panel.start(&error), qPrintable(error));
        QCOMPARE(panel.counters().all.requests, qint64(0));
        for (int i = 0; i < 10; ++i)
            panel.step();
        QCOMPARE(panel.counters().all.requests, qint64(0));
        QVERIFY(panel.isIdle());
    }

    void aPlanNeedsARequestForEachBlock()
    {
        PanelRig rig;
        withOneTag(rig).start();
        const QList<Tag> tags = rig.panel->tags();
        rig.end();
        const Exchanged<decltype(Plugin::comCommunication)> silent(&Plugin::comCommunication,
                                                                   []() -> Protocol * { return nullptr; });
        QCOMPARE(makePlan(loadedDriver(), rig.settings, tags, 0).problem,
                 QStringLiteral("the driver made no request of block 1: expected one a block"));
        QVERIFY(suggest(loadedDriver(), rig.settings, tags, 0).isEmpty());
    }

    void aPlanNeedsGoodResults()
    {
        PanelRig rig;
        withOneTag(rig).start();
        const QList<Tag> tags = rig.panel->tags();
        rig.end();
        const Exchanged<decltype(Plugin::calCrc)> wrong(
            &Plugin::calCrc, [](unsigned char *, unsigned short) { return static_cast<unsigned short>(0x1234); });
        rig.settings.retries = 0;
        QCOMPARE(makePlan(loadedDriver(), rig.settings, tags, 0).problem,
                 QStringLiteral("the driver took the reply to block 1 with result 11: expected 1"));
    }

    void aLibraryWithoutTheDriversNamesIsTold()
    {
        Plugin plugin;
        QString error;
        QVERIFY(!plugin.load(QStringLiteral("libm.so.6"), &error));
        QCOMPARE(error, QStringLiteral("no driver at libm.so.6: expected the built libemerson_ec_series.so"));
        const QString path = QFile::symLinkTarget(QStringLiteral("/proc/self/exe"));
        QVERIFY(!plugin.load(path, &error));
        QVERIFY2(error.startsWith(QString::fromLatin1("cannot load %1: expected a driver library").arg(path)),
                 qPrintable(error));
        QVERIFY(!plugin.load(loadedLibrary("libQt5Test"), &error));
        QVERIFY2(error.contains(QLatin1String(" is not this driver: expected it to export SetComInfo, ")),
                 qPrintable(error));
    }

private:
    /// The path of a library that this process has loaded.
    static QString loadedLibrary(const char *name)
    {
        QFile maps(QStringLiteral("/proc/self/maps"));
        if (!maps.open(QIODevice::ReadOnly))
            return QString();
        for (const QByteArray &line : maps.readAll().split('\n'))
            if (line.contains(name))
                return QString::fromLocal8Bit(line.mid(line.indexOf('/')));
        return QString();
    }
};

QTEST_APPLESS_MAIN(TstPanelRefusals)
#include "tst_panel_refusals.moc"
