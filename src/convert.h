// convert.h: the text of single described values.

#ifndef ZEBBASE_SRC_CONVERT_H
#define ZEBBASE_SRC_CONVERT_H

#include "output.h"
#include "zebbase/ini.h"

// Puts the text of one element, which lies at any byte offset. Result: whether its type has a text; if not, nothing is
// put.
bool PutValue(Output &out, const FDSC &fdsc, const BYTE *pbData);

#endif
