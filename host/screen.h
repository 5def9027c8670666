/// What the demo prints: headings, lines and tables, some redrawn in place when the output is a terminal.
#pragma once

#include "host/report.h"

#include <functional>

class Screen {
public:
    /// print writes a text to standard output at once.
    explicit Screen(std::function<void(const QString &)> print);

    bool isTerminal() const { return terminal; }
    void heading(const QString &text);
    void line(const QString &text = QString());
    void lines(const QStringList &lines);
    void table(const TextTable &table) { lines(table.lines()); }
    /// Draws lines over those drawn before; below them when the output is not a terminal or these are the first. As
    /// many lines as before.
    void redraw(const QStringList &lines, bool isFirst);
    /// A line that stands out.
    void wrong(const QString &text);

private:
    QString marked(const char *sequence, const QString &text) const;

    const std::function<void(const QString &)> print;
    const bool terminal;
    const bool isColoured;
    int headingsSoFar = 0;
};
