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

    // A list that is moved entry by entry at each rotation would not stay where it is.
    void headMovesByOnePlaceHoweverTheListWasMade_data()
    {
        QTest::addColumn<int>("way");
        QTest::newRow("left alone") << 0;
        QTest::newRow("filled to its last place") << 1;
        QTest::newRow("replaced in the middle of a turn") << 2;
        QTest::newRow("shortened at its head") << 3;
        QTest::newRow("shortened at its end") << 4;
        QTest::newRow("lengthened in the middle of a turn") << 5;
        QTest::newRow("shared") << 6;
        QTest::newRow("lengthened within its room") << 7;
        QTest::newRow("described, from the first on") << 8;
    }
    void headMovesByOnePlaceHoweverTheListWasMade()
    {
        QFETCH(int, way);
        Cycle cycle(20, 0, 0);
        QList<RW_VAR> &list = PLC_driver.readList;
        for (int i = 0; i < 27; ++i)
            Cycle::turnOnce(cycle.replies[0]);
        const QList<RW_VAR> shared = way == 6 ? list : QList<RW_VAR>();
        const RW_VAR entry = list.at(0);
        QList<RW_VAR> full;
        switch (way) {
        case 1:
        case 2:
            while (full.size() < (way == 1 ? 1021 : 33))
                full.append(entry);
            list = full;
            full.clear();
            break;
        case 3:
            for (int i = 0; i < 9; ++i)
                list.removeFirst();
            break;
        case 4:
            while (list.size() > 3)
                list.removeLast();
            break;
        case 5:
        case 7:
            while (list.size() < (way == 5 ? 77 : 32))
                list.append(entry);
            break;
        case 8: {
            QList<VARDESC> descriptions;
            for (int i = 0; i < 20; ++i)
                descriptions.append(description(7, qPrintable(QString::number(100 * i)), 1));
            QCOMPARE(ReCreatReadVarList(descriptions), 20);
            break;
        }
        }
        if (way != 8)
            Cycle::turnOnce(cycle.replies[0]); // it may be moved once
        int back = 0;
        for (int i = 0; i < 5 * list.size(); ++i) {
            const auto before = list.constBegin();
            Cycle::turnOnce(cycle.replies[0]);
            const auto step = list.constBegin() - before;
            if (step != 1)
                QCOMPARE(int(step), 1 - list.size());
            back += step != 1;
        }
        QCOMPARE(back, 5);
    }

    // What the frame before has left in it must not go out.
    void missingValuesAreZerosInAFrameUsedAgain()
    {
        DriverFixture driver;
        PLC_driver.writeList << writeVar(7, 0, 20, QByteArray(40, '\xFF')) << writeVar(7, 0, 20, QByteArray(2, '\x11'));
        QCOMPARE(answerWell(), 1);
        const QByteArray frame = ComCommunication()->frame;
        QCOMPARE(toHex(frame.left(9)), QStringLiteral("01 10 00 00 00 14 28 11 11"));
        QCOMPARE(frame.mid(9, 38), QByteArray(38, '\0'));
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
