/* settings.h: what hostlog can be told, and the reading of it from an INI file.
   The records are described to the library field by field (settings.c), so they have no gaps. In the records that form
   lists or stand by reference the field that must be there comes last: without its last field an element is not read.
 */
#ifndef HOSTLOG_SETTINGS_H
#define HOSTLOG_SETTINGS_H

#include <zebbase/zebbase.h>

typedef struct __attribute__((packed)) LIMITS {
  float afltLoad[3]; /* most load per processor over 1, 5 and 15 minutes */
  double dBusy;      /* most time that the processors are busy, percent */
  ULONG ulTasks;     /* most tasks */
  LONG lAvailable;   /* least memory available, MiB */
  ULONG ulSeverity;  /* of the error lines, a VERB_* bit */
} LIMITS;

/* A watched path. */
typedef struct __attribute__((packed)) WATCH {
  float fltFree; /* least free space, percent */
  ULONG ulSeverity;
  char *pszPath;
} WATCH;

typedef struct __attribute__((packed)) SWAPLIMIT {
  double dUsed; /* most swap space in use, percent */
} SWAPLIMIT;

typedef struct __attribute__((packed)) SETTINGS {
  char szTitle[48];
  char achSite[8];    /* filled up with blanks */
  char achPlace[8];   /* town, rack and slot: 3, 3 and 2 characters */
  char szRemark[128]; /* empty for none */
  ULONG flVerbosity;  /* which error lines are wanted */
  ULONG ulInterval;   /* seconds over which busy time is measured; 0 for all the time since the machine started */
  REALTIME rtStart;   /* the limits hold from this time on, UTC */
  SHORT sZone;        /* minutes that the times shown are ahead of UTC */
  USHORT usUnit;      /* of memory: 0 KiB, 1 MiB, 2 GiB, 3 TiB */
  USHORT fShowLimits; /* 1 for a column with the limits */
  BOOL fCheck;        /* 1 to compare the readings with their limits */
  USHORT usWidth;     /* characters of the column with the names */
  BYTE bDecimals;     /* digits after the point */
  LIST *plstMemory;   /* names of lines in /proc/meminfo, of which the first 32 are shown; or null. Its keys must be
                       written before the first section: it stands before all structures. */
  LIMITS limits;
  LIST *plstWatch;  /* of WATCH; or null */
  SWAPLIMIT *pswap; /* null where swap space does not matter */
} SETTINGS;

/* Reads a settings file; what it does not say gets a default. Result 1, and the settings are to be freed; 0, after a
   message on standard error for each mistake in it, when the file cannot be used. */
BOOL SettingsRead(SETTINGS *pset, const char *pszFile);

/* Adds a path to those watched, without a limit. Result 0 without memory. */
BOOL SettingsWatch(SETTINGS *pset, const char *pszPath);

/* Writes the settings to a file, from which they read back the same. Result 1; 0, after a message on standard error,
   with the file as it was. */
BOOL SettingsWrite(const SETTINGS *pset, const char *pszFile);

/* Frees all that the settings own. */
void SettingsFree(SETTINGS *pset);

/* The name of the unit of memory. */
const char *SettingsUnit(const SETTINGS *pset);

/* Writes the place with dots between its parts. pszText has SETTINGS_PLACE_SIZE bytes. */
#define SETTINGS_PLACE_SIZE 12
void SettingsPlace(const SETTINGS *pset, char *pszText);

#endif
