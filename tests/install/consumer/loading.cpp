// A program that loads the driver at run time: the file that is its argument.
#include "driver/emerson_ec_series.h"

#include <cstdio>
#include <dlfcn.h>

int main(int, char **argv)
{
    void *const library = dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) {
        std::printf("%s\n", dlerror());
        return 1;
    }
    const auto crc = reinterpret_cast<decltype(&::CalCRC)>(dlsym(library, "CalCRC"));
    const auto address = reinterpret_cast<decltype(&::PLCAddressChangeIntef)>(dlsym(library, "PLCAddressChangeIntef"));
    unsigned char digits[] = "123456789";
    std::printf("%04X %d\n", crc(digits, 9), address(15, QString::fromLatin1("10.3")));
    dlclose(library);
    return 0;
}
