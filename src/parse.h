// parse.h: what the parser offers inside the library beside prs.h: texts where they lie, or with a limit, and whether
// they are all.

#ifndef ZEBBASE_SRC_PARSE_H
#define ZEBBASE_SRC_PARSE_H

#include <string_view>

#include "output.h"
#include "zebbase/prs.h"

// Whether the input ended by a read error: what has been delivered is not all of it. Null has not.
bool HasFailedReading(const PARSECTX *pprs);

// PrsGetWord without a copy. The view has no address at the end of the input, and ends with the current line.
std::string_view TakeWord(PARSECTX *pprs);

// PrsGetSentence to wherever the output goes, where it is not terminated; also fails for a text that does not fit.
bool TakeSentence(PARSECTX *pprs, Output &out);

#endif
