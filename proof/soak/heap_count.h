/// Blocks on the heap of this process.
#pragma once

/// Exact, unlike what the allocator reports in bytes, which depends on how it rounds.
long long liveHeapBlocks();
/// How often any was asked for, freed or not.
long long heapBlocksTaken();
