/* snapshot.c: the description of the snapshot, and the ways into and out of the record. */
#include "snapshot.h"

#include <string.h>

#define MAX_TEXT_FIELD 255UL /* longer text fields are not converted */

#define KIND_NAMES(NAME) NAME("None", LIMIT_NONE) NAME("Most", LIMIT_MOST) NAME("Least", LIMIT_LEAST)
INI_ENUMERATION(edscKind, KIND_NAMES);

#define READING_FIELDS(FIELD, T)            \
  FIELD(T, szName, "Name", STRING)          \
  FIELD(T, fAvailable, "Available", BOOL32) \
  FIELD(T, dValue, "Value", DOUBLE)         \
  FIELD(T, szUnit, "Unit", STRING)          \
  FIELD(T, kind, "Kind", ENUM32(edscKind))  \
  FIELD(T, dLimit, "Limit", DOUBLE)         \
  FIELD(T, ulSeverity, "Severity", ULONG)
INI_DESCRIBE(sdscReading, READING, READING_FIELDS);

#define SNAPSHOT_FIELDS(FIELD, T)             \
  FIELD(T, szTitle, "Title", STRING)          \
  FIELD(T, achSite, "Site", FIXEDSTRING)      \
  FIELD(T, achPlace, "Place", FIXEDSTRING)    \
  FIELD(T, szRemark, "Remark", STRING)        \
  FIELD(T, flVerbosity, "Verbosity", ULONG)   \
  FIELD(T, ulInterval, "Interval", ULONG)     \
  FIELD(T, rtTaken, "Taken", REALTIME)        \
  FIELD(T, sZone, "Zone", SHORT)              \
  FIELD(T, dUptime, "Uptime", DOUBLE)         \
  FIELD(T, ulCpus, "Processors", ULONG)       \
  FIELD(T, fShowLimits, "ShowLimits", BOOL16) \
  FIELD(T, usWidth, "Width", USHORT)          \
  FIELD(T, bDecimals, "Decimals", BYTE)       \
  FIELD(T, ulReadings, "Readings", ULONG)     \
  FIELD(T, ard, "Reading", STRUCT(sdscReading))
INI_DESCRIBE(sdscSnapshot, SNAPSHOT, SNAPSHOT_FIELDS);

INI_FIELD(fdscSnapshot, SNAPSHOT, "Snapshot", STRUCT(sdscSnapshot));
const FDSC *const pfdscSnapshot = &fdscSnapshot;

/* --- From and to readings --- */

void SnapshotFill(SNAPSHOT *psnp, const READINGS *prds, const SETTINGS *pset) {
  memset(psnp, 0, sizeof *psnp);
  memcpy(psnp->szTitle, pset->szTitle, sizeof psnp->szTitle);
  memcpy(psnp->achSite, pset->achSite, sizeof psnp->achSite);
  memcpy(psnp->achPlace, pset->achPlace, sizeof psnp->achPlace);
  memcpy(psnp->szRemark, pset->szRemark, sizeof psnp->szRemark);
  psnp->flVerbosity = pset->flVerbosity;
  psnp->ulInterval = pset->ulInterval;
  psnp->rtTaken = prds->rtTaken;
  psnp->sZone = pset->sZone;
  psnp->dUptime = prds->dUptime;
  psnp->ulCpus = prds->ulCpus;
  psnp->fShowLimits = pset->fShowLimits;
  psnp->usWidth = pset->usWidth;
  psnp->bDecimals = pset->bDecimals;
  LstForEach(pli, prds->plst) {
    if (psnp->ulReadings == SNAPSHOT_READINGS) break;
    memcpy(&psnp->ard[psnp->ulReadings++], pli->pvData, sizeof(READING));
  }
}

/* What of the settings the report shows. */
static SETTINGS SettingsOf(const SNAPSHOT *psnp) {
  SETTINGS set = {.flVerbosity = psnp->flVerbosity,
                  .ulInterval = psnp->ulInterval,
                  .sZone = psnp->sZone,
                  .fShowLimits = psnp->fShowLimits,
                  .fCheck = 1,
                  .usWidth = psnp->usWidth,
                  .bDecimals = psnp->bDecimals};
  memcpy(set.szTitle, psnp->szTitle, sizeof set.szTitle);
  memcpy(set.achSite, psnp->achSite, sizeof set.achSite);
  memcpy(set.achPlace, psnp->achPlace, sizeof set.achPlace);
  memcpy(set.szRemark, psnp->szRemark, sizeof set.szRemark);
  return set;
}

void SnapshotReport(const SNAPSHOT *psnp, REPORTKIND kind) {
  const BOOL fUptime = psnp->dUptime > 0 && psnp->dUptime < 4294967295.0; /* what a report can say in seconds */
  const SETTINGS set = SettingsOf(psnp);
  READINGS rds = {.rtTaken = psnp->rtTaken, .dUptime = fUptime ? psnp->dUptime : 0, .ulCpus = psnp->ulCpus};
  rds.plst = LstNewList(0);
  for (ULONG ul = 0; ul < psnp->ulReadings && ul < SNAPSHOT_READINGS; ul++)
    LstInsert(rds.plst, (void *)&psnp->ard[ul], LST_END); /* only read */
  ReportPrint(&rds, &set, kind);
  LstFreeList(rds.plst);
}

/* --- Data of another description --- */

static BOOL IsText(const FDSC *pfdsc) {
  return pfdsc->ulType == FT_STRING || pfdsc->ulType == FT_FIXEDSTRING || pfdsc->ulType == FT_DOTTED;
}

static ULONG SizeOf(const FDSC *pfdsc) { /* of one element */
  if (pfdsc->ulType == FT_STRUCT) return pfdsc->pvDesc ? ((const SDSC *)pfdsc->pvDesc)->ulSize : 0;
  return IniGetTypeDefaults()[pfdsc->ulType].ulSize;
}

static BOOL IsNamed(const FDSC *pfdsc, const char *pszName) {
  return pfdsc->pszName && pszName && strcmp(pfdsc->pszName, pszName) == 0;
}

BOOL SnapshotIsLike(const FDSC *pfdsc, const FDSC *pfdscOther) {
  if (!IsNamed(pfdsc, pfdscOther->pszName)) return 0;
  if (pfdsc->ulType != pfdscOther->ulType || pfdsc->ulCount != pfdscOther->ulCount) return 0;
  if (pfdsc->ulType != FT_STRUCT) return 1;
  const SDSC *psdsc = pfdsc->pvDesc, *psdscOther = pfdscOther->pvDesc;
  if (!psdsc || !psdscOther || psdsc->ulFields != psdscOther->ulFields) return 0;
  for (ULONG ul = 0; ul < psdsc->ulFields; ul++)
    if (!SnapshotIsLike(&psdsc->afdsc[ul], &psdscOther->afdsc[ul])) return 0;
  return 1;
}

/* What goes to a terminal must not steer it. */
static void DropControls(char *psz) {
  for (; *psz; psz++)
    if ((*psz > 0 && *psz < ' ') || *psz == 127) *psz = '?';
}

static BOOL IsConvertible(const FDSC *pfdsc) {
  if (pfdsc->ulType > FT_DOTTED || pfdsc->ulType == FT_PSZ || pfdsc->ulCount == 0) return 0;
  return !IsText(pfdsc) || pfdsc->ulCount <= MAX_TEXT_FIELD;
}

/* Numbers of one type go as they are, all others through their text. */
static void ConvertValue(BYTE *pbOurs, const FDSC *pfdscOurs, BYTE *pbTheirs, const FDSC *pfdscTheirs) {
  char szText[SNAPSHOT_MAX_FDSC]; /* the longest text is a name out of the description */
  FDSC fdsc = *pfdscTheirs;
  const BOOL fNamed = fdsc.ulType == FT_ENUM16 || fdsc.ulType == FT_ENUM32;
  if (fdsc.ulType == pfdscOurs->ulType && !IsText(&fdsc) && !fNamed) {
    memcpy(pbOurs, pbTheirs, SizeOf(&fdsc));
    return;
  }
  fdsc.pszFormat = NULL;
  if (!IniConvertToString(&pbTheirs, szText, &fdsc)) return;
  DropControls(szText);
  IniConvertFromString(&pbOurs, szText, pfdscOurs, NULL);
}

static void ConvertStructure(BYTE *pbOurs, const SDSC *psdscOurs, BYTE *pbTheirs, const SDSC *psdscTheirs);

static void ConvertField(BYTE *pbOurs, const FDSC *pfdscOurs, BYTE *pbTheirs, const FDSC *pfdscTheirs) {
  const BOOL fStructure = pfdscOurs->ulType == FT_STRUCT;
  if (fStructure ? pfdscTheirs->ulType != FT_STRUCT || !pfdscTheirs->pvDesc : !IsConvertible(pfdscTheirs)) return;
  ULONG ulCount = pfdscOurs->ulCount < pfdscTheirs->ulCount ? pfdscOurs->ulCount : pfdscTheirs->ulCount;
  if (!fStructure && (IsText(pfdscOurs) || IsText(pfdscTheirs))) ulCount = 1; /* a text is one value */
  for (; ulCount > 0; ulCount--) {
    if (fStructure)
      ConvertStructure(pbOurs, pfdscOurs->pvDesc, pbTheirs, pfdscTheirs->pvDesc);
    else
      ConvertValue(pbOurs, pfdscOurs, pbTheirs, pfdscTheirs);
    pbOurs += SizeOf(pfdscOurs);
    pbTheirs += SizeOf(pfdscTheirs);
  }
}

static void ConvertStructure(BYTE *pbOurs, const SDSC *psdscOurs, BYTE *pbTheirs, const SDSC *psdscTheirs) {
  for (ULONG ul = 0; ul < psdscOurs->ulFields; ul++) {
    const FDSC *pfdsc = &psdscOurs->afdsc[ul];
    BYTE *pb = pbTheirs;
    ULONG ulTheirs = 0;
    while (ulTheirs < psdscTheirs->ulFields && !IsNamed(&psdscTheirs->afdsc[ulTheirs], pfdsc->pszName)) {
      pb += SizeOf(&psdscTheirs->afdsc[ulTheirs]) * psdscTheirs->afdsc[ulTheirs].ulCount;
      ulTheirs++;
    }
    if (ulTheirs < psdscTheirs->ulFields) ConvertField(pbOurs, pfdsc, pb, &psdscTheirs->afdsc[ulTheirs]);
    pbOurs += SizeOf(pfdsc) * pfdsc->ulCount;
  }
}

void SnapshotConvert(SNAPSHOT *psnp, const FDSC *pfdscTheirs, BYTE *pbTheirs) {
  memset(psnp, 0, sizeof *psnp);
  memset(psnp->achSite, ' ', sizeof psnp->achSite);
  memset(psnp->achPlace, ' ', sizeof psnp->achPlace);
  ConvertField((BYTE *)psnp, &fdscSnapshot, pbTheirs, pfdscTheirs);
}
