/* cmdline.h: what the command line asks for. */
#ifndef HOSTLOG_CMDLINE_H
#define HOSTLOG_CMDLINE_H

#include "report.h"

typedef struct COMMAND {
  const char *pszSettings; /* the settings file; null for the one that is found by itself */
  const char *pszWriteTo;  /* where the settings in force go; null for nowhere */
  const char *pszAppendTo; /* the record file that takes each snapshot; null for none */
  const char *pszPrint;    /* the record file to print, instead of taking snapshots; null for none */
  char **apszWatch;        /* further paths to watch, a null pointer at the end; or null */
  BOOL fVerbose;           /* errors of every class are wanted */
  REPORTKIND report;
  ULONG ulTimes; /* snapshots to take */
  ULONG ulPause; /* seconds between them */
} COMMAND;

/* Reads the command line. Requests for help and mistakes are answered, and end the program. The command is to be freed;
   its texts are those of argv. */
void CommandRead(COMMAND *pcmd, int argc, char **argv);

void CommandFree(COMMAND *pcmd);

#endif
