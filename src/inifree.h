// inifree.h: the release of what described data own, also for the reader, which gives up what it read only in part.

#ifndef ZEBBASE_SRC_INIFREE_H
#define ZEBBASE_SRC_INIFREE_H

#include "fields.h"

// Frees all that the pointers of a structure refer to, and makes them null. The structure itself stays.
void FreeContents(StructureView structure, BYTE *pb);

#endif
