/* cmd.h: the command line.
   A program describes its command line once, as a table of CMDOPTION entries, which the parser fills with values and
   the display functions show. An entry is one of three kinds:
       a switch               fFlag set, chSwitchId its character: typed as -c. What follows the character is ignored.
       a switch argument      fFlag 0, chSwitchId the character of its switch: the value typed after -c
       a positional argument  fFlag 0, chSwitchId 0
   The order of the table counts: first the mandatory prefix (all entries up to the first without fMandatory), matched
   in order; then the optional positional arguments; then the optional switches, each with its arguments behind it.
   Entries of one exclusive group stand side by side. A mandatory switch of the prefix cannot have arguments.
   CmdCheckTable tells whether a table keeps these rules.

   Table and argument vector are the caller's. Values of type STRING point into the argument vector or into the entry's
   own szDefaultValue, so both must outlive them. Texts and numbers do not depend on the locale. */
#ifndef ZEBBASE_CMD_H
#define ZEBBASE_CMD_H

#include <stdio.h>
#include <zebbase/types.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Type codes. The scanned types are converted as sscanf does with the entry's szConversion. */
#define CMD_TYPE_SHORT 0       /* sValue, scanned */
#define CMD_TYPE_USHORT 1      /* usValue, scanned */
#define CMD_TYPE_BOOLEAN 2     /* fValue: 1 for a text that begins with true, yes or on, case ignored; else 0 */
#define CMD_TYPE_LONG 3        /* lValue, scanned */
#define CMD_TYPE_ULONG 4       /* ulValue, scanned */
#define CMD_TYPE_DOUBLE 5      /* dValue, scanned */
#define CMD_TYPE_STRING 6      /* pszValue: the argument itself */
#define CMD_TYPE_CHARACTER 7   /* chValue, scanned */
#define CMD_TYPE_STRINGARRAY 8 /* apszValue: the run of arguments up to the next that begins with '-' */
#define CMD_TYPE_FLOAT 9       /* fltValue, scanned */

/* Result codes; every other one is the help key of an entry. */
#define CMD_PARSED 0         /* the values are assigned */
#define CMD_SYNTAX 100       /* show the syntax */
#define CMD_FULL_HELP 101    /* show the full help */
#define CMD_NO_ARGUMENTS 102 /* the command line is empty; the defaults are assigned */
#define CMD_BAD_TABLE 110    /* an unknown type, a default that does not convert, or a text without its end */

#define HLP 200 /* help keys are numbered from here */

typedef union CMDVALUE {
  SHORT sValue;
  USHORT usValue;
  BOOLEAN fValue;
  LONG lValue;
  ULONG ulValue; /* also of every switch, whatever its type: 1 when it is given */
  double dValue;
  char *pszValue;
  char chValue;
  char **apszValue; /* the array is tracked memory and the caller's to free; a null pointer ends it */
  float fltValue;
} CMDVALUE;

typedef struct CMDOPTION {
  BOOL fMandatory;
  BOOL fFlag;             /* the entry is a switch */
  char chSwitchId;        /* compared exactly, whatever fCase says */
  BOOL fCase;             /* shown by CmdDisplayOptionStruct; no other effect */
  ULONG ulExclusiveGroup; /* at most one switch of a group may be given; 0 for no group */
  ULONG ulHelpKey;        /* the result code for what concerns this entry, and the key of its help text */
  ULONG ulTypeCode;       /* CMD_TYPE_* */
  char szConversion[5];   /* a conversion of sscanf, such as "%lu" */
  char szArgumentName[30];
  char szDefaultValue[41]; /* converted as szConversion says, also for BOOLEAN; empty for zero or an empty text.
                              A switch has none, or one that gives zero. Ignored for STRINGARRAY. */
  CMDVALUE value;
} CMDOPTION;

typedef struct CMDRESULT {
  ULONG ulCode;       /* CMD_*, or the help key of the entry concerned */
  char szMessage[80]; /* the error, for the user; empty without one, and cut to 79 characters */
} CMDRESULT;

typedef struct CMDHELP {
  ULONG ulKey;         /* a help key; 0 ends the table */
  const char *pszText; /* lines that end with a line feed; null is an empty text */
} CMDHELP;

/* Parses a command line: assigns the defaults, then what the arguments say. The first error ends it; what has been
   assigned by then stays. Nothing is printed.
   argc, argv  as main gets them. argv[0] is not looked at; a null element ends the vector early. A null argv, and an
               argc of less than 1, are an empty command line.
   pcmdo       ulCount entries, whose values are written, except for a request for help (-h as the first argument, alone
               or with "full" or a topic: "arg" and the number of a positional argument, "-c", or the character of a
               switch and the number of its argument). Null with a count is CMD_BAD_TABLE.
   Result      a tracked record, the caller's to free with MemFreeMem_. Null, with nothing done, without memory.
   Limits      of a conversion, as many bytes are kept as the type has. What would make sscanf allocate, or take its
               targets by number ('m', '$'), does not convert, and a text conversion sees 255 characters of its text.
               A switch of type STRING is taken to be given already, since its default is a pointer. */
ZEB_API CMDRESULT *CmdParseCmdLine(LONG argc, char **argv, CMDOPTION *pcmdo, ULONG ulCount) ZEB_RESULT;

/* The display functions write to the caller's stream and ignore its errors. With a null stream, or a null table that is
   said to have entries, they print nothing. */

/* Prints a usage line, a line for each entry, and how to get help. An argument goes by the character of the switch that
   it stands behind; one that stands behind none has no line.
   pszProgram   argv[0], shown without directory and extension; null and what is too long for a path as an empty name.
 */
ZEB_API void CmdDisplaySyntax(FILE *pf, const CMDOPTION *pcmdo, ULONG ulCount, const char *pszProgram);

/* Prints the texts of a help table, page by page, and waits for a character on standard input (for two, when the first
   is 0) before each page but the first. At the end of the input it goes on.
   pcmdhelp     ends at the record with the key 0.
   ulPageLines  a page takes texts as long as they have, together, fewer than ulPageLines - 1 line feeds. A text is
                never split: one that has more is a page of its own. 0 for no pages, 1 for a pause before every text.
   Result       0. */
ZEB_API ULONG CmdDisplayFullHelp(FILE *pf, const CMDHELP *pcmdhelp, ULONG ulPageLines);

/* Prints every field of every entry, waits for a character on standard input after each (for two, when the first is 0),
   and ENDS THE PROCESS with exit status 0. An unknown type is named UNKNOWN. */
ZEB_API void CmdDisplayOptionStruct(FILE *pf, const CMDOPTION *pcmdo, ULONG ulCount) __attribute__((noreturn));

/* Additions of version 1.1. */

/* What is wrong with a table, for the programmer. */
typedef struct CMDERROR {
  ULONG ulCode;     /* CMD_ERROR_*; 0 when nothing is wrong */
  ULONG ulEntry;    /* number of the entry, counted from 1; 0 where it is about none */
  char szText[128]; /* one line without a line feed: entry 5 (o1): its default does not convert */
} CMDERROR;

#define CMD_ERROR_ARGUMENT 1   /* a null table that is said to have entries */
#define CMD_ERROR_TYPE 2       /* an unknown type */
#define CMD_ERROR_TEXT 3       /* szConversion, szArgumentName or szDefaultValue has no end */
#define CMD_ERROR_CONVERSION 4 /* szConversion is not one conversion of the value */
#define CMD_ERROR_DEFAULT 5    /* a default that does not convert; of a switch, one that is not zero */
#define CMD_ERROR_SWITCH 6     /* a switch without a character, or with that of another one */
#define CMD_ERROR_ORDER 7      /* an entry that cannot stand where it stands */
#define CMD_ERROR_GROUP 8      /* an exclusive group whose entries do not stand side by side */
#define CMD_ERROR_KEY 9        /* a help key below HLP, where the result codes are */

/* Whether a table keeps the rules: for those that a program writes by hand, to be asked once, at its start. A table
   that does is never CMD_BAD_TABLE.
   perr         filled in every case; null is allowed, and tells nobody.
   Result       0; or the code of the first thing that is wrong, with the entry by its number and its topic in perr.
   Conversions  are checked where one is used: by the entries of scanned types, but of switches and of type BOOLEAN only
                when they have a default. There must be one: d, i, o, u, x or X with the length h for 16 bits, and l or
                none for 32; a, e, f or g, of either case, with no length for FLOAT and l for DOUBLE. A width and text
                around it are fine, flags are not. A CHARACTER has %c, and white space before it if it skips that.
   Switches     of type STRING are refused, since their default is a pointer: it is not zero.
   Not seen     is what only a command line shows: a switch h, which as the first argument asks for help; an argument
                behind one of type STRINGARRAY, which leaves it nothing.
   Cost         in proportion to the square of ulCount. Nothing is allocated. */
ZEB_API_1_1 ULONG CmdCheckTable(const CMDOPTION *pcmdo, ULONG ulCount, CMDERROR *perr);

#define CMD_EXIT_FAILURE 1 /* no memory, or help that could not be written to standard output */
#define CMD_EXIT_USAGE 2   /* a mistake on the command line */
#define CMD_EXIT_TABLE 3   /* a table that CmdCheckTable refuses */

/* Parses a command line, and does what nearly every program does with the result. It returns only with the values
   assigned, be it from an empty command line; whoever asked for help gets it, whoever made a mistake is told, and then
   it ENDS THE PROCESS (by exit), with one of the CMD_EXIT statuses or, after help, with 0.
   argc, argv  as for CmdParseCmdLine; argv[0] names the program in what is printed. --help as the first argument is -h.
   pcmdo       ulCount entries. The table is checked first: what is wrong with it is said on standard error.
   pcmdhelp    the help texts, ended by the key 0; or null.
   Help        goes to standard output, which is flushed: for -h the syntax; for -h full all texts, in pages if both
               standard streams are a terminal; for -h and a topic the text with the help key of the entry, without a
               line feed at its beginning. Where there is no such text, it is the syntax.
   Mistakes    are said on standard error in one line, with the usage line and how to get help behind it. */
ZEB_API_1_1 void CmdParseOrExit(LONG argc, char **argv, CMDOPTION *pcmdo, ULONG ulCount, const CMDHELP *pcmdhelp);

#ifdef __cplusplus
}
#endif
#endif
