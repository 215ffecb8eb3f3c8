/* readings.c: taking the readings. A parse that could not start is a null context, from which nothing can be read: so
   the functions here read without looking first, and a missing file is a missing value. */
#include "readings.h"

#include <limits.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include "list.h"

#define MAX_MEMORY_NAMES 32UL
#define TYPE_SIZE 16 /* bytes for the type of a file system */

typedef struct CPUTIMES { /* since the machine started, in ticks */
  double dAll;
  double dIdle;
  ULONG ulCpus; /* 0 when nothing could be read */
} CPUTIMES;

static void Append(READINGS *prds, const READING *prd) { ListAppend(prds->plst, prd, sizeof *prd); }

/* --- Processors: /proc/stat, /proc/loadavg --- */

/* The lines "cpu 59029 534 ...", the sums of all processors, and "cpu0 ...", "cpu1 ..." and so on. */
static CPUTIMES ReadCpuTimes(void) {
  enum { COLUMNS = 8, IDLE = 3, WAITING = 4 }; /* user, nice, system, idle, waiting, ...; further ones count twice */
  CPUTIMES cpu = {0, 0, 0};
  double d;
  PARSECTX *pprs = PrsStartParse("/proc/stat", 0, NULL);
  if (PrsNextWord(pprs, "cpu"))
    for (int i = 0; i < COLUMNS && !PrsIsEndOfLine(pprs) && PrsGetReal(pprs, &d); i++) {
      cpu.dAll += d;
      if (i == IDLE || i == WAITING) cpu.dIdle += d;
    }
  while (PrsNextLine(pprs) && PrsQueryPattern(pprs, "cpu %n")) cpu.ulCpus++;
  PrsEndParse(pprs);
  return cpu;
}

static void TakeBusyTime(READINGS *prds, const SETTINGS *pset) {
  CPUTIMES cpuBefore = {0, 0, 0};
  if (pset->ulInterval > 0) {
    cpuBefore = ReadCpuTimes();
    sleep((unsigned)pset->ulInterval);
  }
  const CPUTIMES cpu = ReadCpuTimes();
  const double dAll = cpu.dAll - cpuBefore.dAll;
  READING rd = {"Processors busy", dAll > 0, 0, "%", LIMIT_MOST, pset->limits.dBusy, pset->limits.ulSeverity};
  if (rd.fAvailable) rd.dValue = 100 - 100 * (cpu.dIdle - cpuBefore.dIdle) / dAll;
  prds->ulCpus = cpu.ulCpus;
  Append(prds, &rd);
}

/* The line "0.29 0.37 0.37 1/89 24148": loads over three spans, tasks that run and all tasks. */
static void TakeLoadAndTasks(READINGS *prds, const SETTINGS *pset) {
  static const char *const apszSpan[] = {"1 minute", "5 minutes", "15 minutes"};
  const LIMITS *plim = &pset->limits;
  LONG lRunning, lTasks = 0;
  PARSECTX *pprs = PrsStartParse("/proc/loadavg", 0, NULL);
  for (ULONG ul = 0; ul < 3; ul++) {
    READING rd = {"", 0, 0, "", LIMIT_MOST, plim->afltLoad[ul], plim->ulSeverity};
    snprintf(rd.szName, sizeof rd.szName, "Load per processor, %s", apszSpan[ul]);
    double dLoad = 0;
    rd.fAvailable = PrsGetReal(pprs, &dLoad);
    rd.dValue = prds->ulCpus > 0 ? dLoad / (double)prds->ulCpus : dLoad;
    Append(prds, &rd);
  }
  READING rd = {"Tasks", 0, 0, "", LIMIT_MOST, plim->ulTasks, plim->ulSeverity};
  rd.fAvailable = PrsGetPattern(pprs, "%n / %n", &lRunning, &lTasks);
  rd.dValue = (double)lTasks;
  Append(prds, &rd);
  PrsEndParse(pprs);
}

/* --- Memory: /proc/meminfo --- */

/* Reads the sizes of the names given, from lines such as "MemFree:  23940308 kB". Those that are missing keep their
   value. */
static void ReadMemory(const char *const *apszName, ULONG ulNames, double *adKiB) {
  PARSECTX *pprs = PrsStartParse("/proc/meminfo", PRS_CASESENSITIVE, ":");
  do {
    const LONG lName = PrsGetKeyword(pprs, apszName, ulNames);
    if (lName >= 0 && PrsNextChar(pprs, ':')) PrsGetReal(pprs, &adKiB[lName]);
  } while (PrsNextLine(pprs));
  PrsEndParse(pprs);
}

/* A size in the unit of the settings; a negative one is not available. */
static READING MemoryReading(const char *pszName, double dKiB, const SETTINGS *pset) {
  READING rd = {"", dKiB >= 0, dKiB, "", LIMIT_NONE, 0, 0};
  for (ULONG ul = 0; ul < pset->usUnit; ul++) rd.dValue /= 1024;
  snprintf(rd.szUnit, sizeof rd.szUnit, "%s", SettingsUnit(pset));
  snprintf(rd.szName, sizeof rd.szName, "%s", pszName);
  return rd;
}

/* What every host is asked for. */
static void TakeUsualMemory(READINGS *prds, const SETTINGS *pset) {
  enum { AVAILABLE, SWAP_TOTAL, SWAP_FREE, NAMES };
  static const char *const apszName[] = {"MemAvailable", "SwapTotal", "SwapFree"};
  double adKiB[NAMES] = {-1, -1, -1};
  ReadMemory(apszName, NAMES, adKiB);

  READING rd = MemoryReading("Memory available", adKiB[AVAILABLE], pset);
  rd.kind = LIMIT_LEAST;
  rd.dLimit = MemoryReading("", 1024.0 * (double)pset->limits.lAvailable, pset).dValue;
  rd.ulSeverity = pset->limits.ulSeverity;
  Append(prds, &rd);

  if (!pset->pswap) return;
  READING rdSwap = {"Swap space used", 0, 0, "%", LIMIT_MOST, pset->pswap->dUsed, pset->limits.ulSeverity};
  rdSwap.fAvailable = adKiB[SWAP_TOTAL] > 0 && adKiB[SWAP_FREE] >= 0;
  if (rdSwap.fAvailable) rdSwap.dValue = 100 - 100 * adKiB[SWAP_FREE] / adKiB[SWAP_TOTAL];
  Append(prds, &rdSwap);
}

/* The lines that the settings name. */
static void TakeNamedMemory(READINGS *prds, const SETTINGS *pset) {
  const char *apszName[MAX_MEMORY_NAMES] = {NULL};
  double adKiB[MAX_MEMORY_NAMES];
  ULONG ulNames = 0;
  LstForEach(pli, pset->plstMemory) {
    if (ulNames == MAX_MEMORY_NAMES) break;
    apszName[ulNames] = pli->pvData;
    adKiB[ulNames++] = -1;
  }
  ReadMemory(apszName, ulNames, adKiB);
  for (ULONG ul = 0; ul < ulNames; ul++) {
    const READING rd = MemoryReading(apszName[ul], adKiB[ul], pset);
    Append(prds, &rd);
  }
}

/* --- Watched paths: /proc/mounts --- */

static BOOL IsAtOrBelow(const char *pszPath, const char *pszFolder) {
  const size_t cb = strlen(pszFolder);
  if (cb == 0 || strncmp(pszPath, pszFolder, cb) != 0) return 0;
  return pszFolder[cb - 1] == '/' || pszPath[cb] == '/' || pszPath[cb] == '\0';
}

/* Finds the type of the file system that a path is on, from lines such as "/dev/vda / ext4 rw,relatime 0 0". Of
   several at one place the last covers the others. A mount point with a blank in its name, written \040 there, is not
   found: the path then counts to the file system around it. */
static void FindFileSystem(const char *pszPath, char *pszType) {
  char szFolder[PRS_LINE_SIZE], szType[PRS_LINE_SIZE];
  size_t cbBest = 0;
  PARSECTX *pprs = PrsStartParse("/proc/mounts", PRS_CASESENSITIVE, "");
  snprintf(pszType, TYPE_SIZE, "?");
  do {
    if (!PrsGetPattern(pprs, "%-w %w %w", szFolder, szType) || strlen(szFolder) < cbBest) continue;
    if (!IsAtOrBelow(pszPath, szFolder)) continue;
    cbBest = strlen(szFolder);
    snprintf(pszType, TYPE_SIZE, "%.*s", TYPE_SIZE - 1, szType);
  } while (PrsNextLine(pprs));
  PrsEndParse(pprs);
}

/* Gives the folder that a path's wildcards look for names in; any other path is given as it is. */
static const char *FolderOf(const char *pszPath, char *pszFolder) {
  if (!FoundHasWildcards(pszPath)) return pszPath;
  snprintf(pszFolder, FIL_MAX_PATH, "%s", pszPath);
  FilCheckPathName(pszFolder, FIL_CHECK_NONE, FIL_PART_PATH);
  return pszFolder;
}

static void TakeFreeSpace(READINGS *prds, const WATCH *pwch) {
  READING rd = {"", 0, 0, "%", LIMIT_LEAST, pwch->fltFree, pwch->ulSeverity};
  char szFolder[FIL_MAX_PATH], szPath[PATH_MAX], szType[TYPE_SIZE] = "";
  const char *pszFolder = FolderOf(pwch->pszPath, szFolder);
  struct statvfs vfs;
  if (realpath(pszFolder, szPath) && statvfs(szPath, &vfs) == 0 && vfs.f_blocks > 0) {
    FindFileSystem(szPath, szType);
    rd.fAvailable = 1;
    rd.dValue = 100 * (double)vfs.f_bavail / (double)vfs.f_blocks;
  }
  const int iMost = sizeof rd.szName - sizeof "Free on  ()" - TYPE_SIZE + 1;
  snprintf(rd.szName, sizeof rd.szName, szType[0] ? "Free on %.*s (%s)" : "Free on %.*s", iMost, pszFolder, szType);
  Append(prds, &rd);
}

/* What the path stands for goes to the list; the sum of all files that wildcards match is a reading, too. */
static void TakeFound(READINGS *prds, const SETTINGS *pset, const char *pszPath) {
  char szName[FIL_MAX_PATH];
  if (!prds->plstFound) return;
  const long long llBytes = FoundSearch(prds->plstFound, pszPath);
  if (!FoundHasWildcards(pszPath)) return;
  snprintf(szName, sizeof szName, "Size of %s", pszPath);
  const READING rd = MemoryReading(szName, (double)llBytes / 1024, pset);
  Append(prds, &rd);
}

void ReadingsTake(READINGS *prds, const SETTINGS *pset) {
  prds->rtTaken = TmeGetRealTime();
  prds->dUptime = 0;
  prds->plst = LstNewList(0);
  prds->plstFound = LstNewList(0);
  PARSECTX *pprs = PrsStartParse("/proc/uptime", 0, NULL);
  PrsGetReal(pprs, &prds->dUptime);
  PrsEndParse(pprs);
  TakeBusyTime(prds, pset);
  TakeLoadAndTasks(prds, pset);
  TakeUsualMemory(prds, pset);
  TakeNamedMemory(prds, pset);
  LstForEach(pli, pset->plstWatch) {
    TakeFreeSpace(prds, pli->pvData);
    TakeFound(prds, pset, ((const WATCH *)pli->pvData)->pszPath);
  }
}

void ReadingsFree(READINGS *prds) {
  ListFree(prds->plst);
  ListFree(prds->plstFound);
}
