#include "host/commands/watch_screen.h"

#include <QtCore/QElapsedTimer>
#include <QtCore/QThread>

#define NCURSES_NOMACROS
#include <ncurses.h>

namespace {

enum { GoodPair = 1, UncertainPair, BadPair };
enum { QualityColumn = 3, EscapeDelay = 50 };

const char *const Headings[] = {"name", "value", "unit", "quality", "age"};
const bool ToTheRight[] = {false, true, false, false, true};
constexpr int Columns = 5;

int pairOf(Quality quality)
{
    switch (quality) {
    case Quality::Good:
        return GoodPair;
    case Quality::Uncertain:
        return UncertainPair;
    case Quality::Bad:
        return BadPair;
    }
    return 0;
}

} // namespace

WatchScreen::WatchScreen()
{
    const QByteArray terminal = qgetenv("TERM");
    if (terminal.isEmpty() || terminal == "dumb" || !::newterm(nullptr, stdout, stdin))
        return;
    opened = true;
    ::cbreak();
    ::noecho();
    ::keypad(stdscr, TRUE);
    ::set_escdelay(EscapeDelay);
    ::curs_set(0);
    isColoured = qEnvironmentVariableIsEmpty("NO_COLOR") && ::has_colors();
    if (!isColoured)
        return;
    ::start_color();
    ::use_default_colors();
    ::init_pair(GoodPair, COLOR_GREEN, -1);
    ::init_pair(UncertainPair, COLOR_YELLOW, -1);
    ::init_pair(BadPair, COLOR_RED, -1);
}

WatchScreen::~WatchScreen()
{
    if (opened)
        ::endwin();
}

void WatchScreen::put(int row, int column, const QString &text, int attributes)
{
    const int room = COLS - column;
    if (row < 0 || row >= LINES || room <= 0)
        return;
    ::attrset(attributes);
    ::mvaddstr(row, column, text.left(room).toLocal8Bit().constData());
    ::attrset(A_NORMAL);
}

void WatchScreen::draw(const WatchView &view)
{
    enum { TitleRows = 1, HeadingRows = 1, RuleRows = 1, LeastRows = 3 };
    ::erase();
    put(0, 0, view.title.leftJustified(COLS), A_REVERSE);
    if (view.title.size() + view.subtitle.size() + 2 <= COLS)
        put(0, COLS - view.subtitle.size(), view.subtitle, A_REVERSE);

    const int room = LINES - TitleRows - HeadingRows - RuleRows;
    const int stateRows = qBound(0, view.state.size(), qMax(0, room - LeastRows));
    const int eventRows = qBound(0, view.events.size(), qMax(0, room - LeastRows - stateRows));
    visibleRows = qMax(1, room - stateRows - eventRows);
    allRows = view.rows.size();
    scrolled = qBound(0, scrolled, qMax(0, allRows - visibleRows));
    drawTable(view, TitleRows, visibleRows);

    int row = TitleRows + HeadingRows + visibleRows;
    QString rule(COLS, QLatin1Char('-'));
    if (allRows > visibleRows) {
        const QString place = QString::fromLatin1("-- %1-%2 of %3 ")
                                  .arg(scrolled + 1)
                                  .arg(qMin(allRows, scrolled + visibleRows))
                                  .arg(allRows);
        rule.replace(0, place.size(), place);
    }
    put(row++, 0, rule);
    for (const QString &line : view.state.mid(0, stateRows))
        put(row++, 0, line);
    for (const QString &line : view.events.mid(view.events.size() - eventRows))
        put(row++, 0, line, A_DIM);
    ::refresh();
}

void WatchScreen::drawTable(const WatchView &view, int firstRow, int rows)
{
    widths.resize(Columns);
    for (int column = 0; column < Columns; ++column) {
        widths[column] = qMax(widths.at(column), int(qstrlen(Headings[column])));
        for (const QStringList &cells : view.rows)
            widths[column] = qMax(widths.at(column), cells.value(column).size());
    }
    int left = 0;
    for (int column = 0; column < Columns; ++column) {
        const auto justified = [&](const QString &text) {
            return ToTheRight[column] ? text.rightJustified(widths.at(column)) : text;
        };
        put(firstRow, left, justified(QLatin1String(Headings[column])), A_BOLD);
        for (int i = 0; i < rows && scrolled + i < view.rows.size(); ++i) {
            const int index = scrolled + i;
            const bool isMarked = isColoured && column == QualityColumn;
            put(firstRow + 1 + i, left, justified(view.rows.at(index).value(column)),
                isMarked ? int(COLOR_PAIR(pairOf(view.qualities.value(index)))) : int(A_NORMAL));
        }
        left += widths.at(column) + 2;
    }
}

int WatchScreen::scrolledAfter(int key) const
{
    switch (key) {
    case KEY_UP:
    case 'k':
        return scrolled - 1;
    case KEY_DOWN:
    case 'j':
        return scrolled + 1;
    case KEY_PPAGE:
        return scrolled - visibleRows;
    case KEY_NPAGE:
    case ' ':
        return scrolled + visibleRows;
    case KEY_HOME:
        return 0;
    case KEY_END:
        return allRows;
    default:
        return scrolled;
    }
}

bool WatchScreen::waitForQuit(int milliseconds)
{
    QElapsedTimer waiting;
    waiting.start();
    ::wtimeout(stdscr, milliseconds);
    const int key = ::wgetch(stdscr);
    if (key == 'q' || key == 'Q')
        return true;
    // Where there is no keyboard, every wait ends at once.
    if (key == ERR && waiting.elapsed() < milliseconds / 2)
        QThread::msleep(static_cast<unsigned long>(milliseconds));
    scrolled = qBound(0, scrolledAfter(key), qMax(0, allRows - visibleRows));
    return false;
}
