// ecpanel types: the device types of a tag file.
#include "host/commands/common.h"
#include "host/report.h"

#include <QtCore/QJsonArray>

namespace {

bool isCoil(const DeviceType &type)
{
    return type.kind == ElementKind::Bit;
}

QString addressForm(const DeviceType &type)
{
    if (type.kind == ElementKind::BitInWord)
        return QStringLiteral("word.bit");
    return isOctal(type) ? QStringLiteral("octal") : QStringLiteral("decimal");
}

int lastNumber(const DeviceType &type, const AreaPiece &piece)
{
    const int width = type.kind == ElementKind::Special ? 2 : 1;
    return piece.number + (piece.last - piece.first + 1) * width - 1;
}

/// One text a piece.
QStringList ranges(const DeviceType &type)
{
    return rangeText(type).split(QStringLiteral(", "));
}

void printTypesJson()
{
    QJsonArray array;
    for (const DeviceType &type : deviceTypes()) {
        const QStringList texts = ranges(type);
        QJsonArray areas;
        for (int i = 0; i < type.pieces.size(); ++i)
            areas.append(QJsonObject{{QStringLiteral("addresses"), texts.at(i)},
                                     {QStringLiteral("first_number"), type.pieces.at(i).number},
                                     {QStringLiteral("last_number"), lastNumber(type, type.pieces.at(i))}});
        array.append(QJsonObject{
            {QStringLiteral("type"), type.code},
            {QStringLiteral("element"), kindText(type)},
            {QStringLiteral("address"), addressForm(type)},
            {QStringLiteral("numbers"), isCoil(type) ? QStringLiteral("coils") : QStringLiteral("registers")},
            {QStringLiteral("writable"), type.isWritable},
            {QStringLiteral("areas"), areas}});
    }
    printJsonPretty(QJsonDocument(array));
}

int types(const CommonOptions &options)
{
    if (options.json) {
        printTypesJson();
        return endCode(ExitOk);
    }
    TextTable table({QStringLiteral(">type"), QStringLiteral("what it is"), QStringLiteral("rw"),
                     QStringLiteral("addresses"), QStringLiteral("Modbus numbers")});
    for (const DeviceType &type : deviceTypes()) {
        const QStringList texts = ranges(type);
        for (int i = 0; i < type.pieces.size(); ++i) {
            const AreaPiece &piece = type.pieces.at(i);
            const QString numbers = QString::fromLatin1("%1 %2-%3")
                                        .arg(QLatin1String(isCoil(type) ? "coils" : "registers"))
                                        .arg(piece.number)
                                        .arg(lastNumber(type, piece));
            table.addRow({i == 0 ? QString::number(type.code) : QString(), i == 0 ? kindText(type) : QString(),
                          i > 0             ? QString()
                          : type.isWritable ? QStringLiteral("rw")
                                            : QStringLiteral("r"),
                          texts.at(i), numbers});
        }
    }
    print(table.text());
    if (!options.quiet)
        print(QStringLiteral("\nAddresses are decimal where nothing else is said. A PLC may have less than this.\n"));
    return endCode(ExitOk);
}

} // namespace

void addTypesCommand(CLI::App &app, CommandContext &context)
{
    auto options = std::make_shared<CommonOptions>();
    CLI::App *const verb = app.add_subcommand("types", "Show the device types that a tag can have");
    addCommonOptions(*verb, *options, JsonOption | QuietOption);
    verb->footer("These are the codes for the column type of the tag file, and the addresses that each takes, as they\n"
                 "are written in the column address. rw tells whether such a tag can be written.\n\n"
                 "Examples:\n"
                 "  ecpanel types\n"
                 "  ecpanel types --json");
    verb->callback([options, &context] { context.run = [options] { return types(*options); }; });
}
