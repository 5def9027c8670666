#include "host/decode.h"
#include "host/commands/common.h"

#include <QtCore/QJsonArray>

#include <cerrno>
#include <poll.h>
#include <unistd.h>

namespace {

enum { LookMilliseconds = 100, LongestLine = 1 << 20 };

struct DecodeOptions {
    CommonOptions common;
    std::vector<std::string> frames;
    std::string traceFile;
};

/// Decodes frames one after the other and prints them, or keeps them for one JSON document.
class FramePrinter {
public:
    FramePrinter(const DecodeOptions &options, CrcFunction crc) : options(options), crc(crc) {}

    /// where names the input in a complaint.
    void add(const QString &hex, FrameDirection direction, const QString &where)
    {
        QByteArray bytes;
        QString error;
        if (!parseHex(hex, &bytes, &error)) {
            complain(where + error, ExitUsage);
            isRight = false;
            return;
        }
        const QStringList words = decodeFrame(bytes, direction, crc, request);
        request = direction == FrameDirection::Request ? bytes : QByteArray();
        if (options.common.json)
            array.append(QJsonObject{{QStringLiteral("hex"), QString::fromLatin1(bytes.toHex())},
                                     {QStringLiteral("words"), QJsonArray::fromStringList(words)}});
        else
            printLine(words.join(QStringLiteral("\n  ")));
    }

    /// A line as a log has it: hex, perhaps with tx or rx before it.
    void addLine(const QString &line, int number)
    {
        const QString text = line.trimmed();
        if (text.isEmpty() || text.startsWith(QLatin1Char('#')))
            return;
        const QString where = QString::fromLatin1("standard input:%1: ").arg(number);
        if (text.startsWith(QLatin1String("tx ")))
            add(text.mid(3), FrameDirection::Request, where);
        else if (text.startsWith(QLatin1String("rx ")))
            add(text.mid(3), FrameDirection::Reply, where);
        else
            add(text, FrameDirection::Unknown, where);
    }

    int finish()
    {
        if (options.common.json)
            printJsonPretty(QJsonDocument(array));
        return endCode(isRight ? ExitOk : ExitUsage);
    }

private:
    const DecodeOptions &options;
    const CrcFunction crc;
    QByteArray request;
    QJsonArray array;
    bool isRight = true;
};

/// True when an argument is one byte: then all of them are one frame.
bool isByte(const std::string &text)
{
    const bool hasPrefix = text.size() > 2 && text[0] == '0' && (text[1] | 0x20) == 'x';
    return text.size() <= (hasPrefix ? 4u : 2u);
}

int decodeArguments(const DecodeOptions &options, CrcFunction crc)
{
    QStringList frames;
    bool areBytes = true;
    for (const std::string &text : options.frames) {
        frames << fromOption(text);
        areBytes = areBytes && isByte(text);
    }
    if (areBytes)
        frames = QStringList(frames.join(QLatin1Char(' ')));
    FramePrinter printer(options, crc);
    const bool isPair = frames.size() == 2;
    for (int i = 0; i < frames.size(); ++i)
        printer.add(frames.at(i),
                    !isPair  ? FrameDirection::Unknown
                    : i == 0 ? FrameDirection::Request
                             : FrameDirection::Reply,
                    QString::fromLatin1("'%1': ").arg(frames.at(i)));
    return printer.finish();
}

int decodeInput(const DecodeOptions &options, CrcFunction crc)
{
    if (::isatty(STDIN_FILENO))
        printNote(QStringLiteral("Type frames in hex, a line each; Ctrl-D ends.\n"));
    FramePrinter printer(options, crc);
    QByteArray pending;
    int number = 0;
    for (bool hasEnded = false; !hasEnded && !shouldStop();) {
        pollfd input{STDIN_FILENO, POLLIN, 0};
        if (::poll(&input, 1, LookMilliseconds) != 1)
            continue;
        char bytes[4096];
        const ssize_t count = ::read(STDIN_FILENO, bytes, sizeof bytes);
        if (count < 0 && (errno == EINTR || errno == EAGAIN))
            continue;
        hasEnded = count <= 0;
        pending.append(bytes, int(qMax(ssize_t(0), count)));
        // The last line may lack its end; one without end must not fill the memory.
        if ((hasEnded && !pending.isEmpty()) || pending.size() > LongestLine)
            pending.append('\n');
        int from = 0;
        for (int end = pending.indexOf('\n'); end >= 0; end = pending.indexOf('\n', from)) {
            printer.addLine(QString::fromLatin1(pending.mid(from, end - from)), ++number);
            from = end + 1;
        }
        pending.remove(0, from);
    }
    return printer.finish();
}

int decodeTraceFile(const DecodeOptions &options, CrcFunction crc)
{
    QVector<TraceLine> trace;
    const bool isWhole = readTrace(options.traceFile, &trace);
    if (!isWhole && trace.isEmpty())
        return ExitUsage;
    QStringList lines;
    runInterruptibly([&] { lines = decodeTrace(trace, crc); });
    if (options.common.json)
        printJsonPretty(QJsonDocument(QJsonArray::fromStringList(lines)));
    for (int i = 0; !options.common.json && i < lines.size() && !shouldStop(); ++i)
        printLine(lines.at(i));
    return endCode(isWhole ? ExitOk : ExitUsage);
}

int decode(const DecodeOptions &options)
{
    if (!options.frames.empty() && !options.traceFile.empty())
        return complain(QStringLiteral("decode: expected either frames or --trace, not both"), ExitUsage);
    Plugin plugin;
    if (!loadDriver(options.common, &plugin))
        return ExitUsage;
    if (!options.traceFile.empty())
        return decodeTraceFile(options, plugin.calCrc);
    return options.frames.empty() ? decodeInput(options, plugin.calCrc) : decodeArguments(options, plugin.calCrc);
}

} // namespace

void addDecodeCommand(CLI::App &app, CommandContext &context)
{
    auto options = std::make_shared<DecodeOptions>();
    CLI::App *const verb = app.add_subcommand("decode", "Tell in words what a frame or a trace says");
    verb->add_option("HEX", options->frames,
                     "A frame in hex; two are a request and its reply; none: lines from standard input, which may "
                     "begin with tx or rx");
    verb->add_option("--trace", options->traceFile, "Decode this trace, as --trace of other verbs writes it")
        ->type_name("FILE");
    addCommonOptions(*verb, options->common, DriverOption | JsonOption);
    verb->footer("Examples:\n"
                 "  ecpanel decode 01 03 00 00 00 02 C4 0B\n"
                 "  ecpanel decode 010300000002C40B 010304000100022A32\n"
                 "  ecpanel decode --trace field.trace");
    verb->callback([options, &context] { context.run = [options] { return decode(*options); }; });
}
