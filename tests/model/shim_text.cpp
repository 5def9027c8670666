#include "tests/model/shim_text.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iostream>

namespace {

std::string quotedText(const QString &text)
{
    return "\"" + text.toUtf8().toPercentEncoding().toStdString() + "\"";
}

/// Whole pieces of zeros are passed over: nearly all of an area is zeros, and this is most of what a dump takes.
template <class Element>
std::string area(const char *name, const Element *elements)
{
    static const Element zeros[256] = {};
    std::string line;
    for (int from = 0; from < AreaElements; from += 256) {
        const int to = std::min<int>(from + 256, AreaElements);
        if (!std::memcmp(elements + from, zeros, (to - from) * sizeof(Element)))
            continue;
        for (int i = from; i < to; ++i)
            if (elements[i])
                line += (line.empty() ? "" : ",") + number(i) + ":" + number(elements[i]);
    }
    return line.empty() ? line : std::string(" ") + name + "=" + line;
}

} // namespace

void giveUp(const std::string &what)
{
    std::cerr << what << std::endl;
    std::exit(2);
}

std::string hex(const QByteArray &bytes)
{
    return bytes.isEmpty() ? "-" : bytes.toHex().toStdString();
}

QByteArray toBytes(const std::string &hex)
{
    return hex == "-" ? QByteArray() : QByteArray::fromHex(QByteArray::fromStdString(hex));
}

std::string text(const RW_VAR &var)
{
    return numbers(var.connectNo, var.varId, var.rwFlag, var.hostWord3, var.panelStation, var.resultCode) + ","
           + quotedText(var.nameText) + "," + quotedText(var.addrText) + ","
           + numbers(var.devType, var.address, var.station, var.count, var.subIndex, var.hostWord13) + ","
           + hex(var.data);
}

std::string text(const Protocol &pending)
{
    return hex(pending.frame) + "|" + numbers(pending.frameLen, pending.replyLen, pending.dataOffset, pending.dataLen)
           + "|" + text(pending.var) + "|" + numbers(pending.extra20, pending.extra21, pending.extra22);
}

std::string text(const EXTENDVAR &value)
{
    return numbers(value.station, value.devType, value.address) + "," + hex(value.data);
}

std::string text(const COMINFO &record)
{
    return numbers(record.hostWord0, record.hostWord1, record.hostWord2, record.hostWord3, record.maxBlockLen,
                   record.hostWord5, record.plcStation, record.retryLimit, record.retryCount, record.stationScope,
                   record.hostWord10, record.frameTotal, record.frameDone, record.hostWord13, record.remoteMode,
                   record.ownStation, record.writeMode, record.finishFlag, record.channelNo);
}

std::string dump(const Emerson_EC_Series &driver)
{
    std::string line = "dump" + text("readList", driver.readList) + text("writeList", driver.writeList)
                       + text("onceReadList", driver.onceReadList) + text("protocolList", driver.protocolList)
                       + text("extendVarList", driver.extendVarList) + " disabledStations=";
    for (auto it = driver.disabledStations.constBegin(); it != driver.disabledStations.constEnd(); ++it)
        line += (it == driver.disabledStations.constBegin() ? "" : ",") + number(it.key()) + ":" + number(it.value());
    return line + " result=" + text(driver.result) + area("bitImage0", driver.bitImage0)
           + area("bitImage1", driver.bitImage1) + area("bitImage2", driver.bitImage2)
           + area("bitImage3", driver.bitImage3) + area("bitImage4", driver.bitImage4)
           + area("bitImage5", driver.bitImage5) + area("bitImage6", driver.bitImage6)
           + area("wordImage7", driver.wordImage7) + area("wordImage8", driver.wordImage8)
           + area("wordImage9", driver.wordImage9) + area("wordImage10", driver.wordImage10)
           + area("wordImage11", driver.wordImage11) + area("dwordImage13", driver.dwordImage13)
           + area("wordImage100", driver.wordImage100);
}

std::string Arguments::word()
{
    std::string value;
    if (!(stream >> value))
        giveUp("too few words: " + stream.str());
    return value;
}

QString Arguments::quoted()
{
    const std::string value = word();
    return QString::fromUtf8(
        QByteArray::fromPercentEncoding(QByteArray::fromStdString(value.substr(1, value.size() - 2))));
}

bool Arguments::var(RW_VAR *var)
{
    const std::string first = word();
    if (first == "null")
        return false;
    var->connectNo = std::stoi(first);
    for (int *field : {&var->varId, &var->rwFlag, &var->hostWord3, &var->panelStation, &var->resultCode})
        *field = integer();
    var->nameText = quoted();
    var->addrText = quoted();
    for (int *field : {&var->devType, &var->address, &var->station, &var->count, &var->subIndex, &var->hostWord13})
        *field = integer();
    var->data = bytes();
    return true;
}

EXTENDVAR Arguments::stored()
{
    EXTENDVAR value;
    for (int *field : {&value.station, &value.devType, &value.address})
        *field = integer();
    value.data = bytes();
    return value;
}
