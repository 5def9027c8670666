/// What is wrong with an input file, collected to be told all at once.
#pragma once

#include <QtCore/QStringList>
#include <QtCore/QVector>

/// A text from a file as it can be shown in a message: on one line, without control characters, cut when it is long.
QString shown(const QString &text, int longest = 40);
/// The same of a cell: between ' when it is empty, has blanks at an end, or holds control characters.
QString shownCell(const QString &text);

/// The file's bytes, but not more than one above limit: the caller refuses that many. False, with a problem, when the
/// file cannot be read.
bool readWhole(const QString &fileName, qint64 limit, const QString &expected, QByteArray *text, QStringList *problems);

class Problems {
public:
    enum { Most = 100 }; ///< Kept, the first ones that are added; beyond it they are only counted.

    /// kind is what the last line counts: "FILE: 5 more problems".
    explicit Problems(const QString &fileName, const QString &kind = QStringLiteral("problem"))
        : fileName(fileName), kind(kind)
    {
    }
    /// "FILE:LINE: what: text: expected ...". Line 0 names none.
    void add(int line, const QString &what, const QString &text, const QString &expected);
    /// "FILE:LINE:COLUMN: text: expected ...".
    void addAt(int line, int column, const QString &text, const QString &expected);
    /// "FILE: text: expected ...".
    void addFile(const QString &text, const QString &expected);
    int count() const { return found.size() + left; }
    /// All of them, by line.
    QStringList texts() const;

private:
    void append(int line, const QString &text);

    struct Problem {
        int line;
        QString text;
    };
    QString fileName;
    QString kind;
    QVector<Problem> found;
    int left = 0;
};
