// readback.cpp: whether what would be written to an INI file reads back as it was.

#include "readback.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "bytes.h"
#include "convert.h"
#include "enumeration.h"
#include "fraction.h"
#include "guard.h"
#include "iniwriter.h"
#include "text.h"

namespace {
constexpr FAULT faultTooLong = {INI_ERROR_LENGTH, "it is longer than 127 characters"};
static_assert(INI_MAX_TEXT == 127);

// --- Exact texts ---

// With the fewest digits that read back. A fraction of up to digits10 digits survives the type, so the first try gives
// it as it was, however short.
template <typename T>
void PutShortest(Output &out, const BYTE *pb) {
  using Limits = std::numeric_limits<T>;
  T t, tRead;
  std::memcpy(&t, pb, sizeof t);
  const PlainLocale locale;
  char sz[32];
  for (int iDigits = Limits::digits10; iDigits <= Limits::max_digits10; iDigits++) {
    Format(sz, "%.*g", iDigits, static_cast<double>(t));
    const char *psz = sz;
    BYTE abRead[sizeof(T)];
    if (!ScanReal(psz, tRead)) continue;
    std::memcpy(abRead, &tRead, sizeof tRead);
    if (std::memcmp(abRead, pb, sizeof abRead) == 0) break;
  }
  out.Put(sz);
}

// --- Values ---

constexpr ULONG ulLargestValue = 1024; // bytes of a value that is tried; a wider field gives no text that a file holds

// The value that a text gives is stored over bytes that all differ from the one that it is to be, so that what stays
// as it was shows.
bool ReadsAs(FieldView field, const BYTE *pb, const char *pszText) {
  BYTE ab[ulLargestValue];
  const ULONG ulBytes = IsCharacters(field.Type()) ? field.Count() : field.ElementSize();
  if (ulBytes > sizeof ab) return false;
  std::transform(pb, pb + ulBytes, ab, [](BYTE b) { return static_cast<BYTE>(~b); });
  SetValue(field, ab, pszText);
  return std::memcmp(pb, ab, ulBytes) == 0;
}

// Texts are what they are up to their end, which has to be there. The reader takes them without the format.
bool ReadsBack(FieldView field, const BYTE *pb, const char *pszText) {
  if (field.Type() == FT_PSZ) return std::strcmp(Load<const char *>(pb), pszText) == 0;
  if (field.Type() != FT_STRING) return ReadsAs(field, pb, pszText);
  const char *psz = reinterpret_cast<const char *>(pb);
  return strnlen(psz, field.Count()) < field.Count() && std::strcmp(psz, pszText) == 0;
}

bool IsEnumeration(ULONG ulType) { return ulType == FT_ENUM16 || ulType == FT_ENUM32; }

// --- Descriptors ---

bool TakesDescription(ULONG ulType) { return anestedByType[ulType] != NESTED::None; }

// What the elements of a value list must be: single values, told apart by their number.
FAULT CheckElement(FieldView field) {
  const bool fSingle = field.Type() <= FT_INTERVAL && field.Elements() == 1;
  if (!fSingle || (field.Flags() & FDSC_NOINI)) return {INI_ERROR_DESC, "its elements are no single values"};
  return CheckDescriptor(field);
}
} // namespace

void PutExactValue(Output &out, FieldView field, const BYTE *pb) {
  const ULONG ulType = field.Type();
  if (ulType == FT_FLOAT && !field.Format()) return PutShortest<float>(out, pb);
  if (ulType == FT_DOUBLE && !field.Format()) return PutShortest<double>(out, pb);
  if (ulType == FT_INTERVAL && Load<ULONG>(pb) == 0) return static_cast<void>(out.Put("0s"));
  if (ulType == FT_VERBOSITY && Load<ULONG>(pb) == 0) return static_cast<void>(out.Put("Area0"));
  PutValue(out, field, pb);
}

FAULT CheckText(std::string_view svText, bool fQuoted) {
  if (svText.size() > INI_MAX_TEXT) return faultTooLong;
  if (svText.find('\n') != svText.npos) return {INI_ERROR_VALUE, "it has a line end"};
  if (fQuoted) return svText.find('"') == svText.npos ? FAULT() : FAULT{INI_ERROR_VALUE, "it has a double quote"};
  if (svText.empty() || IsWhite(svText[0])) return {INI_ERROR_VALUE, "its text is empty or begins with white space"};
  if (svText[0] == '"') return {INI_ERROR_VALUE, "its text begins with a double quote"};
  return svText.find('\r') == svText.npos ? FAULT() : FAULT{INI_ERROR_VALUE, "it has a line end"};
}

FAULT CheckValue(FieldView field, const BYTE *pb) {
  if (field.Type() == FT_PSZ && !Load<const char *>(pb))
    return {INI_ERROR_VALUE, "a null text reads back as an empty one"};
  if (IsEnumeration(field.Type()) && !NameOfValue(field, pb)) // its text may be the name of another
    return {INI_ERROR_VALUE, "the value has no name"};
  TextBuffer<INI_MAX_TEXT + 3> text; // one character too many is seen, and a formatted text has its terminator
  PutExactValue(text, field, pb);
  const char *psz = text.Text();
  const bool fQuoted = IsQuoted(field.Type());
  while (!fQuoted && IsWhite(*psz)) psz++; // which the reader passes over
  const FAULT fault = CheckText(psz, fQuoted);
  if (fault.ulCode != 0) return fault;
  return ReadsBack(field, pb, psz) ? FAULT() : FAULT{INI_ERROR_VALUE, "its text would not read back the same"};
}

FAULT CheckWord(std::string_view svName) {
  const auto EndsWord = [](char ch) { return IsWhite(ch) || (ch != '\0' && std::strchr(INI_SEPARATORS, ch)); };
  if (svName.size() > INI_MAX_TEXT) return faultTooLong;
  if (svName.empty()) return {INI_ERROR_NAME, "the name is empty"};
  if (std::any_of(svName.begin(), svName.end(), EndsWord))
    return {INI_ERROR_NAME, "the name has a blank or one of the characters " INI_SEPARATORS};
  return {};
}

FAULT CheckName(std::string_view svName) {
  if (!svName.empty() && (svName[0] == '[' || svName[0] == '"'))
    return {INI_ERROR_NAME, "the name begins as no key does"};
  return CheckWord(svName);
}

FAULT CheckDescriptor(FieldView field) {
  const ULONG ulType = field.Type();
  if (IsReserved(ulType)) return {INI_ERROR_DESC, "its type is reserved"};
  if (!field.Name()) return {INI_ERROR_NAME, "it has no name"};
  if (TakesDescription(ulType) && !field.Desc()) return {INI_ERROR_DESC, "its pvDesc is missing"};
  if (IsCharacters(ulType) && field.Count() == 0) return {INI_ERROR_DESC, "its ulCount is 0"};
  if (ulType > FT_STRUCT && field.Count() > 1) return {INI_ERROR_DESC, "it is an array of references"};
  if (field.Format() && !IsFormatFor(ulType, field.Format()))
    return {INI_ERROR_DESC, "its format does not fit its type"};
  return ulType == FT_VALUELIST ? CheckElement(FieldView(field.Desc())) : CheckName(field.Name());
}
