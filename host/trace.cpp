#include "host/trace.h"

namespace {

const char Heading[] = "# ecpanel trace 1";

enum {
    MicrosecondDigits = 6,
    SecondDigits = 12,  ///< Keeps every moment inside a qint64.
    MostFields = 32,    ///< In a line; the longest that is written has 9.
    MostProblems = 100, ///< Listed; the rest is counted.
    ShownLength = 60    ///< Characters of a bad line that its problem shows.
};

bool isDigit(char character)
{
    return character >= '0' && character <= '9';
}

bool isHexDigit(char character)
{
    return isDigit(character) || (character >= 'A' && character <= 'F') || (character >= 'a' && character <= 'f');
}

template <class Predicate>
bool consistsOf(const QByteArray &text, Predicate allowed)
{
    for (const char character : text) {
        if (!allowed(character))
            return false;
    }
    return !text.isEmpty();
}

QByteArray momentText(qint64 moment)
{
    const QByteArray digits = QByteArray::number(qAbs(moment)).rightJustified(MicrosecondDigits + 1, '0');
    const QByteArray text = digits.chopped(MicrosecondDigits) + '.' + digits.right(MicrosecondDigits);
    return moment < 0 ? '-' + text : text;
}

bool toMoment(const QByteArray &text, qint64 *moment)
{
    const bool isNegative = text.startsWith('-');
    const QByteArray digits = isNegative ? text.mid(1) : text;
    const int point = digits.size() - MicrosecondDigits - 1;
    if (point < 1 || point > SecondDigits || digits.at(point) != '.')
        return false;
    const QByteArray number = digits.left(point) + digits.mid(point + 1);
    if (!consistsOf(number, isDigit))
        return false;
    *moment = isNegative ? -number.toLongLong() : number.toLongLong();
    return true;
}

/// What is wrong with a line, as what was expected; empty when nothing is.
QByteArray readLine(const QByteArray &text, TraceLine *line)
{
    if (!consistsOf(text, [](char character) { return character >= ' ' && character <= '~'; }))
        return "printable ASCII characters and blanks";
    int wordCount = 0;
    for (int from = 0; from < text.size();) {
        const int blank = text.indexOf(' ', from);
        const int to = blank < 0 ? text.size() : blank;
        const QByteArray word = text.mid(from, to - from);
        from = to + 1;
        if (word.isEmpty())
            continue;
        ++wordCount;
        if (wordCount == 1 && !toMoment(word, &line->moment))
            return "seconds with six decimals, \"12.345678\"";
        if (wordCount == 2)
            line->word = word;
        if (wordCount > 2)
            line->fields.append(word);
        if (line->fields.size() > MostFields)
            return "at most " + QByteArray::number(MostFields) + " fields";
    }
    const auto inWord = [](char character) { return (character >= 'a' && character <= 'z') || character == '-'; };
    return consistsOf(line->word, inWord) ? QByteArray() : QByteArray("a word in small letters behind the moment");
}

QString shown(const QByteArray &text)
{
    QString result;
    for (const char character : text.left(ShownLength))
        result += character >= ' ' && character <= '~' ? QLatin1Char(character) : QLatin1Char('?');
    return text.size() > ShownLength ? result + QLatin1String("...") : result;
}

} // namespace

namespace trace {

QByteArray ofText(const QString &text)
{
    if (text.isEmpty())
        return "-";
    // A text that looks like "nothing" must not become it.
    return text.toUtf8().toPercentEncoding("/:;,()[]+*", text == QLatin1String("-") ? "-" : "");
}

QByteArray ofBytes(const QByteArray &bytes)
{
    return bytes.isEmpty() ? QByteArray("-") : bytes.toHex().toUpper();
}

QByteArray ofNumber(qint64 number)
{
    return QByteArray::number(number);
}

bool toText(const QByteArray &field, QString *text)
{
    if (field.isEmpty())
        return false;
    for (int i = field.indexOf('%'); i >= 0; i = field.indexOf('%', i + 1)) {
        if (i + 2 >= field.size() || !isHexDigit(field.at(i + 1)) || !isHexDigit(field.at(i + 2)))
            return false;
    }
    const QByteArray utf8 = field == "-" ? QByteArray() : QByteArray::fromPercentEncoding(field);
    const QString decoded = QString::fromUtf8(utf8);
    if (decoded.toUtf8() != utf8)
        return false;
    *text = decoded;
    return true;
}

bool toBytes(const QByteArray &field, QByteArray *bytes)
{
    if (field == "-") {
        bytes->clear();
        return true;
    }
    if (field.size() % 2 != 0 || !consistsOf(field, isHexDigit))
        return false;
    *bytes = QByteArray::fromHex(field);
    return true;
}

bool toNumber(const QByteArray &field, qint64 *number)
{
    if (!consistsOf(field.startsWith('-') ? field.mid(1) : field, isDigit))
        return false;
    bool isNumber = false;
    const qint64 value = field.toLongLong(&isNumber);
    if (isNumber)
        *number = value;
    return isNumber;
}

} // namespace trace

bool TraceWriter::open(const QString &fileName, QString *error)
{
    file.setFileName(fileName);
    // Unbuffered: what happened just before a power cut is what the trace is for.
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Unbuffered)) {
        *error = QString::fromLatin1("%1: expected a file that can be written: %2").arg(fileName, file.errorString());
        return false;
    }
    firstError.clear();
    const QByteArray heading = QByteArray(Heading) + '\n';
    if (file.write(heading) == heading.size())
        return true;
    *error = QString::fromLatin1("%1: expected room for the trace: %2").arg(fileName, file.errorString());
    file.close();
    return false;
}

void TraceWriter::write(qint64 moment, const char *word, const QVector<QByteArray> &fields)
{
    if (!file.isOpen() || !firstError.isEmpty())
        return;
    QByteArray line = momentText(moment) + ' ' + word;
    for (const QByteArray &field : fields)
        line += ' ' + field;
    line += '\n';
    if (file.write(line) != line.size())
        firstError = QString::fromLatin1("%1: the trace ends here, expected room for more: %2")
                         .arg(file.fileName(), file.errorString());
}

void TraceWriter::close()
{
    file.close();
}

QVector<TraceLine> parseTrace(const QByteArray &text, const QString &fileName, QStringList *problems)
{
    QVector<TraceLine> lines;
    int number = 0, problemCount = 0;
    const auto complain = [&](const QByteArray &line, const QByteArray &expected) {
        if (++problemCount <= MostProblems)
            *problems << QString::fromLatin1("%1:%2: %3: expected %4")
                             .arg(fileName, QString::number(number), shown(line), QLatin1String(expected));
    };
    for (int from = 0; from < text.size() || number == 0;) {
        const int end = text.indexOf('\n', from);
        QByteArray content = text.mid(from, end < 0 ? -1 : end - from);
        from = end < 0 ? text.size() : end + 1;
        ++number;
        if (content.endsWith('\r'))
            content.chop(1);
        if (number == 1 && content != Heading)
            complain(content, '"' + QByteArray(Heading) + "\" in the first line");
        if (content.startsWith('#') || content.trimmed().isEmpty())
            continue;
        TraceLine line;
        line.number = number;
        const QByteArray expected = readLine(content, &line);
        // A line without an end was cut off by what ended the trace; part of it says nothing.
        if (end < 0 && line.word != "end")
            break;
        if (expected.isEmpty())
            lines.append(line);
        else
            complain(content, expected);
    }
    if (problemCount > MostProblems)
        *problems << QString::fromLatin1("%1: %2 more").arg(fileName).arg(problemCount - MostProblems);
    return lines;
}
