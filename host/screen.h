/// What the demo prints: headings, lines and aligned tables; redrawn in place when the output is a terminal.
#pragma once

#include <QtCore/QList>
#include <QtCore/QStringList>

/// Rows of text in columns. An alignment letter a column: 'l' left, 'r' right.
class Table {
public:
    Table(const QStringList &headings, const char *alignment) : headings(headings), alignment(alignment) {}

    void addRow(const QStringList &cells) { rows << cells; }
    QStringList lines() const;

private:
    QStringList headings;
    const char *alignment;
    QList<QStringList> rows;
};

class Screen {
public:
    Screen();

    bool isTerminal() const { return terminal; }
    void heading(const QString &text);
    void line(const QString &text = QString());
    void table(const Table &table);
    /// Draws a table over the one drawn before; below it when the output is not a terminal or this is the first.
    void redraw(const Table &table, bool isFirst);
    /// A line that stands out.
    void wrong(const QString &text);

private:
    bool terminal;
    int headingsSoFar = 0;
};
