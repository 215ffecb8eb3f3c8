/* found.h: what a watched path stands for: files that match it, or the folders in it. */
#ifndef HOSTLOG_FOUND_H
#define HOSTLOG_FOUND_H

#include <zebbase/zebbase.h>

typedef struct FOUND {
  BOOL fFolder;
  long long llSize; /* bytes of a file */
  char szPath[FIL_MAX_PATH];
} FOUND;

/* Whether the file name of a path has wildcards. */
BOOL FoundHasWildcards(const char *pszPath);

/* Searches for a path, and appends what there is to a list of FOUND: the subfolders of a path that ends with '/', and
   the files whose names match any other. Of each search FOUND_MAX are kept. Result: the bytes of all the files. */
#define FOUND_MAX 1000UL
long long FoundSearch(LIST *plst, const char *pszPath);

#endif
