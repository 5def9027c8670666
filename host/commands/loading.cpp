// load, startTrace, readTrace, loadDriver: files that are read, and those that are written.
#include "host/commands/common.h"

#include "host/serial_channel.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QFileInfo>

#include <sys/stat.h>

namespace {

const char DriverName[] = "libemerson_ec_series.so";

enum { LongestHeading = 64 };

/// A path from the command line: from the current folder, not from that of the settings.
QString absolute(const std::string &path)
{
    return QFileInfo(fromOption(path)).absoluteFilePath();
}

/// For verbs without settings.
QString driverOption(const CommonOptions &options)
{
    return options.driver.empty() ? findDriver() : absolute(options.driver);
}

/// What is wrong with the file before the loader sees it; empty when it may be a library.
QString noLibrary(const QString &path)
{
    const QFileInfo info(path);
    if (!info.exists())
        return QString::fromLatin1("no driver at %1: expected the built %2").arg(path, QLatin1String(DriverName));
    if (info.isDir())
        return QString::fromLatin1("%1 is a folder: expected the path of %2 in it")
            .arg(path, QLatin1String(DriverName));
    QFile file(path);
    if (!info.isFile() || !file.open(QIODevice::ReadOnly))
        return QString::fromLatin1("cannot read %1: expected a driver library").arg(path);
    return file.read(4)
                   == QByteArray("\x7f"
                                 "ELF")
               ? QString()
               : QString::fromLatin1("%1 is no library: expected a driver library, the built %2")
                     .arg(path, QLatin1String(DriverName));
}

/// False, with the reason, when the driver cannot be loaded.
bool loadPlugin(const QString &path, Plugin *plugin, QString *error)
{
    *error = noLibrary(path);
    return error->isEmpty() && plugin->load(path, error);
}

/// Why a file that exists must not be written over with a trace; empty when it may.
QString noPlaceForTrace(const QString &fileName, const QStringList &readFiles)
{
    for (const QString &read : readFiles)
        if (isSameFile(fileName, read))
            return QString::fromLatin1("--trace %1: that is %2, which is read: expected another file")
                .arg(fileName, read);
    const QFileInfo info(fileName);
    if (!info.isFile() || info.size() == 0)
        return QString();
    QFile file(fileName);
    QStringList problems;
    if (file.open(QIODevice::ReadOnly))
        parseTrace(file.readLine(LongestHeading), fileName, &problems);
    return file.isOpen() && problems.isEmpty()
               ? QString()
               : QString::fromLatin1("--trace %1: exists and is no trace: expected a new file, or an older trace to "
                                     "write over")
                     .arg(fileName);
}

bool loadAll(const CommonOptions &options, bool isWithTags, Loaded *loaded, QStringList &problems)
{
    loaded->settings = readSettings(fromOption(options.settingsFile), &problems);
    PanelSettings &settings = loaded->settings;
    if (!options.port.empty())
        settings.line.port = fromOption(options.port);
    if (!options.driver.empty())
        settings.driverPath = absolute(options.driver);
    if (settings.driverPath.isEmpty())
        settings.driverPath = findDriver();
    if (options.raw)
        settings.line.isGuarded = false;
    // What a tag may be follows from the settings: with wrong ones the tags' problems would be made up.
    if (!problems.isEmpty()) {
        if (isWithTags)
            problems << QString::fromLatin1("%1: not looked at: the settings have to be right first")
                            .arg(fromOption(options.tagsFile));
        return false;
    }
    if (isWithTags)
        loaded->tagFile = readTags(fromOption(options.tagsFile), settings, &problems);
    QString error;
    if (!loadPlugin(settings.driverPath, &loaded->plugin, &error))
        problems << (options.driver.empty() ? QString::fromLatin1("%1: driver.path: %2; --driver takes another")
                                                  .arg(fromOption(options.settingsFile), error)
                                            : QLatin1String("ecpanel: ") + error);
    return problems.isEmpty();
}

} // namespace

bool Loaded::endTrace()
{
    trace.close();
    const bool isWhole = trace.error().isEmpty();
    if (!isWhole && !isTraceErrorTold)
        complain(trace.error(), ExitUsage);
    isTraceErrorTold = !isWhole;
    return isWhole;
}

bool load(const CommonOptions &options, bool isWithTags, Loaded *loaded, QStringList *problems)
{
    bool isLoaded = false;
    // A file may be a pipe that nobody writes into.
    runInterruptibly([&] { isLoaded = loadAll(options, isWithTags, loaded, *problems); });
    return isLoaded;
}

bool load(const CommonOptions &options, bool isWithTags, Loaded *loaded)
{
    QStringList problems;
    const bool isLoaded = load(options, isWithTags, loaded, &problems);
    printProblems(problems);
    return isLoaded;
}

bool isSameFile(const QString &path, const QString &other)
{
    struct stat first, second;
    return ::stat(QFile::encodeName(path).constData(), &first) == 0
           && ::stat(QFile::encodeName(other).constData(), &second) == 0 && first.st_dev == second.st_dev
           && first.st_ino == second.st_ino;
}

bool startTrace(const CommonOptions &options, Loaded *loaded)
{
    if (options.traceFile.empty())
        return true;
    const QString fileName = fromOption(options.traceFile);
    QStringList readFiles{fromOption(options.settingsFile), fromOption(options.tagsFile)};
    readFiles << (loaded->settings.driverPath.isEmpty() ? driverOption(options) : loaded->settings.driverPath);
    QString error = noPlaceForTrace(fileName, readFiles);
    if (error.isEmpty() && loaded->trace.open(fileName, &error))
        return true;
    complain(error, ExitUsage);
    return false;
}

QString findDriver()
{
    const QDir here(QCoreApplication::applicationDirPath());
    const QString beside = here.filePath(QLatin1String(DriverName));
    const QString installed =
        QDir::cleanPath(here.filePath(QLatin1String(EC_PLUGIN_FROM_TOOLS "/") + QLatin1String(DriverName)));
    return !QFileInfo::exists(beside) && QFileInfo::exists(installed) ? installed : beside;
}

bool loadDriver(const CommonOptions &options, Plugin *plugin)
{
    QString error;
    if (loadPlugin(driverOption(options), plugin, &error))
        return true;
    complain(options.driver.empty() ? error + QLatin1String("; --driver takes another") : error, ExitUsage);
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

bool readTrace(const std::string &fileName, QVector<TraceLine> *lines)
{
    const QString name = fromOption(fileName);
    bool isRead = false;
    QStringList problems;
    runInterruptibly([&] {
        QByteArray text;
        isRead = readFile(fileName, &text);
        if (!isRead)
            return;
        if (text.isEmpty())
            problems << QString::fromLatin1("%1: is empty: expected a trace").arg(name);
        else
            parseTrace(text.left(text.contains('\n') ? text.indexOf('\n') + 1 : text.size()), name, &problems);
        // Of what is no trace every line would be wrong.
        problems = problems.mid(0, 1);
        if (problems.isEmpty())
            *lines = parseTrace(text, name, &problems);
    });
    printProblems(problems);
    return isRead && problems.isEmpty();
}
