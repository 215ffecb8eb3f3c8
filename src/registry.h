// registry.h: where the live blocks of the tracked allocator are and how long they are, noted apart from the blocks.

#ifndef ZEBBASE_SRC_REGISTRY_H
#define ZEBBASE_SRC_REGISTRY_H

#include <algorithm>
#include <cassert>
#include <cstdint>
#include <cstdlib>

#include "zebbase/mem.h"

// A header lies behind the data of other blocks, and whatever it holds may have been overwritten. It cannot prove
// itself, and the first look at where a damaged link points may end the process. So each block has a note here, found
// by its address alone: one word for each 32 bytes of the address space, in which no two blocks can begin. The words of
// each MiB in which a block has ever begun are one table.
//
//   bits 5 to 31  size of the block, ulLargeSize for one that is as large or larger; 0: no block begins here
//   bits 3, 4     at which multiple of 8 it begins
//   bit 0         hidden: for the time being this is not taken for a block
class Registry {
 public:
  static constexpr ULONG ulLargeSize = (1UL << 27) - 1;

  // Result: false without memory for a table.
  bool Add(const MEMBLOCK *pmb, ULONG ulSize) {
    const auto u = reinterpret_cast<std::uintptr_t>(pmb);
    ULONG *&paulTable = apaulTable_[u / ulTableSpan];
    if (!paulTable) paulTable = static_cast<ULONG *>(std::calloc(ulTableWords, sizeof *paulTable));
    if (paulTable) paulTable[u % ulTableSpan / ulWordSpan] = std::min(ulSize, ulLargeSize) << 5 | u % ulWordSpan;
    return paulTable != nullptr;
  }

  // The size of the block that begins at any address; 0 when none does.
  ULONG SizeAt(const MEMBLOCK *pmb) const {
    const auto u = reinterpret_cast<std::uintptr_t>(pmb);
    const ULONG *paulTable = apaulTable_[u / ulTableSpan];
    if (!paulTable) return 0;
    const ULONG ulWord = paulTable[u % ulTableSpan / ulWordSpan];
    return (ulWord ^ u) % ulWordSpan == 0 ? ulWord >> 5 : 0;
  }
  bool Has(const MEMBLOCK *pmb) const { return SizeAt(pmb) != 0; }

  // The following are about blocks that have a note.
  void Remove(const MEMBLOCK *pmb) {
    assert(Has(pmb));
    WordOf(pmb) = 0;
  }
  void Hide(const MEMBLOCK *pmb) {
    assert(Has(pmb));
    WordOf(pmb) |= ulHidden;
  }
  void Show(const MEMBLOCK *pmb) { WordOf(pmb) &= ~ulHidden; }

  // Calls for all blocks, the hidden ones as well, in the order of their addresses.
  template <typename Call>
  void ForEach(Call call) const {
    for (std::uintptr_t uTable = 0; uTable < ulTables; uTable++)
      for (std::uintptr_t uWord = 0; apaulTable_[uTable] && uWord < ulTableWords; uWord++)
        if (const ULONG ulWord = apaulTable_[uTable][uWord])
          call(reinterpret_cast<MEMBLOCK *>(uTable * ulTableSpan + uWord * ulWordSpan + (ulWord & ulSlots)));
  }

 private:
  static constexpr std::uintptr_t ulWordSpan = 32; // bytes
  static constexpr std::uintptr_t ulTableSpan = 1 << 20;
  static constexpr std::uintptr_t ulTables = 1 << 12;
  static constexpr std::uintptr_t ulTableWords = ulTableSpan / ulWordSpan;
  static constexpr ULONG ulSlots = 24;
  static constexpr ULONG ulHidden = 1;
  static_assert(MEM_OVERHEAD + 7 >= ulWordSpan); // from one multiple of 8 to the next that is free

  ULONG &WordOf(const MEMBLOCK *pmb) const {
    const auto u = reinterpret_cast<std::uintptr_t>(pmb);
    return apaulTable_[u / ulTableSpan][u % ulTableSpan / ulWordSpan];
  }

  ULONG *apaulTable_[ulTables] = {};
};

#endif
