/* swp.h: data of the other byte order.
   Reversal of the bytes of single values and of arrays, and of described data (ini.h), in place. The address may be any
   byte offset. Values are moved as raw bytes, so every bit pattern comes through, signalling NaNs too, and reversing
   twice restores what was there. Nothing here allocates, reports or knows which order is the right one: the caller
   decides when to reverse. Null pointers are not for these functions, unless it is said. */
#ifndef ZEBBASE_SWP_H
#define ZEBBASE_SWP_H

#include <zebbase/types.h>

#ifdef __cplusplus
extern "C" {
#endif

struct FDSC; /* ini.h */
struct SDSC;

/* Reverse the 2, 4 or 8 bytes of one value. */
ZEB_API void SwpSwapShort(SHORT *ps);
ZEB_API void SwpSwapUShort(USHORT *pus);
ZEB_API void SwpSwapLong(LONG *pl);
ZEB_API void SwpSwapULong(ULONG *pul);
ZEB_API void SwpSwapFloat(float *pf);
ZEB_API void SwpSwapDouble(double *pd);

/* Reverses each of ulCount values that follow one another; their order stays. With 0 nothing is read. */
ZEB_API void SwpSwapLongArray(ULONG *pul, ULONG ulCount);

/* Reverse every number of a described field, or of one instance of a described structure.
   ppbData  address of a cursor at the data, which is moved past the field or structure.
   pfdsc, psdsc  the description, at any byte offset too. A null structure description has no fields.
   fFollow  non-zero: a structure by reference (FT_STRUCTPTR) is reversed as well, wherever it lies. Of an array of
   references only the first is followed, a null one never.

   Numbers are FT_BOOL16, FT_BOOL32, FT_SHORT to FT_DOUBLE, FT_ENUM16, FT_ENUM32 and FT_REALTIME. Bytes, characters and
   references, FT_VERBOSITY and FT_INTERVAL stay as they are; the cursor moves over them. Codes that are no type have no
   storage and change nothing. The cursor moves by the extents of the fields; the ulSize of a structure is not looked
   at.

   Followed references are a recursion: they are not for linked lists of many thousands. A reference back to where the
   call, or a structure that it is following, began is not followed, so cycles end. A structure that is reached twice in
   any other way is reversed twice. Descriptions out of IniUnpackFdsc (ini.h) have lost what FT_STRUCTPTR nests: with
   those fFollow must be 0. */
ZEB_API void SwpSwapField(BYTE **ppbData, const struct FDSC *pfdsc, ULONG fFollow);
ZEB_API void SwpSwapStructure(BYTE **ppbData, const struct SDSC *psdsc, ULONG fFollow);

#ifdef __cplusplus
}
#endif
#endif
