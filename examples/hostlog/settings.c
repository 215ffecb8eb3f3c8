/* settings.c: the descriptions of the settings, field by field in the order of the records, and their life from the
   file to the last free. */
#include "settings.h"

#include <errno.h>
#include <stdio.h>
#include <string.h>

#include "list.h"

static EDSC edscUnit = {4, {"KiB", "MiB", "GiB", "TiB"}, {0, 1, 2, 3}};
static EDSC edscSeverity = {
    4, {"Error", "Warning", "Info", "Debug"}, {VERB_ERROR, VERB_WARNING, VERB_INFO, VERB_DEBUG}};

static SDSC sdscPlace = {
    .ulFields = 3,
    .ulSize = sizeof((SETTINGS *)0)->achPlace,
    .afdsc =
        {
            {.pszName = "Town", .ulType = FT_FIXEDSTRING, .ulCount = 3},
            {.pszName = "Rack", .ulType = FT_FIXEDSTRING, .ulCount = 3},
            {.pszName = "Slot", .ulType = FT_FIXEDSTRING, .ulCount = 2},
        },
};

static SDSC sdscLimits = {
    .ulFields = 5,
    .ulSize = sizeof(LIMITS),
    .afdsc =
        {
            {.pszName = "Load", .ulType = FT_FLOAT, .ulCount = 3},
            {.pszName = "Busy", .ulType = FT_DOUBLE, .ulCount = 1},
            {.pszName = "Tasks", .ulType = FT_ULONG, .ulCount = 1},
            {.pszName = "Available", .ulType = FT_LONG, .ulCount = 1},
            {.pszName = "Severity", .ulType = FT_ENUM32, .ulCount = 1, .pvDesc = &edscSeverity},
        },
};

static SDSC sdscWatch = {
    .ulFields = 3,
    .ulSize = sizeof(WATCH),
    .afdsc =
        {
            {.pszName = "Free", .ulType = FT_FLOAT, .ulCount = 1},
            {.pszName = "Severity", .ulType = FT_ENUM32, .ulCount = 1, .pvDesc = &edscSeverity},
            {.pszName = "Path", .ulType = FT_PSZ, .ulCount = 1},
        },
};

static SDSC sdscSwap = {
    .ulFields = 1,
    .ulSize = sizeof(SWAPLIMIT),
    .afdsc = {{.pszName = "Used", .ulType = FT_DOUBLE, .ulCount = 1}},
};

static FDSC fdscMemory = {.pszName = "Memory", .ulType = FT_PSZ, .ulCount = 1};

static SDSC sdscSettings = {
    .ulFields = 17,
    .ulSize = sizeof(SETTINGS),
    .afdsc =
        {
            {.pszName = "Title", .ulType = FT_STRING, .ulCount = sizeof((SETTINGS *)0)->szTitle},
            {.pszName = "Site", .ulType = FT_FIXEDSTRING, .ulCount = sizeof((SETTINGS *)0)->achSite},
            {.pszName = "Place", .ulType = FT_DOTTED, .ulCount = sizeof((SETTINGS *)0)->achPlace, .pvDesc = &sdscPlace},
            {.pszName = "Remark", .ulType = FT_PSZ, .ulCount = 1},
            {.pszName = "Verbosity", .ulType = FT_VERBOSITY, .ulCount = 1},
            {.pszName = "Interval", .ulType = FT_INTERVAL, .ulCount = 1},
            {.pszName = "Start", .ulType = FT_REALTIME, .ulCount = 1},
            {.pszName = "Zone", .ulType = FT_SHORT, .ulCount = 1},
            {.pszName = "Unit", .ulType = FT_ENUM16, .ulCount = 1, .pvDesc = &edscUnit},
            {.pszName = "ShowLimits", .ulType = FT_BOOL16, .ulCount = 1},
            {.pszName = "Check", .ulType = FT_BOOL32, .ulCount = 1},
            {.pszName = "Width", .ulType = FT_USHORT, .ulCount = 1},
            {.pszName = "Decimals", .ulType = FT_BYTE, .ulCount = 1},
            {.pszName = "Memory", .ulType = FT_VALUELIST, .ulCount = 1, .pvDesc = &fdscMemory},
            {.pszName = "Limits", .ulType = FT_STRUCT, .ulCount = 1, .pvDesc = &sdscLimits},
            {.pszName = "Watch", .ulType = FT_STRUCTLIST, .ulCount = 1, .pvDesc = &sdscWatch},
            {.pszName = "Swap", .ulType = FT_STRUCTPTR, .ulCount = 1, .pvDesc = &sdscSwap},
        },
};

static const FDSC fdscSettings = {.pszName = "Hostlog", .ulType = FT_STRUCT, .ulCount = 1, .pvDesc = &sdscSettings};

static void SetDefaults(SETTINGS *pset) {
  const SETTINGS setDefault = {
      .szTitle = "Hostlog",
      .flVerbosity = VERB_ERROR | VERB_WARNING,
      .usUnit = 1,
      .fShowLimits = 1,
      .fCheck = 1,
      .usWidth = 32,
      .bDecimals = 1,
      .limits = {{8, 6, 4}, 100, 0xFFFFFFFF, 0, VERB_WARNING},
  };
  *pset = setDefault;
  memset(pset->achSite, ' ', sizeof pset->achSite);
  memset(pset->achPlace, ' ', sizeof pset->achPlace);
}

/* Takes the steps of IniOpen to see where they end. Result: that line, or 0 for a file without a header. */
static ULONG FindBadLine(const char *pszFile) {
  char szWord[PRS_LINE_SIZE];
  ULONG ulLine = 0;
  PARSECTX *pprs = PrsStartParse(pszFile, 0, INI_SEPARATORS);
  if (PrsNextChar(pprs, '[') && PrsGetWord(pprs, szWord) && strlen(szWord) <= INI_MAX_TEXT && PrsNextChar(pprs, ']')) {
    INIFILE *pini = MemAllocMem_(sizeof *pini, __LINE__, __FILE__);
    if (pini) ParseFile(pprs, pini);
    ulLine = PrsQueryLineNumber(pprs);
    IniClose(pini);
  }
  PrsEndParse_(pprs);
  return ulLine;
}

/* Whether a file can be read at all; errno tells why not. */
static BOOL IsReadable(const char *pszFile) {
  FILE *pf = fopen(pszFile, "r");
  if (!pf) return 0;
  const BOOL fReadable = fgetc(pf) != EOF || !ferror(pf); /* a folder opens, but cannot be read */
  const int iError = errno;
  fclose(pf);
  errno = iError;
  return fReadable;
}

/* One message for a file that IniOpen refuses. */
static void SayWhyRefused(const char *pszFile) {
  if (!IsReadable(pszFile)) {
    fprintf(stderr, "hostlog: %s: %s\n", pszFile, strerror(errno));
    return;
  }
  const ULONG ulLine = FindBadLine(pszFile);
  if (ulLine == 0)
    fprintf(stderr, "hostlog: %s: does not begin with a header such as [ hostlog.ini ]\n", pszFile);
  else
    fprintf(stderr,
            "hostlog: %s: not understood at line %lu or before (a '=' without a blank before it? an open quote?)\n",
            pszFile, ulLine);
}

BOOL SettingsRead(SETTINGS *pset, const char *pszFile) {
  INIFILE *pini = IniOpen(pszFile, INI_MODE_READ);
  if (!pini) {
    SayWhyRefused(pszFile);
    return 0;
  }
  const BOOL fFound = FindStructure(pini, fdscSettings.pszName) != 0;
  if (fFound) {
    SetDefaults(pset);
    IniRead(pini, pset, &fdscSettings); /* its result tells of the last field only, which may be missing */
  } else {
    fprintf(stderr, "hostlog: %s: has no section [ %s ]\n", pszFile, fdscSettings.pszName);
  }
  IniClose(pini);
  return fFound;
}

BOOL SettingsWatch(SETTINGS *pset, const char *pszPath) {
  if (!pset->plstWatch) pset->plstWatch = LstNewList(0);
  const WATCH wch = {.ulSeverity = VERB_WARNING, .pszPath = MemAllocString_(pszPath, __LINE__, __FILE__)};
  if (wch.pszPath && ListAppend(pset->plstWatch, &wch, sizeof wch)) return 1;
  MemFreeString_(wch.pszPath);
  return 0;
}

/* --- Writing --- */

/* Whether the text can stand in quotes. */
static BOOL FitsInQuotes(const char *pch, size_t cb) {
  if (cb > INI_MAX_TEXT || memchr(pch, '"', cb)) return 0;
  for (size_t ul = 0; ul < cb; ul++)
    if (pch[ul] > 0 && pch[ul] < ' ') return 0;
  return 1;
}

static BOOL TextFits(const char *psz) { return !psz || FitsInQuotes(psz, strlen(psz)); }

static BOOL AllTextsFit(const SETTINGS *pset) {
  if (!TextFits(pset->szTitle) || !TextFits(pset->pszRemark)) return 0;
  if (!FitsInQuotes(pset->achSite, sizeof pset->achSite)) return 0;
  if (!FitsInQuotes(pset->achPlace, sizeof pset->achPlace)) return 0;
  for (const LISTITEM *pli = ListFirst(pset->plstMemory); pli; pli = pli->pliNext)
    if (!TextFits(pli->pvData)) return 0;
  for (const LISTITEM *pli = ListFirst(pset->plstWatch); pli; pli = pli->pliNext)
    if (!TextFits(((const WATCH *)pli->pvData)->pszPath)) return 0;
  return 1;
}

/* A copy of a description in which fractions have all the digits that they take to read back. */
static SDSC WithAllDigits(const SDSC *psdsc) {
  SDSC sdsc = *psdsc;
  for (ULONG ul = 0; ul < sdsc.ulFields; ul++) {
    if (sdsc.afdsc[ul].ulType == FT_FLOAT) sdsc.afdsc[ul].pszFormat = "%.9g";
    if (sdsc.afdsc[ul].ulType == FT_DOUBLE) sdsc.afdsc[ul].pszFormat = "%.17g";
  }
  return sdsc;
}

/* Writes through descriptions of its own: an interval of 0 has no text, and is left out, which reads as 0. */
static void WriteRecord(INIFILE *pini, const SETTINGS *pset) {
  SDSC sdsc = sdscSettings, sdscOwnLimits = WithAllDigits(&sdscLimits);
  SDSC sdscOwnWatch = WithAllDigits(&sdscWatch), sdscOwnSwap = WithAllDigits(&sdscSwap);
  FDSC fdsc = fdscSettings;
  fdsc.pvDesc = &sdsc;
  for (ULONG ul = 0; ul < sdsc.ulFields; ul++) {
    FDSC *pfdsc = &sdsc.afdsc[ul];
    if (pfdsc->pvDesc == &sdscLimits) pfdsc->pvDesc = &sdscOwnLimits;
    if (pfdsc->pvDesc == &sdscWatch) pfdsc->pvDesc = &sdscOwnWatch;
    if (pfdsc->pvDesc == &sdscSwap) pfdsc->pvDesc = &sdscOwnSwap;
    if (pfdsc->ulType == FT_INTERVAL && pset->ulInterval == 0) pfdsc->flFlags |= FDSC_NOINI;
    if (pfdsc->ulType == FT_PSZ && !pset->pszRemark) pfdsc->flFlags |= FDSC_NOINI;
  }
  IniWrite(pini, pset, &fdsc);
}

static BOOL IsHeader(const char *pszFile) {
  char szName[FIL_MAX_PATH];
  return FilGetFileNameOf(szName, pszFile) && szName[0] && !strpbrk(szName, INI_SEPARATORS " \t\"[=");
}

static BOOL RefuseToWrite(const char *pszFile, const char *pszWhy) {
  fprintf(stderr, "hostlog: %s: %s\n", pszFile, pszWhy);
  return 0;
}

BOOL SettingsWrite(const SETTINGS *pset, const char *pszFile) {
  if (!IsHeader(pszFile)) return RefuseToWrite(pszFile, "its name cannot be the header of an INI file");
  if (!AllTextsFit(pset))
    return RefuseToWrite(pszFile, "cannot hold a text with a double quote, or a longer one than 127");
  INIFILE *pini = IniOpen(pszFile, 0);
  if (!pini) return RefuseToWrite(pszFile, strerror(errno));
  WriteRecord(pini, pset);
  const int iError = fflush(pini->pfile) != 0 || ferror(pini->pfile) ? errno : 0;
  IniClose(pini);
  return iError == 0 || RefuseToWrite(pszFile, strerror(iError));
}

/* --- The rest --- */

void SettingsFree(SETTINGS *pset) {
  MemFreeString_(pset->pszRemark);
  ListFree(pset->plstMemory);
  for (const LISTITEM *pli = ListFirst(pset->plstWatch); pli; pli = pli->pliNext)
    MemFreeString_(((WATCH *)pli->pvData)->pszPath);
  ListFree(pset->plstWatch);
  if (pset->pswap) MemFreeMem_(pset->pswap);
}

void SettingToText(const void *pvField, const char *pszKey, char *pszText) {
  BYTE *pb = (BYTE *)pvField; /* only read */
  pszText[0] = '\0';
  for (ULONG ul = 0; ul < sdscSettings.ulFields; ul++)
    if (strcmp(sdscSettings.afdsc[ul].pszName, pszKey) == 0) IniConvertToString(&pb, pszText, &sdscSettings.afdsc[ul]);
}
