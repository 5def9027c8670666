// SetComInfo, FlashLocalRegister, RegistCallBackFuncIntf, QueryFinishFlag
#include "driver/emerson_ec_series.h"
#include "driver/settings.h"

extern "C" {

void *LB = nullptr;
void *LW = nullptr;
void *RWI = nullptr;

void SetComInfo(COMINFO *info)
{
    if (info != nullptr)
        storeWord(info->hostWord13, 0);
    else
        clearStandIn();
    storeWord(PLC_driver.comInfo, info);
    if (info != nullptr)
        storeWord(info->hostWord10, 0);
}

void FlashLocalRegister(void *localBits, void *localWords, void *third)
{
    storeWord(LB, localBits);
    storeWord(LW, localWords);
    storeWord(RWI, third);
}

// Without a lock: a host may replace the callbacks from inside one, which runs under listMutex.
void RegistCallBackFuncIntf(RequestDoneCallback requestDone, CommFailCallback commFail)
{
    storeWord(PLC_driver.requestDoneCallback, requestDone);
    storeWord(PLC_driver.commFailCallback, commFail);
}

// Not finishFlag: the host reads that word itself.
int QueryFinishFlag()
{
    return 1;
}

} // extern "C"
