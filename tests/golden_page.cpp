#include "tests/golden_page.h"

#include <QtCore/QFile>
#include <QtCore/QRegularExpression>

namespace {

QStringList cellsOf(const QString &line)
{
    QStringList cells;
    const QString inner = line.trimmed();
    for (const QString &cell : inner.mid(1, inner.size() - 2).split(QLatin1Char('|')))
        cells << cell.trimmed();
    return cells;
}

bool isRule(const QStringList &cells)
{
    static const QRegularExpression dashes(QStringLiteral("^:?-+:?$"));
    for (const QString &cell : cells) {
        if (!dashes.match(cell).hasMatch())
            return false;
    }
    return true;
}

/// Takes the lines one after the other.
class PageReader {
public:
    explicit PageReader(Page &target) : page(target) {}

    void take(int number, const QString &line)
    {
        if (line.startsWith(QLatin1String("```")))
            takeFence(number, line);
        else if (fence == Fence::Example)
            takeExampleLine(number, line);
        else if (fence == Fence::None && line.startsWith(QLatin1Char('|')))
            takeTableLine(number, line);
        inTable = fence == Fence::None && line.startsWith(QLatin1Char('|'));
    }

    void end()
    {
        if (fence != Fence::None)
            page.problems << page.at(opened) + QStringLiteral("the block has no end");
    }

private:
    enum class Fence { None, Example, Other };

    void takeFence(int number, const QString &line)
    {
        if (fence != Fence::None) {
            fence = Fence::None;
            return;
        }
        opened = number;
        fence = line == QLatin1String("```frame") ? Fence::Example : Fence::Other;
        if (fence == Fence::Example)
            page.examples << PageExample{number, {}};
    }

    void takeExampleLine(int number, const QString &line)
    {
        QList<PageLine> &lines = page.examples.last().lines;
        if (line.startsWith(QLatin1Char(' ')) && !lines.isEmpty())
            lines.last().rest += QLatin1Char(' ') + line.trimmed();
        else
            lines << PageLine{number, line.section(QLatin1Char(' '), 0, 0),
                              line.section(QLatin1Char(' '), 1).trimmed()};
    }

    void takeTableLine(int number, const QString &line)
    {
        const QStringList cells = cellsOf(line);
        if (!inTable) {
            page.tables << PageTable{number, cells, {}};
            return;
        }
        PageTable &table = page.tables.last();
        if (cells.size() != table.header.size())
            page.problems
                << page.at(number)
                       + QStringLiteral("%1 cells in a table of %2 columns").arg(cells.size()).arg(table.header.size());
        else if (!isRule(cells))
            table.rows << PageRow{number, cells};
    }

    Page &page;
    Fence fence = Fence::None;
    int opened = 0;
    bool inTable = false;
};

} // namespace

QString Page::at(int line) const
{
    return QStringLiteral("%1:%2: ").arg(name).arg(line);
}

Page pageOf(const QString &name, const QString &text)
{
    Page page;
    page.name = name;
    PageReader reader(page);
    int number = 0;
    for (const QString &line : text.split(QLatin1Char('\n')))
        reader.take(++number, line);
    reader.end();
    return page;
}

Page manualPage(const QString &name)
{
    QFile file(QStringLiteral(EC_SOURCE_DIR "/docs/") + name);
    if (file.open(QIODevice::ReadOnly))
        return pageOf(name, QString::fromUtf8(file.readAll()));
    Page page;
    page.name = name;
    page.problems << page.at(0) + file.fileName() + QLatin1String(": ") + file.errorString();
    return page;
}

bool isSpacedHex(const QString &text)
{
    static const QRegularExpression spaced(QStringLiteral("^[0-9A-F]{2}( [0-9A-F]{2})*$"));
    return spaced.match(text).hasMatch();
}

PageFields::PageFields(const QString &text, const char *allowed, const char *needed)
{
    const QStringList names = QString::fromLatin1(allowed).split(QLatin1Char(' '));
    for (const QString &field : text.split(QStringLiteral(", "))) {
        const QString name = field.section(QLatin1Char(' '), 0, 0);
        const bool isKnown = names.contains(name) && !values.contains(name);
        values[name] = field.section(QLatin1Char(' '), 1);
        if (problem.isEmpty() && !(isKnown && isWellFormed(name)))
            problem = QStringLiteral("malformed: \"%1\"").arg(field);
    }
    for (const QString &name : QString::fromLatin1(needed).split(QLatin1Char(' '), Qt::SkipEmptyParts)) {
        if (problem.isEmpty() && !values.contains(name))
            problem = QStringLiteral("malformed: no %1").arg(name);
    }
}

bool PageFields::isWellFormed(const QString &name) const
{
    const QString &value = values[name];
    if (name == QLatin1String("address"))
        return !value.isEmpty() && !value.contains(QLatin1Char(' '));
    if (name == QLatin1String("value") || name == QLatin1String("data"))
        return isSpacedHex(value);
    bool isNumber = false;
    value.toInt(&isNumber);
    return isNumber;
}
