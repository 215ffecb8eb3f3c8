// print.cpp: printing through formats of the program's own.

#undef _FORTIFY_SOURCE // here the runtime's plain functions are wanted

#include "print.h"

int PrintTo(char *pch, std::size_t cb, const char *pszFormat, va_list args) {
  return std::vsnprintf(pch, cb, pszFormat, args);
}

int PrintTo(FILE *pf, const char *pszFormat, va_list args) { return std::vfprintf(pf, pszFormat, args); }
