// A trace: read, told in words, and played to a fresh driver; or a frame as people write it.
#include "host/decode.h"
#include "host/replay.h"
#include "proof/fuzz/check.h"
#include "proof/fuzz/fresh_driver.h"
#include "proof/fuzz/text_input.h"

#include <QtCore/QHash>

namespace {

enum { CheapNumber = 300, OneCostlyIn = 64 };

const char Heading[] = "# ecpanel trace 1\n";
const char Settings[] = "0.000000 settings maxBlockLen=32 plcStation=1 retryLimit=1 stationScope=0 remoteMode=0 "
                        "ownStation=1 writeMode=2 channelNo=7\n";

/// The driver that is linked in, in place of a loaded one.
void bind(Plugin &plugin)
{
    plugin.setComInfo = SetComInfo;
    plugin.flashLocalRegister = FlashLocalRegister;
    plugin.registCallBackFuncIntf = RegistCallBackFuncIntf;
    plugin.enCommStation = EnCommStation;
    plugin.queryFinishFlag = QueryFinishFlag;
    plugin.comCommunication = ComCommunication;
    plugin.dataCom = DataCom;
    plugin.reCreatReadVarList = ReCreatReadVarList;
    plugin.addListReadVar = AddListReadVar;
    plugin.addListWriteVar = AddListWriteVar;
    plugin.addListOnceReadVar = AddListOnceReadVar;
    plugin.plcAddressChangeIntef = PLCAddressChangeIntef;
    plugin.getRegisterData = GetRegisterData;
    plugin.setRegisterData = SetRegisterData;
    plugin.calCrc = CalCRC;
    plugin.driver = &PLC_driver;
}

/// A trace may ask for a million elements, which takes a second here: few of those are played.
bool isPlayed(const QVector<TraceLine> &lines, const QByteArray &text)
{
    if (qHash(text) % OneCostlyIn == 0)
        return true;
    for (const TraceLine &line : lines) {
        const bool isCostly =
            line.word == "variable" || line.word == "write" || line.word == "read-once" || line.word == "idle";
        for (const QByteArray &field : line.fields) {
            qint64 number = 0;
            if (isCostly && trace::toNumber(field, &number) && number > CheapNumber)
                return false;
        }
    }
    return true;
}

void demandFieldsAgain(const TraceLine &line)
{
    for (const QByteArray &field : line.fields) {
        QString text, textAgain;
        if (trace::toText(field, &text))
            DEMAND(trace::toText(trace::ofText(text), &textAgain) && textAgain == text);
        QByteArray bytes, bytesAgain;
        if (trace::toBytes(field, &bytes))
            DEMAND(trace::toBytes(trace::ofBytes(bytes), &bytesAgain) && bytesAgain == bytes);
        qint64 number = 0, numberAgain = 0;
        if (trace::toNumber(field, &number))
            DEMAND(trace::toNumber(trace::ofNumber(number), &numberAgain) && numberAgain == number);
    }
}

void readTrace(const QByteArray &text)
{
    QStringList problems;
    const QVector<TraceLine> lines = parseTrace(text, QStringLiteral("t.trace"), &problems);
    DEMAND(problems.size() <= 101);
    DEMAND(decodeTrace(lines, CalCRC).size() == lines.size());
    for (const TraceLine &line : lines)
        demandFieldsAgain(line);
    if (!isPlayed(lines, text))
        return;
    static Plugin plugin;
    bind(plugin);
    const ReplayReport report = replay(lines, plugin, 10);
    DEMAND(report.differences.size() == qMin(report.differenceCount, qint64(10)));
    DEMAND(report.problems.size() == qMin(report.problemCount, qint64(100)));
    DEMAND(PLC_driver.comInfo == nullptr && PLC_driver.readList.isEmpty() && PLC_driver.extendVarList.isEmpty());
    demandLocksFree();
}

void readFrame(const QByteArray &text)
{
    QByteArray frame;
    QString error;
    if (!parseHex(QString::fromUtf8(text), &frame, &error)) {
        DEMAND(!error.isEmpty());
        return;
    }
    const QByteArray request = frame.left(8);
    for (const FrameDirection direction : {FrameDirection::Unknown, FrameDirection::Request, FrameDirection::Reply}) {
        DEMAND(!decodeFrame(frame, direction, CalCRC).isEmpty());
        decodeFrame(frame.mid(8), direction, CalCRC, request);
        decodeShort(frame, direction, CalCRC, request);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const TextInput input(data, size);
    switch (input.choice & 3) {
    case 0:
        readTrace(input.text);
        break;
    case 1:
        readFrame(input.text);
        break;
    default:
        readTrace(Heading + (Settings + input.text));
    }
    return 0;
}
