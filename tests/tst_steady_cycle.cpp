/// A list that goes round for ever, and a record that is used again and again.
#include "driver/emerson_ec_series.h"

#include "tests/exchange_fixture.h"

#include <algorithm>

namespace {

QList<int> addresses()
{
    QList<int> result;
    for (const RW_VAR &var : PLC_driver.readList)
        result += var.address;
    return result;
}

} // namespace

class TstSteadyCycle : public QObject {
    Q_OBJECT

private slots:
    void listGoesRoundInItsOrder_data()
    {
        QTest::addColumn<int>("entries");
        for (int entries : {1, 2, 3, 4, 5, 7, 8, 16, 100})
            QTest::addRow("%d", entries) << entries;
    }
    void listGoesRoundInItsOrder()
    {
        QFETCH(int, entries);
        Cycle cycle(entries, 0, 0);
        QList<int> expected = addresses();
        for (int i = 0; i < 10 * entries + 3; ++i) {
            Cycle::turnOnce(cycle.replies[0]);
            std::rotate(expected.begin(), expected.begin() + 1, expected.end());
            QCOMPARE(addresses(), expected);
        }
    }

    void listGoesOnWhateverIsDoneToItMeanwhile()
    {
        Cycle cycle(5, 0, 0);
        QList<int> expected = addresses();
        QList<RW_VAR> copy;
        for (int i = 0; i < 400; ++i) {
            switch (i % 41) {
            case 7:
                copy = PLC_driver.readList;
                break;
            case 11:
                PLC_driver.readList.append(PLC_driver.readList.at(2));
                expected.append(expected.at(2));
                break;
            case 19:
                PLC_driver.readList.removeAt(3);
                expected.removeAt(3);
                break;
            case 23:
                PLC_driver.readList = copy;
                expected = addresses();
                break;
            }
            Cycle::turnOnce(cycle.replies[0]);
            std::rotate(expected.begin(), expected.begin() + 1, expected.end());
            QCOMPARE(addresses(), expected);
        }
    }

    // The record of the last answered frame is used again; what somebody else still holds of it stays as it is.
    void frameThatTheHostHasKeptIsNotWrittenOver()
    {
        Cycle cycle(2, 0, 0);
        const QByteArray kept = ComCommunication()->frame;
        const QByteArray bytes(kept.constData(), kept.size());
        cycle.turn();
        cycle.turn();
        QCOMPARE(kept, bytes);
    }

    void nothingIsInFlightBehindAnAnsweredFrame()
    {
        Cycle cycle(2, 0, 0);
        Cycle::turnOnce(cycle.replies[0]);
        QCOMPARE(PLC_driver.protocolList.size(), 0);
        PLC_driver.readList.clear();
        QVERIFY(ComCommunication() == nullptr);
        QCOMPARE(PLC_driver.protocolList.size(), 0);
    }

    void recordThatIsUsedAgainIsFilledWhole()
    {
        Cycle cycle(1, 0, 0);
        Protocol *const first = ComCommunication();
        first->extra20 = first->extra21 = first->extra22 = 77;
        first->frame.append("more");
        Cycle::turnOnce(cycle.replies[0]);
        const Protocol *const second = ComCommunication();
        QCOMPARE(second->extra20 | second->extra21 | second->extra22, 0);
        QCOMPARE(second->frame.size(), 8);
        QCOMPARE(second->frameLen, 8);
    }
};

QTEST_APPLESS_MAIN(TstSteadyCycle)

#include "tst_steady_cycle.moc"
