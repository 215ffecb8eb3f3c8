/* fil.h: files and paths.
   Path names are zero-terminated 8-bit texts of at most FIL_MAX_PATH - 1 = 255 characters; every buffer that a call
   writes holds FIL_MAX_PATH bytes. The separator is '/'. The vocabulary, for C:/usr/lib/name.ext:
       disk  C:            directory  /usr/lib/        path       C:/usr/lib/    directory name  lib
       name  name          extension  ext              file name  name.ext       path name       the whole
   A disk is taken to be there when the second character is ':'. A directory that a call hands out ends with '/'.

   A path name that does not fit is never cut to another one: a call that is given one, or would have to make one,
   refuses (result 0 or null, errno ENAMETOOLONG), and a search passes over it. Null texts are refused too. Nothing is
   reported through err.h; where the system refuses, errno is as the failing call left it. Only the searches allocate.

   Only FilCheckPathName with FIL_CHECK_ENTER and FilSetPath change the current directory; no other call leaves it, not
   even for a moment. */
#ifndef ZEBBASE_FIL_H
#define ZEBBASE_FIL_H

#include <zebbase/lst.h>
#include <zebbase/types.h>

#ifdef __cplusplus
extern "C" {
#endif

#define FIL_MAX_PATH 256 /* the size of a path buffer */

/* The parts of a path name. The first of each pair replaces the text by its part, and takes a text of any length; its
   result is 1, or 0 with an empty text where the comment says so. The FilGet form writes the part of pszSource to
   pszDest, which may be the same buffer; its result is 1, also for an empty part, and 0 with an empty pszDest for a
   source that is null or too long. */

/* What follows the last '/'; without one, what follows the first ':'; else the whole. 0 when that is empty. */
ZEB_API BOOL FilFileNameOf(char *pszPath);
ZEB_API BOOL FilGetFileNameOf(char *pszDest, const char *pszSource);

/* The text through the last '/', without what stands up to its first ':'. 0 without '/'. */
ZEB_API BOOL FilDirOf(char *pszPath);
ZEB_API BOOL FilGetDirOf(char *pszDest, const char *pszSource);

/* The text through the last '/'; without one, through the first ':'. 0 without either. */
ZEB_API BOOL FilPathOf(char *pszPath);
ZEB_API BOOL FilGetPathOf(char *pszDest, const char *pszSource);

/* The first two characters when the second is ':'. 0 when it is not. */
ZEB_API BOOL FilDiskOf(char *pszPath);
ZEB_API BOOL FilGetDiskOf(char *pszDest, const char *pszSource);

/* What follows the last '/', or the whole (':' plays no part), cut at its last '.'. */
ZEB_API BOOL FilNameOfFileName(char *pszPath);
ZEB_API BOOL FilGetNameOfFileName(char *pszDest, const char *pszSource);

/* What follows the last '.' of the whole text, directories included; empty without '.'. */
ZEB_API BOOL FilExtOfFileName(char *pszPath);
ZEB_API BOOL FilGetExtOfFileName(char *pszDest, const char *pszSource);

/* The last component of the directory: "lib" of C:/usr/lib/x, "/" of /x. 0 without '/'. */
ZEB_API BOOL FilDirNameOf(char *pszPath);
ZEB_API BOOL FilGetDirNameOf(char *pszDest, const char *pszSource);

/* The parent of an absolute directory, given with or without its closing '/': "/a/" of /a/b/. 0 for the root, and for
   a relative text of one component; of a relative a/b it is "a/". */
ZEB_API BOOL FilParentOf(char *pszPath);
ZEB_API BOOL FilGetParentOf(char *pszDest, const char *pszSource);

/* Copies a directory text and closes it with '/', unless it is empty or ends with '/' or ':'.
   Result   pszDest; null, with pszDest empty, for a source that is null or has no room for the '/'. */
ZEB_API char *FilNormalizePath(char *pszDest, const char *pszSource);

/* Makes a directory text absolute and takes "." and ".." out of it, by the text alone.
   pszDir   replaced by the result, which ends with '/'.
   pszBase  the absolute directory that a relative pszDir starts from; a '/' is added to it unless it is empty or ends
            with '/' or ':'.
   Result   1; 0, with pszDir unchanged, when a ".." climbs above the root. */
ZEB_API BOOL FilMakeAbsDir(char *pszDir, const char *pszBase);

#define FIL_CHECK_EXISTS 0 /* the directory must be one that can be entered */
#define FIL_CHECK_ENTER 1  /* the directory becomes the current one */
#define FIL_CHECK_NONE 2   /* and all other values */

#define FIL_PART_DISK 0 /* always empty */
#define FIL_PART_DIR 1
#define FIL_PART_PATH 2 /* the same as FIL_PART_DIR */
#define FIL_PART_FILENAME 3
#define FIL_PART_PATHNAME 4 /* and all larger values */

/* Completes a path name against the current directory (FilMakeAbsDir; where that fails at "..", the directory stays as
   written), checks its directory as ulMode says, and replaces the text by the part ulPart.
   Result   1; 0 when the directory cannot be entered, or in FIL_CHECK_EXISTS the current directory could not be entered
            again by its name: the text is then cut after its last '/', if it has one. 0 with nothing changed for what
            does not fit, and for a relative text while the current directory cannot be read. */
ZEB_API BOOL FilCheckPathName(char *pszPath, ULONG ulMode, ULONG ulPart);

/* Whether a directory, given with or without a closing '/', can be entered; "/" always can, and the system is not
   asked. The two are the same. */
ZEB_API BOOL FilDirExists(const char *pszPath);
ZEB_API BOOL FilPathExists(const char *pszPath);

/* Whether a path name exists, of whatever kind (access with F_OK). */
ZEB_API BOOL FilPathNameExists(const char *pszPathName);

/* Creates a directory, given with or without a closing '/', and its missing parents. Where the parent exists, the
   directory is made with permission bits 0777; otherwise it and each parent made get 0700 (less the file-creation
   mask).
   Result   1; 0 when it exists already or cannot be created. Also 0 when "." or ".." stands behind a missing directory,
            or a doubled '/' behind one that is not the first of them: a name would be made twice. What was made before
            a failure stays. */
ZEB_API BOOL FilMakeDir(const char *pszPath);
ZEB_API BOOL FilMakePath(const char *pszPath); /* the same */

/* The current directory, with a closing '/'. Result pszBuffer; null, with the buffer empty, when it cannot be read. */
ZEB_API char *FilGetPath(char *pszBuffer);

/* Changes the current directory. Result 1, also for an empty text, which changes nothing; 0 on failure. */
ZEB_API BOOL FilSetPath(const char *pszPath);

/* The bytes free for an unprivileged user on the file system that holds pszPath, modulo 2^32; 0 on failure. */
ZEB_API ULONG FilGetPathFree(const char *pszPath);

ZEB_API BOOL FilDiskExists(void);  /* 1 */
ZEB_API ULONG FilGetDiskMap(void); /* 0: there are no disks */

/* A search under way. */
typedef struct FILSEARCH {
  LIST *plstNames; /* tracked copies of the full path names not yet handed out */
} FILSEARCH;

/* The searches. The first call reads the whole directory, and each call hands out one name, in the order in which the
   directory yields them; "this call has no name (left)" ends the search and frees all of it. A caller that stops
   earlier calls FilEndSearch; otherwise the record and its names stay allocated. One slot serves one search at a time.
   phSearch   the caller's slot: null before the first call, and null again after the last.
   pszResult  receives the name; unchanged when there is none.
   Result     1; 0 when there is no name (left). Also 0, with the slot null, when the search cannot start: the directory
              cannot be opened or read, an entry that is queried cannot be (a dangling link, say), no memory.
              An entry's kind is the one the directory tells; only links, entries without a kind and the first one that
              matches are queried.
   Limits     a name costs two blocks of tracked memory until it is handed out: with the limits at load time (mem.h) a
              search that gathers some 5,000 names ENDS THE PROCESS. Call MemSetLimits first. */

/* Hands out the regular files, and links to such, whose names match.
   pszPattern  a path name whose file name is the mask (FilFileMatch); its directory is taken literally, relative to the
               current one. Looked at in the first call only.
   flFlags     not examined. */
ZEB_API BOOL FilGetNextPathName(FILSEARCH **phSearch, const char *pszPattern, char *pszResult, ULONG flFlags);

/* Hands out the subdirectories, "." and ".." and links to directories included, as pszDir, name and '/'.
   pszDir      a directory that ends with '/'; one that does not is refused. Looked at in the first call only. */
ZEB_API BOOL FilGetNextPath(FILSEARCH **phSearch, const char *pszDir, char *pszResult);

/* Ends a search that has not come to its end, and frees what it holds. An addition of version 1.1.
   phSearch   the caller's slot: null afterwards. A slot that is null, and no slot, are left as they are. */
ZEB_API_1_1 void FilEndSearch(FILSEARCH **phSearch);

/* Whether a name matches a wildcard mask: '?' is any one character, '*' any run of characters, and every other
   character itself, case included. The character right after a '*' is always itself, also when it is '?' or '*': "*?"
   asks for names that end with a question mark.
   Cost     at most in proportion to the product of the two lengths. */
ZEB_API BOOL FilFileMatch(const char *pszMask, const char *pszName);

/* Maps a path name from one directory tree into another, whose directory is created when it is missing.
   pszPathName     cut before its last '/': afterwards it holds its directory only, whatever the result.
   pszFrom, pszTo  the two trees, without a closing '/'; pszFrom is compared without regard to (ASCII) case.
   pszResult       a buffer of its own, which receives the mapped path name.
   Result          1; 0 when pszPathName has no '/', does not lie in pszFrom or below, or does not fit: pszResult is
                   then unchanged. 0 with the mapped directory in pszResult when that cannot be made. */
ZEB_API BOOL FilDirMatch(char *pszPathName, const char *pszFrom, const char *pszTo, char *pszResult);

#ifdef __cplusplus
}
#endif
#endif
