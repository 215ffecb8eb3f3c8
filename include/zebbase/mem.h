/* mem.h: tracked memory.
   Every block remembers the source file and line that asked for it and has a guard on both sides of its data. All live
   blocks hang in one chain, oldest first, which can be checked and listed at any time; two counters (blocks, and bytes
   with the 25 of overhead of each block) are held against limits. Data is zero on allocation and cleared on release.
   Allocation and release cost the same however many blocks there are: what malloc and free take, and the clearing. A
   note of each block is kept apart from the blocks, in an eighth of the memory that they lie in or less.

   Damage and limit breaches are reported through ErrPutError (err.h) with kind 9, and only while VERB_ERROR is set in
   flVerbosity. At load time the limits are 10,000,000 bytes and 10,000 blocks, and exceeding one ENDS THE PROCESS with
   exit status 1: a program with more to hold calls MemSetLimits first.

   A header may be damaged in any way: nothing in it is believed before it has been held against the notes, and links
   that are damaged are mended, in time linear in the blocks. (Only lists that free all their nodes, see lst.h, follow
   the links of a header that is otherwise sound.) The reports name what is wrong, in this order, with file and line as
   the header has them:
       Top guard corrupt. Allocated: FILE:LINE      ulGuard is wrong, or no live block is there
       Bottom guard corrupt. Allocated: FILE:LINE   so is the byte behind the data, where ulSize says it is
       Size invalid. Allocated: FILE:LINE           ulSize is below 25 or more than the block has

   A program that is built with AddressSanitizer (-fsanitize=address) is stopped already where it touches a header, a
   guard or a freed block, with the sanitizer's report. A leak is reported there as well, as far as the program holds no
   pointer to the block. Nothing has to be built anew but the program. */
#ifndef ZEBBASE_MEM_H
#define ZEBBASE_MEM_H

#include <stdio.h>
#include <zebbase/types.h>

#ifdef __cplusplus
extern "C" {
#endif

/* The header of a block; the caller's data follows it, and one guard byte follows the data. */
typedef struct MEMBLOCK {
  ULONG ulSize;             /* of the whole block: the request + MEM_OVERHEAD */
  struct MEMBLOCK *pmbNext; /* the next younger block */
  struct MEMBLOCK *pmbPrev; /* the next older block */
  USHORT usLine;            /* the allocating line, cut to 16 bits */
  char achFile[6];          /* the allocating file's base name, cut to 6 and then not terminated */
  ULONG ulGuard;            /* MEM_GUARD */
} MEMBLOCK;

#define MEM_OVERHEAD 25UL       /* bytes that a block costs beyond its data */
#define MEM_GUARD 0x55AA55AAUL  /* before the data */
#define MEM_TRAILING_GUARD 0x55 /* after the data, one byte */

/* Allocates a block, filled with zeros and aligned to 8 bytes.
   ulBytes  size of the data; 0 is fine.
   ulLine, pszFile  the caller's source position. Of the file, six characters of the base name are kept; null is empty.
   Result   the data, the caller's to free with MemFreeMem_. Null, with a report of kind 4 and nothing changed, when
            there is no memory or ulBytes + 25 exceeds 32 bits.
   Limits   are tested first, for a request of any size. One that would be exceeded is reported; then it ends the
            process when it is fatal, and otherwise only warns. What is allocated while this is going on, by the
            function that gets the report or by an exit handler, is granted beyond the limits without a report. */
ZEB_API void *MemAllocMem_(ULONG ulBytes, ULONG ulLine, const char *pszFile) ZEB_RESULT
    __attribute__((malloc, alloc_size(1)));

/* Checks, clears and releases a block. Null is said on standard error and nothing else happens.
   A damaged block is reported and released all the same, with two exceptions that are reported and left alone: a block
   whose size word cannot be true, and a pointer to no live block (it never came from MemAllocMem_, or has been freed),
   around which nothing is read. */
ZEB_API void MemFreeMem_(void *pv);

/* Checks a block and gives its total size, the request + 25, as the header has it; 0 for null and for no live block. */
ZEB_API ULONG MemQueryBlockSize(void *pv);

/* Stores the bytes (overhead included) and the number of all live blocks; either pointer may be null. Result 0. */
ZEB_API ULONG MemQueryStatus(ULONG *pulAmount, ULONG *pulBlocks);

/* Stores the most bytes (overhead included) and the most blocks that have ever been held, which need not have been at
   the same time; either pointer may be null. Result 0. An addition of version 1.1. */
ZEB_API_1_1 ULONG MemQueryPeak(ULONG *pulAmount, ULONG *pulBlocks);

/* Sets the limits, in bytes (overhead included) and in blocks, and whether exceeding one ends the process. They are
   tested when a block is allocated. 0xFFFFFFFF is no limit. Result 0. */
ZEB_API ULONG MemSetLimits(ULONG ulMaxAmount, ULONG ulMaxBlocks, BOOL fFatal);

/* The bytes of all live blocks, overhead included. */
ZEB_API ULONG MemQueryMemoryAllocated(void);

/* Checks every live block, oldest first, and reports what is damaged. Linear in the blocks. Result 1. */
ZEB_API BOOL MemCheckMemory(void);

/* Writes a line per live block, oldest first: number, address of the header, file, line, total size, these three as the
   header has them. Linear in the blocks. Result 1.
   pf       the caller's stream; null writes nothing. */
ZEB_API BOOL MemDumpMemory(FILE *pf);

/* A tracked copy of a text, to be freed with MemFreeMem_ or MemFreeString_; null for null or without memory. */
ZEB_API char *MemAllocString_(const char *psz, ULONG ulLine, const char *pszFile) ZEB_RESULT __attribute__((malloc));

/* Replaces the tracked text in a variable by a copy of another.
   ppsz     the variable, with a tracked text (freed) or null.
   psz      the text to copy, which may be the one to be freed, or a part of it; null for none.
   Result   what the variable now holds: the copy, or null for a null psz or without memory. */
ZEB_API char *MemFreeStringAlloc_(char **ppsz, const char *psz, ULONG ulLine, const char *pszFile);

/* Replaces the tracked text in a variable by another tracked text, which the variable takes over. Setting the text that
   the variable already holds changes nothing. Result psz. */
ZEB_API char *MemFreeStringSet(char **ppsz, char *psz);

/* Frees a tracked text; null does nothing. */
ZEB_API void MemFreeString_(char *psz);

/* What frees what, for the compiler's checks. */
void *MemAllocMem_(ULONG ulBytes, ULONG ulLine, const char *pszFile) ZEB_FREED_BY(MemFreeMem_);
char *MemAllocString_(const char *psz, ULONG ulLine, const char *pszFile) ZEB_FREED_BY(MemFreeMem_)
    ZEB_FREED_BY(MemFreeString_);

#ifndef ZEBBASE_NO_MACROS
/* Additions of version 1.1, where a program does not define ZEBBASE_NO_MACROS: the operations with the place of the
   call filled in. Those that free leave null in their argument, which is a variable. */
#define MemAllocMem(ulBytes) MemAllocMem_(ulBytes, __LINE__, __FILE__)
#define MemNew(TYPE) ((TYPE *)MemAllocMem_(sizeof(TYPE), __LINE__, __FILE__))
#define MemFreeMem(pv) (MemFreeMem_(pv), (void)((pv) = NULL))
#define MemAllocString(psz) MemAllocString_(psz, __LINE__, __FILE__)
#define MemFreeString(psz) (MemFreeString_(psz), (void)((psz) = NULL))
#define MemFreeStringAlloc(psz, pszNew) MemFreeStringAlloc_(&(psz), pszNew, __LINE__, __FILE__)
#endif

#ifdef __cplusplus
}
#endif
#endif
