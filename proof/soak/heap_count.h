/// Blocks on the heap of this process.
#pragma once

/// Exact, unlike what the allocator reports in bytes, which depends on how it rounds.
long long liveHeapBlocks();
