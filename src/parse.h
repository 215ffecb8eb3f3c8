// parse.h: what the parser offers inside the library beside prs.h.

#ifndef ZEBBASE_SRC_PARSE_H
#define ZEBBASE_SRC_PARSE_H

#include "zebbase/prs.h"

// PrsGetSentence with a limit: also fails for a text that does not fit ulSize bytes with its terminator.
BOOL GetSentence(PARSECTX *pprs, char *pszText, ULONG ulSize);

#endif
