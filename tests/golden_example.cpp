#include "tests/golden_example.h"

#include "tests/exchange_fixture.h"
#include "tests/golden_calls.h"
#include "tests/image_fixture.h"

#include <QtCore/QHash>
#include <QtCore/QRegularExpression>

namespace {

QString differs(const char *what, const QString &page, const QString &driver)
{
    if (page == driver)
        return QString();
    return QStringLiteral("%1 on the page is\n  %2\nand of the driver\n  %3").arg(QLatin1String(what), page, driver);
}

QString malformed(const QString &rest, const char *what)
{
    return QStringLiteral("malformed: \"%1\" is no %2").arg(rest, QLatin1String(what));
}

bool isFrame(const QString &text)
{
    return text == QLatin1String("none") || isSpacedHex(text);
}

QString sent(const Protocol *request)
{
    return request == nullptr ? QStringLiteral("none") : toHex(request->frame.left(request->frameLen));
}

QString expected(const Protocol &request)
{
    if (request.replyLen == 0 && request.dataOffset == 0 && request.dataLen == 0)
        return QStringLiteral("nothing");
    if (request.dataOffset == 0 && request.dataLen == 0)
        return QStringLiteral("%1 bytes").arg(request.replyLen);
    return QStringLiteral("%1 bytes, %2 of data from byte %3")
        .arg(request.replyLen)
        .arg(request.dataLen)
        .arg(request.dataOffset);
}

/// One example, line by line. Each word of an example is a member that gives what is wrong, or nothing.
class ExamplePlay {
public:
    QString take(const PageLine &line);
    QString finish();

private:
    typedef QString (ExamplePlay::*Word)(const QString &rest);

    QString settings(const QString &rest) { return calls.settings(rest); }
    QString request(const QString &rest);
    QString expects(const QString &rest);
    QString behind(const QString &rest);
    QString reply(const QString &rest);
    QString result(const QString &rest);
    QString shows(const QString &rest);
    QString image(const QString &rest) { return differs("the image", rest, ::image()); }
    QString store(const QString &rest) { return differs("the store", rest, ::store()); }

    static Word wordOf(const QString &word);
    bool isInPlace(const QString &word) const;
    QString checkResult(int code);
    QString checkGoodReply();
    QString checkAnswer() const;

    ExampleCalls calls;
    QString previous;     ///< The word of the line before.
    QString firstRequest; ///< Empty before the first.
    Protocol inFlight;    ///< The last request that was made.
    QByteArray answer;    ///< The last reply.
    bool isOpen = false;  ///< A request waits for its reply.
    bool isResultDue = false;
    int resultCode = 0;
};

ExamplePlay::Word ExamplePlay::wordOf(const QString &word)
{
    static const QHash<QString, Word> words = {
        {QStringLiteral("settings"), &ExamplePlay::settings}, {QStringLiteral("request"), &ExamplePlay::request},
        {QStringLiteral("expects"), &ExamplePlay::expects},   {QStringLiteral("behind"), &ExamplePlay::behind},
        {QStringLiteral("reply"), &ExamplePlay::reply},       {QStringLiteral("result"), &ExamplePlay::result},
        {QStringLiteral("shows"), &ExamplePlay::shows},       {QStringLiteral("image"), &ExamplePlay::image},
        {QStringLiteral("store"), &ExamplePlay::store}};
    return words.value(word);
}

QString ExamplePlay::take(const PageLine &line)
{
    const bool isCall = ExampleCalls::isCall(line.word);
    const Word word = wordOf(line.word);
    if (!isCall && word == nullptr)
        return malformed(line.word, "word of an example");
    if (!isInPlace(line.word))
        return QStringLiteral("malformed: \"%1\" has no place here").arg(line.word);
    QString problem;
    if (isResultDue && line.word != QLatin1String("result"))
        problem = checkGoodReply();
    if (problem.isEmpty())
        problem = isCall ? calls.make(line.word, line.rest) : (this->*word)(line.rest);
    previous = line.word;
    return problem;
}

/// Settings, calls, requests; a request is followed by what it expects, and the next one stands behind its reply.
bool ExamplePlay::isInPlace(const QString &word) const
{
    const bool isExpecting = previous == QLatin1String("request") && isOpen;
    if (isExpecting || word == QLatin1String("expects"))
        return isExpecting && word == QLatin1String("expects");
    if (word == QLatin1String("settings"))
        return previous.isEmpty();
    if (ExampleCalls::isCall(word))
        return firstRequest.isEmpty();
    if (word == QLatin1String("request"))
        return calls.isMade && !isOpen;
    if (word == QLatin1String("reply") || word == QLatin1String("behind"))
        return isOpen;
    return word == QLatin1String("result") ? isResultDue : !firstRequest.isEmpty();
}

QString ExamplePlay::request(const QString &rest)
{
    if (!isFrame(rest))
        return malformed(rest, "frame");
    if (firstRequest.isEmpty()) {
        firstRequest = rest;
        calls.registerReads();
    }
    const Protocol *request = ComCommunication();
    isOpen = request != nullptr;
    if (isOpen)
        inFlight = *request;
    return differs("the request", rest, sent(request));
}

QString ExamplePlay::expects(const QString &rest)
{
    static const QRegularExpression form(QStringLiteral("^(nothing|\\d+ bytes(, \\d+ of data from byte \\d+)?)$"));
    if (!form.match(rest).hasMatch())
        return malformed(rest, "length");
    return differs("what is expected", rest, expected(inFlight));
}

QString ExamplePlay::behind(const QString &rest)
{
    if (!isSpacedHex(rest))
        return malformed(rest, "frame");
    const QList<Protocol> &pending = PLC_driver.protocolList;
    return differs("the frame behind", rest, sent(pending.size() > 1 ? &pending.at(1) : nullptr));
}

QString ExamplePlay::reply(const QString &rest)
{
    if (!isFrame(rest))
        return malformed(rest, "frame");
    answer = isSpacedHex(rest) ? hex(rest.toLatin1().constData()) : QByteArray();
    resultCode = DataCom(&answer, answer.size())->resultCode;
    isResultDue = true;
    isOpen = false;
    return QString();
}

QString ExamplePlay::result(const QString &rest)
{
    bool isNumber = false;
    const int code = rest.toInt(&isNumber);
    return isNumber ? checkResult(code) : malformed(rest, "result");
}

QString ExamplePlay::checkResult(int code)
{
    isResultDue = false;
    return differs("the result of the reply", QString::number(code), QString::number(resultCode));
}

/// A reply of which the example says nothing more.
QString ExamplePlay::checkGoodReply()
{
    const QString problem = checkResult(1);
    return problem.isEmpty() && !answer.isEmpty() ? checkAnswer() : problem;
}

/// Of a good reply the driver looks at the length and the CRC. The page is held to what a PLC sends: an echo to a
/// write, to a read the station, the function and the number of data bytes. A remote station has only this number to
/// keep to.
QString ExamplePlay::checkAnswer() const
{
    const bool isRead = inFlight.dataLen > 0;
    const bool isRemote = calls.driver.settings.remoteMode != 0;
    QByteArray due = isRead ? inFlight.frame.left(2) + char(inFlight.dataLen) : inFlight.frame.left(6);
    if (isRemote)
        due = isRead ? due.mid(2) : QByteArray();
    const QByteArray given = answer.mid(isRemote ? 2 : 0, due.size());
    return given == due ? QString() : QStringLiteral("malformed: a PLC's reply has %1 here").arg(toHex(due));
}

QString ExamplePlay::shows(const QString &rest)
{
    if (!isSpacedHex(rest))
        return malformed(rest, "value");
    QString problem;
    const QString value = calls.valueOfFirst(problem);
    return problem.isEmpty() ? differs("the value", rest, value) : problem;
}

/// Every frame that the calls make has been in the example.
QString ExamplePlay::finish()
{
    if (firstRequest.isEmpty() || (previous == QLatin1String("request") && isOpen))
        return QStringLiteral("malformed: no request, or nothing says what it expects");
    const QString problem = isResultDue ? checkGoodReply() : QString();
    if (!problem.isEmpty())
        return problem;
    if (isOpen) {
        QByteArray good = goodReplyTo(inFlight);
        DataCom(&good, good.size());
    }
    const QString next = calls.isCyclic ? firstRequest : QStringLiteral("none");
    return differs("after the last frame, the next", next, sent(ComCommunication()));
}

} // namespace

QString playedExample(const Page &page, const PageExample &example)
{
    ExamplePlay play;
    for (const PageLine &line : example.lines) {
        const QString problem = play.take(line);
        if (!problem.isEmpty())
            return page.at(line.number) + problem;
    }
    const QString problem = play.finish();
    return problem.isEmpty() ? problem : page.at(example.number) + problem;
}
