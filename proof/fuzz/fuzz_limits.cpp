// Few calls that ask for as much as there is: nothing takes the machine's time or memory.
#include "driver/limits.h"
#include "proof/fuzz/session.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    playSession(data, size, {6, ElementLimit * 3 / 2, 140000});
    return 0;
}
