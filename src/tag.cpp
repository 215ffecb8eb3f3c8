// tag.cpp: files of tagged records.

#include "zebbase/tag.h"

#include <sys/types.h>

#include <cstddef>
#include <cstdio>
#include <initializer_list>

#include "reverse.h"

static_assert(sizeof(TAG) == 16 && offsetof(TAG, usTag) == 2 && offsetof(TAG, ulSize) == 4);
static_assert(offsetof(TAG, ulParam1) == 8 && offsetof(TAG, ulParam2) == 12);
static_assert(sizeof(off_t) == 8, "a record of 2 GiB is skipped by a 64-bit offset");

namespace {
bool IsHeader(const TAG &tag) {
  return (tag.chByteOrder == TAG_LITTLE_ENDIAN || tag.chByteOrder == TAG_BIG_ENDIAN) && tag.bMagic == TAG_MAGIC;
}
} // namespace

ULONG TagWriteRecord(FILE *pf, USHORT usTag, ULONG ulSize, ULONG ulParam1, ULONG ulParam2, const void *pvData) {
  if (!pvData) return ERROR_TAG_NO_DATA;
  TAG tag = {TAG_NATIVE, TAG_MAGIC, usTag, ulSize, ulParam1, ulParam2};
  const ULONG rc = TagWriteTag(pf, &tag);
  if (rc != 0) return rc;
  return ulSize == 0 || std::fwrite(pvData, ulSize, 1, pf) == 1 ? 0 : ERROR_TAG_WRITE_DATA;
}

ULONG TagGetTag(FILE *pf, USHORT usTag, TAG *ptagOut) {
  TAG tag;
  while (ptagOut && TagReadTag(pf, &tag) == 0 && !std::feof(pf) && tag.usTag <= TAG_MAX) {
    if (tag.usTag == usTag) {
      *ptagOut = tag;
      return 0;
    }
    if (fseeko(pf, static_cast<off_t>(tag.ulSize), SEEK_CUR) != 0) return ERROR_TAG_SEEK;
  }
  return ERROR_TAG_NOT_FOUND;
}

ULONG TagWriteTag(FILE *pf, TAG *ptag) {
  if (!pf || !ptag) return ERROR_TAG_WRITE;
  ptag->chByteOrder = TAG_NATIVE;
  ptag->bMagic = TAG_MAGIC;
  return std::fwrite(ptag, sizeof *ptag, 1, pf) == 1 ? 0 : ERROR_TAG_WRITE;
}

ULONG TagReadTag(FILE *pf, TAG *ptag) {
  if (!pf || !ptag || std::fread(ptag, sizeof *ptag, 1, pf) != 1) return ERROR_TAG_READ;
  if (!IsHeader(*ptag)) return ERROR_TAG_BAD_HEADER;
  return ptag->chByteOrder == TAG_NATIVE ? 0 : TagSwapTag(ptag);
}

ULONG TagSwapTag(TAG *ptag) {
  if (!ptag) return ERROR_TAG_BAD_HEADER;
  ptag->usTag = Reversed(ptag->usTag);
  for (ULONG *pul : {&ptag->ulSize, &ptag->ulParam1, &ptag->ulParam2}) *pul = Reversed(*pul);
  return 0;
}
