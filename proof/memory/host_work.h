/// A host's work with a loaded driver: whatever makes it allocate.
#pragma once

#include "host/plugin.h"

/// Storage mode and format of the requests; four in all.
struct Way {
    bool several, remote;
};
Way wayOf(int number);

/// One load of the library, from settings to unloading; how much is left in its lists then is up to chance.
class HostWork {
public:
    /// What the load found wrong, empty for nothing. The driver must be as if never used before.
    QString begin(const QString &library, Way way);
    /// Answered cycles with good, bad, short and missing replies, between reads, writes and list changes of every kind.
    /// False when the driver has too few requests for that.
    bool run(int cycles);

private:
    void callAround(int turn);
    void answer(const Protocol &request, int turn);

    COMINFO m_settings; ///< Before the library: it has to outlive it.
    Plugin m_driver;
};
