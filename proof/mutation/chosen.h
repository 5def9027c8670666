/// Which mutant of the driver is at work. Every mutated copy includes this; the numbers are in mutants.json.
#pragma once

namespace mutation {

extern unsigned chosen;          ///< The one mutant that is at work; a number of no mutant for none.
extern unsigned char *reachable; ///< While recording: a byte for each mutant, set when its place is reached. Else null.

/// True when the mutant at work is one of the count mutants of a place, the first of which has number first.
inline bool at(unsigned first, unsigned count)
{
    if (reachable != nullptr)
        reachable[first] = 1;
    return chosen - first < count;
}

inline bool is(unsigned number)
{
    return chosen == number;
}

} // namespace mutation
