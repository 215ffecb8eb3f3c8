/* tag.h: files of tagged records.
   A file is a sequence of records, nothing before, between or after them. A record is a header of 16 bytes, the TAG,
   and its data. The header says the record's number, the length of the data, so that a reader can pass over what it
   does not want, two words of the caller's, and the byte order of the machine that wrote it:

       0  byte order, 'I' or 'M'   1  31   2  number   4  length of the data   8, 12  the caller's   16  data

   A machine writes headers in its own order, under its own mark. A header of the other order is converted when it is
   read and keeps its mark: TAG_NATIVE in chByteOrder says that the data, too, is as this machine would have written it.
   The data travels as raw bytes; converting it is the caller's business (swp.h, ini.h).

   Streams are the caller's, open in binary mode; after a failure their position is where the failing operation left it.
   Null streams and headers are refused with the code that the operation's own failure has. */
#ifndef ZEBBASE_TAG_H
#define ZEBBASE_TAG_H

#include <stdio.h>
#include <zebbase/types.h>

#ifdef __cplusplus
extern "C" {
#endif

#define TAG_MAX 45   /* the highest number of a record */
#define TAG_MAGIC 31 /* the second byte of every header */
#define TAG_LITTLE_ENDIAN 'I'
#define TAG_BIG_ENDIAN 'M'
#if __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
#define TAG_NATIVE TAG_LITTLE_ENDIAN
#else
#define TAG_NATIVE TAG_BIG_ENDIAN
#endif

#define ERROR_TAG_READ 25050       /* a whole header could not be read */
#define ERROR_TAG_WRITE 25051      /* the header could not be written */
#define ERROR_TAG_BAD_HEADER 25052 /* no byte order mark, or no TAG_MAGIC */
#define ERROR_TAG_WRITE_DATA 25053 /* the data could not be written */
#define ERROR_TAG_NOT_FOUND 25054  /* the search ended without the record */
#define ERROR_TAG_NO_DATA 25055    /* no data was given to write */
#define ERROR_TAG_SEEK 25056       /* a record's data could not be passed over */

typedef struct TAG {
  char chByteOrder; /* TAG_LITTLE_ENDIAN or TAG_BIG_ENDIAN */
  BYTE bMagic;      /* TAG_MAGIC */
  USHORT usTag;     /* the record's number, 0 to TAG_MAX */
  ULONG ulSize;     /* bytes of data that follow the header */
  ULONG ulParam1;   /* the caller's */
  ULONG ulParam2;
} TAG;

/* Writes a record: a header built from the arguments, and the data.
   usTag    not checked; but a number above TAG_MAX ends every search that meets it.
   pvData   ulSize bytes. A record without data is a header alone and counts as written, since a reader can pass over
            it.
   Result   0; ERROR_TAG_NO_DATA, with nothing written, for null data, even of size 0; ERROR_TAG_WRITE;
            ERROR_TAG_WRITE_DATA, with the header written. */
ZEB_API ULONG TagWriteRecord(FILE *pf, USHORT usTag, ULONG ulSize, ULONG ulParam1, ULONG ulParam2, const void *pvData);

/* Finds the first record with a number, from the stream's position on; to search a whole file, rewind it first.
   ptagOut  receives the header, as TagReadTag gives it; unchanged when there is none.
   Result   0, and the stream stands at the record's data; ERROR_TAG_NOT_FOUND at the end of the file, at what is no
            header, and at a number above TAG_MAX; ERROR_TAG_SEEK on a stream that cannot skip (a pipe). Records of any
            size are skipped forward, those of 2 GiB and more too. */
ZEB_API ULONG TagGetTag(FILE *pf, USHORT usTag, TAG *ptagOut);

/* Writes a header alone. Sets chByteOrder to TAG_NATIVE and bMagic to TAG_MAGIC in the caller's. Result 0 or
   ERROR_TAG_WRITE. */
ZEB_API ULONG TagWriteTag(FILE *pf, TAG *ptag);

/* Reads a header and brings its numbers into this machine's order.
   Result   0; ERROR_TAG_READ, with *ptag filled as far as the file went; ERROR_TAG_BAD_HEADER, with the bytes in *ptag
            as they were read. */
ZEB_API ULONG TagReadTag(FILE *pf, TAG *ptag);

/* Reverses the four numbers of a header, not its first two bytes. Result 0; ERROR_TAG_BAD_HEADER for null. */
ZEB_API ULONG TagSwapTag(TAG *ptag);

#ifdef __cplusplus
}
#endif
#endif
