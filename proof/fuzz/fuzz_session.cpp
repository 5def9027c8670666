// Whole sessions of exported calls, each of a size that keeps the fuzzer fast.
#include "proof/fuzz/session.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    playSession(data, size, {64, 400, 600});
    return 0;
}
