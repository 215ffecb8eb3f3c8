// misc.cpp: small text utilities.

#include "zebbase/base.h"

#include <cstring>

void MscReplaceChar(char *psz, char chOld, char chNew) {
  if (!psz || chOld == chNew || chOld == '\0') return;
  while ((psz = std::strchr(psz, chOld)) != nullptr) *psz = chNew;
}
