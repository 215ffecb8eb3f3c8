/* files.c: path names taken apart, a directory made, and files found in it. */
#include <zebbase/zebbase.h>

static void ShowParts(const char *pszPathName) {
  char szDir[FIL_MAX_PATH], szName[FIL_MAX_PATH], szExt[FIL_MAX_PATH];
  FilGetPathOf(szDir, pszPathName);
  FilGetNameOfFileName(szName, pszPathName);
  FilGetExtOfFileName(szExt, pszPathName);
  printf("%s: in \"%s\", named \"%s\", of kind \"%s\"\n", pszPathName, szDir, szName, szExt);
}

static void MakeFile(const char *pszFile) {
  FILE *pf = fopen(pszFile, "w");
  if (pf) fclose(pf);
}

int main(void) {
  char szDir[FIL_MAX_PATH] = "example/../example/./data", szFound[FIL_MAX_PATH];
  BaseInit();
  ShowParts("/usr/share/doc/readme.txt");
  FilMakeAbsDir(szDir, "/tmp");
  printf("%s\n", szDir);

  FilMakeDir("example/data"); /* with its parents */
  MakeFile("example/data/one.txt");
  MakeFile("example/data/two.txt");
  MakeFile("example/data/three.c");
  FILSEARCH *psearch = NULL;
  int iFound = 0;
  while (FilGetNextPathName(&psearch, "example/data/*.txt", szFound, 0)) iFound++;
  printf("%d texts found\n", iFound);
  if (FilGetNextPathName(&psearch, "example/data/t?r*", szFound, 0) && FilFileNameOf(szFound)) printf("%s\n", szFound);
  FilEndSearch(&psearch); /* no more are wanted */
  return 0;
}

/* prints
/usr/share/doc/readme.txt: in "/usr/share/doc/", named "readme", of kind "txt"
/tmp/example/data/
2 texts found
three.c
*/
