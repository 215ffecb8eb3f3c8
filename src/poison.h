// poison.h: what the address sanitizer of a program is told about tracked blocks. The program is then stopped where it
// touches a header or a guard. The library is not built with the sanitizer: it finds these functions in a program that
// is, and null in all others.

#ifndef ZEBBASE_SRC_POISON_H
#define ZEBBASE_SRC_POISON_H

#include <cstddef>

#include "zebbase/mem.h"

extern "C" {
[[gnu::weak]] void __asan_poison_memory_region(const volatile void *pv, std::size_t cb);
[[gnu::weak]] void __asan_unpoison_memory_region(const volatile void *pv, std::size_t cb);
}

// Poisons what lies around the data of a block.
[[gnu::cold, gnu::noinline]] inline void PoisonAround(const MEMBLOCK *pmb, ULONG ulBytes) {
  __asan_poison_memory_region(pmb, sizeof *pmb);
  __asan_poison_memory_region(reinterpret_cast<const BYTE *>(pmb + 1) + ulBytes, MEM_OVERHEAD - sizeof *pmb);
}

inline void Protect(const MEMBLOCK *pmb, ULONG ulBytes) {
  if (__asan_poison_memory_region) PoisonAround(pmb, ulBytes);
}

// Takes the poison away, so that a block can be cleared and freed.
inline void LayOpen(const MEMBLOCK *pmb, ULONG ulSize) {
  if (__asan_unpoison_memory_region) [[unlikely]]
    __asan_unpoison_memory_region(pmb, ulSize);
}

#endif
