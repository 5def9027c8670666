/// What the verbs share: options, settings, tags, the driver, and how they speak.
///
/// Data goes to standard output, everything else to standard error.
#pragma once

#include "host/commands/command.h"
#include "host/interrupt.h"
#include "host/panel_thread.h"
#include "host/plugin.h"
#include "host/settings.h"
#include "host/tags.h"
#include "host/trace.h"

#include <QtCore/QJsonDocument>

#include <memory>
#include <string>
#include <vector>

struct CommonOptions {
    std::string settingsFile = "line.toml";
    std::string tagsFile = "tags.csv";
    std::string port;      ///< Empty = as the settings say.
    std::string driver;    ///< Empty = as the settings say, or findDriver.
    std::string traceFile; ///< Empty = no trace.
    bool json = false;
    bool quiet = false;
    bool raw = false;
};

enum CommonOption {
    SettingsOption = 1,
    TagsOption = 2,
    PortOption = 4,
    DriverOption = 8,
    TraceOption = 16,
    JsonOption = 32,
    QuietOption = 64,
    RawOption = 128,
    /// What a verb takes that opens the line.
    LineOptions = SettingsOption | PortOption | DriverOption | TraceOption | QuietOption | RawOption
};
/// Adds those of the options that a verb takes (CommonOption values, or-ed).
void addCommonOptions(CLI::App &verb, CommonOptions &options, int which);

/// Outlives everything that was made with it: records of the driver share memory with the plugin.
struct Loaded {
    ~Loaded() { endTrace(); }

    Plugin plugin;
    PanelSettings settings; ///< With --port, --driver and --raw in place.
    TagFile tagFile;
    TraceWriter trace;

    TraceWriter *traceOrNull() { return trace.isOpen() ? &trace : nullptr; }
    /// Closes the trace. False, with the reason printed once, when not all of it could be written.
    bool endTrace();

private:
    bool isTraceErrorTold = false;
};
/// Reads settings and tags and loads the driver. False when anything is wrong; every problem has been printed then, and
/// the exit code is ExitUsage. isWithTags false leaves the tags out.
bool load(const CommonOptions &options, bool isWithTags, Loaded *loaded);
/// The same, for a caller who prints the problems himself.
bool load(const CommonOptions &options, bool isWithTags, Loaded *loaded, QStringList *problems);
/// Opens the trace file when one was asked for. False, with the reason printed, when it cannot be written or is a file
/// that a trace must not take the place of: one that is read, or anything but a trace.
bool startTrace(const CommonOptions &options, Loaded *loaded);
/// Loads the driver for verbs without settings: the path given, or what findDriver says. False with the reason printed.
bool loadDriver(const CommonOptions &options, Plugin *plugin);
/// Reads a trace. False, with every problem printed; when the file is no trace at all that is the only one. lines may
/// be good ones of a file with problems.
bool readTrace(const std::string &fileName, QVector<TraceLine> *lines);
/// Whether both paths lead to the same file, which exists.
bool isSameFile(const QString &path, const QString &other);
/// The driver where neither option nor settings name one: beside the program, or else where both were installed.
QString findDriver();

/// Null when there is no tag of that name. What it points to belongs to the list.
const Tag *findTag(const QList<Tag> &tags, const QString &name);
/// The tags of these names, in that order; all that can be read when there are none. False, with all that is wrong
/// printed: a name may come once and has to be that of a tag that can be read.
bool chooseTags(const CommonOptions &options, const std::vector<std::string> &names, const QList<Tag> &all,
                QList<Tag> *chosen);
/// Reads "NAME=VALUE": the number in the list of a tag that can be written, and the host bytes of the value. False,
/// with what was expected.
bool parseAssignment(const QString &text, const QList<Tag> &tags, int *tag, QByteArray *bytes, QString *error);

/// The longest time that the settings allow, an hour.
constexpr int LongestMilliseconds = 3600000;

/// A panel of these tags on the settings' serial port, not yet started.
std::unique_ptr<PanelThread> makePanelThread(Loaded &loaded, const QList<Tag> &tags);

/// Does work that cannot be asked to stop and leaves nothing behind, in a thread of its own; a signal ends the program
/// meanwhile, with ExitInterrupted.
void runInterruptibly(const std::function<void()> &work);
/// The whole file. False, with the reason printed, when it cannot be read.
bool readFile(const std::string &fileName, QByteArray *text);

/// Prints "ecpanel: TEXT" to standard error and returns the code.
int complain(const QString &text, ExitCode code);
/// Prints a hint when requests failed and bytes came that were no answer: nothing else tells wrong settings of the line
/// from a PLC that is off.
void printLineHint(const CommonOptions &options, const Counters &counters);
/// Prints one problem a line, as it is, to standard error.
void printProblems(const QStringList &problems);
/// Writes text to standard output at once. When nobody reads it any more shouldStop() becomes true.
void print(const QString &text);
void printLine(const QString &line);
/// A JSON document on one line.
void printJson(const QJsonObject &object);
/// A JSON document for a person to read too, on several lines.
void printJsonPretty(const QJsonDocument &document);
/// Writes text to standard error.
void printNote(const QString &text);

inline QString fromOption(const std::string &text)
{
    return QString::fromLocal8Bit(text.c_str());
}
/// ExitInterrupted after a signal, otherwise the code.
inline int endCode(int code)
{
    return isInterrupted() ? int(ExitInterrupted) : code;
}
/// The same for a verb that may have a trace, which ends here: where all else went well, a trace that is not whole
/// makes it ExitUsage. Whatever writes the trace has to have ended before.
int endCode(Loaded &loaded, int code);
