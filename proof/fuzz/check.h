/// What a fuzz target demands beyond what the sanitizers see.
#pragma once

#include <cstdio>
#include <cstdlib>

/// Ends the process, which the fuzzer reports as a finding, when the condition does not hold.
#define DEMAND(condition)                                                                                              \
    do {                                                                                                               \
        if (!(condition)) {                                                                                            \
            std::fprintf(stderr, "%s:%d: demanded: %s\n", __FILE__, __LINE__, #condition);                             \
            std::abort();                                                                                              \
        }                                                                                                              \
    } while (false)
