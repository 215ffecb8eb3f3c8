// valuecheck.h: whether the text of a value is one that its field takes as it stands.

#ifndef ZEBBASE_SRC_VALUECHECK_H
#define ZEBBASE_SRC_VALUECHECK_H

#include "fields.h"
#include "nearest.h"
#include "zebbase/ini.h"

// What a finding says behind its place.
struct WHY {
  char szText[400] = "";

  [[gnu::format(printf, 3, 4)]] ULONG Say(ULONG ulClass, const char *pszFormat, ...); // gives the class
  ULONG SayUnknown(ULONG ulClass, const char *pszWhat, Nearest &nearest);
};

// Judges the text of one element of a value field. Result: the class of a finding, and why; or 0.
ULONG JudgeText(FieldView field, const char *psz, WHY &why);

#endif
