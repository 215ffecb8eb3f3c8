// convert.h: the text of single described values.

#ifndef ZEBBASE_SRC_CONVERT_H
#define ZEBBASE_SRC_CONVERT_H

#include "output.h"
#include "zebbase/ini.h"

// Puts the text of one element, which lies at any byte offset. Result: whether its type has a text; if not, nothing is
// put.
bool PutValue(Output &out, const FDSC &fdsc, const BYTE *pbData);

// Whether a format is harmless in both directions, whoever wrote it, for a field of a type: it has one conversion, which
// takes what the field holds, in a width of at most INI_MAX_TEXT. Types that do not use their format have any.
bool IsFormatFor(ULONG ulType, const char *pszFormat);

#endif
