/* report.c: the report on standard output, and the errors. */
#include "report.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "list.h"

#define KIND_LIMIT 200UL /* the kind that hostlog's error lines carry */

enum { INTERVAL_SIZE = 16, VERBOSITY_SIZE = 100 }; /* bytes of their texts */

static const char *const apszLimit[] = {[LIMIT_MOST] = "at most", [LIMIT_LEAST] = "at least"};

static BOOL IsBeyond(const READING *prd) {
  if (!prd->fAvailable || prd->kind == LIMIT_NONE) return 0;
  return prd->kind == LIMIT_MOST ? prd->dValue > prd->dLimit : prd->dValue < prd->dLimit;
}

static BOOL IsChecking(const READINGS *prds, const SETTINGS *pset) {
  return pset->fCheck && prds->rtTaken >= pset->rtStart;
}

static ULONG SeverityOf(const READING *prd) {
  return prd->ulSeverity != 0 ? prd->ulSeverity : VERB_ERROR; /* the settings may say none */
}

/* --- Heading --- */

static void PrintTitle(const char *pszTitle) {
  printf("%s\n", pszTitle);
  for (size_t cb = strlen(pszTitle); cb > 0; cb--) putchar('=');
  putchar('\n');
}

/* A time in the zone of the settings: 2003-01-15 11:23:45 (UTC+01:00) */
static void PrintTime(const char *pszLabel, REALTIME rt, SHORT sZone) {
  char szTime[TME_STRING_SIZE];
  const int iZone = abs(sZone);
  TmeRealTimeToString(rt + 60.0 * sZone, szTime);
  MscReplaceChar(szTime, '_', ' ');
  printf("%-10s %.19s (UTC%c%02d:%02d)\n", pszLabel, szTime, sZone < 0 ? '-' : '+', iZone / 60, iZone % 60);
}

static void PrintRunning(const READINGS *prds) {
  char szUptime[INTERVAL_SIZE];
  IntervalToString((ULONG)prds->dUptime, szUptime);
  printf("%-10s %s\n", "Running", prds->dUptime > 0 ? szUptime : "not available");
  if (prds->ulCpus > 0) printf("%-10s %lu\n", "Processors", prds->ulCpus);
}

static void PrintSite(const SETTINGS *pset) {
  char szPlace[SETTINGS_PLACE_SIZE];
  if (pset->achSite[0] == ' ') return;
  SettingsPlace(pset, szPlace);
  printf("%-10s %.8s %s\n", "Site", pset->achSite, strcmp(szPlace, "..") == 0 ? "" : szPlace);
}

static void PrintHeading(const READINGS *prds, const SETTINGS *pset) {
  char szInterval[INTERVAL_SIZE], szVerbosity[VERBOSITY_SIZE];
  PrintTitle(pset->szTitle);
  PrintSite(pset);
  PrintTime("Taken", prds->rtTaken, pset->sZone);
  PrintRunning(prds);
  IntervalToString(pset->ulInterval, szInterval);
  printf("%-10s over %s\n", "Busy time", pset->ulInterval > 0 ? szInterval : "all the time running");
  VerbosityToString(pset->flVerbosity, szVerbosity);
  printf("%-10s %s\n", "Errors", szVerbosity + strspn(szVerbosity, " ")); /* without Error it begins with a blank */
  if (pset->szRemark[0]) printf("%-10s %s\n", "Remark", pset->szRemark);
}

/* --- Table --- */

static int Decimals(const SETTINGS *pset) { return pset->bDecimals < 6 ? pset->bDecimals : 6; }

static int NameWidth(const SETTINGS *pset) {
  const int iMost = sizeof((READING *)0)->szName - 1;
  return pset->usWidth < iMost ? pset->usWidth : iMost;
}

static void PrintReading(const READING *prd, const SETTINGS *pset) {
  const int iDecimals = Decimals(pset);
  printf("%-*s ", NameWidth(pset), prd->szName);
  if (prd->fAvailable)
    printf("%14.*f %-3s", iDecimals, prd->dValue, prd->szUnit);
  else
    printf("%14s    ", "not available");
  if (pset->fShowLimits && prd->kind != LIMIT_NONE)
    printf("  %-8s %10.*f%s", apszLimit[prd->kind], iDecimals, prd->dLimit, IsBeyond(prd) ? "  <--" : "");
  putchar('\n');
}

/* What the watched paths stand for: the files that match, or the folders. */
static void PrintFound(const READINGS *prds, const SETTINGS *pset, BOOL fFolder) {
  ULONG ulPrinted = 0;
  const int iWidth = NameWidth(pset);
  LstForEach(pli, prds->plstFound) {
    const FOUND *pfnd = pli->pvData;
    if (pfnd->fFolder != fFolder) continue;
    if (ulPrinted++ == 0) printf("%-*s %14s\n", iWidth, fFolder ? "FOLDER" : "FILE", fFolder ? "" : "BYTES");
    printf("%-*s ", iWidth, pfnd->szPath);
    if (fFolder)
      putchar('\n');
    else
      printf("%14lld\n", pfnd->llSize);
  }
  if (ulPrinted > 0) putchar('\n');
}

static void PrintLine(const READINGS *prds, const SETTINGS *pset) {
  char szTime[TME_STRING_SIZE];
  ULONG ulBeyond = 0;
  LstForEach(pli, prds->plst) ulBeyond += IsBeyond(pli->pvData);
  TmeRealTimeToString(prds->rtTaken, szTime);
  MscReplaceChar(szTime, '_', ' ');
  printf("%.19s UTC  %s  %lu readings, %lu beyond their limits\n", szTime, pset->szTitle,
         prds->plst ? prds->plst->ulCount : 0, ulBeyond);
}

void ReportPrint(const READINGS *prds, const SETTINGS *pset, REPORTKIND kind) {
  if (kind == REPORT_BRIEF) {
    PrintLine(prds, pset);
    return;
  }
  PrintHeading(prds, pset);
  printf("\n%-*s %14s    %s\n", NameWidth(pset), "READING", "VALUE", pset->fShowLimits ? "            LIMIT" : "");
  LstForEach(pli, prds->plst) PrintReading(pli->pvData, pset);
  putchar('\n');
  PrintFound(prds, pset, 0);
  if (kind == REPORT_FULL) PrintFound(prds, pset, 1);
}

/* --- Errors --- */

static void ReportBeyond(const READING *prd, int iDecimals) {
  ErrReport(SeverityOf(prd), KIND_LIMIT, "%s: %.*f%s%s, %s %.*f wanted", prd->szName, iDecimals, prd->dValue,
            prd->szUnit[0] ? " " : "", prd->szUnit, apszLimit[prd->kind], iDecimals, prd->dLimit);
}

ULONG ReportLimits(const READINGS *prds, const SETTINGS *pset) {
  ULONG ulBeyond = 0;
  if (!IsChecking(prds, pset)) {
    puts("The limits are not in force.");
    return 0;
  }
  LstForEach(pli, prds->plst) {
    const READING *prd = pli->pvData;
    if (!IsBeyond(prd)) continue;
    ulBeyond++;
    ReportBeyond(prd, Decimals(pset));
  }
  return ulBeyond;
}
