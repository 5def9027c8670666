/// One row of a tag file: its cells as a tag, checked against the device types and the settings.
#pragma once

#include "host/problems.h"
#include "host/tags.h"

#include <QtCore/QHash>

/// What is no error in good tags, but seldom meant: "FILE:LINE: order: CDAB: changes nothing for uint16", and of two
/// tags that can be written and share cells. A tag for all stations is not compared with those of one.
QStringList tagWarnings(const QList<Tag> &tags, const QString &fileName);

class TagCheck {
public:
    enum Column { Name, Type, Address, Station, Count, FormatColumn, Order, Scale, Unit, Rw, Columns };

    TagCheck(const PanelSettings &settings, Problems &problems) : settings(settings), problems(problems) {}

    /// "name", "type", ...
    static QString columnName(int column);
    /// Every problem of the row is added; true when there is none. The row has Columns texts.
    bool check(const QStringList &row, int line, Tag *result);

private:
    bool refuse(int column, const QString &expected);
    bool checkName();
    bool checkType();
    bool checkAddress();
    bool checkCount();
    bool checkFormat();
    bool checkOrder();
    bool checkScale();
    bool checkUnit();
    bool checkStation();
    bool checkRw();
    bool checkArea();

    const PanelSettings &settings;
    Problems &problems;
    QHash<QString, int> lineOfName;

    // The row being checked.
    QStringList cells;
    const DeviceType *type = nullptr;
    Tag tag;
};
