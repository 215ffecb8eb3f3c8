/* records.h: a file of snapshots. Its first record describes the others (ini.h, IniPackFdsc), each further one is a
   snapshot with its time and its number in the two free words (tag.h). Any machine reads it.
   Each function gives 1; 0, after one message on standard error, when the file cannot be used: nothing is then added or
   printed. */
#ifndef HOSTLOG_RECORDS_H
#define HOSTLOG_RECORDS_H

#include "snapshot.h"

/* Appends a snapshot; makes the file when it is missing or empty. The whole file is looked at first: one that is
   damaged, or that another version began, is left alone. A file that is being written to is not for two programs at
   once. */
BOOL RecordsAppend(const char *pszFile, const SNAPSHOT *psnp);

/* Prints all snapshots, in the order of their time. */
BOOL RecordsPrint(const char *pszFile, REPORTKIND kind);

#endif
