#include "host/commands/common.h"
#include "host/report.h"
#include "host/tag_codec.h"

#include <QtCore/QJsonArray>

namespace {

struct WriteOptions {
    CommonOptions common;
    std::vector<std::string> assignments;
};

struct Assignment {
    int tag; ///< In the list of the tags to write.
    QByteArray bytes;
};

/// Checks all of them before anything is sent. False, with everything that is wrong printed. notes tells which values
/// were rounded.
bool parseAssignments(const WriteOptions &options, const QList<Tag> &all, QList<Tag> *tags,
                      QVector<Assignment> *assignments, QStringList *notes)
{
    bool isRight = true;
    for (const std::string &text : options.assignments) {
        int tag = 0;
        Assignment assignment;
        QString error;
        bool isTaken = parseAssignment(fromOption(text), all, &tag, &assignment.bytes, &error);
        if (isTaken && findTag(*tags, all.at(tag).name)) {
            error = QStringLiteral("the tag is named twice: expected each once, for a later write may take the place "
                                   "of an earlier one");
            isTaken = false;
        }
        if (isTaken) {
            assignment.tag = tags->size();
            tags->append(all.at(tag));
            assignments->append(assignment);
            const QString typed = fromOption(text).section(QLatin1Char('='), 1).trimmed();
            const QString note = roundingNote(all.at(tag), typed, assignment.bytes);
            if (!note.isEmpty())
                *notes << QString::fromLatin1("ecpanel: %1: %2").arg(fromOption(text), note);
        } else {
            complain(QString::fromLatin1("%1: %2").arg(fromOption(text), error), ExitUsage);
        }
        isRight = isRight && isTaken;
    }
    return isRight;
}

/// Without its confirmed end, a write that an interruption cut off counts as open: whether it was sent is all that is
/// known.
void reopen(WriteEntry &write)
{
    const bool isCut =
        write.state == WriteState::Purged || (write.state == WriteState::Failed && write.reason == Reason::Port);
    if (!isCut)
        return;
    write.state = WriteState::Queued;
    write.reason = Reason::None;
    write.endedAt = -1;
}

void takeEnded(PanelThread &thread, int milliseconds, QVector<WriteEntry> *writes, int *left)
{
    for (const PanelEvent &event : thread.takeEvents(milliseconds)) {
        if (event.kind != PanelEvent::WriteEnded)
            continue;
        (*writes)[event.write.tag] = event.write;
        --*left;
    }
}

/// Ends the thread and notes what it last knew of the writes that are still open.
void stopWithOpenWrites(PanelThread &thread, QVector<WriteEntry> *writes, int *left)
{
    // Asks again and again: the last time is after the last request.
    std::function<void(Panel &)> look = [&](Panel &panel) {
        for (const WriteEntry &entry : panel.writes().openEntries())
            (*writes)[entry.tag] = entry;
        thread.post(look);
    };
    thread.post(look);
    thread.stop();
    const QVector<WriteEntry> before = *writes;
    takeEnded(thread, 0, writes, left);
    for (int i = 0; i < before.size(); ++i)
        if (isOpenState(before.at(i).state))
            reopen((*writes)[i]);
}

/// Queues all in order and waits for their ends. By tag. The thread has ended afterwards.
QVector<WriteEntry> carryOut(PanelThread &thread, const QVector<Assignment> &assignments)
{
    QVector<WriteEntry> writes(assignments.size());
    thread.call([&](Panel &panel) {
        for (const Assignment &assignment : assignments) {
            WriteEntry &entry = writes[assignment.tag];
            entry.tag = assignment.tag;
            entry.bytes = assignment.bytes;
            entry.id = panel.write(assignment.tag, assignment.bytes);
        }
    });
    int left = writes.size();
    while (left > 0 && !isInterrupted())
        takeEnded(thread, 50, &writes, &left);
    if (left > 0)
        stopWithOpenWrites(thread, &writes, &left);
    else
        thread.stop();
    return writes;
}

/// Whether the write is where it was meant to go, as far as that can be known.
bool isFine(const WriteEntry &write, const Tag &tag, bool confirmWrites)
{
    if (write.state == WriteState::Done)
        return !confirmWrites || !tag.isReadable;
    return write.state == WriteState::Confirmed || write.state == WriteState::Superseded;
}

int codeOf(const QVector<WriteEntry> &writes, const QList<Tag> &tags, bool confirmWrites)
{
    bool hasPort = false, hasTimeout = false, hasBad = false, hasOther = false;
    for (const WriteEntry &write : writes) {
        if (isFine(write, tags.at(write.tag), confirmWrites))
            continue;
        const bool hasFailed = write.state == WriteState::Failed;
        const bool isPort = hasFailed && write.reason == Reason::Port;
        const bool isTimeout = hasFailed && write.reason == Reason::Timeout;
        const bool isBad =
            hasFailed
            && (write.reason == Reason::Crc || write.reason == Reason::Length || write.reason == Reason::Exception);
        hasPort = hasPort || isPort;
        hasTimeout = hasTimeout || isTimeout;
        hasBad = hasBad || isBad;
        hasOther = hasOther || (!isPort && !isTimeout && !isBad);
    }
    if (hasPort)
        return ExitPort;
    if (hasTimeout)
        return ExitTimeout;
    if (hasBad)
        return ExitBadReply;
    return hasOther ? ExitNotConfirmed : ExitOk;
}

void printWrites(const QVector<WriteEntry> &writes, const QList<Tag> &tags, bool confirmWrites, bool asJson)
{
    QJsonArray array;
    TextTable table(
        {QStringLiteral("name"), QStringLiteral(">value"), QStringLiteral("unit"), QStringLiteral("write")});
    for (const WriteEntry &write : writes) {
        const Tag &tag = tags.at(write.tag);
        array.append(writeObject(tag, write));
        table.addRow({cutTo(TextTable::NameColumns, tag.name),
                      cutTo(TextTable::ValueColumns, valueText(tag, write.bytes)), tag.unit,
                      writeText(tag, write, confirmWrites)});
    }
    if (asJson)
        printJsonPretty(QJsonDocument(array));
    else
        print(table.text());
}

int write(const WriteOptions &options)
{
    Loaded loaded;
    QList<Tag> tags;
    QVector<Assignment> assignments;
    QStringList notes;
    if (!load(options.common, true, &loaded)
        || !parseAssignments(options, loaded.tagFile.tags, &tags, &assignments, &notes)
        || !startTrace(options.common, &loaded))
        return ExitUsage;
    if (!options.common.quiet)
        printProblems(notes);
    const auto thread = makePanelThread(loaded, tags);
    // Before the first request: nothing but the writes and what confirms them goes out.
    thread->post([](Panel &panel) { panel.setPolling(false); });
    QString error;
    if (!thread->start(&error))
        return complain(error, ExitPort);
    const QVector<WriteEntry> writes = carryOut(*thread, assignments);
    printWrites(writes, tags, loaded.settings.confirmWrites, options.common.json);
    printLineHint(options.common, thread->snapshot().counters.all);
    return endCode(loaded, codeOf(writes, tags, loaded.settings.confirmWrites));
}

} // namespace

void addWriteCommand(CLI::App &app, CommandContext &context)
{
    auto options = std::make_shared<WriteOptions>();
    CLI::App *const verb = app.add_subcommand("write", "Write values and tell what became of each write");
    verb->add_option("NAME=VALUE", options->assignments, "Tags and their values; several values of a tag as 1,0,1")
        ->required();
    addCommonOptions(*verb, options->common, LineOptions | TagsOption | JsonOption);
    verb->footer(
        "Nothing is sent unless all names and values are right. Each write ends as confirmed (read back as\n"
        "written), done (answered; not read back), failed, reverted (read back different), purged (given up\n"
        "because another write failed), superseded (a newer write of the same cells took its place), refused,\n"
        "dropped-queue-full or dropped-station-off. One that Ctrl-C cut off is unknown (sent, not answered: the\n"
        "PLC may have it or not) or not sent (\"unknown\" and \"not-sent\" in JSON).\n\n"
        "The exit code is 0 when all are confirmed, or done where nothing more can be known; otherwise 3, 4\n"
        "or 5 by why one failed (serial port, no reply in time, bad reply or exception), or 6.\n\n"
        "Examples:\n"
        "  ecpanel write speed=12.5\n"
        "  ecpanel write pump=1 setpoints=10,20,30 --json");
    verb->callback([options, &context] { context.run = [options] { return write(*options); }; });
}
