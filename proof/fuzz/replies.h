/// Every kind of reply to a request, out of the fuzzer's bytes.
#pragma once

#include "proof/fuzz/input.h"
#include "proof/fuzz/squeezed.h"

struct Reply {
    QByteArray bytes;
    int len = 0;            ///< As the host states it.
    bool isMissing = false; ///< The host passes no array at all.

    /// Hands it to the driver and looks at what comes back.
    int give();
};

/// In most cases with the CRC put right, so that it gets behind the check. Right lengths above longest are not made:
/// such a reply has at most longest bytes.
Reply makeReply(Input &input, Squeezed &squeezed, const Protocol &request, int longest);
/// Demands of a request what holds for each.
void demandSoundRequest(const Protocol *request);
