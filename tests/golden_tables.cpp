#include "tests/golden_tables.h"

#include "driver/emerson_ec_series.h"
#include "frames/address_map.h"
#include "frames/read_request.h"
#include "tests/frame_fixture.h"
#include "varlist/device_type.h"

#include <QtCore/QRegularExpression>

namespace {

typedef QString (*RowCheck)(const QStringList &cells);

QString differs(const QStringList &page, const QStringList &driver)
{
    if (page == driver)
        return QString();
    return QStringLiteral("the driver has: ") + driver.join(QStringLiteral(" | "));
}

QString malformed(const QStringList &cells)
{
    return QStringLiteral("malformed: ") + cells.join(QStringLiteral(" | "));
}

bool areNumbers(const QStringList &cells)
{
    bool isNumber = true;
    for (int i = 0; i < cells.size() && isNumber; ++i)
        cells[i].toInt(&isNumber);
    return isNumber && !cells.isEmpty();
}

/// The text between backticks; empty when there is none.
QString quoted(const QString &cell)
{
    static const QRegularExpression form(QStringLiteral("^`([^`]+)`$"));
    return form.match(cell).captured(1);
}

/// "8/250/6, 8/256/4".
QString blocks(const QList<RW_VAR> &list)
{
    QStringList all;
    for (const RW_VAR &var : list)
        all << QStringLiteral("%1/%2/%3").arg(var.devType).arg(var.address).arg(var.count);
    return all.isEmpty() ? QStringLiteral("none") : all.join(QStringLiteral(", "));
}

QString readAs(int scope, const QStringList &cells)
{
    DriverFixture driver;
    driver.settings.stationScope = scope;
    driver.settings.maxBlockLen = cells[3].toInt();
    QList<VARDESC> one;
    one << description(cells[0].toInt(), quoted(cells[1]).toLatin1().constData(), cells[2].toInt());
    ReCreatReadVarList(one);
    return blocks(PLC_driver.readList);
}

QString readOnceAs(const QStringList &cells)
{
    DriverFixture driver;
    driver.settings.maxBlockLen = cells[3].toInt();
    RW_VAR var = readVar(cells[0].toInt(), 0, cells[2].toInt());
    var.addrText = quoted(cells[1]);
    var.address = PLCAddressChangeIntef(var.devType, var.addrText);
    AddListOnceReadVar(&var, 0);
    return blocks(PLC_driver.onceReadList);
}

QString writtenAs(const QStringList &cells)
{
    DriverFixture driver;
    driver.settings.maxBlockLen = cells[3].toInt();
    QByteArray values;
    SetRegisterData(QString(), cells[0].toInt(), quoted(cells[1]), 1, &values, cells[2].toInt(), 0, 0);
    return blocks(PLC_driver.writeList);
}

QString checkText(const QStringList &cells)
{
    if (!areNumbers({cells[0], cells[2]}) || quoted(cells[1]).isEmpty())
        return malformed(cells);
    return differs({cells[2]}, {QString::number(PLCAddressChangeIntef(cells[0].toInt(), quoted(cells[1])))});
}

QString checkNumber(const QStringList &cells)
{
    const QString problem = checkText(cells);
    if (!problem.isEmpty())
        return problem;
    DriverFixture driver;
    const int code = cells[0].toInt();
    const int place = cells[1].contains(QLatin1Char('.')) ? cells[2].toInt() / 16 : cells[2].toInt();
    const RW_VAR entry = readVar(get_type(code), place, 1);
    ReadRegister(&entry);
    const QString space =
        frames().mid(3, 2) == QLatin1String("01") ? QStringLiteral("coil") : QStringLiteral("register");
    const QString number = QStringLiteral("%1 %2").arg(space).arg(get_type_add(code, place));
    return differs(cells.mid(3), {number, frames().mid(6, 5)});
}

QString checkRead(const QStringList &cells)
{
    if (!areNumbers({cells[0], cells[2], cells[3]}) || quoted(cells[1]).isEmpty())
        return malformed(cells);
    return differs(cells.mid(4), {readAs(0, cells), readAs(1, cells), readOnceAs(cells)});
}

QString checkWrite(const QStringList &cells)
{
    if (!areNumbers({cells[0], cells[2], cells[3]}) || quoted(cells[1]).isEmpty())
        return malformed(cells);
    return differs(cells.mid(4), {writtenAs(cells)});
}

/// "a + 2000; from 2048 on a + 9952" at the element a; 13 has "(a + 4850) × 2".
int numberByFormula(const QRegularExpressionMatch &formula, int a)
{
    const bool isHigh = !formula.captured(3).isEmpty() && a >= formula.captured(3).toInt();
    return (a + formula.captured(isHigh ? 4 : 1).toInt()) * (formula.captured(2).isEmpty() ? 1 : 2);
}

/// One code, its number on the Modbus side as a formula, and its base type.
QString checkCode(int code, const QString &numbers, int base)
{
    static const QRegularExpression form(
        QStringLiteral("^\\(?a(?: \\+ (\\d+))?\\)?( × 2)?(?:; from (\\d+) on \\(?a \\+ (\\d+)\\)?(?: × 2)?)?$"));
    static const QRegularExpression other(QStringLiteral("^(?:as (\\d+)|that of the word)$"));
    if (get_type(code) != base)
        return QStringLiteral("the driver has code %1 stored as %2").arg(code).arg(get_type(code));
    const QRegularExpressionMatch formula = form.match(numbers);
    const QRegularExpressionMatch likeAnother = other.match(numbers);
    if (!formula.hasMatch() && !likeAnother.hasMatch())
        return malformed({numbers});
    const int like = likeAnother.captured(1).isEmpty() ? base : likeAnother.captured(1).toInt();
    for (int a : {0, 1, 55, 56, 255, 256, 1023, 1024, 2047, 2048, 5000}) {
        const int number = formula.hasMatch() ? numberByFormula(formula, a) : get_type_add(like, a);
        if (number != get_type_add(code, a))
            return QStringLiteral("the driver has %1 for element %2").arg(get_type_add(code, a)).arg(a);
    }
    return QString();
}

QString checkCodes(const QStringList &cells)
{
    const QStringList codes = cells[0].split(QStringLiteral(", "));
    const QStringList bases = cells[4].split(QStringLiteral(", "));
    if (!areNumbers(codes + bases) || codes.size() != bases.size())
        return malformed(cells);
    QString problem;
    for (int i = 0; i < codes.size() && problem.isEmpty(); ++i)
        problem = checkCode(codes[i].toInt(), cells[3], bases[i].toInt());
    return problem;
}

/// The numbers of both ends of a piece of an area. Of code 13 the last is the second register of the value.
QStringList endsOf(int code, const QRegularExpressionMatch &addresses, int area)
{
    const int first = PLCAddressChangeIntef(area, addresses.captured(1));
    const int last = PLCAddressChangeIntef(area, addresses.captured(2));
    return {QString::number(get_type_add(code, first)),
            QString::number(get_type_add(code, last) + (code == 13 ? 1 : 0))};
}

/// "0 to 255, 256 to 1255" and "registers 8000-8255, 12000-12999": both ends of each piece, for each code. Addresses
/// are those of the first.
QString checkArea(const QStringList &cells)
{
    static const QRegularExpression addresses(QStringLiteral("(\\d+) to (\\d+)"));
    static const QRegularExpression numbers(QStringLiteral("(\\d+)-(\\d+)"));
    const QStringList codes = cells[0].split(QStringLiteral(", "));
    auto address = addresses.globalMatch(cells[1]);
    auto number = numbers.globalMatch(cells[2]);
    if (!areNumbers(codes) || !address.hasNext())
        return malformed(cells);
    QString problem;
    while (address.hasNext() && number.hasNext()) {
        const QRegularExpressionMatch piece = address.next();
        const QStringList ends = number.next().capturedTexts().mid(1);
        for (const QString &code : codes)
            problem += differs(ends, endsOf(code.toInt(), piece, codes.first().toInt()));
    }
    return address.hasNext() || number.hasNext() ? malformed(cells) : problem;
}

RowCheck checkOf(const QStringList &header)
{
    static const QMap<QString, RowCheck> checks = {
        {QStringLiteral("Code|Element|Address text|Modbus number|Read and stored as"), checkCodes},
        {QStringLiteral("Code|Text|Element"), checkText},
        {QStringLiteral("Code|Text|Element|Modbus number|Bytes 2-3"), checkNumber},
        {QStringLiteral("Code|Text|Count|`maxBlockLen`|One PLC|Several stations|One-shot"), checkRead},
        {QStringLiteral("Code|Text|Count|`maxBlockLen`|Blocks"), checkWrite},
        {QStringLiteral("Codes|Addresses|Modbus numbers"), checkArea}};
    return checks.value(header.join(QLatin1Char('|')));
}

} // namespace

bool isTableOfBytes(const PageTable &table)
{
    return table.header.first() == QLatin1String("Byte") && table.header.last() == QLatin1String("Example");
}

QString frameOf(const Page &page, const PageTable &table, QString &problem)
{
    QStringList bytes;
    for (const PageRow &row : table.rows) {
        const int first = bytes.size();
        bytes << row.cells.last().split(QLatin1Char(' '));
        const int last = bytes.size() - 1;
        const QString place = first == last ? QString::number(first) : QStringLiteral("%1-%2").arg(first).arg(last);
        if (problem.isEmpty() && (place != row.cells.first() || !isSpacedHex(row.cells.last())))
            problem = page.at(row.number) + QStringLiteral("malformed: these are the bytes ") + place;
    }
    return bytes.join(QLatin1Char(' '));
}

bool isTableOfDeviceTypes(const PageTable &table)
{
    return checkOf(table.header) != nullptr;
}

QString rowAgainstDriver(const QStringList &header, const QStringList &cells)
{
    const RowCheck check = checkOf(header);
    return check != nullptr ? check(cells) : QStringLiteral("no test knows this table");
}
