// Asking the processor to start loading memory that is about to be read. The
// rows of a sorted list lie scattered over the heap: a walk over them in the
// order shown waits on memory at every row unless the next ones are already on
// their way.
#pragma once

namespace lumo {

// How many rows ahead of itself a walk asks for: far enough to cover the wait
// for memory, near enough that what comes is still in the cache when read.
constexpr int kReadAhead = 8;

inline void prefetchForRead(const void* p) {
#if defined(__GNUC__) || defined(__clang__)
  __builtin_prefetch(p);
#else
  (void)p;
#endif
}

}  // namespace lumo
