/* settings.c: the descriptions of the settings, and their life from the file to the last free. */
#include "settings.h"

#include <assert.h>
#include <stdio.h>
#include <string.h>

#include "list.h"

#define UNIT_NAMES(NAME) NAME("KiB", 0) NAME("MiB", 1) NAME("GiB", 2) NAME("TiB", 3)
INI_ENUMERATION(edscUnit, UNIT_NAMES);

#define SEVERITY_NAMES(NAME) \
  NAME("Error", VERB_ERROR) NAME("Warning", VERB_WARNING) NAME("Info", VERB_INFO) NAME("Debug", VERB_DEBUG)
INI_ENUMERATION(edscSeverity, SEVERITY_NAMES);

#define PLACE_PARTS(PART) PART("Town", 3) PART("Rack", 3) PART("Slot", 2)
INI_SUBFIELDS(sdscPlace, PLACE_PARTS);

#define LIMITS_FIELDS(FIELD, T)           \
  FIELD(T, afltLoad, "Load", FLOAT)       \
  FIELD(T, dBusy, "Busy", DOUBLE)         \
  FIELD(T, ulTasks, "Tasks", ULONG)       \
  FIELD(T, lAvailable, "Available", LONG) \
  FIELD(T, ulSeverity, "Severity", ENUM32(edscSeverity))
INI_DESCRIBE(sdscLimits, LIMITS, LIMITS_FIELDS);

#define WATCH_FIELDS(FIELD, T)                           \
  FIELD(T, fltFree, "Free", FLOAT)                       \
  FIELD(T, ulSeverity, "Severity", ENUM32(edscSeverity)) \
  FIELD(T, pszPath, "Path", PSZ)
INI_DESCRIBE(sdscWatch, WATCH, WATCH_FIELDS);

#define SWAPLIMIT_FIELDS(FIELD, T) FIELD(T, dUsed, "Used", DOUBLE)
INI_DESCRIBE(sdscSwap, SWAPLIMIT, SWAPLIMIT_FIELDS);

INI_FIELD(fdscMemory, char *, "Memory", PSZ);

#define SETTINGS_FIELDS(FIELD, T)                       \
  FIELD(T, szTitle, "Title", STRING)                    \
  FIELD(T, achSite, "Site", FIXEDSTRING)                \
  FIELD(T, achPlace, "Place", DOTTED(sdscPlace))        \
  FIELD(T, szRemark, "Remark", STRING)                  \
  FIELD(T, flVerbosity, "Verbosity", VERBOSITY)         \
  FIELD(T, ulInterval, "Interval", INTERVAL)            \
  FIELD(T, rtStart, "Start", REALTIME)                  \
  FIELD(T, sZone, "Zone", SHORT)                        \
  FIELD(T, usUnit, "Unit", ENUM16(edscUnit))            \
  FIELD(T, fShowLimits, "ShowLimits", BOOL16)           \
  FIELD(T, fCheck, "Check", BOOL32)                     \
  FIELD(T, usWidth, "Width", USHORT)                    \
  FIELD(T, bDecimals, "Decimals", BYTE)                 \
  FIELD(T, plstMemory, "Memory", VALUELIST(fdscMemory)) \
  FIELD(T, limits, "Limits", STRUCT(sdscLimits))        \
  FIELD(T, plstWatch, "Watch", STRUCTLIST(sdscWatch))   \
  FIELD(T, pswap, "Swap", STRUCTPTR(sdscSwap))
INI_DESCRIBE(sdscSettings, SETTINGS, SETTINGS_FIELDS);

INI_FIELD(fdscSettings, SETTINGS, "Hostlog", STRUCT(sdscSettings));

static void SetDefaults(SETTINGS *pset) {
  static const SETTINGS setDefault = {
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

static BOOL Refuse(const char *pszText) {
  fprintf(stderr, "hostlog: %s\n", pszText);
  return 0;
}

/* Takes what IniReadChecked finds. Every key may be missing, and every section but that of the settings as a whole. */
static ULONG RefuseMistake(const INIFINDING *pfinding, void *pvUser) {
  const BOOL fNoSettings = pfinding->ulClass == INI_FINDING_MISSING && !pfinding->pszKey &&
                           strcmp(pfinding->pszSection, fdscSettings.pszName) == 0;
  (void)pvUser;
  return (pfinding->fMistake || fNoSettings) && !Refuse(pfinding->szText);
}

BOOL SettingsRead(SETTINGS *pset, const char *pszFile) {
  INIERROR err;
  assert(IniCheckDescription(&fdscSettings, sizeof *pset, NULL) == 0); /* names are beyond the compiler */
  SetDefaults(pset);
  INIFILE *pini = IniOpenChecked(pszFile, INI_MODE_LENIENT, &err);
  if (!pini) return Refuse(err.szText);
  const BOOL fGood = IniReadChecked(pini, pset, &fdscSettings, RefuseMistake, NULL) == 0;
  IniClose(pini);
  return fGood;
}

BOOL SettingsWatch(SETTINGS *pset, const char *pszPath) {
  WATCH wch = {.ulSeverity = VERB_WARNING, .pszPath = MemAllocString(pszPath)};
  if (!pset->plstWatch) pset->plstWatch = LstNewList(0);
  if (wch.pszPath && ListAppend(pset->plstWatch, &wch, sizeof wch)) return 1;
  MemFreeString(wch.pszPath);
  return 0;
}

BOOL SettingsWrite(const SETTINGS *pset, const char *pszFile) {
  INIERROR err;
  return IniSave(pszFile, pset, &fdscSettings, &err) == 0 || Refuse(err.szText);
}

void SettingsFree(SETTINGS *pset) { IniFreeData(pset, &fdscSettings); }

const char *SettingsUnit(const SETTINGS *pset) { return edscUnit.apszName[pset->usUnit]; }

void SettingsPlace(const SETTINGS *pset, char *pszText) {
  INI_FIELD(fdscPlace, char[8], "Place", DOTTED(sdscPlace));
  BYTE *pb = (BYTE *)pset->achPlace; /* only read */
  IniConvertToString(&pb, pszText, &fdscPlace);
}
