/* records.c: record files. Sizes and places in a file are what the file says: each is held against the file's own size
   and against a limit before it is used. */
#include "records.h"

#include <errno.h>
#include <stdarg.h>
#include <stdio.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include "list.h"

enum { TAG_DESCRIPTION = 1, TAG_SNAPSHOT = 2 }; /* records of other numbers are passed over */

#define MAX_DATA 1048576UL     /* bytes of a snapshot */
#define MAX_SNAPSHOTS 100000UL /* of a file */

typedef struct RECORDFILE {
  const char *pszName;
  FILE *pf;
  off_t offEnd;
  FDSC *pfdsc;     /* the file's own description, in a block; null for an empty file */
  ULONG ulData;    /* bytes of a snapshot, as described */
  ULONG ulCounter; /* number of the last snapshot */
  LIST *plst;      /* of PLACE; null where the places are not wanted */
} RECORDFILE;

/* Where a snapshot is. */
typedef struct PLACE {
  ULONG ulTime;
  ULONG ulCounter;
  off_t off;
  BOOL fSwap; /* the data is of the other byte order */
} PLACE;

__attribute__((format(printf, 2, 3))) static BOOL Refuse(const char *pszFile, const char *pszFormat, ...) {
  va_list va;
  va_start(va, pszFormat);
  fprintf(stderr, "hostlog: %s: ", pszFile);
  vfprintf(stderr, pszFormat, va);
  fputc('\n', stderr);
  va_end(va);
  return 0;
}

static BOOL RefuseForError(const char *pszFile, int iError) { return Refuse(pszFile, "%s", strerror(iError)); }

/* --- Reading --- */

static BOOL Open(RECORDFILE *prec, const char *pszFile, const char *pszMode) {
  struct stat st;
  memset(prec, 0, sizeof *prec);
  prec->pszName = pszFile;
  if (stat(pszFile, &st) == 0 && !S_ISREG(st.st_mode)) /* asked before opening, which might wait for a pipe */
    return S_ISDIR(st.st_mode) ? RefuseForError(pszFile, EISDIR) : Refuse(pszFile, "Not a regular file");
  prec->pf = fopen(pszFile, pszMode);
  if (!prec->pf || fstat(fileno(prec->pf), &st) != 0) return RefuseForError(pszFile, errno);
  prec->offEnd = st.st_size;
  return 1;
}

static int Close(RECORDFILE *prec) {
  ListFree(prec->plst);
  if (prec->pfdsc) MemFreeMem(prec->pfdsc);
  return prec->pf ? fclose(prec->pf) : 0;
}

/* Reads the header at a place, and leaves the stream at its data, all of which is in the file. */
static BOOL ReadHeader(const RECORDFILE *prec, off_t off, TAG *ptag) {
  if (fseeko(prec->pf, off, SEEK_SET) != 0) return RefuseForError(prec->pszName, errno);
  const ULONG rc = TagReadTag(prec->pf, ptag);
  if (rc == ERROR_TAG_READ && !ferror(prec->pf)) return Refuse(prec->pszName, "Ends within the header of a record");
  if (rc == ERROR_TAG_READ) return RefuseForError(prec->pszName, errno);
  if (rc != 0 || ptag->usTag > TAG_MAX)
    return off == 0 ? Refuse(prec->pszName, "Is no record file")
                    : Refuse(prec->pszName, "No record at byte %lld", (long long)off);
  const off_t offLeft = prec->offEnd - off - (off_t)sizeof *ptag;
  if ((off_t)ptag->ulSize <= offLeft) return 1;
  return Refuse(prec->pszName, "Ends within a record: of %lu bytes %lld are there", ptag->ulSize, (long long)offLeft);
}

static BOOL IsForeign(const TAG *ptag) { return ptag->chByteOrder != TAG_NATIVE; }

/* Turns the first record into the description to read the others by. */
static BOOL ReadDescription(RECORDFILE *prec, const TAG *ptag) {
  if (ptag->usTag != TAG_DESCRIPTION) return Refuse(prec->pszName, "Does not begin with a description");
  if (ptag->ulSize > SNAPSHOT_MAX_FDSC)
    return Refuse(prec->pszName, "A description of %lu bytes, more than %lu", ptag->ulSize, SNAPSHOT_MAX_FDSC);
  BYTE *pb = MemAllocMem(ptag->ulSize);
  if (!pb) return RefuseForError(prec->pszName, ENOMEM);
  prec->pfdsc = (FDSC *)(void *)pb; /* once it is unpacked: a block suits every record */
  if (fread(pb, 1, ptag->ulSize, prec->pf) != ptag->ulSize) return Refuse(prec->pszName, "Cannot be read");

  const BOOL fFine = IniCheckFdsc(pb, ptag->ulSize, IsForeign(ptag)) == 0 && IniUnpackFdsc(pb, IsForeign(ptag)) == 0 &&
                     prec->pfdsc->ulType == FT_STRUCT && prec->pfdsc->ulCount == 1 && prec->pfdsc->pvDesc &&
                     IniSizeofData(prec->pfdsc, NULL, &prec->ulData) == 0;
  if (!fFine) return Refuse(prec->pszName, "A description that cannot be right");
  if (prec->ulData <= MAX_DATA) return 1;
  return Refuse(prec->pszName, "Snapshots of %lu bytes, more than %lu", prec->ulData, MAX_DATA);
}

static BOOL NoteSnapshot(RECORDFILE *prec, off_t off, const TAG *ptag) {
  if (ptag->ulSize != prec->ulData)
    return Refuse(prec->pszName, "A snapshot of %lu bytes, described as %lu", ptag->ulSize, prec->ulData);
  if (ptag->ulParam2 > prec->ulCounter) prec->ulCounter = ptag->ulParam2;
  if (!prec->plst) return 1;
  if (prec->plst->ulCount >= MAX_SNAPSHOTS) return Refuse(prec->pszName, "More than %lu snapshots", MAX_SNAPSHOTS);
  const PLACE plc = {ptag->ulParam1, ptag->ulParam2, off, IsForeign(ptag)};
  return ListAppend(prec->plst, &plc, sizeof plc) || RefuseForError(prec->pszName, ENOMEM);
}

/* Goes over all records of the file. */
static BOOL Survey(RECORDFILE *prec) {
  TAG tag;
  for (off_t off = 0; off < prec->offEnd; off += (off_t)sizeof tag + (off_t)tag.ulSize) {
    if (!ReadHeader(prec, off, &tag)) return 0;
    if (off == 0 && !ReadDescription(prec, &tag)) return 0;
    if (off > 0 && tag.usTag == TAG_SNAPSHOT && !NoteSnapshot(prec, off, &tag)) return 0;
  }
  return 1;
}

/* --- Appending --- */

static BOOL WriteDescription(FILE *pf) {
  ULONG ulSize;
  IniSizeofFdsc(pfdscSnapshot, &ulSize);
  BYTE *pb = MemAllocMem(ulSize);
  if (!pb) return 0;
  const BOOL fDone = IniPackFdsc(pfdscSnapshot, pb) == 0 && TagWriteRecord(pf, TAG_DESCRIPTION, ulSize, 0, 0, pb) == 0;
  MemFreeMem(pb);
  return fDone;
}

static BOOL WriteSnapshot(FILE *pf, const SNAPSHOT *psnp, ULONG ulCounter) {
  BYTE *pb = MemAllocMem(sizeof *psnp);
  if (!pb) return 0;
  const BOOL fDone = IniPackData(pfdscSnapshot, psnp, pb) == 0 &&
                     TagWriteRecord(pf, TAG_SNAPSHOT, sizeof *psnp, (ULONG)psnp->rtTaken, ulCounter, pb) == 0;
  MemFreeMem(pb);
  return fDone;
}

/* Result: 0, or the error that kept it from being written; the file is then as long as before. */
static int Append(RECORDFILE *prec, const SNAPSHOT *psnp) {
  int iError = 0;
  errno = 0;
  fseeko(prec->pf, 0, SEEK_END);
  if (!(prec->pfdsc || WriteDescription(prec->pf)) || !WriteSnapshot(prec->pf, psnp, prec->ulCounter + 1) ||
      fflush(prec->pf) != 0)
    iError = errno ? errno : EIO;
  if (Close(prec) != 0 && iError == 0) iError = errno; /* closing writes, too: only then can the file be cut */
  if (iError != 0 && truncate(prec->pszName, prec->offEnd) != 0) Refuse(prec->pszName, "Ends with a broken record now");
  return iError;
}

BOOL RecordsAppend(const char *pszFile, const SNAPSHOT *psnp) {
  RECORDFILE rec;
  BOOL fGood = Open(&rec, pszFile, "a+b") && Survey(&rec);
  if (fGood && rec.pfdsc && !SnapshotIsLike(rec.pfdsc, pfdscSnapshot))
    fGood = Refuse(pszFile, "Was begun by another version of this program");
  if (!fGood) {
    Close(&rec);
    return 0;
  }
  const int iError = Append(&rec, psnp);
  return iError == 0 || RefuseForError(pszFile, iError);
}

/* --- Printing --- */

static BOOL IsEarlier(void *pvFirst, void *pvSecond) {
  const PLACE *pplcFirst = pvFirst, *pplcSecond = pvSecond;
  if (pplcFirst->ulTime != pplcSecond->ulTime) return pplcFirst->ulTime < pplcSecond->ulTime;
  if (pplcFirst->ulCounter != pplcSecond->ulCounter) return pplcFirst->ulCounter < pplcSecond->ulCounter;
  return pplcFirst->off <= pplcSecond->off;
}

/* pbPacked and pbData have room for the data of one snapshot. */
static BOOL PrintSnapshot(const RECORDFILE *prec, const PLACE *pplc, BYTE *pbPacked, BYTE *pbData, REPORTKIND kind) {
  SNAPSHOT snp;
  TAG tag;
  if (!ReadHeader(prec, pplc->off, &tag)) return 0;
  if (fread(pbPacked, 1, prec->ulData, prec->pf) != prec->ulData) return Refuse(prec->pszName, "Cannot be read");
  IniUnpackData(prec->pfdsc, pbData, pbPacked, pplc->fSwap);
  SnapshotConvert(&snp, prec->pfdsc, pbData);
  printf(kind == REPORT_BRIEF ? "%lu  " : "Snapshot %lu\n\n", pplc->ulCounter);
  SnapshotReport(&snp, kind);
  return 1;
}

static BOOL PrintAll(const RECORDFILE *prec, REPORTKIND kind) {
  BYTE *pbPacked = MemAllocMem(prec->ulData);
  BYTE *pbData = MemAllocMem(prec->ulData);
  BOOL fGood = pbPacked && pbData;
  LstForEach(pli, prec->plst) fGood = fGood && PrintSnapshot(prec, pli->pvData, pbPacked, pbData, kind);
  if (pbPacked) MemFreeMem(pbPacked);
  if (pbData) MemFreeMem(pbData);
  return fGood;
}

BOOL RecordsPrint(const char *pszFile, REPORTKIND kind) {
  RECORDFILE rec;
  BOOL fGood = Open(&rec, pszFile, "rb");
  if (fGood) rec.plst = LstNewList(0);
  fGood = fGood && rec.plst && Survey(&rec);
  if (fGood && !rec.pfdsc) fGood = Refuse(pszFile, "Is no record file");
  if (fGood) LstSort(rec.plst, IsEarlier);
  fGood = fGood && PrintAll(&rec, kind);
  Close(&rec);
  return fGood;
}
