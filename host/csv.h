/// One line of a CSV file.
#pragma once

#include <QtCore/QStringList>

/// Cells of a line without its end. A cell in quotes may hold commas, and quotes as two; it ends on its line.
/// False when a quote stands where none can be, or one is not closed.
bool splitCsv(const QString &line, QStringList *cells);
/// The text as a cell: in quotes when it needs them.
QString csvCell(const QString &text);
