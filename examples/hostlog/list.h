/* list.h: lists of records, each in a block of its own. A null list is one without elements. */
#ifndef HOSTLOG_LIST_H
#define HOSTLOG_LIST_H

#include <zebbase/zebbase.h>

/* Appends a copy of a record to a list, which from then on owns what the record's pointers refer to. Result 0, with
   nothing changed, for a null list and without memory. */
BOOL ListAppend(LIST *plst, const void *pvRecord, ULONG ulSize);

/* Frees a list with its records, not what their pointers refer to. */
void ListFree(LIST *plst);

#endif
