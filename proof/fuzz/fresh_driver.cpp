#include "proof/fuzz/fresh_driver.h"

#include "image/areas.h"
#include "image/store_lock.h"
#include "proof/fuzz/check.h"
#include "varlist/device_traits.h"

#include <cstring>

namespace {

char *imageBegin()
{
    return reinterpret_cast<char *>(PLC_driver.bitImage0);
}

size_t imageSize()
{
    return size_t(reinterpret_cast<char *>(PLC_driver.wordImage100 + AreaElements) - imageBegin());
}

template <class Element>
void clearArea(Element *area, qint64 first, int elements)
{
    const qint64 begin = qBound(qint64(0), first, qint64(AreaElements));
    const qint64 end = qBound(begin, first + elements, qint64(AreaElements));
    std::memset(area + begin, 0, size_t(end - begin) * sizeof(Element));
}

} // namespace

void emptyDriver()
{
    SetComInfo(nullptr);
    FlashLocalRegister(nullptr, nullptr, nullptr);
    RegistCallBackFuncIntf(nullptr, nullptr);
    for (QList<RW_VAR> *const list :
         {&PLC_driver.readList, &PLC_driver.writeList, &PLC_driver.onceReadList, &PLC_driver.spareList})
        *list = QList<RW_VAR>();
    PLC_driver.protocolList = QList<Protocol>();
    PLC_driver.extendVarList = QList<EXTENDVAR>();
    PLC_driver.disabledStations = QMap<int, int>();
    PLC_driver.result = RW_VAR();
    PLC_driver.servedList = ServedNone;
    PLC_driver.writeStreak = 0;
    PLC_driver.onceStreak = 0;
    PLC_driver.passCount = 0;
    PLC_driver.failFlag = false;
}

void clearImage()
{
    std::memset(imageBegin(), 0, imageSize());
}

void clearImageAt(int devType, int address, int elements)
{
    const DeviceTraits &traits = deviceTraits(devType);
    for (const int first : {address, address / 8, address / 16}) {
        if (unsigned char *const bits = traits.kind == Kind::Bit ? bitArea(traits.base) : nullptr)
            clearArea(bits, first, elements);
        else if (unsigned short *const words = wordArea(traits.base))
            clearArea(words, first, elements);
        else if (traits.kind == Kind::Dword)
            clearArea(PLC_driver.dwordImage13, first, elements);
    }
}

bool imageIsClear()
{
    const char *const image = imageBegin();
    return image[0] == 0 && std::memcmp(image, image + 1, imageSize() - 1) == 0;
}

void demandLocksFree()
{
    for (QMutex *const mutex : {&PLC_driver.listMutex, &PLC_driver.imageMutex, &PLC_driver.stationMutex, &storeMutex}) {
        DEMAND(mutex->tryLock());
        mutex->unlock();
    }
}

bool isDocumentedResult(int code)
{
    if (code == 0 || code == 1 || code == 100)
        return true;
    for (const int base : {10, 40, 70, 110, 140, 170}) {
        if (code > base && code <= base + 12)
            return true;
    }
    return false;
}

void noteRequestDone(int channelNo, int, int, int status)
{
    DEMAND(PLC_driver.comInfo == nullptr ? channelNo == 0 : channelNo == PLC_driver.comInfo->channelNo);
    DEMAND(status == 1 || status == 2);
}

void noteCommFail(QList<RW_VAR> &list, int, int flag)
{
    DEMAND(list.isEmpty());
    DEMAND(flag == 1);
}
