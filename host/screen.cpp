#include "host/screen.h"

#include <cstdio>
#include <unistd.h>

namespace {

QString inColumns(const QStringList &cells, const QVector<int> &widths, const char *alignment)
{
    QString text;
    for (int i = 0; i < widths.size(); ++i) {
        const QString cell = cells.value(i);
        text += QLatin1String("  ");
        text += alignment[i] == 'r' ? cell.rightJustified(widths.at(i)) : cell.leftJustified(widths.at(i));
    }
    while (text.endsWith(QLatin1Char(' ')))
        text.chop(1);
    return text;
}

} // namespace

QStringList Table::lines() const
{
    QVector<int> widths;
    for (int i = 0; i < headings.size(); ++i) {
        int width = headings.at(i).size();
        for (const QStringList &row : rows)
            width = qMax(width, row.value(i).size());
        widths << width;
    }
    QStringList rules;
    for (const int width : qAsConst(widths))
        rules << QString(width, QLatin1Char('-'));
    QStringList text{inColumns(headings, widths, alignment), inColumns(rules, widths, alignment)};
    for (const QStringList &row : rows)
        text << inColumns(row, widths, alignment);
    return text;
}

Screen::Screen() : terminal(::isatty(STDOUT_FILENO)) {}

void Screen::heading(const QString &text)
{
    const QString title = QString::fromLatin1("%1. %2").arg(++headingsSoFar).arg(text);
    line();
    line(terminal ? QString::fromLatin1("\033[1m%1\033[0m").arg(title) : title);
    line(QString(title.size(), QLatin1Char('=')));
}

void Screen::line(const QString &text)
{
    std::fprintf(stdout, "%s\n", text.toUtf8().constData());
    std::fflush(stdout);
}

void Screen::table(const Table &table)
{
    for (const QString &text : table.lines())
        line(text);
}

void Screen::redraw(const Table &table, bool isFirst)
{
    const QStringList lines = table.lines();
    const bool over = terminal && !isFirst;
    if (over)
        std::fprintf(stdout, "\033[%dA", lines.size());
    else if (!isFirst)
        line();
    for (const QString &text : lines)
        line(over ? text + QLatin1String("\033[K") : text);
}

void Screen::wrong(const QString &text)
{
    line((terminal ? QLatin1String("  \033[1;31mWRONG:\033[0m ") : QLatin1String("  WRONG: ")) + text);
}
