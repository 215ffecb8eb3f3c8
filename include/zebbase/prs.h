/* prs.h: reading a text file, standard input or a text in memory, line by line and token by token.
   A parse is one PARSECTX from PrsStartParse or PrsStartParseText to PrsEndParse_. It has a current line, from which
   comments have been removed, and a read position on it. The token readers skip white space first (carriage return,
   line feed, blank and tab, nothing else), reading further lines when the current one is used up; a reader that fails
   leaves the position before the item. Once the input is exhausted all readers fail but PrsGetRealTime and patterns
   that need no text. A null context is answered like an exhausted one, except that no pattern matches; other null
   arguments are allowed where the text says so. Nothing is reported through err.h (but by the allocator, when there is
   no memory for a context). Letters and digits are those of ASCII, in every locale.

   A word is the longest run of characters that are no white space and either letters or digits or not in the separator
   set; so a separator ends a word, and standing first it makes the word empty.

   Lines are at most 2047 characters; longer ones arrive in pieces, each a line of its own. A zero byte ends a line's
   text: what stands behind it on the line is not seen. A read error ends the input like its end, and the line at which
   it comes is lost: PrsQueryError tells the two apart. The end is final: what is appended to the file later is not seen
   before PrsResetToLine starts over. */
#ifndef ZEBBASE_PRS_H
#define ZEBBASE_PRS_H

#include <stddef.h>
#include <zebbase/types.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Comment style of PrsStartParse, one of these, and what can be added to each. Of other values of the low four bits,
   those with PRS_PREPROCESSED in them are taken as this, and the others as no style: nothing is removed. */
#define PRS_CCOMMENTS 1        /* block and line comments as in C; a line with nothing outside comments is dropped */
#define PRS_HASHCOMMENTS 2     /* lines that begin with '#' after white space are dropped */
#define PRS_PREPROCESSED 4     /* no comments; lines with '#' in the first column are line markers: # 10 "defs.h" */
#define PRS_REMCOMMENTS 8      /* lines that begin with the letters REM, in any case, after white space are dropped */
#define PRS_CASESENSITIVE 0x10 /* to be added: letters compare exactly; without it, without regard to case */

#define PRS_LINE_SIZE 2048 /* bytes of the buffer of PrsGetLine and for words */
#define PRS_DEFAULT_SEPARATORS "()-!@#$%&*<>_|/\\:"

typedef struct PARSECTX PARSECTX;

/* Opens a parse and reads its first line.
   pszFile        name of the file; null for standard input, which stays an ordinary stream of the program's as well.
   flParse        comment style and PRS_CASESENSITIVE.
   pszSeparators  the separator set, of any length; null for PRS_DEFAULT_SEPARATORS. Letters and digits in it are
                  ignored.
   Result         the context; null, with nothing open or allocated, when the file cannot be read, has no line that is
                  kept, or there is no memory. Standard input is then closed, too, when no line of it was kept.
   Limits         PrsQueryFileName shows at most 127 characters of the name. */
ZEB_API PARSECTX *PrsStartParse(const char *pszFile, ULONG flParse, const char *pszSeparators) ZEB_RESULT;

/* An addition of version 1.1: opens a parse of a text in memory, and reads its first line. All works as on a file with
   these bytes, and the text can always be started over.
   pch            the text, which need not end in a zero. It stays the caller's, is never written, and must keep its
                  bytes until PrsEndParse_: it is copied piece by piece, as it is read.
   cb             its bytes.
   pszName        what PrsQueryFileName shows, to at most 127 characters, until a line marker says otherwise; null for
                  an empty name. It is copied.
   flParse, pszSeparators  as above.
   Result         the context; null, with nothing allocated, for a null pch, for a text that is empty or has no line
                  that is kept, and without memory. */
ZEB_API_1_1 PARSECTX *PrsStartParseText(const char *pch, ULONG cb, const char *pszName, ULONG flParse,
                                        const char *pszSeparators) ZEB_RESULT;

/* Closes the input (standard input too) and frees the context; null is ignored. */
ZEB_API void PrsEndParse_(PARSECTX *pprs);

/* Reads the next line and puts the read position on its first character that is not white space.
   Result   1; 0 at the end of the input. Line feeds and carriage returns are cut off the end of a line, but never its
            first character: an empty line is delivered as its line feed (of a file with CR LF, as its carriage return),
            but dropped under PRS_CCOMMENTS. A line marker that is not well formed is dropped and changes nothing. */
ZEB_API BOOL PrsNextLine(PARSECTX *pprs);

/* Copies the whole current line into a buffer of PRS_LINE_SIZE bytes and reads the next one. Result 1; 0 at the end. */
ZEB_API BOOL PrsGetLine(PARSECTX *pprs, char *pszBuffer);

/* Starts over and makes the n-th line current, counting from 1 the lines that are delivered. Result 1; 0 when the input
   ends first, for an n of 0 (after reading it all), and, with nothing changed, for an input that cannot be rewound.
   The file name stays what the last line marker said. */
ZEB_API BOOL PrsResetToLine(PARSECTX *pprs, ULONG ulLine);

ZEB_API BOOL PrsIsEndOfFile(PARSECTX *pprs); /* 1 when the input is exhausted */

/* An addition of version 1.1: why the input is exhausted.
   Result   0 when it ended, or has not yet, and for a null context; the errno value of the read that failed: what has
            been delivered is not all. A PrsResetToLine that rewinds the input forgets it. When not even the first line
            can be read there is no context to ask: PrsStartParse gives null. */
ZEB_API_1_1 int PrsQueryError(PARSECTX *pprs);

ZEB_API BOOL PrsIsEndOfLine(PARSECTX *pprs);      /* 1 when only white space (which it skips) is left on the line */
ZEB_API ULONG PrsQueryLineNumber(PARSECTX *pprs); /* of the current line: lines read, dropped ones too, or by markers */
ZEB_API const char *PrsQueryFileName(PARSECTX *pprs); /* the context's; "stdin", or as the last line marker says */

/* The next word, empty when a separator stands next. pszWord has room for PRS_LINE_SIZE bytes. Result 1; 0 at the end
   (a call that meets the end while it skips white space gives an empty word and 1). */
ZEB_API BOOL PrsGetWord(PARSECTX *pprs, char *pszWord);

/* An addition of version 1.1: PrsGetWord for a buffer of any size.
   pszWord  has room for ulSize bytes, the terminator among them. Null is refused.
   Result   1; 0, with the buffer as it was, at the end, and for a word that does not fit (none does with a size of 0),
            which is then still the next item. */
ZEB_API_1_1 BOOL PrsGetWordN(PARSECTX *pprs, char *pszWord, ULONG ulSize);

/* Takes the next word when it is pszWord, whole; with null, takes the next run of anything but white space, which is
   always there before the end, if only an empty one. PrsQueryWord only looks (and finds no null word). Result 1 when it
   was there, else 0. An empty word never matches.
   What only looks reads further lines when the current one is used up, but leaves the white space of a line. */
ZEB_API BOOL PrsNextWord(PARSECTX *pprs, const char *pszWord);
ZEB_API BOOL PrsQueryWord(PARSECTX *pprs, const char *pszWord);

/* Takes the next word when it is one of a table of keywords.
   Result   index of the first equal entry, -1 for none. An empty entry matches an empty word; null entries match none.
 */
ZEB_API LONG PrsGetKeyword(PARSECTX *pprs, const char *const *apszKeywords, ULONG ulCount);

/* Takes the next character when it is ch; PrsQueryChar only looks. Result 1 when it was there, else 0. */
ZEB_API BOOL PrsNextChar(PARSECTX *pprs, char ch);
ZEB_API BOOL PrsQueryChar(PARSECTX *pprs, char ch);

/* Whether a character of the text matches an expected one: equal, or, unless PRS_CASESENSITIVE, a letter that is
   expected in one case and found in the other. */
ZEB_API BOOL IsSameChar(PARSECTX *pprs, char chExpected, char chText);

/* Numbers, converted as the runtime's sscanf does ("%ld", "%lx" with an optional 0x, "%lf") and taken as the run of
   characters that such a number is made of: a sign and digits; hex digits, x and X; digits, 'e', 'E', '.' and signs. A
   value can come from more or less than is taken: of 3+4 a real takes all, with the value 3; of -1F a hex number takes
   nothing, since it begins with a sign, nor does any number behind a form feed or vertical tab, which sscanf skips.
   Result 1 and the value; 0 and the value as it was. */
ZEB_API BOOL PrsGetNumber(PARSECTX *pprs, LONG *plValue);
ZEB_API BOOL PrsGetHexNumber(PARSECTX *pprs, ULONG *pulValue);
ZEB_API BOOL PrsGetReal(PARSECTX *pprs, double *pdValue);

/* A time, made by TmeStringToRealTime (tme.h) of the rest of the current line, without the white space it begins with;
   then the read position moves to the next white space. With nothing left on the line the value is 0.0. Result 1. */
ZEB_API BOOL PrsGetRealTime(PARSECTX *pprs, REALTIME *prtValue);

/* A sentence: the rest of the line, up to a carriage return if one stands inside of it, after which the next line is
   current; or the text between double quotes, over line ends if need be (which leave nothing, nor does the white space
   that begins the next line), with all further quoted texts that follow directly joined to it.
   pszText  has room for what the input can hold: a quoted text may run over any number of lines. THERE IS NO LIMIT; a
            program that reads files of others' making does better with PrsGetLine.
   Result   1; 0 at the end and for a quote that never closes. */
ZEB_API BOOL PrsGetSentence(PARSECTX *pprs, char *pszText);

/* Takes what a pattern describes, directive by directive, and stores its values in the further arguments, in order.
     %w       a word            char *, of PRS_LINE_SIZE bytes     %-w  the same, thrown away
     %n       a decimal number  LONG *                             %-n
     %x       a hex number      ULONG *                            %-x
     %*s      everything up to and including the next character s, on the current line
     %?       any one character of the current line, white space too
     other    this character, by the rule of IsSameChar; white space in the pattern only separates
   A '%' before any other character is ignored with it; a '%' or '%*' that ends the pattern fails.
   Result   1 when all was there; 0 at the first directive that was not, with the earlier ones taken and stored, and for
            a null pattern. */
ZEB_API BOOL PrsGetPattern(PARSECTX *pprs, const char *pszPattern, ...);

/* An addition of version 1.1: PrsGetPattern on the current line alone, all or nothing. What would be looked for on a
   further line is not there.
   Result   1 when all was there; 0, with the read position and all that the arguments point to as they were, when
            something was not, and for a null pattern. */
ZEB_API_1_1 BOOL PrsGetLinePattern(PARSECTX *pprs, const char *pszPattern, ...);

/* Whether the rest of the current line begins with what a pattern describes; takes nothing and reads no further line.
   Here white space of the text is skipped before every directive, %w, %n (digits only) and %x (hex digits only) may be
   empty, and a '%' before any other character fails. Result 1 or 0, as above. */
ZEB_API BOOL PrsQueryPattern(PARSECTX *pprs, const char *pszPattern);

/* What frees what, for the compiler's checks. */
PARSECTX *PrsStartParse(const char *pszFile, ULONG flParse, const char *pszSeparators) ZEB_FREED_BY(PrsEndParse_);
PARSECTX *PrsStartParseText(const char *pch, ULONG cb, const char *pszName, ULONG flParse, const char *pszSeparators)
    ZEB_FREED_BY(PrsEndParse_);

#ifndef ZEBBASE_NO_MACROS
/* An addition of version 1.1: leaves null in its argument, which is a variable. */
#define PrsEndParse(pprs) (PrsEndParse_(pprs), (void)((pprs) = NULL))
#endif

#ifdef __cplusplus
}
#endif
#endif
