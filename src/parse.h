// parse.h: what the parser offers inside the library beside prs.h: texts where they lie, or with a limit, and whether
// they are all.

#ifndef ZEBBASE_SRC_PARSE_H
#define ZEBBASE_SRC_PARSE_H

#include <string_view>

#include "output.h"
#include "zebbase/prs.h"

// PrsStartParse, which says why it gives null: a code of errno, or 0 for an input without a line that is kept.
PARSECTX *StartParse(const char *pszFile, ULONG flParse, const char *pszSeparators, int &iError);

// Another separator set from now on.
void SetSeparators(PARSECTX *pprs, const char *pszSeparators);

// What is left of the current line, white space too; nothing at the end of the input.
std::string_view RestOfLine(const PARSECTX *pprs);

// PrsGetWord without a copy. The view has no address at the end of the input, and ends with the current line.
std::string_view TakeWord(PARSECTX *pprs);

// PrsGetSentence to wherever the output goes, where it is not terminated, and may be cut.
bool TakeSentence(PARSECTX *pprs, Output &out);

// The line of the opening quote that was passed last.
ULONG QuoteLine(const PARSECTX *pprs);

#endif
