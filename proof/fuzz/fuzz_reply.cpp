// One request of any kind, and one reply of any kind to each of its frames.
#include "proof/fuzz/check.h"
#include "proof/fuzz/fresh_driver.h"
#include "proof/fuzz/replies.h"

#include <QtCore/QPair>
#include <QtCore/QVarLengthArray>

namespace {

enum {
    LongestReply = 600,
    MostElements = 12, ///< In most executions: the count decides how long a call takes.
    SeldomElements = 300,
    LongestTouched = 900,    ///< Elements that a reply or a write changes at most.
    ExecutionsPerLook = 5000 ///< At the whole image.
};

/// Code and address of everything that the execution may have changed in the image.
QVarLengthArray<QPair<int, int>, 8> touched;

/// Puts one request into one of the lists, as hosts do.
void request(Input &input, Squeezed &squeezed)
{
    RW_VAR var = input.record(input.byte() & 1);
    const int elements = input.count(input.oneIn(64) ? int(SeldomElements) : int(MostElements));
    const QString text = squeezed.text(input.addressText(var.devType));
    const QByteArray values = squeezed.bytes(input.bytes(input.oneIn(8) ? 260 : input.below(9)));
    var.addrText = text;
    var.data = values;
    touched.append({var.devType, var.address});
    touched.append({var.devType, PLCAddressChangeIntef(var.devType, text)});
    switch (input.below(8)) {
    case 0: {
        VARDESC description;
        description.devType = uchar(var.devType);
        description.station = uchar(var.station);
        description.addrText = text;
        description.count = elements;
        QList<VARDESC> descriptions{description};
        DEMAND(ReCreatReadVarList(descriptions) == PLC_driver.readList.size());
        break;
    }
    case 1:
        AddListReadVar(&var);
        break;
    case 2:
        var.count = elements;
        AddListOnceReadVar(&var, input.below(2));
        break;
    case 3:
    case 4:
        AddListWriteVar(&var, input.below(2));
        break;
    default: {
        QByteArray given = values;
        SetRegisterData(QString(), var.devType, text, var.station, &given, elements, var.connectNo, var.varId);
        DEMAND(given.constData() == values.constData());
    }
    }
}

/// What a screen would then be shown. The array may be there in part, whole, or not at all.
void look(Input &input, Squeezed &squeezed, const RW_VAR &var)
{
    const QByteArray before = squeezed.bytes(QByteArray(input.below(12), '\x55'));
    QByteArray values = before;
    const QString text = squeezed.text(input.addressText(var.devType));
    const int answer = GetRegisterData(0, var.devType, text, var.station, &values, qMin(var.count, 64));
    DEMAND(answer == 1 ? values.size() >= before.size() : answer == 0 && values.constData() == before.constData());
    // A byte written beyond the array hits its terminator first.
    DEMAND(answer == 0 || values.constData() == before.constData() || values.constData()[values.size()] == '\0');
}

void play(Input &input, Squeezed &squeezed)
{
    COMINFO settings = input.settings();
    PLC_driver.failFlag = input.oneIn(8);
    SetComInfo(&settings);
    RegistCallBackFuncIntf(noteRequestDone, noteCommFail);
    request(input, squeezed);
    RW_VAR last;
    for (int frame = 0; frame < 2; ++frame) {
        const Protocol *const protocol = ComCommunication();
        if (protocol == nullptr)
            break;
        demandSoundRequest(protocol);
        last = protocol->var;
        touched.append({last.devType, last.address});
        makeReply(input, squeezed, *protocol, LongestReply).give();
        if (PLC_driver.protocolList.isEmpty())
            break;
    }
    look(input, squeezed, last);
    demandLocksFree();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    Input input(data, size);
    Squeezed squeezed;
    touched.clear();
    play(input, squeezed);
    emptyDriver();
    for (const QPair<int, int> &request : touched)
        clearImageAt(request.first, request.second, LongestTouched);
    // Not in each execution, because the image is large.
    static int executions = 0;
    if (++executions % ExecutionsPerLook == 0)
        DEMAND(imageIsClear());
    return 0;
}
