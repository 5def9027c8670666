/// The live screen of ecpanel watch: a table that scrolls, and the line's state below it.
#pragma once

#include "host/values.h"

#include <QtCore/QStringList>
#include <QtCore/QVector>

/// What the screen shows.
struct WatchView {
    QString title;
    QString subtitle;        ///< At the right of the title; left out when there is no room.
    QList<QStringList> rows; ///< Name, value, unit, quality, age.
    QVector<Quality> qualities;
    QStringList state;  ///< Lines below the table.
    QStringList events; ///< Below the state, the newest last; the oldest go first when there is no room.
};

class WatchScreen {
public:
    /// Takes the terminal over. isOpen tells whether it can be drawn on.
    WatchScreen();
    /// Gives the terminal back as it was.
    ~WatchScreen();
    WatchScreen(const WatchScreen &) = delete;
    WatchScreen &operator=(const WatchScreen &) = delete;

    bool isOpen() const { return opened; }
    void draw(const WatchView &view);
    /// Waits for keys, and scrolls; a new size ends the wait early. True when the person wants to leave.
    bool waitForQuit(int milliseconds);

private:
    static void put(int row, int column, const QString &text, int attributes = 0);
    /// The first row after this key, before it is bounded.
    int scrolledAfter(int key) const;
    void drawTable(const WatchView &view, int firstRow, int rows);

    bool opened = false;
    bool isColoured = false;
    int scrolled = 0;
    int visibleRows = 1;
    int allRows = 0;
    QVector<int> widths; ///< They only grow: a table that jumps cannot be read.
};
