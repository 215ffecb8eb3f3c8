// record.h: the structure of 60 fields that the INI benchmarks read and write: six groups of ten kinds. In a file a
// field's name is that of its kind with the number of its group, from 1.

#ifndef ZEBBASE_BENCH_RECORD_H
#define ZEBBASE_BENCH_RECORD_H

#include "zebbase/types.h"

struct [[gnu::packed]] GROUP {
  ULONG fActive;
  BYTE b;
  SHORT s;
  USHORT us;
  LONG l;
  ULONG ul;
  double d;
  char szName[16];
  char szPlace[16];
  ULONG ulColour; // lValue of a COLOUR
};
constexpr ULONG ulGroups = 6;
struct [[gnu::packed]] RECORD {
  GROUP agroup[ulGroups];
};

struct COLOUR {
  const char *pszName;
  LONG lValue;
};
constexpr COLOUR aColour[] = {{"Red", 10}, {"Green", 20}, {"Blue", 30}};

#endif
