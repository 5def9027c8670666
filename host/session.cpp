#include "host/session.h"

#include <QtCore/QMutexLocker>

#include <utility>

namespace {

/// The driver's callbacks carry no pointer of the host's, so there is one session in a process.
Session *active = nullptr;

QByteArray listName(int servedList)
{
    switch (servedList) {
    case ServedCyclic:
        return "cyclic";
    case ServedWrite:
        return "write";
    case ServedOnce:
        return "once";
    }
    return "none";
}

QByteArray setting(const char *name, int value)
{
    return QByteArray(name) + '=' + QByteArray::number(value);
}

QList<RW_VAR> copyOf(const QList<RW_VAR> &list, QMutex &mutex)
{
    QMutexLocker lock(&mutex);
    return list;
}

} // namespace

QVector<QByteArray> requestFields(const Protocol &protocol, int servedList)
{
    return {trace::ofBytes(protocol.frame.left(protocol.frameLen)), trace::ofNumber(protocol.replyLen),
            listName(servedList)};
}

const char *callbackWord(const Callback &callback)
{
    return callback.isFailure ? "fail" : "done";
}

QVector<QByteArray> callbackFields(const Callback &callback)
{
    if (callback.isFailure)
        return {trace::ofNumber(callback.connectNo), trace::ofNumber(callback.status)};
    return {trace::ofNumber(callback.channelNo), trace::ofNumber(callback.connectNo), trace::ofNumber(callback.varId),
            trace::ofNumber(callback.status)};
}

Session::Session(const Plugin &plugin, const COMINFO &settings, TraceWriter *trace, std::function<qint64()> clock)
    : plugin(plugin), comInfo(settings), writer(trace), clock(std::move(clock))
{
    Q_ASSERT_X(active == nullptr, "Session", "one session at a time");
    active = this;
    called.reserve(8);
    resetDriver(plugin);
    plugin.setComInfo(&comInfo);
    plugin.registCallBackFuncIntf(noteRequestDone, noteFailure);
    traceSettings();
}

Session::~Session()
{
    if (writer != nullptr) {
        for (const QVector<QByteArray> &line : image())
            trace("image", line);
        trace("end");
    }
    resetDriver(plugin);
    active = nullptr;
}

int Session::describe(const QList<VARDESC> &descriptions)
{
    QList<VARDESC> copy = descriptions;
    const int returned = plugin.reCreatReadVarList(copy);
    traceDescriptions(descriptions, returned);
    return returned;
}

void Session::enableStation(int station, bool on)
{
    plugin.enCommStation(station, on ? 1 : 0);
    if (writer != nullptr)
        trace("station", {trace::ofNumber(station), on ? "on" : "off"});
}

void Session::enableAllStations()
{
    plugin.enCommStation(-1, 1);
    if (writer != nullptr)
        trace("stations", {"on"});
}

int Session::setRegisterData(const QString &name, int devType, const QString &address, int station,
                             const QByteArray &values, int count, int connectNo, int varId)
{
    QByteArray copy = values;
    const int returned = plugin.setRegisterData(name, devType, address, station, &copy, count, connectNo, varId);
    if (writer != nullptr)
        trace("write", {trace::ofNumber(devType), trace::ofNumber(station), trace::ofNumber(count),
                        trace::ofText(address), trace::ofBytes(values), trace::ofNumber(connectNo),
                        trace::ofNumber(varId), trace::ofText(name), "=", trace::ofNumber(returned)});
    return returned;
}

int Session::readOnce(int devType, const QString &address, int station, int count, int connectNo, int varId)
{
    RW_VAR var;
    var.connectNo = connectNo;
    var.varId = varId;
    var.panelStation = comInfo.ownStation;
    var.addrText = address;
    var.devType = devType;
    var.address = plugin.plcAddressChangeIntef(devType, address);
    var.station = station;
    var.count = count;
    const int returned = plugin.addListOnceReadVar(&var, 0);
    if (writer != nullptr)
        trace("read-once",
              {trace::ofNumber(devType), trace::ofNumber(station), trace::ofNumber(count), trace::ofText(address),
               trace::ofNumber(connectNo), trace::ofNumber(varId), "=", trace::ofNumber(returned)});
    return returned;
}

const Protocol *Session::next()
{
    const Protocol *const request = plugin.comCommunication();
    if (writer == nullptr)
        return request;
    if (request == nullptr) {
        if (idleCalls++ == 0)
            idleSince = clock();
        return nullptr;
    }
    // Without the lock: only this thread makes the driver serve another list.
    trace("tx", requestFields(*request, plugin.driver->servedList));
    return request;
}

int Session::answer(const QByteArray &reply)
{
    called.resize(0);
    if (writer != nullptr)
        trace("rx", {trace::ofBytes(reply)});
    QByteArray copy = reply;
    const int code = plugin.dataCom(&copy, copy.size())->resultCode;
    if (writer != nullptr) {
        trace("result", {trace::ofNumber(code)});
        traceCallbacks();
    }
    return code;
}

int Session::getRegisterData(int devType, const QString &address, int station, QByteArray *values, int count)
{
    return plugin.getRegisterData(0, devType, address, station, values, count);
}

QList<RW_VAR> Session::readList() const
{
    return copyOf(plugin.driver->readList, plugin.driver->listMutex);
}

QList<RW_VAR> Session::writeList() const
{
    return copyOf(plugin.driver->writeList, plugin.driver->listMutex);
}

QList<RW_VAR> Session::onceReadList() const
{
    return copyOf(plugin.driver->onceReadList, plugin.driver->listMutex);
}

bool Session::isInFlight() const
{
    return !plugin.driver->protocolList.isEmpty();
}

void Session::note(const char *word, const QVector<QByteArray> &fields)
{
    if (writer != nullptr)
        trace(word, fields);
}

void Session::noteRequestDone(int channelNo, int connectNo, int varId, int status)
{
    active->called.append(Callback{false, channelNo, connectNo, varId, status});
}

void Session::noteFailure(QList<RW_VAR> &, int connectNo, int flag)
{
    active->called.append(Callback{true, 0, connectNo, 0, flag});
}

void Session::trace(const char *word, const QVector<QByteArray> &fields)
{
    flushIdle();
    writer->write(clock(), word, fields);
}

void Session::traceSettings()
{
    if (writer != nullptr)
        trace("settings", {setting("maxBlockLen", comInfo.maxBlockLen), setting("plcStation", comInfo.plcStation),
                           setting("retryLimit", comInfo.retryLimit), setting("stationScope", comInfo.stationScope),
                           setting("remoteMode", comInfo.remoteMode), setting("ownStation", comInfo.ownStation),
                           setting("writeMode", comInfo.writeMode), setting("channelNo", comInfo.channelNo)});
}

void Session::traceDescriptions(const QList<VARDESC> &descriptions, int returned)
{
    if (writer == nullptr)
        return;
    trace("describe", {trace::ofNumber(descriptions.size()), "=", trace::ofNumber(returned)});
    for (const VARDESC &description : descriptions)
        trace("variable", {trace::ofNumber(description.devType), trace::ofNumber(description.station),
                           trace::ofNumber(description.count), trace::ofText(description.addrText),
                           trace::ofText(description.nameText)});
}

void Session::flushIdle()
{
    if (idleCalls == 0)
        return;
    writer->write(idleSince, "idle", {trace::ofNumber(idleCalls)});
    idleCalls = 0;
}

void Session::traceCallbacks()
{
    for (const Callback &callback : qAsConst(called))
        trace(callbackWord(callback), callbackFields(callback));
}
