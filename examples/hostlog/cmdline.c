/* cmdline.c: the table of the command line, its help texts, and what they come to. */
#include "cmdline.h"

/* The places of the entries in the table, whose order the parser relies on. HLP + place is the help key of an entry,
   HLP + ENTRIES that of the program, and an exclusive group goes by its first entry. */
enum {
  SETTINGS_FILE,
  VERBOSE,
  BRIEF,
  FULL,
  WATCH_SWITCH,
  WATCH_PATHS,
  TIMES,
  TIMES_COUNT,
  PAUSE,
  PAUSE_SECONDS,
  WRITE,
  WRITE_FILE,
  APPEND,
  APPEND_FILE,
  PRINT,
  PRINT_FILE,
  ENTRIES
};

/* A switch, and an argument: behind the switch ch, or on its own where ch is 0. */
#define SWITCH(place, ch, group, name) \
  [place] = {                          \
      .fFlag = 1, .chSwitchId = ch, .ulExclusiveGroup = group, .ulHelpKey = HLP + (place), .szArgumentName = name}
#define ARGUMENT(place, ch, group, fMust, type, conversion, name, preset) \
  [place] = {.fMandatory = fMust,                                         \
             .chSwitchId = ch,                                            \
             .ulExclusiveGroup = group,                                   \
             .ulHelpKey = HLP + (place),                                  \
             .ulTypeCode = CMD_TYPE_##type,                               \
             .szConversion = conversion,                                  \
             .szArgumentName = name,                                      \
             .szDefaultValue = preset}

static CMDOPTION acmdo[ENTRIES] = {
    ARGUMENT(SETTINGS_FILE, 0, 0, 0, STRING, "", "settings file", ""),
    SWITCH(VERBOSE, 'v', 0, "every class of errors"),
    SWITCH(BRIEF, 'b', BRIEF, "brief report"),
    SWITCH(FULL, 'f', BRIEF, "full report"),
    SWITCH(WATCH_SWITCH, 'w', 0, "watch further paths"),
    ARGUMENT(WATCH_PATHS, 'w', 0, 1, STRINGARRAY, "", "paths", ""),
    SWITCH(TIMES, 'n', 0, "repeat"),
    ARGUMENT(TIMES_COUNT, 'n', 0, 1, ULONG, "%lu", "snapshots", "1"),
    SWITCH(PAUSE, 'i', 0, "interval between repeats"),
    ARGUMENT(PAUSE_SECONDS, 'i', 0, 1, ULONG, "%lu", "seconds", "1"),
    SWITCH(WRITE, 's', 0, "write the settings"),
    ARGUMENT(WRITE_FILE, 's', 0, 1, STRING, "", "file", ""),
    SWITCH(APPEND, 'r', APPEND, "record the snapshots"),
    ARGUMENT(APPEND_FILE, 'r', APPEND, 0, STRING, "", "record file", "hostlog.rec"),
    SWITCH(PRINT, 'p', APPEND, "print recorded snapshots"),
    ARGUMENT(PRINT_FILE, 'p', APPEND, 0, STRING, "", "record file", "hostlog.rec"),
};

static const CMDHELP acmdhelp[] = {
    {HLP + ENTRIES,
     "hostlog looks at the machine it runs on: loads, memory, and the paths that it is told to watch.\n"
     "Readings beyond their limits become error lines on standard output and in hostlog.YYYYMMDD.log in\n"
     "the current directory. Exit status 1 for whatever could not be done,\n"
     "2 for a command line that is wrong.\n"},
    {HLP + SETTINGS_FILE,
     "\nArg1: an INI file with the settings. Without it, hostlog.ini in the current directory, or else\n"
     "the one beside the program.\n"},
    {HLP + VERBOSE, "\n-v: errors of every class are shown, whatever the settings say.\n"},
    {HLP + BRIEF, "\n-b: a line for each snapshot.\n"},
    {HLP + FULL, "\n-f: the report goes on with the subdirectories of the watched directories.\n"},
    {HLP + WATCH_SWITCH,
     "\n-w PATH...: paths to watch, in addition to those of the settings. All that follows, up to the next\n"
     "switch, is a path.\n"},
    {HLP + WATCH_PATHS,
     "\nw1: the paths. In a file name, * stands for any run of characters and ? for any one of them\n"
     "(keep them from the shell, in quotes): the size of each match is shown. A directory that ends\n"
     "with / has its subdirectories shown by -f.\n"},
    {HLP + TIMES, "\n-n COUNT: more than one snapshot, or none.\n"},
    {HLP + TIMES_COUNT, "\nn1: how many. 0 takes none, which goes with -s.\n"},
    {HLP + PAUSE, "\n-i SECONDS: the time between two snapshots.\n"},
    {HLP + PAUSE_SECONDS, "\ni1: the seconds. What a snapshot itself takes comes on top.\n"},
    {HLP + WRITE,
     "\n-s FILE: the settings in force are written to an INI file: those read, with what -v and -w add.\n"},
    {HLP + WRITE_FILE,
     "\ns1: the file, which is replaced. Its name must be one word without punctuation but the dot,\n"
     "since it becomes the header.\n"},
    {HLP + APPEND, "\n-r [FILE]: each snapshot is appended to a record file, which is made when it is not there.\n"},
    {HLP + APPEND_FILE, "\nr1: the record file; hostlog.rec without it.\n"},
    {HLP + PRINT,
     "\n-p [FILE]: instead of looking at this machine, prints the snapshots of a record file, which may be\n"
     "that of any other machine. They come in the order of their time.\n"},
    {HLP + PRINT_FILE, "\np1: the record file; hostlog.rec without it.\n"},
    {0, NULL},
};

static const char *TextIfGiven(BOOL fGiven, int iEntry) { return fGiven ? acmdo[iEntry].value.pszValue : NULL; }

void CommandRead(COMMAND *pcmd, int argc, char **argv) {
  CmdParseOrExit(argc, argv, acmdo, ENTRIES, acmdhelp);
  const char *pszSettings = acmdo[SETTINGS_FILE].value.pszValue;
  pcmd->pszSettings = TextIfGiven(pszSettings[0] != '\0', SETTINGS_FILE);
  pcmd->pszWriteTo = TextIfGiven(acmdo[WRITE].value.ulValue, WRITE_FILE);
  pcmd->pszAppendTo = TextIfGiven(acmdo[APPEND].value.ulValue, APPEND_FILE);
  pcmd->pszPrint = TextIfGiven(acmdo[PRINT].value.ulValue, PRINT_FILE);
  pcmd->apszWatch = acmdo[WATCH_PATHS].value.apszValue;
  pcmd->fVerbose = acmdo[VERBOSE].value.ulValue;
  pcmd->report = acmdo[BRIEF].value.ulValue ? REPORT_BRIEF : acmdo[FULL].value.ulValue ? REPORT_FULL : REPORT_USUAL;
  pcmd->ulTimes = acmdo[TIMES_COUNT].value.ulValue;
  pcmd->ulPause = acmdo[PAUSE_SECONDS].value.ulValue;
}

void CommandFree(COMMAND *pcmd) {
  if (pcmd->apszWatch) MemFreeMem(pcmd->apszWatch);
}
