/* macros.c: the program of macros.h in C. */
#include "macros.h"

BOOL MacrosInC(void) { return MacrosOfMemory() && MacrosOfLists() && MacrosOfReports(); }
