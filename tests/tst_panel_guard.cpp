/// The reply guard: which bytes are the answer to a request, and which are not.
#include "host/reply_guard.h"

#include "tests/bytes_text.h"

#include <QtTest/QtTest>

Q_DECLARE_METATYPE(Request)

namespace {

unsigned short bitwiseCrc(unsigned char *buf, unsigned short len)
{
    unsigned crc = 0xFFFF;
    for (int i = 0; i < len; ++i) {
        crc ^= buf[i];
        for (int bit = 0; bit < 8; ++bit)
            crc = crc & 1 ? crc >> 1 ^ 0xA001 : crc >> 1;
    }
    return static_cast<unsigned short>(crc);
}

QString textOf(const ReplyVerdict &verdict)
{
    switch (verdict.kind) {
    case ReplyKind::Incomplete:
        return QStringLiteral("incomplete");
    case ReplyKind::Good:
        return QStringLiteral("good at %1").arg(verdict.start);
    case ReplyKind::Exception:
        return QStringLiteral("exception %1 at %2").arg(verdict.exceptionCode).arg(verdict.start);
    case ReplyKind::BadCrc:
        return QStringLiteral("bad crc");
    case ReplyKind::TooLong:
        return QStringLiteral("too long");
    case ReplyKind::Foreign:
        return QStringLiteral("foreign");
    }
    return QString();
}

QString verdictOf(const Request &request, const QByteArray &bytes)
{
    return textOf(judgeReply(request, bytes, bitwiseCrc));
}

const char *const WordsReply = "01 03 08 11 22 33 44 55 66 77 88 74 9C";
const char *const WordReply = "01 03 02 12 34 B5 33";
const char *const ExceptionReply = "01 83 02 C0 F1";

Request words()
{
    return {hex("01 03 2F 0C 00 04 8C DE"), 13, 1, 0x03, false};
}
Request word()
{
    return {hex("01 03 07 D0 00 01 84 87"), 7, 1, 0x03, false};
}
Request bits()
{
    return {hex("01 01 07 DA 00 10 1D 49"), 7, 1, 0x01, false};
}
/// Its address begins with 03, the byte count of its answer: as an answer it would pass.
Request bitsLikeTheirAnswer()
{
    return {hex("01 01 03 20 00 18 3D 8E"), 8, 1, 0x01, false};
}
Request noBits()
{
    return {hex("01 01 00 10 00 00 3D CF"), 5, 1, 0x01, false};
}
Request station300()
{
    return {hex("2C 03 07 D0 00 01 82 FA"), 7, 300, 0x03, false};
}
Request coil()
{
    return {hex("01 05 11 35 FF 00 99 08"), 8, 1, 0x05, false};
}
Request oneWord()
{
    return {hex("01 06 00 64 12 34 C5 62"), 8, 1, 0x06, false};
}
Request block()
{
    return {hex("01 10 25 1C 00 02 04 12 34 56 78 2F 53"), 8, 1, 0x10, false};
}
Request coils()
{
    return {hex("01 0F 00 13 00 0A 02 CD 01 72 CB"), 8, 1, 0x0F, false};
}
Request remoteRead()
{
    return {hex("16 00 00 02 05 00 08 00 00 00 0A 00 02 FF FF FF FF 00 00 00 00 2D"), 9, 5, 0x03, true};
}
Request remoteWrite()
{
    return {hex("18 00 01 02 05 00 08 00 00 00 0A 00 01 FF FF FF FF 00 00 00 00 34 12 75"), 8, 5, 0, true};
}
Request anyLength()
{
    return {hex("01 03 07 D0 00 01 84 87"), -1, 1, 0x03, false};
}
Request nothing()
{
    return {hex("00 06 00 64 12 34 C4 B3"), 0, 0, 0x06, false};
}

void addColumns()
{
    QTest::addColumn<Request>("request");
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("verdict");
}

void addRow(const char *name, const Request &request, const char *bytes, const char *verdict)
{
    QTest::newRow(name) << request << hex(bytes) << QString::fromLatin1(verdict);
}

} // namespace

class TstPanelGuard : public QObject {
    Q_OBJECT

private slots:
    void missingBytesAreTold_data();
    void missingBytesAreTold();
    void readReplyIsJudged_data();
    void readReplyIsJudged();
    void writeReplyIsJudged_data();
    void writeReplyIsJudged();
    void remoteReplyIsJudged_data();
    void remoteReplyIsJudged();
    void answerBehindOtherBytesIsFound_data();
    void answerBehindOtherBytesIsFound();
    void replyOfAnyLengthIsJudged_data();
    void replyOfAnyLengthIsJudged();
    void everyBeginningOfAReplyIsIncomplete();
    void everyEndOfAReplyIsForeign();
    void everyBitOfAReplyCounts();
    void guardOffSeesLengthAndCrcOnly_data();
    void guardOffSeesLengthAndCrcOnly();
    void exceptionsHaveNames_data();
    void exceptionsHaveNames();

private:
    void judgesTheRow();
};

void TstPanelGuard::judgesTheRow()
{
    QFETCH(Request, request);
    QFETCH(QByteArray, bytes);
    QTEST(verdictOf(request, bytes), "verdict");
}

void TstPanelGuard::missingBytesAreTold_data()
{
    QTest::addColumn<Request>("request");
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<int>("missing");
    const auto row = [](const char *name, const Request &request, const char *bytes, int missing) {
        QTest::newRow(name) << request << hex(bytes) << missing;
    };
    row("the station alone may begin an exception", words(), "01", 4);
    row("the function tells", words(), "01 03", 11);
    row("all but one", words(), "01 03 08 11 22 33 44 55 66 77 88 74", 1);
    row("all", words(), WordsReply, 0);
    row("a wrong CRC", words(), "01 03 08 11 22 33 44 55 66 77 88 74 9D", 0);
    row("one too many", words(), "01 03 08 11 22 33 44 55 66 77 88 74 9C 00", 0);
    row("an exception's function", words(), "01 83", 3);
    row("an exception", words(), ExceptionReply, 0);
    row("another station", words(), "02", 0);
    row("an answer as short as an exception", noBits(), "01", 4);
    row("any length", anyLength(), "01 03", 2);
    row("any length, long enough", anyLength(), "01 03 02 12", 0);
}

void TstPanelGuard::missingBytesAreTold()
{
    QFETCH(Request, request);
    QFETCH(QByteArray, bytes);
    QTEST(judgeReply(request, bytes, bitwiseCrc).missing, "missing");
}

void TstPanelGuard::readReplyIsJudged_data()
{
    addColumns();
    addRow("nothing", words(), "", "incomplete");
    addRow("words", words(), WordsReply, "good at 0");
    addRow("bits", bits(), "01 01 02 A5 5A 42 97", "good at 0");
    addRow("no bits at all", noBits(), "01 01 00 21 90", "good at 0");
    addRow("station above 255", station300(), "2C 03 02 12 34 19 35", "good at 0");
    addRow("first byte wrong alone", words(), "02", "foreign");
    addRow("station wrong", words(), "02 03 08 11 22 33 44 55 66 77 88 7B D8", "foreign");
    addRow("function wrong", words(), "01 04 08 11 22 33 44 55 66 77 88 C5 46", "foreign");
    addRow("function wrong, so far", words(), "01 04", "foreign");
    addRow("byte count wrong", words(), "01 03 06 11 22 33 44 55 66 2A 18", "foreign");
    addRow("byte count wrong, so far", words(), "01 03 06", "foreign");
    addRow("CRC wrong", words(), "01 03 08 11 22 33 44 55 66 77 88 74 9D", "bad crc");
    addRow("CRC swapped", words(), "01 03 08 11 22 33 44 55 66 77 88 9C 74", "bad crc");
    addRow("a bit flipped", words(), "01 03 08 11 22 33 44 55 67 77 88 74 9C", "bad crc");
    addRow("a byte more", words(), "01 03 08 11 22 33 44 55 66 77 88 74 9C 00", "too long");
    addRow("write answer to a read", word(), "01 06 00 64 12 34 C5 62", "foreign");
    addRow("broadcast answered", nothing(), "00 06 00 64 12 34 C4 B3", "foreign");

    addRow("exception", words(), ExceptionReply, "exception 2 at 0");
    addRow("exception to bits", bits(), "01 81 02 C1 91", "exception 2 at 0");
    addRow("exception where an answer is as long", noBits(), "01 81 02 C1 91", "exception 2 at 0");
    addRow("exception, so far", words(), "01 83", "incomplete");
    addRow("exception, last byte missing", words(), "01 83 02 C0", "incomplete");
    addRow("exception with a wrong CRC", words(), "01 83 02 C0 F0", "bad crc");
    addRow("exception of another station", words(), "02 83 02 30 F1", "foreign");
    addRow("exception to another function", words(), "01 84 02 C2 C1", "foreign");
    addRow("exception and a byte more", words(), "01 83 02 C0 F1 00", "foreign");

    addRow("request come back", words(), "01 03 2F 0C 00 04 8C DE", "foreign");
    addRow("request that looks like its answer", bitsLikeTheirAnswer(), "01 01 03 20 00 18 3D 8E", "foreign");
    addRow("its answer", bitsLikeTheirAnswer(), "01 01 03 0F F0 AA C8 32", "good at 0");
    addRow("its beginning may be the answer's", bitsLikeTheirAnswer(), "01 01 03 20 00 18 3D", "incomplete");
}

void TstPanelGuard::readReplyIsJudged()
{
    judgesTheRow();
}

void TstPanelGuard::writeReplyIsJudged_data()
{
    addColumns();
    addRow("word", oneWord(), "01 06 00 64 12 34 C5 62", "good at 0");
    addRow("word, another value", oneWord(), "01 06 00 64 12 35 04 A2", "foreign");
    addRow("word, another address", oneWord(), "01 06 00 65 12 34 94 A2", "foreign");
    addRow("word, another address so far", oneWord(), "01 06 00 65", "foreign");
    addRow("word, CRC wrong", oneWord(), "01 06 00 64 12 34 C5 63", "bad crc");
    addRow("word, a byte more", oneWord(), "01 06 00 64 12 34 C5 62 00", "too long");
    addRow("word, exception", oneWord(), "01 86 03 02 61", "exception 3 at 0");
    addRow("coil", coil(), "01 05 11 35 FF 00 99 08", "good at 0");
    addRow("coil, other value", coil(), "01 05 11 35 00 00 D8 F8", "foreign");
    addRow("coil, exception", coil(), "01 85 04 43 53", "exception 4 at 0");
    addRow("block", block(), "01 10 25 1C 00 02 8B 02", "good at 0");
    addRow("block, another quantity", block(), "01 10 25 1C 00 03 4A C2", "foreign");
    addRow("block, another address", block(), "01 10 25 1D 00 02 DA C2", "foreign");
    addRow("block, exception", block(), "01 90 0B 0D C7", "exception 11 at 0");
    addRow("block come back", block(), "01 10 25 1C 00 02 04 12 34 56 78 2F 53", "foreign");
    addRow("block come back, answer behind", block(), "01 10 25 1C 00 02 04 12 34 56 78 2F 53 01 10 25 1C 00 02 8B 02",
           "good at 13");
    addRow("coils", coils(), "01 0F 00 13 00 0A 24 09", "good at 0");
    addRow("coils, exception", coils(), "01 8F 01 85 F0", "exception 1 at 0");
    addRow("coil's answer to a word", oneWord(), "01 05 11 35 FF 00 99 08", "foreign");
}

void TstPanelGuard::writeReplyIsJudged()
{
    judgesTheRow();
}

void TstPanelGuard::remoteReplyIsJudged_data()
{
    addColumns();
    addRow("read", remoteRead(), "05 03 04 00 01 00 02 6F F2", "good at 0");
    addRow("read, byte count wrong", remoteRead(), "05 03 02 00 01 88 44", "foreign");
    addRow("write of a word", remoteWrite(), "05 06 00 07 00 09 F9 89", "good at 0");
    addRow("write of a coil", remoteWrite(), "05 05 00 07 FF 00 3C 7F", "good at 0");
    addRow("write of a block", remoteWrite(), "05 10 00 07 00 02 F1 8D", "good at 0");
    addRow("function of no write", remoteWrite(), "05 03 00 07 00 09 35 89", "foreign");
    addRow("function that is never used", remoteWrite(), "05 0F 00 07 00 02 64 4F", "foreign");
    addRow("write, another station", remoteWrite(), "06 06 00 07 00 09 F9 BA", "foreign");
    addRow("write, CRC wrong", remoteWrite(), "05 06 00 07 00 09 F9 88", "bad crc");
    addRow("write, exception", remoteWrite(), "05 86 02 82 60", "exception 2 at 0");
    addRow("write, so far", remoteWrite(), "05 10 00", "incomplete");
    addRow("read come back", remoteRead(), "16 00 00 02 05 00 08 00 00 00 0A 00 02 FF FF FF FF 00 00 00 00 2D",
           "foreign");
}

void TstPanelGuard::remoteReplyIsJudged()
{
    judgesTheRow();
}

void TstPanelGuard::answerBehindOtherBytesIsFound_data()
{
    addColumns();
    addRow("noise before", word(), "00 FF 01 03 02 12 34 B5 33", "good at 2");
    addRow("noise like a start before", word(), "01 03 01 03 02 12 34 B5 33", "good at 2");
    addRow("twin: the later one", word(), "01 03 02 56 78 87 C6 01 03 02 12 34 B5 33", "good at 7");
    addRow("half a reply before", word(), "01 03 02 56 01 03 02 12 34 B5 33", "good at 4");
    addRow("another station's reply before", word(), "03 03 02 12 34 CC F3 01 03 02 12 34 B5 33", "good at 7");
    addRow("request before", word(), "01 03 07 D0 00 01 84 87 01 03 02 12 34 B5 33", "good at 8");
    addRow("noise before an exception", words(), "FF 01 83 02 C0 F1", "exception 2 at 1");
    addRow("half a reply before an exception", words(), "01 03 08 11 22 01 83 02 C0 F1", "exception 2 at 5");
    addRow("exception before an answer", word(), "01 83 02 C0 F1 01 03 02 12 34 B5 33", "good at 5");
    addRow("noise before, CRC wrong", word(), "FF 01 03 02 12 34 B5 34", "foreign");
    addRow("noise before, end missing", word(), "FF 01 03 02 12 34 B5", "foreign");
    addRow("noise on both sides", word(), "FF 01 03 02 12 34 B5 33 FF", "foreign");
    addRow("noise before another station", word(), "FF 03 03 02 12 34 CC F3", "foreign");
    addRow("request behind noise", bitsLikeTheirAnswer(), "FF 01 01 03 20 00 18 3D 8E", "foreign");
}

void TstPanelGuard::answerBehindOtherBytesIsFound()
{
    judgesTheRow();
}

void TstPanelGuard::replyOfAnyLengthIsJudged_data()
{
    addColumns();
    addRow("nothing", anyLength(), "", "incomplete");
    addRow("short", anyLength(), WordReply, "good at 0");
    addRow("long", anyLength(), WordsReply, "good at 0");
    addRow("three bytes", anyLength(), "01 03 02", "incomplete");
    addRow("CRC wrong", anyLength(), "01 03 02 12 34 B5 34", "bad crc");
    addRow("cut off", anyLength(), "01 03 02 12 34", "bad crc");
    addRow("another station", anyLength(), "03 03 02 12 34 CC F3", "foreign");
    addRow("exception", anyLength(), ExceptionReply, "exception 2 at 0");
    addRow("request come back", anyLength(), "01 03 07 D0 00 01 84 87", "foreign");
}

void TstPanelGuard::replyOfAnyLengthIsJudged()
{
    judgesTheRow();
}

void TstPanelGuard::everyBeginningOfAReplyIsIncomplete()
{
    for (int len = 0; len < 13; ++len)
        QCOMPARE(verdictOf(words(), hex(WordsReply).left(len)), QStringLiteral("incomplete"));
    for (int len = 0; len < 8; ++len)
        QCOMPARE(verdictOf(block(), hex("01 10 25 1C 00 02 8B 02").left(len)), QStringLiteral("incomplete"));
    for (int len = 0; len < 5; ++len)
        QCOMPARE(verdictOf(words(), hex(ExceptionReply).left(len)), QStringLiteral("incomplete"));
}

void TstPanelGuard::everyEndOfAReplyIsForeign()
{
    for (int start = 1; start < 13; ++start)
        QCOMPARE(verdictOf(words(), hex(WordsReply).mid(start)), QStringLiteral("foreign"));
    for (int start = 1; start < 8; ++start)
        QCOMPARE(verdictOf(block(), hex("01 10 25 1C 00 02 8B 02").mid(start)), QStringLiteral("foreign"));
}

void TstPanelGuard::everyBitOfAReplyCounts()
{
    for (int bit = 0; bit < 13 * 8; ++bit) {
        QByteArray damaged = hex(WordsReply);
        damaged[bit / 8] = char(damaged.at(bit / 8) ^ 1 << bit % 8);
        QCOMPARE(verdictOf(words(), damaged), bit < 24 ? QStringLiteral("foreign") : QStringLiteral("bad crc"));
    }
}

void TstPanelGuard::guardOffSeesLengthAndCrcOnly_data()
{
    addColumns();
    addRow("nothing", word(), "", "incomplete");
    addRow("answer", word(), WordReply, "good at 0");
    addRow("another station", word(), "03 03 02 12 34 CC F3", "good at 0");
    addRow("request that looks like its answer", bitsLikeTheirAnswer(), "01 01 03 20 00 18 3D 8E", "good at 0");
    addRow("CRC wrong", word(), "01 03 02 12 34 B5 34", "bad crc");
    addRow("exception", word(), ExceptionReply, "incomplete");
    addRow("noise before", word(), "FF 01 03 02 12 34 B5 33", "too long");
    addRow("any length", anyLength(), WordsReply, "good at 0");
    addRow("any length, CRC wrong", anyLength(), "01 03 02 12 34 B5 34", "bad crc");
    addRow("any length, one byte", anyLength(), "01", "bad crc");
}

void TstPanelGuard::guardOffSeesLengthAndCrcOnly()
{
    QFETCH(Request, request);
    QFETCH(QByteArray, bytes);
    QTEST(textOf(judgeLength(request, bytes, bitwiseCrc)), "verdict");
}

void TstPanelGuard::exceptionsHaveNames_data()
{
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("text");
    QTest::newRow("0") << 0 << "exception code 0";
    QTest::newRow("1") << 1 << "illegal function";
    QTest::newRow("2") << 2 << "illegal data address";
    QTest::newRow("3") << 3 << "illegal data value";
    QTest::newRow("4") << 4 << "server device failure";
    QTest::newRow("5") << 5 << "acknowledge";
    QTest::newRow("6") << 6 << "server device busy";
    QTest::newRow("7") << 7 << "negative acknowledge";
    QTest::newRow("8") << 8 << "memory parity error";
    QTest::newRow("9") << 9 << "exception code 9";
    QTest::newRow("10") << 10 << "gateway path unavailable";
    QTest::newRow("11") << 11 << "gateway target device failed to respond";
    QTest::newRow("77") << 77 << "exception code 77";
}

void TstPanelGuard::exceptionsHaveNames()
{
    QFETCH(int, code);
    QTEST(exceptionText(code), "text");
}

QTEST_GUILESS_MAIN(TstPanelGuard)
#include "tst_panel_guard.moc"
