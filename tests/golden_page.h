/// A page of the manual, as far as tests read it: fenced examples and tables.
#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QList>
#include <QtCore/QMap>
#include <QtCore/QString>
#include <QtCore/QStringList>

/// A line of an example, "request   01 03"; a line that starts with a blank goes on with the one before.
struct PageLine {
    int number;
    QString word, rest;
};
/// A block fenced with ```frame; number is that of the fence.
struct PageExample {
    int number;
    QList<PageLine> lines;
};
struct PageRow {
    int number;
    QStringList cells;
};
struct PageTable {
    int number;
    QStringList header;
    QList<PageRow> rows;
};

struct Page {
    QString name;
    QList<PageExample> examples;
    QList<PageTable> tables;
    QStringList problems; ///< "frames.md:12: what is wrong".

    /// "frames.md:12".
    QString at(int line) const;
};

/// The page that this text is.
Page pageOf(const QString &name, const QString &text);
/// docs/<name>; a file that cannot be read is a problem.
Page manualPage(const QString &name);

/// Whether text is upper-case hex with one blank between bytes.
bool isSpacedHex(const QString &text);

/// "code 8, address 300, value 34 12" by name. A name that is not allowed, one that is needed and not there, and what
/// is neither text nor bytes nor a number is a problem.
class PageFields {
public:
    /// Both with a blank between names.
    PageFields(const QString &text, const char *allowed, const char *needed = "");

    bool has(const char *name) const { return values.contains(QLatin1String(name)); }
    QString text(const char *name) const { return values.value(QLatin1String(name)); }
    int number(const char *name, int otherwise = 0) const { return has(name) ? text(name).toInt() : otherwise; }
    QByteArray bytes(const char *name) const { return QByteArray::fromHex(text(name).toLatin1()); }

    QString problem;

private:
    bool isWellFormed(const QString &name) const;

    QMap<QString, QString> values;
};
