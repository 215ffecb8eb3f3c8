// severity.h: the classes of messages that have a name.

#ifndef ZEBBASE_SRC_SEVERITY_H
#define ZEBBASE_SRC_SEVERITY_H

#include "zebbase/base.h"

struct SEVERITY {
  ULONG fl; // its bit in the verbosity word
  const char *pszName;
  char chLetter; // in error lines
};
inline constexpr SEVERITY aSeverity[] = {
    {VERB_ERROR, "Error", 'E'}, {VERB_WARNING, "Warning", 'W'}, {VERB_INFO, "Info", 'I'}, {VERB_DEBUG, "Debug", 'D'}};

#endif
