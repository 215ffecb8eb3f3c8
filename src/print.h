// print.h: printing through formats of the program's own.

#ifndef ZEBBASE_SRC_PRINT_H
#define ZEBBASE_SRC_PRINT_H

#include <cstdarg>
#include <cstddef>
#include <cstdio>

// As vsnprintf and vfprintf. The runtime's checked versions of these, which a fortified build calls, end the process at
// formats that are sound and the program's business, such as "%2$s" alone, or %n in a text that can be written.
int PrintTo(char *pch, std::size_t cb, const char *pszFormat, va_list args);
int PrintTo(FILE *pf, const char *pszFormat, va_list args);

#endif
