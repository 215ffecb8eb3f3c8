// ininame.h: the names of sections and keys in INI files.
// A name is made of words, each perhaps with a number. In a file there are blanks between them; a reader joins them.

#ifndef ZEBBASE_SRC_ININAME_H
#define ZEBBASE_SRC_ININAME_H

#include "fields.h"
#include "output.h"

using Name = TextBuffer<INI_MAX_TEXT + 1>; // joined; the longest that a file can have

constexpr ULONG ulNoNumber = 0;

inline void AddWord(Name &name, const char *pszWord, ULONG ulNumber) {
  name.Put(pszWord);
  if (ulNumber != ulNoNumber) name.PutNumber(ulNumber);
}

// Adds the name of a field. Result: whether a file can have that name.
inline bool AddName(Name &name, FieldView field, ULONG ulNumber) {
  if (!field.Name()) return false;
  AddWord(name, field.Name(), ulNumber);
  return !name.IsCut();
}

// Puts a word as it stands in a file.
inline void PutWord(Output &out, const char *pszWord, ULONG ulNumber) {
  out.Put(pszWord);
  if (ulNumber == ulNoNumber) return;
  out.Put(' ');
  out.PutNumber(ulNumber);
}

#endif
