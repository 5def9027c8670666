#include "host/screen.h"

#include <unistd.h>

namespace {

const char *const Bold = "1";
const char *const BoldRed = "1;31";

QString indented(const QStringList &lines, const char *end)
{
    QString text;
    for (const QString &line : lines)
        text += (line.isEmpty() ? line : QLatin1String("  ") + line) + QLatin1String(end);
    return text;
}

} // namespace

Screen::Screen(std::function<void(const QString &)> print)
    : print(std::move(print)), terminal(::isatty(STDOUT_FILENO)),
      isColoured(terminal && qEnvironmentVariableIsEmpty("NO_COLOR"))
{
}

QString Screen::marked(const char *sequence, const QString &text) const
{
    return isColoured ? QString::fromLatin1("\033[%1m%2\033[0m").arg(QLatin1String(sequence), text) : text;
}

void Screen::heading(const QString &text)
{
    const QString title = QString::fromLatin1("%1. %2").arg(++headingsSoFar).arg(text);
    line();
    line(marked(Bold, title));
    line(QString(title.size(), QLatin1Char('=')));
}

void Screen::line(const QString &text)
{
    print(text + QLatin1Char('\n'));
}

void Screen::lines(const QStringList &lines)
{
    print(indented(lines, "\n"));
}

void Screen::redraw(const QStringList &lines, bool isFirst)
{
    if (isFirst)
        print(indented(lines, "\n"));
    else if (terminal)
        print(QString::fromLatin1("\033[%1A").arg(lines.size()) + indented(lines, "\033[K\n"));
    else
        print(QLatin1Char('\n') + indented(lines, "\n"));
}

void Screen::wrong(const QString &text)
{
    line(QString::fromLatin1("  %1 %2").arg(marked(BoldRed, QStringLiteral("WRONG:")), text));
}
