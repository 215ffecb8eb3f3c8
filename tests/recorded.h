/* recorded.h: a record with fields of every kind, described from its members; for C and C++. */
#ifndef TESTS_RECORDED_H
#define TESTS_RECORDED_H

#include <zebbase/describe.h>

typedef enum COLOUR { COLOUR_RED = -1, COLOUR_BLUE = 70000 } COLOUR;

typedef struct __attribute__((packed)) ROUTE {
  char szTarget[9];
  USHORT usHops;
} ROUTE;

struct __attribute__((packed)) everything {
  USHORT ausBool[2];
  int iBool;
  BYTE ab[3];
  SHORT s;
  USHORT us;
  LONG l;
  int ai[2];
  ULONG ul;
  float aflt[3];
  double d;
  char sz[21];
  char *apsz[2];
  USHORT usEnum;
  COLOUR acolour[2];
  REALTIME rt;
  char achFixed[1];
  char achDotted[7];
  ULONG flVerbosity;
  unsigned ulInterval;
  char abUnused[5];
  char *pszUnread;
  struct everything *pnext;
  LIST *plstNumber, *plstWord;
  ROUTE aroute[2];
  LIST *plstRoute;
};

#define SIZE_NAMES(NAME) NAME("Small", 1) NAME("Big", 65535UL)
INI_ENUMERATION(edscSize, SIZE_NAMES);

#define COLOUR_NAMES(NAME) \
  NAME("Red", COLOUR_RED) NAME("Blue", COLOUR_BLUE) NAME("All", 0xFFFFFFFEUL)
INI_ENUMERATION(edscColour, COLOUR_NAMES);

#define PLACE_PARTS(PART) PART("Town", 3) PART("Rack", 4)
INI_SUBFIELDS(sdscPlace, PLACE_PARTS);

#define ROUTE_FIELDS(FIELD, T) FIELD(T, szTarget, "Target", STRING) FIELD(T, usHops, "Hops", USHORT)
INI_DESCRIBE(sdscRoute, ROUTE, ROUTE_FIELDS);

INI_FIELD(fdscNumber, double, "Number", DOUBLE, 0, "%lg");
INI_FIELD(fdscWord, char[12], "Word", STRING);

#define STRING a macro of the same name as a type changes nothing
#define EVERYTHING_FIELDS(FIELD, T)                              \
  FIELD(T, ausBool, "Bool16", BOOL16)                            \
  FIELD(T, iBool, "Bool32", BOOL32)                              \
  FIELD(T, ab, "Byte", BYTE)                                     \
  FIELD(T, s, "Short", SHORT)                                    \
  FIELD(T, us, "UShort", USHORT)                                 \
  FIELD(T, l, "Long", LONG, 0)                                   \
  FIELD(T, ai, "Int", LONG, 0, NULL)                             \
  FIELD(T, ul, "ULong", ULONG, FDSC_NOPACK, "%lX", 7)            \
  FIELD(T, aflt, "Float", FLOAT)                                 \
  FIELD(T, d, "Double", DOUBLE, 0, "%lg")                        \
  FIELD(T, sz, "String", STRING)                                 \
  FIELD(T, apsz, "Psz", PSZ)                                     \
  FIELD(T, usEnum, "Enum16", ENUM16(edscSize))                   \
  FIELD(T, acolour, "Enum32", ENUM32(edscColour))                \
  FIELD(T, rt, "RealTime", REALTIME)                             \
  FIELD(T, achFixed, "Fixed", FIXEDSTRING)                       \
  FIELD(T, achDotted, "Dotted", DOTTED(sdscPlace))               \
  FIELD(T, flVerbosity, "Verbosity", VERBOSITY)                  \
  FIELD(T, ulInterval, "Interval", INTERVAL)                     \
  FIELD(T, abUnused, NULL, SKIPPED)                              \
  FIELD(T, pszUnread, NULL, PSZ, FDSC_NOINI | FDSC_NOPACK)       \
  FIELD(T, pnext, "Next", STRUCTPTR(sdscEverything), FDSC_NOINI) \
  FIELD(T, plstNumber, "Numbers", VALUELIST(fdscNumber))         \
  FIELD(T, plstWord, "Words", VALUELIST(fdscWord))               \
  FIELD(T, aroute, "Route", STRUCT(sdscRoute))                   \
  FIELD(T, plstRoute, "Routes", STRUCTLIST(sdscRoute))
INI_DESCRIBE(sdscEverything, struct everything, EVERYTHING_FIELDS);
#undef STRING

INI_FIELD(fdscEverything, struct everything, "Everything", STRUCT(sdscEverything));

#endif
