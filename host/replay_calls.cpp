#include "host/replay_calls.h"

#include <limits>

namespace {

enum {
    MostElements = 65535,       ///< Of a variable, a write or a one-shot read: as many as an area has.
    MostDescriptions = 1 << 20, ///< Variables of one call.
    FreeWork = 1000000,         ///< Elements and idle calls that any trace may ask for,
    LineWork = 2000,            ///< and as many more for each of its lines: what no real one does ends in time.
    WorkPerOnceRead = 16,       ///< Of an element.
    ElementsPerEntry = 16       ///< Entries of the cyclic list that are passed over in the time of an element.
};

} // namespace

ReplayCalls::ReplayCalls(const QVector<TraceLine> &lines, const Plugin &plugin, ReplayFindings &findings)
    : lines(lines), plugin(plugin), findings(findings), work(FreeWork + qint64(LineWork) * lines.size())
{
}

int ReplayCalls::play(int index)
{
    static const struct {
        const char *word;
        void (ReplayCalls::*make)();
    } calls[] = {
        {"settings", &ReplayCalls::start},
        {"describe", &ReplayCalls::describe},
        {"station", &ReplayCalls::switchStation},
        {"stations", &ReplayCalls::switchStations},
        {"write", &ReplayCalls::write},
        {"read-once", &ReplayCalls::readOnce},
        {"idle", &ReplayCalls::idle},
        {"tx", &ReplayCalls::request},
        {"rx", &ReplayCalls::answer},
    };
    at = index;
    const QByteArray &word = lines.at(at).word;
    for (const auto &call : calls) {
        if (word == call.word) {
            (this->*call.make)();
            return at;
        }
    }
    findings.complain(word == "variable" ? "a describe before it" : "a word that docs/trace.md has");
    return at;
}

/// False, with a problem, when the line is not to be carried out: something is wrong with it, or it asks for more than
/// any trace would.
bool ReplayCalls::accept(TraceFields &fields, qint64 elements)
{
    const QString problem = fields.problem();
    if (!problem.isEmpty()) {
        findings.complain(problem);
        return false;
    }
    return spend(elements);
}

bool ReplayCalls::spend(qint64 elements)
{
    work -= elements;
    if (work < 0)
        findings.complain("fewer elements and idle calls in one trace");
    return work >= 0;
}

void ReplayCalls::start()
{
    COMINFO settings;
    QString expected;
    if (session)
        findings.complain("settings only once");
    else if (!readTraceSettings(findings.line(), &settings, &expected))
        findings.complain(expected);
    else
        session = std::make_unique<Session>(plugin, settings, nullptr, std::function<qint64()>());
}

void ReplayCalls::describe()
{
    const TraceLine &line = findings.line();
    TraceFields fields(line);
    const int count = fields.number("the variables", 0, MostDescriptions);
    fields.literal("=");
    const int returned = fields.number("the length of the list");
    QList<VARDESC> descriptions;
    if (!accept(fields) || !readVariables(count, &descriptions))
        return;
    findings.setLine(line);
    // The last call of a trace that was cut off may lack some.
    if (descriptions.size() == count)
        findings.compareReturned(returned, session->describe(descriptions));
    else if (at + 1 < lines.size())
        findings.complain("as many variables behind it");
}

/// As many of the lines that follow, or as there are. False, with a problem of that line, when one is wrong.
bool ReplayCalls::readVariables(int count, QList<VARDESC> *descriptions)
{
    while (descriptions->size() < count && at + 1 < lines.size() && lines.at(at + 1).word == "variable") {
        findings.setLine(lines.at(++at));
        TraceFields fields(findings.line());
        VARDESC description;
        description.devType = uchar(fields.number("a device-type code", 0, 255));
        description.station = uchar(fields.number("a station", 0, 255));
        description.count = fields.number("a count", 0, MostElements);
        description.addrText = fields.text("an address");
        description.nameText = fields.text("a name");
        if (!accept(fields, description.count))
            return false;
        *descriptions << description;
    }
    return true;
}

void ReplayCalls::switchStation()
{
    TraceFields fields(findings.line());
    const int station = fields.number("a station");
    const bool on = fields.choice({"on", "off"}) == 0;
    if (!accept(fields))
        return;
    ++findings.report.calls;
    session->enableStation(station, on);
}

void ReplayCalls::switchStations()
{
    TraceFields fields(findings.line());
    fields.literal("on");
    if (!accept(fields))
        return;
    ++findings.report.calls;
    session->enableAllStations();
}

void ReplayCalls::write()
{
    TraceFields fields(findings.line());
    const int devType = fields.number("a device-type code");
    const int station = fields.number("a station");
    const int count = fields.number("a count", 0, MostElements);
    const QString address = fields.text("an address");
    const QByteArray values = fields.bytes("values");
    const int connectNo = fields.number("a connection");
    const int varId = fields.number("a variable");
    const QString name = fields.text("a name");
    fields.literal("=");
    const int returned = fields.number("the length of the queue");
    if (accept(fields, count))
        findings.compareReturned(
            returned, session->setRegisterData(name, devType, address, station, values, count, connectNo, varId));
}

void ReplayCalls::readOnce()
{
    TraceFields fields(findings.line());
    const int devType = fields.number("a device-type code");
    const int station = fields.number("a station");
    const int count = fields.number("a count", 0, MostElements);
    const QString address = fields.text("an address");
    const int connectNo = fields.number("a connection");
    const int varId = fields.number("a variable");
    fields.literal("=");
    const int returned = fields.number("the length of the queue");
    // Each of its blocks is compared with the whole queue.
    if (accept(fields, qint64(count) * WorkPerOnceRead))
        findings.compareReturned(returned, session->readOnce(devType, address, station, count, connectNo, varId));
}

/// All that a call can change which gives nothing, but for the order of the cyclic list; that one turns only until a
/// station is found that is on, and then not again.
QVector<int> ReplayCalls::idleState() const
{
    const Emerson_EC_Series &driver = *plugin.driver;
    return {driver.writeList.size(), driver.onceReadList.size(), driver.servedList,
            driver.writeStreak,      driver.onceStreak,          session->settings().finishFlag};
}

/// With stations off, ComCommunication may turn the whole cyclic list.
qint64 ReplayCalls::workOfCall() const
{
    return plugin.driver->disabledStations.isEmpty() ? 1 : 1 + plugin.driver->readList.size() / ElementsPerEntry;
}

void ReplayCalls::idle()
{
    const TraceLine &line = findings.line();
    TraceFields fields(line);
    const int count = fields.number("a count", 1, std::numeric_limits<int>::max());
    if (!accept(fields, workOfCall()))
        return;
    findings.report.calls += count;
    for (int i = 0; i < count; ++i) {
        const QVector<int> before = idleState();
        const Protocol *const protocol = session->next();
        if (protocol != nullptr) {
            const QString got = shownLine("tx", requestFields(*protocol, plugin.driver->servedList));
            findings.differ(shownLine(line.word, line.fields), QString::fromLatin1("after %1: %2").arg(i).arg(got));
            return;
        }
        // Once a call has changed nothing, no further one will.
        if (idleState() == before || !spend(workOfCall()))
            return;
    }
}

void ReplayCalls::request()
{
    TraceFields fields(findings.line());
    const QByteArray frame = fields.bytes("a frame");
    fields.number("the length of its reply");
    fields.choice({"cyclic", "write", "once"});
    if (!accept(fields, workOfCall()))
        return;
    ++findings.report.calls;
    isAsked = true;
    findings.report.bytesCompared += frame.size();
    const Protocol *const protocol = session->next();
    if (protocol == nullptr)
        findings.compare("idle", {"1"});
    else
        findings.compare("tx", requestFields(*protocol, plugin.driver->servedList));
}

void ReplayCalls::answer()
{
    TraceFields fields(findings.line());
    const QByteArray reply = fields.bytes("a reply");
    if (!accept(fields))
        return;
    if (!isAsked) {
        findings.complain("a tx before it");
        return;
    }
    isAsked = false;
    ++findings.report.calls;
    ++findings.report.transactions;
    findings.await({"result", {trace::ofNumber(session->answer(reply))}});
    for (const Callback &callback : session->callbacks())
        findings.await({callbackWord(callback), callbackFields(callback)});
}
