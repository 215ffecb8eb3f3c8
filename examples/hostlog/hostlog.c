/* hostlog.c: a logger of the machine it runs on.
   hostlog -h shows the command line, hostlog -h full explains it. Readings beyond their limits become error lines on
   standard output and in hostlog.YYYYMMDD.log in the current directory. Exit status 1 for settings or files that
   cannot be used, for output that cannot be written, and for memory that is not given back; 2 for a command line that
   cannot be used. */
#include <errno.h>
#include <limits.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include "cmdline.h"
#include "records.h"

/* Writes the path of a file that lies in the program's folder. Result: whether it is there. */
static BOOL FindBesideProgram(char *pszPath, const char *pszFile) {
  char szProgram[PATH_MAX];
  const ssize_t cb = readlink("/proc/self/exe", szProgram, sizeof szProgram - 1);
  if (cb <= 0) return 0;
  szProgram[cb] = '\0';
  *strrchr(szProgram, '/') = '\0';
  return snprintf(pszPath, PATH_MAX, "%s/%s", szProgram, pszFile) < PATH_MAX && access(pszPath, F_OK) == 0;
}

/* Takes one snapshot, reports and records it. Adds the readings beyond their limits to *pulBeyond. */
static BOOL LogMachine(const COMMAND *pcmd, const SETTINGS *pset, ULONG *pulBeyond) {
  READINGS rds;
  BOOL fGood = 1;
  ReadingsTake(&rds, pset);
  ReportPrint(&rds, pset, pcmd->report);
  *pulBeyond += ReportLimits(&rds, pset);
  if (pcmd->pszAppendTo) {
    SNAPSHOT snp;
    SnapshotFill(&snp, &rds, pset);
    fGood = RecordsAppend(pcmd->pszAppendTo, &snp);
  }
  ReadingsFree(&rds);
  return fGood;
}

static void SayBeyond(ULONG ulBeyond) {
  char szStrict[PATH_MAX];
  if (ulBeyond > 0)
    printf("Readings beyond their limits: %lu\n", ulBeyond);
  else if (FindBesideProgram(szStrict, "strict.ini"))
    printf("No reading is beyond its limit. For some that are, run hostlog with\n  %s\n", szStrict);
}

static BOOL LogRepeatedly(const COMMAND *pcmd, const SETTINGS *pset) {
  ULONG ulBeyond = 0;
  for (ULONG ul = 0; ul < pcmd->ulTimes; ul++) {
    if (ul > 0) {
      fflush(stdout); /* whoever watches sees each snapshot as it is taken */
      sleep((unsigned)pcmd->ulPause);
    }
    if (!LogMachine(pcmd, pset, &ulBeyond)) return 0;
  }
  if (pcmd->ulTimes > 0 && pcmd->report != REPORT_BRIEF) SayBeyond(ulBeyond);
  return 1;
}

/* Applies what the command line says beyond the settings file. */
static BOOL Override(SETTINGS *pset, const COMMAND *pcmd) {
  if (pcmd->fVerbose) pset->flVerbosity = VERB_ERROR | VERB_WARNING | VERB_INFO | VERB_DEBUG;
  for (char **ppsz = pcmd->apszWatch; ppsz && *ppsz; ppsz++)
    if (!SettingsWatch(pset, *ppsz)) return 0;
  return 1;
}

static BOOL LogBySettings(const COMMAND *pcmd) {
  char szDefault[PATH_MAX];
  const char *pszFile = pcmd->pszSettings ? pcmd->pszSettings : "hostlog.ini";
  SETTINGS set;
  if (!pcmd->pszSettings && access(pszFile, F_OK) != 0 && FindBesideProgram(szDefault, pszFile)) pszFile = szDefault;
  if (!SettingsRead(&set, pszFile)) return 0;
  BOOL fGood = Override(&set, pcmd);
  BaseSetVerbosity(set.flVerbosity);
  fGood = fGood && (!pcmd->pszWriteTo || SettingsWrite(&set, pcmd->pszWriteTo)) && LogRepeatedly(pcmd, &set);
  SettingsFree(&set);
  return fGood;
}

/* Checks that every block is intact and given back, and lists those that are not. A run that did what it was asked to
   says so in any case. */
static BOOL IsMemoryClean(BOOL fSay) {
  ULONG ulBlocks;
  MemCheckMemory();
  MemQueryStatus(NULL, &ulBlocks);
  if (fSay || ulBlocks > 0) printf("Blocks of memory not given back: %lu\n", ulBlocks);
  MemDumpMemory(stdout);
  return ulBlocks == 0;
}

static BOOL IsOutputWritten(void) {
  if (fflush(stdout) == 0 && !ferror(stdout)) return 1;
  fprintf(stderr, "hostlog: standard output: %s\n", strerror(errno));
  return 0;
}

int main(int argc, char **argv) {
  COMMAND cmd;
  BaseInit();
  ErrInitialize(ERR_TYPE_CONSOLE_LOG, "hostlog");
  MemSetLimits(250000000, 2000000, TRUE); /* large folders and long record files need more than the default limit */
  CommandRead(&cmd, argc, argv);
  const BOOL fGood = cmd.pszPrint ? RecordsPrint(cmd.pszPrint, cmd.report) : LogBySettings(&cmd);
  CommandFree(&cmd);
  return IsMemoryClean(fGood) && IsOutputWritten() && fGood ? 0 : 1;
}
