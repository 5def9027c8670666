#include "tests/panel_rig.h"

#include "host/tag_codec.h"

#include <QtTest/QtTest>

#include <algorithm>

const Plugin &loadedDriver()
{
    // Never unloaded: strings of the driver's records may live in test data.
    static Plugin *const plugin = [] {
        Plugin *const loaded = new Plugin;
        QString error;
        if (!loaded->load(QStringLiteral(EC_DRIVER_PATH), &error))
            qFatal("%s", qPrintable(error));
        return loaded;
    }();
    return *plugin;
}

PanelRig::PanelRig()
{
    settings.line.baud = 19200;
    settings.line.stopBits = 2;
    settings.line.replyTimeout = 100;
    settings.line.lateWindow = 50;
    settings.maxBlockLen = 32;
    settings.retries = 2;
}

void PanelRig::start()
{
    QStringList problems;
    const QByteArray header = "name,type,address,station,count,format,order,scale,unit,rw\n";
    const TagFile file = parseTags(header + csv, QStringLiteral("tags.csv"), settings, &problems);
    if (!problems.isEmpty())
        qFatal("%s", qPrintable(problems.join(QLatin1Char('\n'))));
    slave.reset(new Slave(settings.isRemote ? RequestFormat::Remote : RequestFormat::ModbusRtu));
    for (const int station : qAsConst(stations)) {
        PlcMemory *const memory = slave->addStation(station);
        if (showsEpochs)
            memory->showEpochs();
    }
    faults.reset(new Faults(seed));
    plcEnd.reset(new Wire(*slave, *faults, wire));
    line.reset(new VirtualLine(*plcEnd));
    panel.reset(new Panel(loadedDriver(), settings, file.tags, *line, trace));
    panel->setListener(&heard);
    QString error;
    if (!panel->start(&error))
        qFatal("%s", qPrintable(error));
}

void PanelRig::end()
{
    panel.reset();
}

void PanelRig::runFor(qint64 microseconds)
{
    const qint64 end = line->now() + microseconds;
    while (line->now() < end)
        panel->step();
}

bool PanelRig::runUntil(const std::function<bool()> &condition)
{
    const qint64 end = line->now() + 60 * qint64(Second);
    while (!condition()) {
        if (line->now() >= end)
            return false;
        panel->step();
    }
    return true;
}

bool PanelRig::runPass()
{
    panel->expectPass();
    return runUntil([this] { return panel->isPassComplete(); });
}

void PanelRig::addFault(FaultKind kind, int milliseconds, int code)
{
    FaultRule rule;
    rule.kind = kind;
    rule.milliseconds = milliseconds;
    rule.code = code;
    faults->add(rule);
}

void PanelRig::addNextFault(FaultKind kind, int milliseconds)
{
    FaultRule rule;
    rule.kind = kind;
    rule.milliseconds = milliseconds;
    rule.first = rule.last = faults->requests();
    faults->add(rule);
}

int PanelRig::tagOf(const QString &name) const
{
    for (int tag = 0; tag < panel->tags().size(); ++tag)
        if (panel->tags().at(tag).name == name)
            return tag;
    qFatal("no tag %s", qPrintable(name));
    return -1;
}

QString PanelRig::shown(const QString &name) const
{
    const int tag = tagOf(name);
    const TagValue &value = panel->values().at(tag);
    return QString::fromLatin1("%1 %2").arg(valueText(panel->tags().at(tag), value.bytes), qualityText(value));
}

int PanelRig::write(const QString &name, const QString &text)
{
    const int tag = tagOf(name);
    QByteArray bytes;
    QString error;
    if (!encode(panel->tags().at(tag), text, &bytes, &error))
        qFatal("%s", qPrintable(error));
    return panel->write(tag, bytes);
}

WriteState PanelRig::stateOf(int id) const
{
    for (const WriteEntry &entry : heard.writes)
        if (entry.id == id)
            return entry.state;
    return WriteState::Queued;
}

QStringList PanelRig::endedStates() const
{
    QList<WriteEntry> entries = heard.writes;
    std::sort(entries.begin(), entries.end(), [](const WriteEntry &a, const WriteEntry &b) { return a.id < b.id; });
    QStringList states;
    for (const WriteEntry &entry : qAsConst(entries))
        states << writeStateName(entry.state);
    return states;
}
