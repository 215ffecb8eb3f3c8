// memory.h: what the allocator offers inside the library beside mem.h: allocations without the work that a caller can
// do better, for the places that make very many of them.

#ifndef ZEBBASE_SRC_MEMORY_H
#define ZEBBASE_SRC_MEMORY_H

#include <string_view>

#include "zebbase/mem.h"

// The name of a source file in the form in which a block keeps it.
struct SOURCE {
  char ach[sizeof MEMBLOCK::achFile] = {};
  consteval SOURCE(const char *pszName) { // without a directory
    for (char *pch = ach; *pszName && pch < ach + sizeof ach; pszName++) *pch++ = *pszName;
  }
};

// As MemAllocMem_.
void *AllocateMem(ULONG ulBytes, ULONG ulLine, const SOURCE &source);

// The same for data that is not clear yet: the caller sets all of it.
void *AllocateUncleared(ULONG ulBytes, ULONG ulLine, const SOURCE &source);

// As MemAllocString_, for a text of known length that need not be terminated.
char *AllocateText(std::string_view sv, ULONG ulLine, const SOURCE &source);

#endif
