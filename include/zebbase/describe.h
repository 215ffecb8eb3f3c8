/* describe.h: descriptions that the compiler checks, an addition to ini.h. A program lists the members of a record
   once, and the macros here make the descriptors of ini.h from the list. Counts and sizes come from the members, and
   what does not fit the record is an error when the program is compiled, instead of wrong data when it runs. There is
   no code in the macros: what they define is what the program would have written by hand.

       typedef struct __attribute__((packed)) ROUTE {
         char szTarget[32];
         BYTE bHops;
       } ROUTE;

       typedef struct __attribute__((packed)) SERVER {
         char szName[32];
         ULONG aulPort[2];
         ULONG ulMask;
         USHORT usColour;
         BYTE abSpare[2];
         LIST *plstText;
         ROUTE route;
         LIST *plstRoute;
       } SERVER;

       #define COLOUR_NAMES(NAME) NAME("Red", 1) NAME("Green", 2)
       INI_ENUMERATION(edscColour, COLOUR_NAMES);

       #define ROUTE_FIELDS(FIELD, T) FIELD(T, szTarget, "Target", STRING) FIELD(T, bHops, "Hops", BYTE)
       INI_DESCRIBE(sdscRoute, ROUTE, ROUTE_FIELDS);

       INI_FIELD(fdscText, char *, "Text", PSZ);

       #define SERVER_FIELDS(FIELD, T)                    \
         FIELD(T, szName, "Name", STRING)                 \
         FIELD(T, aulPort, "Port", ULONG)                 \
         FIELD(T, ulMask, "Mask", ULONG, 0, "%lX")        \
         FIELD(T, usColour, "Colour", ENUM16(edscColour)) \
         FIELD(T, abSpare, NULL, SKIPPED)                 \
         FIELD(T, plstText, "Texts", VALUELIST(fdscText)) \
         FIELD(T, route, "Default", STRUCT(sdscRoute))    \
         FIELD(T, plstRoute, "Route", STRUCTLIST(sdscRoute))
       INI_DESCRIBE(sdscServer, SERVER, SERVER_FIELDS);

       INI_FIELD(fdscServer, SERVER, "Server", STRUCT(sdscServer));

       IniRead(pini, &server, &fdscServer);

   What is defined is static const, at file scope or within a function. Another unit gets it by its address, or has one
   of its own from a header. The first argument names it, and begins the names of a type and of enumerators beside it,
   which are of no use to a program (sdscServer_RECORD, sdscServer_at_szName). A description refers to others that
   these macros have defined before it and, with STRUCTPTR and STRUCTLIST, to itself.

   Errors. Most have a message such as "SERVER.usColour: USHORT is for unsigned shorts". They are: a member of another
   size or class than its type; another order than the record's; a field that is left out, listed twice or no member; a
   gap between members or behind the last one; the nested description of another record; an enumeration without names,
   or with values that the field cannot hold; more fields or names than a description holds. Texts are not looked at:
   names that no file can have or that come twice, and formats that do not fit.

   Types. Those of ini.h without FT_, and SKIPPED. Each is for a member of the type below, or an array in one
   dimension, whose bound is the field's count; where it says "one", for no array.
       BYTE, SHORT, USHORT            unsigned char; short; unsigned short
       LONG                           long, int
       ULONG, VERBOSITY, INTERVAL     unsigned long, unsigned int
       BOOL16, BOOL32                 any integer of 16 or 32 bits
       ENUM16(edsc), ENUM32(edsc)     any integer or enumerated type of 16 or 32 bits; edsc from INI_ENUMERATION
       FLOAT; DOUBLE, REALTIME        float; double
       STRING, FIXEDSTRING            char, always an array
       DOTTED(sdsc)                   char, an array as long as the subfields together; sdsc from INI_SUBFIELDS
       PSZ                            char *
       STRUCT(sdsc)                   the record that sdsc describes
       STRUCTPTR(sdsc)                one pointer to this record
       STRUCTLIST(sdsc)               one LIST *
       VALUELIST(fdsc)                one LIST *; fdsc from INI_FIELD, for a single value (FT_BOOL16 to FT_INTERVAL)
       SKIPPED                        anything; bytes that no file has (FT_BYTE with FDSC_NOINI, the name may be NULL).
                                      Packing carries them as they are, pointers too */
#ifndef ZEBBASE_DESCRIBE_H
#define ZEBBASE_DESCRIBE_H

#include <stddef.h>
#include <zebbase/ini.h>
#include <zebbase/lst.h>
#include <zebbase/types.h>

/* Defines the SDSC of a record from the list of its fields, which are all its members in their order.
   sdsc    the name to be defined
   RECORD  its type, with the layout that ini.h asks for: without gaps. In C++ it has standard layout.
   FIELDS  a macro FIELDS(FIELD, T) that consists of one line for each member:
               FIELD(T, member, "Name", type)
               FIELD(T, member, "Name", type, flags)
               FIELD(T, member, "Name", type, flags, format)
               FIELD(T, member, "Name", type, flags, format, tag)
           flags are 0 or FDSC_*; the format is one for printf and for scanf, or NULL for the type's; the tag is ulTag.
   Limits  1 to INI_MAX_FIELDS fields. */
#define INI_DESCRIBE(sdsc, RECORD, FIELDS)                                                                      \
  typedef RECORD sdsc##_RECORD __attribute__((unused));                                                         \
  enum { FIELDS(INI_PLACE_, INI_BOTH_(sdsc, RECORD)) sdsc##_size, sdsc##_fields = 0 FIELDS(INI_PLUS_ONE_, ~) }; \
  INI_ASSERT_(INI_IS_PLAIN_(sdsc##_RECORD), #RECORD ": members have an order only in a plain record")           \
  INI_ASSERT_(sdsc##_fields <= INI_MAX_FIELDS, #RECORD ": has more than INI_MAX_FIELDS fields")                 \
  FIELDS(INI_CHECK_MEMBER_, INI_BOTH_(sdsc, RECORD))                                                            \
  INI_ASSERT_(sdsc##_size == sizeof(sdsc##_RECORD),                                                             \
              #RECORD ": goes on behind the last field that is listed: a field left out, or a gap")             \
  static const SDSC sdsc = {sdsc##_fields, 0, sdsc##_size, 0, {FIELDS(INI_MEMBER_FDSC_, INI_BOTH_(sdsc, RECORD))}}

/* Defines the FDSC of data that stand on their own: a whole record, or one element of a value list.
   fdsc  the name to be defined
   TYPE  the type of the data, such as SERVER, char * or char[20]
   name  as in a FIELD, and so is what follows: type, flags, format and tag. */
#define INI_FIELD(fdsc, TYPE, name, ...)                                               \
  typedef __typeof__(TYPE) fdsc##_DATA __attribute__((unused));                        \
  enum { fdsc##_value = INI_IS_VALUE_(fdsc##_DATA, INI_TYPE_##__VA_ARGS__, 0, 0, 0) }; \
  INI_CHECK_(#fdsc, fdsc##_DATA, INI_TYPE_##__VA_ARGS__, 0, 0, 0)                      \
  static const FDSC fdsc = INI_FDSC_(fdsc##_DATA, name, INI_TYPE_##__VA_ARGS__, 0, 0, 0)

/* Defines the EDSC of an enumeration.
   edsc    the name to be defined
   NAMES   a macro NAMES(NAME) that consists of one NAME("Name", value) for each; a value is a constant of 32 bits.
   Limits  1 to INI_MAX_NAMES names. */
#define INI_ENUMERATION(edsc, NAMES)                                                               \
  enum { edsc##_names = 0 NAMES(INI_PLUS_ONE_), edsc##_beyond16 = 0 NAMES(INI_PLUS_BEYOND_16_) };  \
  INI_ASSERT_(edsc##_names > 0, #edsc ": has no names")                                            \
  INI_ASSERT_(edsc##_names <= INI_MAX_NAMES, #edsc ": has more than INI_MAX_NAMES names")          \
  INI_ASSERT_((0 NAMES(INI_PLUS_BEYOND_32_)) == 0, #edsc ": has a value that 32 bits do not hold") \
  static const EDSC edsc = {edsc##_names, {NAMES(INI_NAME_)}, {NAMES(INI_VALUE_)}}

/* Defines the SDSC of the subfields of a DOTTED field.
   sdsc    the name to be defined
   PARTS   a macro PARTS(PART) that consists of one PART("Name", width) for each; the width is in characters.
   Limits  1 to INI_MAX_FIELDS subfields. */
#define INI_SUBFIELDS(sdsc, PARTS)                                                                          \
  typedef char sdsc##_RECORD[0 PARTS(INI_PLUS_WIDTH_)] __attribute__((unused));                             \
  INI_ASSERT_((0 PARTS(INI_PLUS_EMPTY_)) == 0, #sdsc ": has a subfield without a width")                    \
  INI_ASSERT_((0 PARTS(INI_PLUS_ONE_)) <= INI_MAX_FIELDS, #sdsc ": has more than INI_MAX_FIELDS subfields") \
  static const SDSC sdsc = {0 PARTS(INI_PLUS_ONE_), 0, sizeof(sdsc##_RECORD), 0, {PARTS(INI_PART_)}}

/* --- How it is done: from here on nothing is meant for programs --- */

#ifdef __cplusplus
extern "C++" { /* a program may include this where names are C's */
template <typename T>
struct INI_ELEMENT_ {
  typedef T TYPE;
};
template <typename T, decltype(sizeof(0)) uCount>
struct INI_ELEMENT_<T[uCount]> {
  typedef T TYPE;
};
}
#define INI_ASSERT_(fTrue, szMessage) static_assert(fTrue, szMessage);
#define INI_MEMBER_(T, m) static_cast<T *>(nullptr)->m
#define INI_CAST_(T, value) static_cast<T>(value)
#define INI_ADDRESS_(desc) const_cast<void *>(static_cast<const void *>(&desc))
#define INI_IS_(M, T) __is_same(M, T)
#define INI_FITS_(M, E) __is_same(INI_ELEMENT_<M>::TYPE, E)
#define INI_FITS_ENUM_(M, cb) (__is_enum(INI_ELEMENT_<M>::TYPE) && sizeof(INI_ELEMENT_<M>::TYPE) == (cb))
#define INI_IS_PLAIN_(T) __is_standard_layout(T)
#else
#define INI_NOTHING_ /* keeps a _Static_assert of libc's, a macro without messages in C99, from being taken */
#define INI_ASSERT_(fTrue, szMessage) __extension__ _Static_assert INI_NOTHING_(fTrue, szMessage);
#define INI_MEMBER_(T, m) ((T *)0)->m
#define INI_CAST_(T, value) ((T)(value))
#define INI_ADDRESS_(desc) ((void *)(size_t)&desc) /* a cast that takes const away would be a warning to some */
#define INI_IS_(M, T) __builtin_types_compatible_p(M, T)
#define INI_FITS_(M, E) (INI_IS_(M, E) || INI_IS_(M, E[])) /* an array without a bound is like one with any */
#define INI_FITS_ENUM_(M, cb) 0                            /* in C it is an integer type by another name */
#define INI_IS_PLAIN_(T) 1
#endif

/* Whether a member of type M, or the elements of an array, are of a class. What a type is checked against is the second
   argument, if any. */
#define INI_FITS_16_(M, none) (INI_FITS_(M, short) || INI_FITS_(M, unsigned short) || INI_FITS_ENUM_(M, 2))
#define INI_FITS_32_(M, none) (INI_FITS_LONG_(M, none) || INI_FITS_ULONG_(M, none) || INI_FITS_ENUM_(M, 4))
#define INI_FITS_LONG_(M, none) (INI_FITS_(M, long) || INI_FITS_(M, int))
#define INI_FITS_ULONG_(M, none) (INI_FITS_(M, unsigned long) || INI_FITS_(M, unsigned int))
#define INI_FITS_TEXT_(M, none) (INI_FITS_(M, char) && !INI_IS_(M, char))
#define INI_FITS_DOTTED_(M, RECORD) (INI_FITS_TEXT_(M, ~) && INI_IS_(M, RECORD))
#define INI_FITS_ENUM16_(M, edsc) (INI_FITS_16_(M, ~) && edsc##_names > 0 && edsc##_beyond16 == 0)
#define INI_FITS_ENUM32_(M, edsc) (INI_FITS_32_(M, ~) && edsc##_names > 0)
#define INI_FITS_LIST_(M, sdsc) (INI_IS_(M, LIST *) && sizeof(sdsc##_RECORD) > 0)
#define INI_FITS_VALUES_(M, fdsc) (INI_IS_(M, LIST *) && fdsc##_value)
#define INI_FITS_ANY_(M, none) 1

/* A type stands for seven arguments of other macros: its code; the type of an element, whose size gives the count; the
   check of a member, and what it is checked against; flags; the nested description; and what to say when the check
   fails. Behind them stand the flags, format and tag of the field, and zeros in the place of those left out. */
#define INI_TYPE_BOOL16 FT_BOOL16, USHORT, INI_FITS_16_, ~, 0, NULL, "BOOL16 is for integers of 16 bits"
#define INI_TYPE_BOOL32 FT_BOOL32, ULONG, INI_FITS_32_, ~, 0, NULL, "BOOL32 is for integers of 32 bits"
#define INI_TYPE_BYTE FT_BYTE, BYTE, INI_FITS_, BYTE, 0, NULL, "BYTE is for unsigned chars"
#define INI_TYPE_SHORT FT_SHORT, SHORT, INI_FITS_, SHORT, 0, NULL, "SHORT is for shorts"
#define INI_TYPE_USHORT FT_USHORT, USHORT, INI_FITS_, USHORT, 0, NULL, "USHORT is for unsigned shorts"
#define INI_TYPE_LONG FT_LONG, LONG, INI_FITS_LONG_, ~, 0, NULL, "LONG is for longs and ints"
#define INI_TYPE_ULONG FT_ULONG, ULONG, INI_FITS_ULONG_, ~, 0, NULL, "ULONG is for unsigned longs and ints"
#define INI_TYPE_FLOAT FT_FLOAT, float, INI_FITS_, float, 0, NULL, "FLOAT is for floats"
#define INI_TYPE_DOUBLE FT_DOUBLE, double, INI_FITS_, double, 0, NULL, "DOUBLE is for doubles"
#define INI_TYPE_STRING FT_STRING, char, INI_FITS_TEXT_, ~, 0, NULL, "STRING is for arrays of char"
#define INI_TYPE_PSZ FT_PSZ, char *, INI_FITS_, char *, 0, NULL, "PSZ is for pointers to char"
#define INI_TYPE_ENUM16(edsc)                                       \
  FT_ENUM16, USHORT, INI_FITS_ENUM16_, edsc, 0, INI_ADDRESS_(edsc), \
      "ENUM16 is for values of 16 bits, all those of " #edsc
#define INI_TYPE_ENUM32(edsc) \
  FT_ENUM32, ULONG, INI_FITS_ENUM32_, edsc, 0, INI_ADDRESS_(edsc), "ENUM32 is for values of 32 bits"
#define INI_TYPE_REALTIME FT_REALTIME, REALTIME, INI_FITS_, REALTIME, 0, NULL, "REALTIME is for doubles"
#define INI_TYPE_FIXEDSTRING FT_FIXEDSTRING, char, INI_FITS_TEXT_, ~, 0, NULL, "FIXEDSTRING is for arrays of char"
#define INI_TYPE_DOTTED(sdsc)                                              \
  FT_DOTTED, char, INI_FITS_DOTTED_, sdsc##_RECORD, 0, INI_ADDRESS_(sdsc), \
      "DOTTED is for arrays of char as long as " #sdsc
#define INI_TYPE_VERBOSITY FT_VERBOSITY, ULONG, INI_FITS_ULONG_, ~, 0, NULL, "VERBOSITY is for unsigned longs and ints"
#define INI_TYPE_INTERVAL FT_INTERVAL, ULONG, INI_FITS_ULONG_, ~, 0, NULL, "INTERVAL is for unsigned longs and ints"
#define INI_TYPE_STRUCT(sdsc) \
  FT_STRUCT, sdsc##_RECORD, INI_FITS_, sdsc##_RECORD, 0, INI_ADDRESS_(sdsc), "STRUCT is for the record of " #sdsc
#define INI_TYPE_STRUCTLIST(sdsc) \
  FT_STRUCTLIST, LIST *, INI_FITS_LIST_, sdsc, 0, INI_ADDRESS_(sdsc), "STRUCTLIST is for one LIST pointer"
#define INI_TYPE_VALUELIST(fdsc)                                       \
  FT_VALUELIST, LIST *, INI_FITS_VALUES_, fdsc, 0, INI_ADDRESS_(fdsc), \
      "VALUELIST is for one LIST pointer, to single values"
#define INI_TYPE_STRUCTPTR(sdsc)                                                  \
  FT_STRUCTPTR, sdsc##_RECORD *, INI_IS_, sdsc##_RECORD *, 0, INI_ADDRESS_(sdsc), \
      "STRUCTPTR is for one pointer to the record of " #sdsc
#define INI_TYPE_SKIPPED FT_BYTE, BYTE, INI_FITS_ANY_, ~, FDSC_NOINI, NULL, ""

/* The two arguments that T stands for in a list of fields: the description, and the record as the program calls it. */
#define INI_BOTH_(sdsc, RECORD) sdsc, RECORD

/* For each field of a list, two enumerators: where it is to begin, which is one behind the end of the field before it,
   and where it does end. A field that is listed twice is an enumerator that is there twice. The code does nothing here,
   but a type that there is not gets the plainest of its errors. */
#define INI_PLACE_(sdsc, RECORD, m, name, ...)                                                  \
  sdsc##_at_##m,                                                                                \
      sdsc##_end_##m = offsetof(sdsc##_RECORD, m) + sizeof(INI_MEMBER_(sdsc##_RECORD, m)) - 1 + \
                       0 * INI_CODE_(INI_TYPE_##__VA_ARGS__, ~),
#define INI_CODE_(...) INI_CODE_ARGUMENTS_(__VA_ARGS__)
#define INI_CODE_ARGUMENTS_(code, ...) (code)

#define INI_CHECK_MEMBER_(sdsc, RECORD, m, name, ...)                                                            \
  INI_ASSERT_(sdsc##_at_##m == offsetof(sdsc##_RECORD, m),                                                       \
              #RECORD "." #m ": is not next in the record: another order, a field left out before it, or a gap") \
  INI_CHECK_(#RECORD "." #m, __typeof__(INI_MEMBER_(sdsc##_RECORD, m)), INI_TYPE_##__VA_ARGS__, 0, 0, 0)
#define INI_CHECK_(...) INI_CHECK_ARGUMENTS_(__VA_ARGS__)
#define INI_CHECK_ARGUMENTS_(szWhere, M, code, E, FITS, against, fl, pvDesc, szWhy, ...) \
  INI_ASSERT_(FITS(M, against), szWhere ": " szWhy)

#define INI_MEMBER_FDSC_(sdsc, RECORD, m, name, ...) \
  INI_FDSC_(__typeof__(INI_MEMBER_(sdsc##_RECORD, m)), name, INI_TYPE_##__VA_ARGS__, 0, 0, 0),
#define INI_FDSC_(...) INI_FDSC_ARGUMENTS_(__VA_ARGS__, ~)
#define INI_FDSC_ARGUMENTS_(M, name, code, E, FITS, against, fl, pvDesc, szWhy, flMore, pszFormat, ulTag, ...) \
  { ulTag, name, (fl) | (flMore), code, sizeof(M) / sizeof(E), pszFormat, pvDesc }

/* Whether data are one value that a list can have as its element: no array, which would be read once only. */
#define INI_IS_VALUE_(...) INI_IS_VALUE_ARGUMENTS_(__VA_ARGS__)
#define INI_IS_VALUE_ARGUMENTS_(M, code, E, FITS, against, fl, pvDesc, szWhy, flMore, ...) \
  (code) <= FT_INTERVAL && (((fl) | (flMore)) & FDSC_NOINI) == 0 && (sizeof(M) == sizeof(E) || INI_IS_(E, char))

/* For each item of a list: a term of a sum, or a part of an initialiser. */
#define INI_PLUS_ONE_(...) +1
#define INI_PLUS_BEYOND_16_(name, value) \
  +(INI_CAST_(long long, value) < -0x8000 || INI_CAST_(long long, value) > 0xFFFF)
#define INI_PLUS_BEYOND_32_(name, value) \
  +(INI_CAST_(long long, value) < -0x80000000LL || INI_CAST_(long long, value) > 0xFFFFFFFFLL)
#define INI_NAME_(name, value) name,
#define INI_VALUE_(name, value) INI_CAST_(LONG, value),
#define INI_PLUS_WIDTH_(name, width) +(width)
#define INI_PLUS_EMPTY_(name, width) +((width) < 1)
#define INI_PART_(name, width) {0, name, 0, FT_FIXEDSTRING, width, NULL, NULL},

#endif
