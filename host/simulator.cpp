#include "host/simulator.h"

#include <QtCore/QFileInfo>

#include <unistd.h>

namespace {

enum { AnswerMilliseconds = 5000, EndMilliseconds = 2000 };
const char *const Ready = "ready ";

} // namespace

void Simulator::OwnGroupProcess::setupChildProcess()
{
    ::setpgid(0, 0);
}

Simulator::~Simulator()
{
    if (process.state() == QProcess::NotRunning)
        return;
    process.closeWriteChannel();
    if (process.waitForFinished(EndMilliseconds))
        return;
    process.kill();
    process.waitForFinished(EndMilliseconds);
}

bool Simulator::start(const QString &program, const QStringList &arguments, QString *error)
{
    if (!QFileInfo(program).isExecutable()) {
        *error = QString::fromLatin1("no simulated PLC at %1: expected the built program ecsim (give its path with "
                                     "--sim)")
                     .arg(program);
        return false;
    }
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.start(QFileInfo(program).absoluteFilePath(), arguments);
    const QString firstLine = readLine();
    port = firstLine.section(QLatin1Char(' '), 1, 1);
    if (firstLine.startsWith(QLatin1String(Ready)) && !port.isEmpty())
        return true;
    *error = QString::fromLatin1("%1 did not start: expected a first line 'ready PORT' within %2 s, got '%3'")
                 .arg(program)
                 .arg(AnswerMilliseconds / 1000)
                 .arg(firstLine);
    return false;
}

bool Simulator::isRunning()
{
    // The wait is what notices the end: no event loop runs here.
    if (process.state() == QProcess::Running && !process.waitForFinished(0))
        return true;
    if (lastError.isEmpty())
        lastError = QString::fromLatin1("%1 has ended: expected it to run as long as the demo").arg(process.program());
    return false;
}

QString Simulator::readLine()
{
    QElapsedTimer waiting;
    waiting.start();
    while (!process.canReadLine()) {
        const int rest = AnswerMilliseconds - int(waiting.elapsed());
        if (rest <= 0 || !process.waitForReadyRead(rest))
            return QString();
    }
    return QString::fromUtf8(process.readLine()).trimmed();
}

QStringList Simulator::ask(const QString &command)
{
    if (!isRunning())
        return QStringList();
    process.write(command.toUtf8() + '\n');
    QString answer = readLine();
    // A port that has come back is announced again.
    while (answer.startsWith(QLatin1String(Ready)))
        answer = readLine();
    QStringList words = answer.split(QLatin1Char(' '), Qt::SkipEmptyParts);
    if (words.value(0) != QLatin1String("ok")) {
        lastError = QString::fromLatin1("the simulated PLC did not carry out '%1': expected 'ok', got '%2'")
                        .arg(command, answer);
        return QStringList();
    }
    words.removeFirst();
    return words;
}

QVector<int> Simulator::numbers(const QString &command, int count)
{
    QVector<int> values;
    for (const QString &word : ask(command))
        values << word.toInt();
    if (values.size() != count && lastError.isEmpty())
        lastError = QString::fromLatin1("the simulated PLC answered '%1' with %2 values: expected %3")
                        .arg(command)
                        .arg(values.size())
                        .arg(count);
    // Callers index what they asked for; what went wrong is in error().
    values.resize(count);
    return values;
}

QVector<int> Simulator::registers(int station, int first, int count)
{
    return numbers(QString::fromLatin1("registers %1 %2 %3").arg(station).arg(first).arg(count), count);
}

QVector<int> Simulator::coils(int station, int first, int count)
{
    return numbers(QString::fromLatin1("coils %1 %2 %3").arg(station).arg(first).arg(count), count);
}
