// Reads the environment once, before the driver's own objects and tables are made.
//   EC_MUTANT=17                            mutant 17 is at work
//   EC_MUTANT_REACHED=file                  none is; at the end the file says for each whether its place was reached
#include "chosen.h"

#include <cstdio>
#include <cstdlib>

namespace mutation {

unsigned chosen = ~0u;
unsigned char *reachable = nullptr;

} // namespace mutation

namespace {

enum { MostMutants = 100000 };
unsigned char marks[MostMutants];

void writeMarks()
{
    if (std::FILE *const file = std::fopen(std::getenv("EC_MUTANT_REACHED"), "wb")) {
        std::fwrite(marks, 1, sizeof marks, file);
        std::fclose(file);
    }
}

__attribute__((constructor(101))) void choose()
{
    if (const char *const number = std::getenv("EC_MUTANT"))
        mutation::chosen = unsigned(std::atoi(number));
    if (std::getenv("EC_MUTANT_REACHED") == nullptr)
        return;
    mutation::reachable = marks;
    std::atexit(writeMarks);
}

} // namespace
