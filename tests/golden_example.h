/// Plays an example of the manual against the driver.
#pragma once

#include "tests/golden_page.h"

/// What is wrong with the example, "frames.md:12: ..."; empty when a fresh driver does all that it says, and no more.
QString playedExample(const Page &page, const PageExample &example);
