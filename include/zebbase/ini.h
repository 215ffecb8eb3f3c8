/* ini.h: structured data. A program describes a record of its own once, by an array of field descriptors, and has it
   read from an INI file and its single values converted from and to text.

   Descriptors are the program's, usually static data; the library trusts them and never changes or frees them. The
   described data lie without gaps: the fields follow one another in the order of their descriptors, at any byte offset
   (a packed structure), each as large as its extent:
       FT_STRING, FT_FIXEDSTRING, FT_DOTTED   ulCount bytes
       FT_STRUCT                              ulCount times the ulSize of its SDSC
       all others                             ulCount times the ulSize of the type table

   The INI text format. The first thing in a file is its header, "[", one word, "]"; the rest of that line is ignored.
   Then follow section titles, "[" words "]", and keys, one or two words, white space, "=", and the value. The words of
   a title or key are joined to its name ("Port 2" is Port2) and compared without regard to case. A word ends at white
   space and at any of ]-!@#$%&*<>_|\: , so the '=' needs a blank before it: Key=1 is one word, and the file is refused
   (unless, line ends meaning nothing here, a second word and an '=' follow on the next line). A value is the rest of
   its line, trailing blanks included (when the line has no more, the next line with text); or a text in double quotes,
   over line ends if need be, with all quoted texts that follow joined to it. There are no comments and no escapes.

   Limits: a file holds at most INI_MAX_ENTRIES titles and keys; a header, name or value longer than INI_MAX_TEXT makes
   the whole file refused, so that nothing is cut silently. Each entry takes up to two tracked blocks: with the
   allocator's load-time limit of 10,000 blocks (mem.h) a file of 5,000 keys ENDS THE PROCESS; MemSetLimits first. */
#ifndef ZEBBASE_INI_H
#define ZEBBASE_INI_H

#include <stdio.h>
#include <zebbase/prs.h>
#include <zebbase/types.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Type codes of a field, with the storage of one element and its text form. */
#define FT_BOOL16 0       /* 16 bits, 1 = true               TRUE, FALSE */
#define FT_BOOL32 1       /* 32 bits, 1 = true               TRUE, FALSE */
#define FT_BYTE 2         /* unsigned 8 bits                 decimal */
#define FT_SHORT 3        /* signed 16 bits                  decimal */
#define FT_USHORT 4       /* unsigned 16 bits                decimal */
#define FT_LONG 5         /* signed 32 bits                  decimal */
#define FT_ULONG 6        /* unsigned 32 bits                decimal */
#define FT_FLOAT 7        /* float                           decimal fraction */
#define FT_DOUBLE 8       /* double                          decimal fraction */
#define FT_STRING 9       /* ulCount bytes, zero-terminated  the text */
#define FT_PSZ 10         /* pointer to a tracked text       the text; empty for a null pointer */
#define FT_ENUM16 11      /* 16 bits, named by an EDSC       the name */
#define FT_ENUM32 12      /* 32 bits, named by an EDSC       the name */
#define FT_REALTIME 13    /* REALTIME                        2003-01-15_10:23:45.5000 */
#define FT_FIXEDSTRING 14 /* ulCount bytes, blank-padded     the text, in a fixed width */
#define FT_DOTTED 15      /* ulCount bytes, subfields of an SDSC, blank-padded   ab.cde.f */
#define FT_VERBOSITY 16   /* verbosity word (base.h)         Error|Warning|Area3 */
#define FT_INTERVAL 17    /* unsigned 32 bits, seconds       1d2h3m4s */
#define FT_STRUCT 25      /* a structure                     a section */
#define FT_STRUCTLIST 26  /* pointer to a LIST of structures numbered sections */
#define FT_VALUELIST 27   /* pointer to a LIST of values     numbered keys */
#define FT_STRUCTPTR 28   /* pointer to a structure or null  a section */
#define FT_TYPES 29       /* number of type codes; 18 to 24 are reserved, without storage or text */

#define FDSC_NOINI 0x04  /* the INI reader and writer pass over the field */
#define FDSC_NOPACK 0x10 /* the second mark that binary packing tests on pointers */

#define INI_SEPARATORS "]-!@#$%&*<>_|\\:" /* for PrsStartParse, where a program parses a file on its own */

#define INI_MAX_FIELDS 60    /* fields of a structure */
#define INI_MAX_NAMES 16     /* names of an enumeration */
#define INI_MAX_ENTRIES 5100 /* titles and keys of a file */
#define INI_MAX_TEXT 127     /* characters of a name or value in a file */

/* A field. pvDesc is the SDSC of FT_DOTTED, FT_STRUCT, FT_STRUCTLIST and FT_STRUCTPTR, the EDSC of FT_ENUM16 and
   FT_ENUM32, the FDSC of an element of FT_VALUELIST, and null for the others. */
typedef struct FDSC {
  ULONG ulTag;           /* the program's own */
  const char *pszName;   /* name in INI files; null only for a field that is never read or written as text */
  ULONG flFlags;         /* FDSC_* */
  ULONG ulType;          /* FT_* */
  ULONG ulCount;         /* elements (an array when above 1); bytes of an FT_STRING, FT_FIXEDSTRING or FT_DOTTED */
  const char *pszFormat; /* format in place of the type's default, for both directions (IniConvertToString); or null */
  void *pvDesc;          /* what the type nests */
} FDSC;

/* A structure. */
typedef struct SDSC {
  ULONG ulFields; /* fields used */
  ULONG ulTag;    /* the program's own */
  ULONG ulSize;   /* bytes of one instance: the sum of the fields' extents */
  ULONG ulSpare;  /* not interpreted */
  FDSC afdsc[INI_MAX_FIELDS];
} SDSC;

/* An enumeration. */
typedef struct EDSC {
  ULONG ulCount; /* entries used */
  const char *apszName[INI_MAX_NAMES];
  LONG alValue[INI_MAX_NAMES]; /* alValue[i] belongs to apszName[i] */
} EDSC;

/* An entry of the type table. */
typedef struct TYPEDEFAULT {
  const char *pszFormat; /* default conversion format, "" where there is none */
  ULONG ulSize;          /* bytes of one element; 0 for structures and reserved types */
} TYPEDEFAULT;

/* One title or key of an INI file; the texts are tracked copies. */
typedef struct INIENTRY {
  ULONG flTitle;  /* 1 for a title, 0 for a key */
  char *pszName;  /* the joined name */
  char *pszValue; /* value of a key, null for a title */
} INIENTRY;

/* An open INI file. */
typedef struct INIFILE {
  FILE *pfile;     /* the output of a file opened for writing, null for one opened for reading */
  ULONG ulEntries; /* entries used */
  INIENTRY aentry[INI_MAX_ENTRIES];
} INIFILE;

/* The type table, FT_TYPES entries indexed by type code; read-only. */
ZEB_API TYPEDEFAULT *IniGetTypeDefaults(void);

#define INI_MODE_READ 1 /* IniOpen; any other mode opens for writing */

/* Opens a file: for reading, all of which it does at once, or (any other mode) for writing, which empties the file and
   begins it with a header of the file's own name.
   pszFile  for writing, at most 255 characters. A name with white space or one of the separators, such as '_' or '-',
            or longer than INI_MAX_TEXT, gives a header that cannot be read back.
   Result   the handle, to be closed with IniClose; null, with nothing left open or allocated, when the file cannot be
            opened, its name is null or too long, or there is no memory, and, for reading, when it breaks the format or
            a limit, or cannot be read to its end. */
ZEB_API INIFILE *IniOpen(const char *pszFile, ULONG ulMode) ZEB_RESULT;

/* What is wrong with a file or with described data, for the program and for people. The operations that take one fill
   it in every case; null is allowed, and tells nobody. */
typedef struct INIERROR {
  ULONG ulCode;     /* INI_ERROR_*; 0 when nothing is wrong */
  ULONG ulLine;     /* line in the file, counted from 1; 0 where there is none */
  char szText[512]; /* one line without a line feed: server.ini:3: '=' needs a blank before it */
} INIERROR;

#define INI_ERROR_SYSTEM 1   /* the system refused; szText has its reason */
#define INI_ERROR_MEMORY 2   /* no memory */
#define INI_ERROR_ARGUMENT 3 /* a null pointer, or a file name that is too long */
#define INI_ERROR_HEADER 4   /* the file does not begin with a header such as [ server.ini ] */
#define INI_ERROR_MARK 5     /* the file begins with a byte-order mark */
#define INI_ERROR_TITLE 6    /* a section title that is not well formed */
#define INI_ERROR_KEY 7      /* a line that is no key: no '=', or no blank before it */
#define INI_ERROR_QUOTE 8    /* a quoted value that never closes; the line is that of its opening quote */
#define INI_ERROR_LENGTH 9   /* a name or value beyond INI_MAX_TEXT characters */
#define INI_ERROR_ENTRIES 10 /* more than INI_MAX_ENTRIES titles and keys */
#define INI_ERROR_REFUSED 11 /* a finding that the program refuses */
#define INI_ERROR_VALUE 12   /* a value that would not read back the same */
#define INI_ERROR_NAME 13    /* a name that no file can have, or that comes twice */
#define INI_ERROR_DESC 14    /* a description that contradicts itself */

#define INI_MODE_LENIENT 0x101 /* IniOpenChecked: for reading, files as people write them */

/* IniOpen, which says why it gives null.
   ulMode   INI_MODE_READ, INI_MODE_LENIENT, or any other to write. INI_MODE_LENIENT is none of IniOpen's: there it is a
            mode like any other, which EMPTIES THE FILE.
   perr     null, or the reason: its code is 0 when the file is open. The text begins with the file's name as given (of
            one that is longer than 255 characters, its end). A line is that of the word at fault, for a title and a
            quoted text that never close that in which they open.
   Result   the handle, for everything that takes one of IniOpen. It also holds the lines and the name, for
            IniReadChecked, in one larger block.
   Lenient  A file that breaks the format is read once more, from its beginning, by these rules:
            - what begins with '#' or ';' where an entry may begin is a comment, to the end of its line;
            - names, and the header, may hold - and _, and a '=' ends a word: Key=1 needs no blank, and behind a '='
              that ends a word the line may end: the value is then empty;
            - a byte-order mark of UTF-8 at the beginning is passed over;
            - there need not be a header: the first entry may be a key, or a title of two words or more. A first title
              of one word is the header. An empty file has no entries.
            A file that does not break the format has the entries that IniOpen gives it, also where they surprise: the
            lines A=1 and B = 2 alone are a key "A=1B", and a line ; A = 1 is a key ";A". What cannot be read twice,
            such as a pipe, is read by the plain format alone. */
ZEB_API_1_1 INIFILE *IniOpenChecked(const char *pszFile, ULONG ulMode, INIERROR *perr);

/* The line in which entry ulEntry of an open file begins, counted from 1; for programs that look entries up on their
   own, and have something to say of one. An addition of version 1.1. Result 0 for an entry that is not there, and for a
   handle that is not one of IniOpenChecked's. */
ZEB_API_1_1 ULONG IniQueryLine(INIFILE *pini, ULONG ulEntry);

/* Reads one described field, usually a structure with all that it holds, out of an open file.
   pvData   the field's data. A value whose key is missing stays as it was, and in an array all after it too; a missing
            section leaves its structure as it was.
   pfdsc    Values are looked up among the keys before the first title or, in a structure, in its section. Element i of
            an array has the key or section name followed by i + 1. The section of a structure within another is named
            by both names joined. Of equal names the first counts.
   Result   0; 1 when the value, or that of the last field read of a structure, is missing. It stands for this last
            field alone: an element of a list, or a structure by reference, whose last field is missing is not read.
   Owner    What it hands out is the program's, from the tracked allocator: the texts of FT_PSZ, the lists of
            FT_STRUCTLIST and FT_VALUELIST with their nodes and data, the structures of FT_STRUCTPTR. What such a field
            held before is dropped, not freed; but FT_STRUCTPTR reads into a structure that is there, which must be a
            tracked block: it is freed, and the pointer set to null, when the section or its last field is missing
            (texts that had been read into it are lost). A list whose first element is missing and a text for which
            there is no memory leave the pointer as it was.
   Cycles   An FT_STRUCTPTR that leads back, to a structure that is being read, stays and is passed over; and a block is
            not freed while something in it is being read. Otherwise no two references may lead to one structure: it is
            freed with the first of them whose section is missing.
   Lists    of structures end at the first section that is missing, lists of values at the first key. An item of
            FT_PSZ carries the text, any other a block that holds the value. The keys of a value list have the name of
            its element, not its own. The elements are values (FT_BOOL16 to FT_INTERVAL); one of another type, with
            FDSC_NOINI or without elements is not read, one that is an array is read once, because its keys carry the
            array's numbers (and not at all with FT_PSZ). Of an array of list or structure pointers only the first is
            used. Where memory runs out, a list ends with the elements read so far; the result does not tell.
   Limits   structures nest at most 127 levels deep, and a section's joined names are at most INI_MAX_TEXT characters;
            what is beyond is missing. */
ZEB_API ULONG IniRead(INIFILE *pini, void *pvData, const FDSC *pfdsc);

/* Appends one described field to a file opened for writing, usually a structure with all that it holds: first its keys,
   then, each as a section of its own, the structures within.
   Result   0, always. Output errors show on the stream (pfile), to ferror and, at the end, to nobody.
   Lists    An element of a value list has a key with the name of the element's descriptor and its number. The list's
            own name is written nowhere; two lists of a structure whose elements have one name are mixed up.
   Nothing  is written for null pointers and empty lists; for list items without data (but null texts), which get no
            number; for a reference or list item that leads back, to a structure that is being written (one that is
            reached twice in any other way is written twice); and for structures more than 127 levels deep.

   What is written reads back as it was, except
   - the whole file is refused with a separator in a name; a key whose name is empty, begins with a '[' or has two
     blanks (one where a number follows); a name, a section's joined names or a value beyond INI_MAX_TEXT characters;
   - names with other blanks are not found, since the reader joins their words;
   - a text with a double quote ends there, and what follows is taken for the next entry, so that mostly the whole file
     is refused; a line end in a text is lost with the white space behind it;
   - a null text, which reads back empty; in FT_STRING and FT_FIXEDSTRING what is behind a zero; in FT_STRING the last
     byte of the field, in FT_FIXEDSTRING characters that ASCII cannot print, which become blanks; in a subfield of
     FT_DOTTED what is behind a blank, and dots, which cut it in two;
   - truth values other than 0 and 1, enumeration values without a name, verbosity bits without one; enumeration names
     that are empty or begin with a blank or a quote;
   - a verbosity word or an interval of 0, which has no text: the reader takes the next line for it;
   - fractions, rounded to what the format shows (six decimals by default), and times, to ten-thousandths;
   - what a format adds to a text, a name or a time (trailing blanks too), and numbers whose format cannot be scanned;
   - keys before the first section written after one: the reader finds them in that section alone;
   - a value list whose field stands after that of a structure: its keys then lie in that structure's section;
   - value lists whose elements are no single values: arrays have one name for the keys of all elements, and structures
     are written as sections, which IniRead looks for in no value list. */
ZEB_API ULONG IniWrite(INIFILE *pini, const void *pvData, const FDSC *pfdsc);

/* Closes a handle: the output stream, if any, the entries and the handle itself; null does nothing. Result 0. */
ZEB_API ULONG IniClose(INIFILE *pini);

/* Something that IniReadChecked finds. The texts are valid during the call that reports it. */
typedef struct INIFINDING {
  ULONG ulClass;          /* INI_FINDING_* */
  BOOL fMistake;          /* whether it counts: a key or section that the file does not have does not */
  ULONG ulLine;           /* of the key or title in the file; 0 where the file has none, or with a handle of IniOpen */
  const char *pszSection; /* joined name; empty for the keys before the first title */
  const char *pszKey;     /* joined name; null where it is about the section */
  const char *pszValue;   /* the text in the file; null where there is none */
  char szText[512];       /* one line without a line feed: server.ini:4: [Server] Prot: unknown key, perhaps Port */
} INIFINDING;

#define INI_FINDING_UNKNOWN 1 /* a key or section that the description does not have; see szText for one that is near */
#define INI_FINDING_MISSING 2 /* a key or section that the file does not have: the data keeps what it held */
#define INI_FINDING_TWICE 3   /* a second key or section of one name, which is not read */
#define INI_FINDING_NOT_READ 4  /* a key or section that is described, and yet not read: see below */
#define INI_FINDING_NUMBER 5    /* a text that is not a number, or more than one */
#define INI_FINDING_RANGE 6     /* a number, or an interval, beyond the range of its field */
#define INI_FINDING_NAME 7      /* none of the names of the enumeration */
#define INI_FINDING_VERBOSITY 8 /* a word, or an area, that no verbosity has */
#define INI_FINDING_TRUTH 9     /* neither true (TRUE with anything behind it, YES) nor false (FALSE, NO) */
#define INI_FINDING_TEXT 10     /* a text that is cut, or with characters for which the field stores blanks */
#define INI_FINDING_INTERVAL 11 /* not of the form 1d2h3m4s */
#define INI_FINDING_TIME 12     /* no time, or one that is read as another one */

/* Receives a finding. Result: 0; any other refuses it, and nothing at all will be stored. */
typedef ULONG (*PFNINIREPORT)(const INIFINDING *pfinding, void *pvUser);

#define INI_REFUSED 0xFFFFFFFFUL /* a result of IniReadChecked */

/* IniRead, which first compares file and description and reports what does not fit: first along the description, then
   what is left over, in the order of the file.
   pini       a handle of IniOpenChecked, or of IniOpen, whose findings have no line and no file name.
   pfdsc      describes all of the file: what it does not describe is unknown. So a program that reads a file by several
              descriptions hears of what is in the others.
   pfnReport  is called with pvUser for each finding; with null they are only counted.
   Result     the number of findings that are mistakes; what IniRead stores, mistakes and all, has been stored.
              INI_REFUSED, with nothing stored, when pfnReport refused a finding (it still hears of the rest), or a
              pointer is null.
   Not read   are keys and sections with a number that does not follow (a list ends at the first that is missing, an
              array at the first or at its count), a section within one that is missing, and an element of a list or a
              structure by reference whose last field is missing.
   Values     are compared as a whole: a number with a comment behind it is no number. Of a number that goes through a
              format of the program's it is only known whether it scans. What is read into which pointer is known to the
              reader alone: a reference back to data that are being read is checked like any other. */
ZEB_API_1_1 ULONG IniReadChecked(INIFILE *pini, void *pvData, const FDSC *pfdsc, PFNINIREPORT pfnReport, void *pvUser);

/* Frees all that described data own, and leaves null pointers: the texts of FT_PSZ, the lists of FT_STRUCTLIST and
   FT_VALUELIST with their nodes and data, the structures of FT_STRUCTPTR, at any depth and in every element of an
   array.
   pvData   the field's data, whose pointers are null or to tracked blocks, as IniRead leaves them. It stays the
            program's, and all that is no pointer stays as it was. Null does nothing.
   Not      touched are fields with FDSC_NOINI (the reader never filled them) and lists and structures without a
            description.
   Cycles   A pointer back to data that is being released becomes null, and what it refers to is freed once, with the
            reference that led there first. Otherwise no two pointers may lead to one block.
   Cost     stack in proportion to the depth. */
ZEB_API_1_1 void IniFreeData(void *pvData, const FDSC *pfdsc);

/* The steps of IniOpen and IniRead, for programs that do them on their own.
   ParseFile      enters the file of a parse whose header has been read, from the line after it on. The parse has the
                  separators INI_SEPARATORS. Result 1; 0 for a syntax error, a broken limit, a read error or no memory.
   FindTitle      the value of a key, from entry ulStart (0 for the keys before the first title) up to the next title;
                  null when it is missing. The handle's.
   FindStructure  the position after a title, for FindTitle; 0 when it is missing. */
ZEB_API BOOL ParseFile(PARSECTX *pprs, INIFILE *pini);
ZEB_API const char *FindTitle(INIFILE *pini, const char *pszKey, ULONG ulStart);
ZEB_API ULONG FindStructure(INIFILE *pini, const char *pszTitle);

/* Conversion of one element of a described field to and from text.
   ppbData    address of a cursor at the element, which is not moved; the element of FT_STRING, FT_FIXEDSTRING and
              FT_DOTTED is the field.
   pszText    to: room for the longest text that the field can give. Without a format of its own that is, in bytes with
              its end,
                  FT_BYTE to FT_ULONG, FT_FLOAT, FT_DOUBLE   12, 48, 318
                  FT_STRING, FT_FIXEDSTRING                  ulCount + 1
                  FT_DOTTED                                  ulCount + 1, and one for each subfield
                  FT_REALTIME                                TME_STRING_SIZE (tme.h)
                  FT_VERBOSITY, FT_INTERVAL                  100, 16
                  truth values, enumerations                 8 or, if that is more, for the longest name
                  FT_PSZ                                     for its text
   pfChanged  null, or whether the stored value has changed. For FT_STRING, FT_FIXEDSTRING and FT_DOTTED it is non-zero
              when field and text differ without regard to case; for FT_PSZ it is 1.
   Result     1; 0, with nothing changed (pfChanged 0), for a type code above FT_INTERVAL.
   Formats    pszFormat is one for printf, and for numbers (FT_BYTE to FT_DOUBLE) one for scanf as well: a number goes
              through the same format both ways. What does not scan (there is no precision, as in %.3f, and none of the
              flags - + # and blank) leaves it as it was. Texts and names are read without the format; FT_DOTTED,
              FT_VERBOSITY and FT_INTERVAL use none.
   Numbers    A whole number that is beyond 32 bits is read as the largest (or smallest) of 32 bits; what is then beyond
              its field keeps its low bits (300 gives a byte of 44, -1 a USHORT of 65535).
   Words      TRUE, with anything behind it, and YES alone, in any case, are true; all other texts are false. Unknown
              names of an enumeration are stored as 0, values without a name read "Unknown".
   Texts      A text is cut to its field: FT_STRING stores at most ulCount - 1 characters, fills up with zeros and
              leaves the last byte of the field as it was; FT_FIXEDSTRING turns every character that cannot be printed
              in ASCII into a blank. A new text of FT_PSZ does not free the old one, which stays when there is no
              memory; nothing else here allocates. */
ZEB_API BOOL IniConvertToString(BYTE **ppbData, char *pszText, const FDSC *pfdsc);
ZEB_API BOOL IniConvertFromString(BYTE **ppbData, const char *pszText, const FDSC *pfdsc, ULONG *pfChanged);

/* The verbosity word as text and back. The text needs at most 100 bytes; a word without VERB_ERROR begins with a blank,
   which INI files drop on reading. A text that is empty, has an unknown word or begins with a blank gives 0xF000. */
ZEB_API void VerbosityToString(ULONG fl, char *pszText);
ZEB_API ULONG ParseVerbosity(const char *psz);

/* A number of seconds as text, such as 1d2h3m4s; empty for 0, at most 16 bytes. Read back, what exceeds 32 bits is the
   largest number. */
ZEB_API void IntervalToString(ULONG ulSeconds, char *pszText);

/* Binary packing. The description of a record and its contents travel as flat buffers, also to a machine of the other
   byte order: the receiver, who knows the sender's order, converts as it unpacks. The buffers are the caller's and may
   lie at any byte offset, and so may, for the operations here and for SwpSwapField, the descriptions built in them.
   Nothing is allocated. Null pointers are refused only where it is said.

   A packed description holds copies of the FDSC, SDSC and EDSC records with the texts among them; references are
   offsets from the buffer's start. What FT_STRUCTLIST, FT_VALUELIST and FT_STRUCTPTR nest does not travel: in an
   unpacked description these references must not be followed (with IniRead, or with the fFollow of SwpSwapField).
   Packed data has the size and the layout of the data itself: fields one after another, without gaps. What a pointer
   refers to does not travel either.

   Every operation stops at the first error, in nested structures too, and answers it; what was done before stays done.
   Bytes that hold nothing, before an aligned record or in the place of a pointer, keep what the buffer held. */
#define ERROR_FDSC_TYPE 7    /* the type is reserved, or is FT_VERBOSITY or FT_INTERVAL, which have no binary form */
#define ERROR_FDSC_POINTER 8 /* a pointer (FT_PSZ, FT_STRUCTLIST and above) that is not marked to be passed over */
#define ERROR_FDSC_LAYOUT 9  /* IniCheckFdsc: something is not where IniPackFdsc puts it, or not inside the buffer */
#define ERROR_FDSC_LIMIT 10  /* IniCheckFdsc: beyond one of its limits */
#define ERROR_FDSC_SIZE 11   /* IniCheckFdsc: the ulSize of a structure is not the sum of its fields' extents */
#define ERROR_FDSC_FORMAT 12 /* IniCheckFdsc: a format that is not one conversion of its field's value */

#define INI_MAX_DEPTH 127           /* structures within one another, in a description that IniCheckFdsc accepts */
#define INI_MAX_EXTENT 0x7FFFFFFFUL /* bytes that such a description may describe */
#define INI_MAX_STEPS 16            /* steps for each byte described; IniCheckFdsc says what a step is */

/* The size of the buffer for IniPackFdsc, which needs at most this (28 bytes less for each nested field). Result 0. */
ZEB_API ULONG IniSizeofFdsc(const FDSC *pfdsc, ULONG *pulSize);

/* Packs a description, which is not changed.
   Result   0; ERROR_FDSC_POINTER for a pointer without both FDSC_NOINI and FDSC_NOPACK; the buffer is then useless. */
ZEB_API ULONG IniPackFdsc(const FDSC *pfdsc, BYTE *pbBuffer);

/* Whether a packed description can be unpacked and used: it reads the buffer as IniUnpackFdsc will, and changes
   nothing. To be asked of every buffer that comes from elsewhere, since all other operations believe what they read.
   ulSize   bytes of the buffer; more than the description takes is fine.
   fSwap    as for IniUnpackFdsc.
   Result   0 only for what IniPackFdsc could have written: every record and text where the packer puts it, so that none
            overlap and the nesting ends, and all inside the buffer. IniUnpackFdsc then succeeds, and every operation on
            the description and the data described is safe: none goes beyond the described extent, and all take time in
            proportion to data and description. Otherwise an ERROR_FDSC code: ERROR_FDSC_TYPE for a reserved
            type (FT_VERBOSITY and FT_INTERVAL are accepted, their data is refused by the operations that pack),
            ERROR_FDSC_POINTER as IniUnpackFdsc, LAYOUT also for a null buffer.
   Limits   names, of fields and of enumerations, and formats are at most INI_MAX_TEXT characters long; INI_MAX_FIELDS,
            INI_MAX_NAMES, INI_MAX_DEPTH and INI_MAX_EXTENT hold.
   Formats  of types below FT_DOTTED have one conversion, of what the field holds: d, i, o, u, x or X with the length h
            for FT_BYTE (also hh), FT_SHORT and FT_USHORT, and l or none for FT_LONG and FT_ULONG; a, e, f or g, of
            either case, with no length for FT_FLOAT and l for FT_DOUBLE (either one beside a precision, with which it
            is only printed); s for the others. Flags are fine, and a width and a precision of up to INI_MAX_TEXT; so
            are %% and text around it. For a conversion to text ulCount + 600 bytes are then room enough, but for
            FT_PSZ.
   Steps    An array of structures must be worth walking over: with a step for each field (one more for each subfield of
            FT_DOTTED) and, for each structure, one for itself and one for each structure around it, counted for every
            element, it takes at most INI_MAX_STEPS for each byte described, and as many more as its description has
            bytes. This bounds structures without extent.
   Still    Pointers in the data are as good as where the data comes from: IniConvertToString follows those of FT_PSZ;
            the others are not to be followed (above). The conversions to and from text, IniRead and IniWrite take
            descriptors at aligned addresses, so the buffer must have one. */
ZEB_API ULONG IniCheckFdsc(const BYTE *pbBuffer, ULONG ulSize, ULONG fSwap);

/* Turns a packed description, in place, into one that can be used: afterwards the buffer begins with the FDSC.
   fSwap    non-zero: it was packed on a machine of the other byte order.
   Result   0; ERROR_FDSC_POINTER as IniPackFdsc, and the buffer is then useless. */
ZEB_API ULONG IniUnpackFdsc(BYTE *pbBuffer, ULONG fSwap);

/* The size of the packed data of a field (the data is not looked at, and may be null), packing and unpacking.
   pvData   IniUnpackData: null only goes over the description. The two places must not overlap.
   fSwap    non-zero: the data was packed on a machine of the other byte order; every number is reversed.
   Result   0; ERROR_FDSC_TYPE; ERROR_FDSC_POINTER for a pointer with neither FDSC_NOINI nor FDSC_NOPACK. A marked
            pointer is passed over and keeps its value on both sides. After an error *pulSize counts what was fine. */
ZEB_API ULONG IniSizeofData(const FDSC *pfdsc, const void *pvData, ULONG *pulSize);
ZEB_API ULONG IniPackData(const FDSC *pfdsc, const void *pvData, BYTE *pbBuffer);
ZEB_API ULONG IniUnpackData(const FDSC *pfdsc, void *pvData, const BYTE *pbBuffer, ULONG fSwap);

/* Saves one described field, usually a structure with all that it holds: all or nothing, and only what will read back.
   A new file is written beside the old one, under a name of its own, and takes its place once it is on the disk. At
   every moment, also when the disk is full or the power fails, the name holds one whole file, the old or the new one.
   pszFile  at most 255 characters. Its file name is the file's header, so it must be a word of a file. A symbolic link
            stays: what it leads to is replaced, or made. A new file has the mode 0666 less the file-creation mask; else
            it takes over the mode of the old one, and its owner where the system allows that. A file that may not be
            written is not replaced, nor is anything but a regular file. The folder must be readable.
   pvData   is written as by IniWrite, but fractions without a format of their own with the digits that it takes to read
            them back, an interval of 0 as 0s, and a verbosity word of 0 as Area0.
   Result   0; or the code of what is wrong, with the text in perr, which names section and key. The old file, if any,
            is then as it was, and nothing is left beside it; only when the folder could not be synced in the end is the
            new file in place all the same. Nothing takes tracked memory.
   Refused  is what IniRead, into data of zeros, would not read back the same: whatever IniWrite names as an exception.
            Every value is converted to text and back. Every name that is in the file or is looked for must be a word
            and, with those around it and its number, one of its own. The codes are INI_ERROR_VALUE, _NAME, _LENGTH,
            _ENTRIES and, for descriptors that no file can follow, _DESC.
   The same means: fractions and times to the last bit (so times have whole ten-thousandths; of NaN, the one without a
            payload); texts up to their end; an empty list reads back as a null pointer, and a structure to which two
            references lead as two. Fields with FDSC_NOINI play no part.
   Limits   structures nest at most 127 levels deep; an FT_DOTTED has at most 1024 bytes. */
ZEB_API_1_1 ULONG IniSave(const char *pszFile, const void *pvData, const FDSC *pfdsc, INIERROR *perr);

/* Whether a description can be used: for those that a program writes by hand, to be asked once, at its start.
   ulSizeof  bytes of the data that it describes: sizeof of the variable, which for references is a pointer.
   Result    0; or the code of the first thing that is wrong, with the field by its path in perr, as in Server.Port: its
             ulCount is 0. A field without a name goes by its number, #3.
   Checked   of every field: its type, its ulCount, its format (IniCheckFdsc tells which fit); that pvDesc is there for
             the types that take one and null for the others; that ulSize is the sum of the fields' extents, and the
             ulCount of an FT_DOTTED that of its subfields. Enumerations have 1 to INI_MAX_NAMES names, none null or
             twice. No structure lies within itself; one may refer to itself.
             Of fields without FDSC_NOINI also what IniSave asks of them: names that files can have, and that no two
             fields of a structure share, with a number or without (a list Port and a key Port2); no arrays of
             references, and value lists of single values. Values at the ends of the type's range, short and long texts
             and all values of an enumeration must read back through the format.
   Limits    INI_MAX_FIELDS, INI_MAX_DEPTH (references count), INI_MAX_EXTENT and, of elements, INI_MAX_ENTRIES; 65,536
             fields, those of a structure counted wherever it lies. Nothing is allocated.
   Not seen  is what only data show: names of nested structures that join to one name, paths that grow too long. */
ZEB_API_1_1 ULONG IniCheckDescription(const FDSC *pfdsc, ULONG ulSizeof, INIERROR *perr);

#ifdef __cplusplus
}
#endif
#endif
