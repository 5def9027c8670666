/// Draws what the driver is asked from the fuzzer's bytes, each kind of number with the values near which things
/// happen.
#pragma once

#include "driver/records.h"

#include <fuzzer/FuzzedDataProvider.h>

class Input {
public:
    Input(const uint8_t *data, size_t size) : provider(data, size) {}

    bool isAtEnd() { return provider.remaining_bytes() == 0; }
    int left() { return int(provider.remaining_bytes()); }
    int byte() { return provider.ConsumeIntegral<uint8_t>(); }
    bool oneIn(int many) { return byte() % many == 0; }
    int below(int limit) { return byte() % limit; }
    int anyInt() { return provider.ConsumeIntegral<int>(); }

    int deviceType();
    /// Small, at a jump or an end of some area, or anything.
    int address();
    /// Small, slightly negative, of 16 bits, or anything.
    int count();
    /// Not above most: for calls that take as long as their count is large.
    int count(int most)
    {
        const int drawn = count();
        return drawn > most ? drawn % (most + 1) : drawn;
    }
    int station();
    /// 0, 1, or seldom anything.
    int flag();
    /// An address as a host writes it for a code, or seldom any text.
    QString addressText(int devType);
    QByteArray bytes(int size);
    QByteArray rest() { return bytes(left()); }
    /// Every word of the settings that the driver looks at.
    COMINFO settings();
    /// A record as a host may hand it over; not checked by anybody.
    RW_VAR record(int rwFlag);

private:
    FuzzedDataProvider provider;
};
