/// The rest within a reply: the host sleeps while what is missing cannot be there, and nothing else changes.
#include "tests/line_script.h"

#include <QtTest/QtTest>

namespace {

// A request leaves at 2005 and its last byte at 6588. A character takes 573 us less a fraction.

Request words()
{
    return {hex("01 03 2F 0C 00 04 8C DE"), 13, 1, 0x03, false};
}
/// The answer to them as it comes byte by byte, from 12000 to 18876.
const char *const Paced = "12000 01; 12573 03; 13146 08; 13719 11; 14292 22; 14865 33; 15438 44; 16011 55; 16584 66; "
                          "17157 77; 17730 88; 18303 74; 18876 9C";

} // namespace

class TstPanelLineRest : public QObject {
    Q_OBJECT

private slots:
    void itEndsBeforeTheLastByteCanBeThere_data();
    void itEndsBeforeTheLastByteCanBeThere();
    void itIsOnePieceAReply();
    void itChangesNoOutcome_data();
    void itChangesNoOutcome();
    void aPortThatGoesEndsIt();
};

void TstPanelLineRest::itEndsBeforeTheLastByteCanBeThere_data()
{
    QTest::addColumn<QString>("script");
    QTest::addColumn<QString>("rests");

    QTest::newRow("nothing came") << ""
                                  << "";
    QTest::newRow("a first byte, of an exception perhaps") << "12000 01"
                                                           << "13718";
    QTest::newRow("the function") << "12000 01 03"
                                  << "17729";
    QTest::newRow("the function of an exception") << "12000 01 83"
                                                  << "13145";
    QTest::newRow("two are missing") << "13000 01 03 08 11 22 33 44 55 66 77 88"
                                     << "13572";
    QTest::newRow("one is missing") << "14000 01 03 08 11 22 33 44 55 66 77 88 74"
                                    << "";
    QTest::newRow("all came") << "14100 01 03 08 11 22 33 44 55 66 77 88 74 9C"
                              << "";
    QTest::newRow("another station") << "12000 02 03 08"
                                     << "";
    QTest::newRow("not beyond the time-out") << "113000 01 03"
                                             << "114035";
    QTest::newRow("as fast as the line can be") << "8306 01 03 08"
                                                << "13462";
    QTest::newRow("faster than the line can be") << "8305 01 03 08"
                                                 << "";
    QTest::newRow("before the request can have left") << "2100 01 03 08"
                                                      << "";
}

void TstPanelLineRest::itEndsBeforeTheLastByteCanBeThere()
{
    QFETCH(QString, script);
    ScriptedChannel channel;
    play(channel, script);
    Line(channel, evenParity(), bitwiseCrc).transact(words());
    QTEST(textOf(channel.rests), "rests");
}

void TstPanelLineRest::itIsOnePieceAReply()
{
    ScriptedChannel channel;
    channel.takesRests = true;
    play(channel, QString::fromLatin1(Paced));
    Line(channel, evenParity(), bitwiseCrc).transact(words());
    QCOMPARE(textOf(channel.rests), QStringLiteral("13718 18874"));
}

void TstPanelLineRest::itChangesNoOutcome_data()
{
    QTest::addColumn<QString>("script");
    QTest::addColumn<QString>("result");

    QTest::newRow("answer") << Paced << "good sent 2005 done 20881 after 12288: 01 03 08 11 22 33 44 55 66 77 88 74 9C";
    QTest::newRow("answer, a byte of noise behind it")
        << QString::fromLatin1(Paced) + QStringLiteral("; 19449 FF")
        << "length sent 2005 done 21454: 01 03 08 11 22 33 44 55 66 77 88 74 9C FF";
    QTest::newRow("cut off") << "12000 01; 12573 03; 13146 08; 13719 11; 14292 22"
                             << "length sent 2005 done 114035: 01 03 08 11 22";
    QTest::newRow("exception") << "12000 01; 12573 83; 13146 02; 13719 C0; 14292 F1"
                               << "exception sent 2005 done 16297 code 2: 01 83 02 C0 F1";
    QTest::newRow("ends with the time-out") << "113000 01; 113573 03; 114034 08"
                                            << "length sent 2005 done 114035: 01 03 08";
}

void TstPanelLineRest::itChangesNoOutcome()
{
    QFETCH(QString, script);
    for (const bool takesRests : {false, true}) {
        ScriptedChannel channel;
        channel.takesRests = takesRests;
        play(channel, script);
        QTEST(textOf(Line(channel, evenParity(), bitwiseCrc).transact(words())), "result");
    }
}

void TstPanelLineRest::aPortThatGoesEndsIt()
{
    ScriptedChannel channel;
    channel.takesRests = true;
    channel.goneAt = 12500;
    play(channel, QStringLiteral("12000 01 03"));
    QCOMPARE(textOf(Line(channel, evenParity(), bitwiseCrc).transact(words())),
             QStringLiteral("port sent 2005 done 12500: -; noise 12000: 01 03"));
}

QTEST_GUILESS_MAIN(TstPanelLineRest)
#include "tst_panel_line_rest.moc"
