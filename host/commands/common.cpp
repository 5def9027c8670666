#include "host/commands/common.h"

#include "host/serial_channel.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QFileInfo>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <thread>

#include <unistd.h>

namespace {

const char DriverName[] = "libemerson_ec_series.so";

/// Returns the number of the first error; 0 when all was written.
int writeTo(int descriptor, const QByteArray &bytes)
{
    for (int from = 0; from < bytes.size();) {
        const ssize_t count = ::write(descriptor, bytes.constData() + from, size_t(bytes.size() - from));
        if (count >= 0)
            from += int(count);
        else if (errno != EINTR)
            return errno;
        else if (isInterrupted())
            return 0; // Whoever should read it does not: the rest is given up, not waited for.
    }
    return 0;
}

/// A path from the command line: from the current folder, not from that of the settings.
QString absolute(const std::string &path)
{
    return QFileInfo(fromOption(path)).absoluteFilePath();
}

bool loadAll(const CommonOptions &options, bool isWithTags, Loaded *loaded)
{
    QStringList problems;
    loaded->settings = readSettings(fromOption(options.settingsFile), &problems);
    PanelSettings &settings = loaded->settings;
    if (!options.port.empty())
        settings.line.port = fromOption(options.port);
    if (!options.driver.empty())
        settings.driverPath = absolute(options.driver);
    if (options.raw)
        settings.line.isGuarded = false;
    // What a tag may be follows from the settings: with wrong ones the tags' problems would be made up.
    if (!problems.isEmpty()) {
        if (isWithTags)
            problems << QString::fromLatin1("%1: not looked at: the settings have to be right first")
                            .arg(fromOption(options.tagsFile));
        printProblems(problems);
        return false;
    }
    if (isWithTags)
        loaded->tagFile = readTags(fromOption(options.tagsFile), settings, &problems);
    QString error;
    if (!loaded->plugin.load(settings.driverPath, &error))
        problems << (options.driver.empty()
                         ? QString::fromLatin1("%1: driver.path: %2").arg(fromOption(options.settingsFile), error)
                         : error);
    printProblems(problems);
    return problems.isEmpty();
}

} // namespace

void addCommonOptions(CLI::App &verb, CommonOptions &options, int which)
{
    if (which & SettingsOption)
        verb.add_option("-s,--settings", options.settingsFile, "Settings of the line and the PLC")
            ->type_name("FILE")
            ->capture_default_str();
    if (which & TagsOption)
        verb.add_option("-t,--tags", options.tagsFile, "Tags")->type_name("FILE")->capture_default_str();
    if (which & PortOption)
        verb.add_option("--port", options.port, "Serial port in place of that of the settings")->type_name("PATH");
    if (which & DriverOption)
        verb.add_option("--driver", options.driver,
                        which & SettingsOption ? "Driver library in place of that of the settings" : "Driver library")
            ->type_name("PATH");
    if (which & TraceOption)
        verb.add_option("--trace", options.traceFile, "Write all that passes into this file")->type_name("FILE");
    if (which & JsonOption)
        verb.add_flag("--json", options.json, "Print JSON instead of a table");
    if (which & QuietOption)
        verb.add_flag("-q,--quiet", options.quiet, "Only data and errors, no progress and no closing tables");
    if (which & RawOption)
        verb.add_flag("--raw", options.raw, "Hand every reply to the driver without comparing it with its request");
}

bool Loaded::endTrace()
{
    trace.close();
    const bool isWhole = trace.error().isEmpty();
    if (!isWhole && !isTraceErrorTold)
        complain(trace.error(), ExitUsage);
    isTraceErrorTold = !isWhole;
    return isWhole;
}

bool load(const CommonOptions &options, bool isWithTags, Loaded *loaded)
{
    bool isLoaded = false;
    // A file may be a pipe that nobody writes into.
    runInterruptibly([&] { isLoaded = loadAll(options, isWithTags, loaded); });
    return isLoaded;
}

bool startTrace(const CommonOptions &options, Loaded *loaded)
{
    QString error;
    if (options.traceFile.empty() || loaded->trace.open(fromOption(options.traceFile), &error))
        return true;
    complain(error, ExitUsage);
    return false;
}

QString findDriver()
{
    const QDir here(QCoreApplication::applicationDirPath());
    const QString beside = here.filePath(QLatin1String(DriverName));
    const QString installed =
        QDir::cleanPath(here.filePath(QLatin1String("../lib/emerson_ec_series/") + QLatin1String(DriverName)));
    return !QFileInfo::exists(beside) && QFileInfo::exists(installed) ? installed : beside;
}

bool loadDriver(const CommonOptions &options, Plugin *plugin)
{
    QString error;
    if (plugin->load(options.driver.empty() ? findDriver() : absolute(options.driver), &error))
        return true;
    complain(error, ExitUsage);
    return false;
}

std::unique_ptr<PanelThread> makePanelThread(Loaded &loaded, const QList<Tag> &tags)
{
    const LineSettings line = loaded.settings.line;
    return std::make_unique<PanelThread>(
        loaded.plugin, loaded.settings, tags, [line] { return std::make_unique<SerialChannel>(line); },
        loaded.traceOrNull());
}

int endCode(Loaded &loaded, int code)
{
    const bool isTraceWhole = loaded.endTrace();
    return endCode(isTraceWhole || code != ExitOk ? code : int(ExitUsage));
}

void runInterruptibly(const std::function<void()> &work)
{
    std::atomic<bool> isDone{false};
    std::thread worker([&] {
        work();
        isDone = true;
    });
    while (!isDone && !isInterrupted())
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    if (!isDone)
        std::_Exit(ExitInterrupted);
    worker.join();
}

bool readFile(const std::string &fileName, QByteArray *text)
{
    QFile file(fromOption(fileName));
    if (file.open(QIODevice::ReadOnly)) {
        *text = file.readAll();
        if (file.error() == QFileDevice::NoError)
            return true;
    }
    complain(QString::fromLatin1("cannot read %1: %2; expected a file").arg(file.fileName(), file.errorString()),
             ExitUsage);
    return false;
}

int complain(const QString &text, ExitCode code)
{
    printNote(QString::fromLatin1("ecpanel: %1\n").arg(text));
    return code;
}

void printProblems(const QStringList &problems)
{
    for (const QString &problem : problems)
        printNote(problem + QLatin1Char('\n'));
}

void print(const QString &text)
{
    if (outputError() != 0)
        return;
    const int error = writeTo(STDOUT_FILENO, text.toUtf8());
    if (error != 0)
        noteOutputLost(error);
}

void printLine(const QString &line)
{
    print(line + QLatin1Char('\n'));
}

void printJson(const QJsonObject &object)
{
    print(QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Compact)) + QLatin1Char('\n'));
}

void printJsonPretty(const QJsonDocument &document)
{
    print(QString::fromUtf8(document.toJson(QJsonDocument::Indented)));
}

void printNote(const QString &text)
{
    // Where nobody reads complaints, nobody can be told.
    writeTo(STDERR_FILENO, text.toLocal8Bit());
}
