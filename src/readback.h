// readback.h: whether what would be written to an INI file reads back as it was. Everything is found out by trying:
// the text of a value is converted back, as the reader would take it, and compared.

#ifndef ZEBBASE_SRC_READBACK_H
#define ZEBBASE_SRC_READBACK_H

#include <string_view>

#include "fields.h"
#include "iniorder.h"
#include "output.h"

// Puts the text of a value so that it reads back, where its type has a way: a fraction without a format of its own with
// the digits that it takes, and a word for the interval and the verbosity of 0, whose texts are empty.
void PutExactValue(Output &out, FieldView field, const BYTE *pb);

// Whether the value of one element reads back from this text.
FAULT CheckValue(FieldView field, const BYTE *pb);

// Whether a text, with nothing before it, can be a value in a file.
FAULT CheckText(std::string_view svText, bool fQuoted);

// Whether a name can be a word in a file's header; and whether one can be that of a key or section.
FAULT CheckWord(std::string_view svName);
FAULT CheckName(std::string_view svName);

// Whether a field that is not to be passed over can be written and read: its descriptor alone, and that of the elements
// of a value list.
FAULT CheckDescriptor(FieldView field);

#endif
