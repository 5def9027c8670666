#include "host/tags.h"

#include "host/csv.h"
#include "host/problems.h"
#include "host/tag_check.h"

#include <QtCore/QLocale>

namespace {

enum { LargestFile = 16 << 20, MostLines = 200000 };

const char Header[] = "name,type,address,station,count,format,order,scale,unit,rw";
const char NoSemicolons[] = "expected commas between the cells, not semicolons";
const char ByteOrderMark[] = "\xEF\xBB\xBF";

/// The lines with their ends.
QList<QByteArray> linesOf(const QByteArray &text)
{
    QList<QByteArray> lines;
    for (int start = 0; start < text.size();) {
        const int end = text.indexOf('\n', start);
        const int next = end < 0 ? text.size() : end + 1;
        lines << text.mid(start, next - start);
        start = next;
    }
    return lines;
}

/// Without what is no part of its cells: the mark at the file's start, the end of the line.
QByteArray contentOf(const QByteArray &line, bool isFirst)
{
    QByteArray content = isFirst && line.startsWith(ByteOrderMark) ? line.mid(int(sizeof ByteOrderMark) - 1) : line;
    if (content.endsWith('\n'))
        content.chop(content.endsWith("\r\n") ? 2 : 1);
    return content;
}

/// False for bytes that are no UTF-8.
bool toText(const QByteArray &bytes, QString *text)
{
    *text = QString::fromUtf8(bytes.constData(), bytes.size());
    return text->toUtf8() == bytes;
}

bool isSkipped(const QByteArray &content)
{
    return content.startsWith('#') || content.trimmed().isEmpty();
}

/// A spreadsheet's own file, or one in UTF-16, would give a problem for each line.
bool isText(const QList<QByteArray> &lines, Problems &problems)
{
    for (int i = 0; i < lines.size(); ++i) {
        for (const char c : lines.at(i)) {
            const bool isControl = uchar(c) < 0x20 || c == 0x7F;
            if (!isControl || c == '\t' || c == '\n' || c == '\r')
                continue;
            problems.add(i + 1, QStringLiteral("is no text file"),
                         QStringLiteral("byte 0x%1").arg(int(uchar(c)), 2, 16, QLatin1Char('0')),
                         QStringLiteral("expected a CSV file in UTF-8"));
            return false;
        }
    }
    return true;
}

bool checkHeader(const QByteArray &content, int line, Problems &problems)
{
    if (content == Header)
        return true;
    QString text;
    toText(content, &text);
    text = line == 0 ? QStringLiteral("missing") : shown(text);
    problems.add(line, QStringLiteral("header"), text,
                 content.contains(';') ? QLatin1String(NoSemicolons)
                                       : QLatin1String("expected ") + QLatin1String(Header));
    return false;
}

bool splitRow(const QByteArray &content, int line, Problems &problems, QStringList *cells)
{
    QString text;
    if (!toText(content, &text)) {
        problems.add(line, QStringLiteral("row"), shown(text), QStringLiteral("expected UTF-8"));
        return false;
    }
    if (!splitCsv(text, cells)) {
        problems.add(line, QStringLiteral("row"), shown(text),
                     QStringLiteral("expected each cell in quotes closed before the next comma or the line's end"));
        return false;
    }
    if (cells->size() == 1 && text.contains(QLatin1Char(';'))) {
        problems.add(line, QStringLiteral("row"), shown(text), QLatin1String(NoSemicolons));
        return false;
    }
    if (cells->size() != TagCheck::Columns) {
        problems.add(line, QStringLiteral("row"),
                     cells->size() == 1 ? QStringLiteral("1 cell") : QStringLiteral("%1 cells").arg(cells->size()),
                     QStringLiteral("expected %1, as in the header").arg(int(TagCheck::Columns)));
        return false;
    }
    return true;
}

void parseRows(const PanelSettings &settings, Problems &problems, TagFile *file)
{
    TagCheck check(settings, problems);
    bool hasHeader = false;
    bool hasRow = false;
    for (int i = 0; i < file->sourceLines.size(); ++i) {
        const QByteArray content = contentOf(file->sourceLines.at(i), i == 0);
        if (isSkipped(content))
            continue;
        if (!hasHeader) {
            hasHeader = true;
            // The rows below another header would be wrong in every cell.
            if (!checkHeader(content, i + 1, problems))
                return;
            continue;
        }
        hasRow = true;
        QStringList cells;
        Tag tag;
        if (splitRow(content, i + 1, problems, &cells) && check.check(cells, i + 1, &tag))
            file->tags << tag;
    }
    if (!hasHeader)
        checkHeader(QByteArray(), 0, problems);
    else if (!hasRow)
        problems.addFile(QStringLiteral("no tags"), QStringLiteral("expected at least one row"));
}

QByteArray rowOf(const Tag &tag)
{
    const QString rw = !tag.isWritable  ? QStringLiteral("r")
                       : tag.isReadable ? QStringLiteral("rw")
                                        : QStringLiteral("w");
    const QString scale =
        tag.format == Format::Bit ? QString() : QString::number(tag.scale, 'g', QLocale::FloatingPointShortest);
    const QStringList cells = {tag.name,
                               QString::number(tag.type),
                               tag.address,
                               QString::number(tag.station),
                               QString::number(tag.count),
                               formatName(tag.format),
                               orderName(tag.order),
                               scale,
                               csvCell(tag.unit),
                               rw};
    return cells.join(QLatin1Char(',')).toUtf8();
}

} // namespace

QString formatName(Format format)
{
    switch (format) {
    case Format::Bit:
        return QStringLiteral("bit");
    case Format::Int16:
        return QStringLiteral("int16");
    case Format::Uint16:
        return QStringLiteral("uint16");
    case Format::Int32:
        return QStringLiteral("int32");
    case Format::Uint32:
        return QStringLiteral("uint32");
    case Format::Float32:
        return QStringLiteral("float32");
    }
    return QString();
}

QString orderName(ByteOrder order)
{
    switch (order) {
    case ByteOrder::ABCD:
        return QStringLiteral("ABCD");
    case ByteOrder::BADC:
        return QStringLiteral("BADC");
    case ByteOrder::CDAB:
        return QStringLiteral("CDAB");
    case ByteOrder::DCBA:
        return QStringLiteral("DCBA");
    }
    return QString();
}

QByteArray TagFile::toCsv() const
{
    QByteArray text;
    for (const QByteArray &line : sourceLines)
        text += line;
    // New rows end as the file's lines do.
    const QByteArray lineEnd = !sourceLines.isEmpty() && sourceLines.first().endsWith("\r\n") ? "\r\n" : "\n";
    if (sourceLines.isEmpty())
        text = Header + lineEnd;
    for (const Tag &tag : tags) {
        if (tag.line != 0)
            continue;
        if (!text.endsWith('\n'))
            text += lineEnd;
        text += rowOf(tag) + lineEnd;
    }
    return text;
}

TagFile parseTags(const QByteArray &text, const QString &fileName, const PanelSettings &settings, QStringList *problems)
{
    TagFile file;
    Problems found(fileName);
    if (text.size() > LargestFile || text.count('\n') > MostLines) {
        found.add(0, QStringLiteral("size"),
                  QStringLiteral("%1 bytes, %2 lines").arg(text.size()).arg(text.count('\n')),
                  QStringLiteral("expected %1 bytes and %2 lines at most").arg(int(LargestFile)).arg(int(MostLines)));
        *problems << found.texts();
        return file;
    }

    file.sourceLines = linesOf(text);
    if (isText(file.sourceLines, found))
        parseRows(settings, found, &file);
    *problems << found.texts();
    return file;
}

TagFile readTags(const QString &fileName, const PanelSettings &settings, QStringList *problems)
{
    QByteArray text;
    if (!readWhole(fileName, LargestFile, QStringLiteral("a file of tags"), &text, problems))
        return TagFile();
    return parseTags(text, fileName, settings, problems);
}
