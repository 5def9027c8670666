#include "host/csv.h"

bool splitCsv(const QString &line, QStringList *cells)
{
    const QLatin1Char quote('"');
    cells->clear();
    int at = 0;
    for (;;) {
        QString cell;
        if (at < line.size() && line.at(at) == quote) {
            for (++at;; ++at) {
                if (at >= line.size())
                    return false;
                if (line.at(at) != quote) {
                    cell += line.at(at);
                } else if (at + 1 < line.size() && line.at(at + 1) == quote) {
                    cell += quote;
                    ++at;
                } else {
                    break;
                }
            }
            ++at;
        } else {
            const int start = at;
            while (at < line.size() && line.at(at) != QLatin1Char(',') && line.at(at) != quote)
                ++at;
            cell = line.mid(start, at - start);
        }
        *cells << cell;
        if (at >= line.size())
            return true;
        if (line.at(at) != QLatin1Char(','))
            return false;
        ++at;
    }
}

QString csvCell(const QString &text)
{
    const bool isPlain = !text.contains(QLatin1Char(',')) && !text.contains(QLatin1Char('"'));
    return isPlain
               ? text
               : QLatin1Char('"') + QString(text).replace(QLatin1Char('"'), QLatin1String("\"\"")) + QLatin1Char('"');
}
