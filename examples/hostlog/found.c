/* found.c: the searches. A search holds memory until it has handed out its last name: each one here runs to its end. */
#include "found.h"

#include <string.h>
#include <sys/stat.h>

#include "list.h"

BOOL FoundHasWildcards(const char *pszPath) {
  char szName[FIL_MAX_PATH];
  return FilGetFileNameOf(szName, pszPath) && strpbrk(szName, "*?") != NULL;
}

/* "." and "..", which every folder has. */
static BOOL IsDotFolder(const char *pszPath) {
  char szName[FIL_MAX_PATH];
  FilGetDirNameOf(szName, pszPath);
  return strcmp(szName, ".") == 0 || strcmp(szName, "..") == 0;
}

static void SearchFolders(LIST *plst, const char *pszFolder) {
  FOUND fnd = {.fFolder = 1};
  FILSEARCH *pSearch = NULL;
  ULONG ulKept = 0;
  while (FilGetNextPath(&pSearch, pszFolder, fnd.szPath))
    if (!IsDotFolder(fnd.szPath) && ulKept++ < FOUND_MAX) ListAppend(plst, &fnd, sizeof fnd);
}

static long long SearchFiles(LIST *plst, const char *pszPattern) {
  FOUND fnd = {.fFolder = 0};
  FILSEARCH *pSearch = NULL;
  ULONG ulKept = 0;
  long long llAll = 0;
  while (FilGetNextPathName(&pSearch, pszPattern, fnd.szPath, 0)) {
    struct stat st;
    if (stat(fnd.szPath, &st) != 0) continue; /* gone by now */
    fnd.llSize = st.st_size;
    llAll += fnd.llSize;
    if (ulKept++ < FOUND_MAX) ListAppend(plst, &fnd, sizeof fnd);
  }
  return llAll;
}

long long FoundSearch(LIST *plst, const char *pszPath) {
  const size_t cb = strlen(pszPath);
  if (cb == 0 || pszPath[cb - 1] != '/') return SearchFiles(plst, pszPath);
  SearchFolders(plst, pszPath);
  return 0;
}
