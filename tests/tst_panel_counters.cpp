// Counters and times.
#include "host/counters.h"

#include <QtTest/QtTest>

class TstPanelCounters : public QObject {
    Q_OBJECT

private slots:
    void timesHaveMinimumMeanAndMaximum();
    void aPercentileIsWithinASixteenth_data();
    void aPercentileIsWithinASixteenth();
    void noSampleGivesZeros();
    void aHugeTimeTakesNoHugeMemory();
    void everyOutcomeHasItsCounter_data();
    void everyOutcomeHasItsCounter();
    void discardedBytesAreCountedWithoutEchoes();
    void nothingSentIsNoRequest();
    void jsonHasEveryCounter();
};

void TstPanelCounters::timesHaveMinimumMeanAndMaximum()
{
    TimeStatistics times;
    for (const qint64 time : {300, 100, 200})
        times.add(time);
    QCOMPARE(times.count(), qint64(3));
    QCOMPARE(times.minimum(), qint64(100));
    QCOMPARE(times.maximum(), qint64(300));
    QCOMPARE(times.mean(), 200.0);
}

void TstPanelCounters::aPercentileIsWithinASixteenth_data()
{
    QTest::addColumn<qint64>("step");
    for (const qint64 step : {1, 7, 100, 12345})
        QTest::addRow("%lld", step) << step;
}

void TstPanelCounters::aPercentileIsWithinASixteenth()
{
    QFETCH(qint64, step);
    TimeStatistics times;
    for (int i = 1; i <= 1000; ++i)
        times.add(i * step);
    for (const double share : {0.5, 0.9, 0.99}) {
        const double exact = 1000 * share * double(step);
        const double got = double(times.percentile(share));
        QVERIFY2(got >= exact && got <= exact * 17 / 16 + 1, QByteArray::number(got));
    }
    QCOMPARE(times.percentile(1), 1000 * step);
}

void TstPanelCounters::noSampleGivesZeros()
{
    const TimeStatistics times;
    QCOMPARE(times.minimum(), qint64(0));
    QCOMPARE(times.maximum(), qint64(0));
    QCOMPARE(times.mean(), 0.0);
    QCOMPARE(times.percentile(0.99), qint64(0));
}

void TstPanelCounters::aHugeTimeTakesNoHugeMemory()
{
    TimeStatistics times;
    times.add(std::numeric_limits<qint64>::max());
    times.add(-5);
    QCOMPARE(times.minimum(), qint64(0));
    QCOMPARE(times.maximum(), std::numeric_limits<qint64>::max());
    QCOMPARE(times.percentile(0.99), std::numeric_limits<qint64>::max());
}

void TstPanelCounters::everyOutcomeHasItsCounter_data()
{
    QTest::addColumn<int>("outcome");
    QTest::addColumn<QString>("counter");
    QTest::newRow("good") << int(Outcome::Good) << QStringLiteral("good");
    QTest::newRow("broadcast") << int(Outcome::NoReplyExpected) << QStringLiteral("good");
    QTest::newRow("timeout") << int(Outcome::Timeout) << QStringLiteral("timeouts");
    QTest::newRow("crc") << int(Outcome::BadCrc) << QStringLiteral("crc");
    QTest::newRow("length") << int(Outcome::WrongLength) << QStringLiteral("length");
    QTest::newRow("exception") << int(Outcome::Exception) << QStringLiteral("exceptions");
    QTest::newRow("port") << int(Outcome::PortGone) << QStringLiteral("port");
}

void TstPanelCounters::everyOutcomeHasItsCounter()
{
    QFETCH(int, outcome);
    QFETCH(QString, counter);
    Counters counters;
    Transaction transaction;
    transaction.outcome = Outcome(outcome);
    transaction.exceptionCode = 2;
    transaction.bytesReceived = 5;
    counters.count(transaction, 8, true);
    const QJsonObject json = counters.toJson();
    for (const char *name : {"good", "timeouts", "crc", "length", "exceptions", "port"})
        QCOMPARE(json.value(QLatin1String(name)).toInt(), int(counter == QLatin1String(name)));
    QCOMPARE(json.value(QStringLiteral("requests")).toInt(), 1);
    QCOMPARE(json.value(QStringLiteral("retries")).toInt(), 1);
    QCOMPARE(json.value(QStringLiteral("bytes_sent")).toInt(), 8);
    QCOMPARE(json.value(QStringLiteral("bytes_received")).toInt(), 5);
    if (Outcome(outcome) == Outcome::Exception)
        QCOMPARE(json.value(QStringLiteral("exception_codes"))
                     .toObject()
                     .value(QStringLiteral("illegal data address"))
                     .toInt(),
                 1);
}

void TstPanelCounters::discardedBytesAreCountedWithoutEchoes()
{
    Counters counters;
    Transaction transaction;
    transaction.discarded = {{Discarded::Echo, "12345678", 0},
                             {Discarded::Foreign, "1234", 0},
                             {Discarded::Late, "12", 0},
                             {Discarded::Foreign, "1", 0}};
    counters.count(transaction, 8, false);
    QCOMPARE(counters.discardedFrames, qint64(2));
    QCOMPARE(counters.discardedBytes, qint64(7));
}

void TstPanelCounters::nothingSentIsNoRequest()
{
    Counters counters;
    Transaction transaction;
    transaction.outcome = Outcome::PortGone;
    counters.count(transaction, 0, true);
    QCOMPARE(counters.requests, qint64(0));
    QCOMPARE(counters.retries, qint64(0));
    QCOMPARE(counters.port, qint64(1));
}

void TstPanelCounters::jsonHasEveryCounter()
{
    PanelCounters counters;
    counters.stations[7].good = 3;
    const QJsonObject json = counters.toJson();
    QCOMPARE(json.keys(),
             QStringList({QStringLiteral("all"), QStringLiteral("lists"), QStringLiteral("pass_time"),
                          QStringLiteral("queues"), QStringLiteral("reopened"), QStringLiteral("stations")}));
    QCOMPARE(json.value(QStringLiteral("stations"))
                 .toObject()
                 .value(QStringLiteral("7"))
                 .toObject()
                 .value(QStringLiteral("good"))
                 .toInt(),
             3);
    QCOMPARE(json.value(QStringLiteral("all")).toObject().value(QStringLiteral("reply_time")).toObject().keys(),
             QStringList({QStringLiteral("count"), QStringLiteral("max_us"), QStringLiteral("mean_us"),
                          QStringLiteral("min_us"), QStringLiteral("p99_us")}));
}

QTEST_APPLESS_MAIN(TstPanelCounters)
#include "tst_panel_counters.moc"
