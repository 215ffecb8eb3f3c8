/* arguments.c: a command line by a table, which also gives the usage and the help. */
#include <zebbase/zebbase.h>

enum { FILES, TIMES, TIMES_COUNT, LOUD, ENTRIES };

static CMDOPTION acmdo[ENTRIES] = {
    [FILES] = {.fMandatory = 1,
               .ulHelpKey = HLP + FILES,
               .ulTypeCode = CMD_TYPE_STRINGARRAY,
               .szArgumentName = "files"},
    [TIMES] = {.fFlag = 1, .chSwitchId = 'n', .ulHelpKey = HLP + TIMES, .szArgumentName = "repeat"},
    [TIMES_COUNT] = {.fMandatory = 1,
                     .chSwitchId = 'n',
                     .ulHelpKey = HLP + TIMES_COUNT,
                     .ulTypeCode = CMD_TYPE_ULONG,
                     .szConversion = "%lu",
                     .szArgumentName = "times",
                     .szDefaultValue = "1"},
    [LOUD] = {.fFlag = 1, .chSwitchId = 'l', .ulHelpKey = HLP + LOUD, .szArgumentName = "loud"},
};

static const CMDHELP acmdhelp[] = {
    {HLP + ENTRIES, "arguments says the names of files.\n"},
    {HLP + FILES, "\nArg1: the names, any number of them.\n"},
    {HLP + TIMES_COUNT, "\nn1: how often.\n"},
    {0, NULL},
};

int main(int argc, char **argv) {
  BaseInit();
  CmdParseOrExit(argc, argv, acmdo, ENTRIES, acmdhelp); /* says what is wrong, or helps, and ends the program */
  for (ULONG ul = acmdo[TIMES_COUNT].value.ulValue; ul > 0; ul--)
    for (char **ppsz = acmdo[FILES].value.apszValue; *ppsz; ppsz++)
      printf("%s%s\n", *ppsz, acmdo[LOUD].value.ulValue ? "!" : "");
  MemFreeMem(acmdo[FILES].value.apszValue);
  return 0;
}

/* with a.txt b.txt -l -n 2 prints
a.txt!
b.txt!
a.txt!
b.txt!
*/
