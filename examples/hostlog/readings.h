/* readings.h: what is read off the machine, from the files under /proc. A file or value that is not there makes its
   reading "not available"; nothing fails. */
#ifndef HOSTLOG_READINGS_H
#define HOSTLOG_READINGS_H

#include "found.h"
#include "settings.h"

typedef enum { LIMIT_NONE, LIMIT_MOST, LIMIT_LEAST } LIMITKIND;

/* Without gaps: it is described to the library as a part of the snapshot. */
typedef struct __attribute__((packed)) READING {
  char szName[64];
  BOOL fAvailable;
  double dValue;
  char szUnit[8];
  LIMITKIND kind;
  double dLimit; /* in the unit of the value */
  ULONG ulSeverity;
} READING;

typedef struct READINGS {
  REALTIME rtTaken;
  double dUptime;  /* seconds; 0 when not available */
  ULONG ulCpus;    /* 0 when not available */
  LIST *plst;      /* of READING; null without memory */
  LIST *plstFound; /* of FOUND: what the watched paths stand for; null without memory */
} READINGS;

/* Takes all readings that the settings ask for, which lasts as long as their interval. */
void ReadingsTake(READINGS *prds, const SETTINGS *pset);

/* Frees the lists and all in them. */
void ReadingsFree(READINGS *prds);

#endif
