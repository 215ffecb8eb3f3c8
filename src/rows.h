// rows.h: tables with a row for each type code, which is also the row's place.

#ifndef ZEBBASE_SRC_ROWS_H
#define ZEBBASE_SRC_ROWS_H

#include <cstddef>

#include "zebbase/types.h"

// Whether the rows of a table are those of the type codes from ulFirst to ulLast, in their order.
template <typename ROW, std::size_t N>
constexpr bool AreRowsOf(const ROW (&arow)[N], ULONG ulFirst, ULONG ulLast) {
  ULONG ulType = ulFirst;
  for (const ROW &row : arow)
    if (row.ulType != ulType++) return false;
  return ulType == ulLast + 1;
}

#endif
