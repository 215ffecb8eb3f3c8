// convert.h: the text of single described values.

#ifndef ZEBBASE_SRC_CONVERT_H
#define ZEBBASE_SRC_CONVERT_H

#include "fields.h"
#include "output.h"
#include "zebbase/ini.h"

// Puts the text of one element, which lies at any byte offset. Result: whether its type has a text; if not, nothing is
// put.
bool PutValue(Output &out, FieldView field, const BYTE *pbData);

// Stores the value of one element. Result: whether it has changed; 0 for a type without a text.
ULONG SetValue(FieldView field, BYTE *pbData, const char *pszText);

// Whether a format is harmless in both directions, whoever wrote it, for a field of a type: it has one conversion,
// which takes what the field holds, in a width of at most INI_MAX_TEXT. Types that do not use their format have any.
bool IsFormatFor(ULONG ulType, const char *pszFormat);

// The same for a format that is only scanned, which has no precision and no flags.
bool IsScanFor(ULONG ulType, const char *pszFormat);

// What the texts of some types are made of, for those who judge them: whether a text means true; the seconds that a
// unit of an interval has, 0 for a letter of none; whether all words of a verbosity are known, and all its areas there.
bool IsTrue(const char *psz);
ULONG SecondsOf(char ch);
bool IsVerbosity(const char *psz);

#endif
