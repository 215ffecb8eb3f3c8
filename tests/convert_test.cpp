// convert_test.cpp: single values as text and back, at odd addresses.

#include <clocale>
#include <cstdlib>

#include "described.h"
#include "zebbase/tag.h"

namespace {
class IniConvert : public NoLeak {};

using namespace std::string_literals;

std::string ToText(const FDSC &fdsc, std::string strBytes) {
  auto *pb = reinterpret_cast<BYTE *>(strBytes.insert(0, "!").append("!").data() + 1);
  char szText[400];
  return IniConvertToString(&pb, szText, &fdsc) == 1 ? szText : "no text";
}

// The stored bytes after a conversion, with a "*" when they have changed.
std::string FromText(const FDSC &fdsc, std::string strBytes, const std::string &strText) {
  auto *pb = reinterpret_cast<BYTE *>(strBytes.insert(0, "!").data() + 1);
  ULONG fChanged = 77;
  const BOOL fStored = IniConvertFromString(&pb, strText.c_str(), &fdsc, &fChanged);
  return (!fStored ? "not" : fChanged ? "*" : "") + strBytes.substr(1);
}

TEST_F(IniConvert, GivesAndTakesTexts) {
  EDSC edsc = {4, {"one", nullptr, "Two", "two"}, {1, 7, 0x10002, 2}};
  SDSC sdsc = Describe({Field("", FT_STRING, 2), Field("", FT_STRING, 2), Field("", FT_STRING, 3)});
  enum HOW { both, to, from };
  const struct {
    HOW how;
    ULONG ulType, ulCount;
    const char *pszFormat;
    std::string strBytes;
    const char *pszText;
  } aCase[] = {
      {both, FT_BOOL16, 1, nullptr, BytesOf<USHORT>(1), "TRUE"},
      {both, FT_BOOL32, 1, nullptr, BytesOf(0UL), "FALSE"},
      {to, FT_BOOL16, 1, nullptr, BytesOf<USHORT>(2), "FALSE"},
      {to, FT_BOOL32, 1, "<%5s>", BytesOf(1UL), "< TRUE>"},
      {from, FT_BOOL32, 1, nullptr, BytesOf(1UL), "truely"},
      {from, FT_BOOL16, 1, nullptr, BytesOf<USHORT>(0), "YESS"},
      {both, FT_BYTE, 1, "<%hd", "\x80", "<128"},
      {both, FT_BYTE, 1, "%3hhu", "\x80", "128"},
      {both, FT_USHORT, 1, "%hx", BytesOf<USHORT>(0xBEEF), "beef"},
      {both, FT_DOUBLE, 1, "=%lf", BytesOf(0.5), "=0.500000"},
      {to, FT_STRING, 4, "%%%1$5.3s%%%2$s%", "abcd", "%  abc%abcd"},
      {to, FT_STRING, 4, "%.9s and no more", "ab\0c"s, "ab and no more"},
      {to, FT_PSZ, 1, "<%s>", BytesOf<const char *>("text"), "<text>"},
      {to, FT_PSZ, 1, nullptr, BytesOf<const char *>(nullptr), ""},
      {both, FT_ENUM16, 1, nullptr, BytesOf<USHORT>(2), "Two"},
      {both, FT_ENUM32, 1, nullptr, BytesOf(0x10002UL), "Two"},
      {to, FT_ENUM32, 1, "%.4s", BytesOf(7UL), "Unkn"},
      {from, FT_ENUM32, 1, nullptr, BytesOf(0UL), "on"},
      {both, FT_REALTIME, 1, nullptr, BytesOf(86400.5), "1970-01-02_00:00:00.5000"},
      {both, FT_FIXEDSTRING, 6, nullptr, "abc   ", "abc   "},
      {to, FT_FIXEDSTRING, 6, nullptr, "abc\0xx"s, "   abc"},
      {to, FT_FIXEDSTRING, 3, "<%-5s>", "abc", "<abc  >"},
      {from, FT_FIXEDSTRING, 4, nullptr, "ab  ", "ab\xFF"},
      {both, FT_DOTTED, 7, nullptr, "1 23456", "1.23.456"},
      {to, FT_DOTTED, 7, nullptr, "  2\0f  "s, ".2.f"},
      {from, FT_DOTTED, 7, nullptr, "1 23   ", "1.2345"},
      {from, FT_DOTTED, 8, nullptr, "ab  b   ", "abc..b.c"},
      {to, FT_DOTTED, 3, nullptr, "abc", "ab.c."},
      {both, FT_VERBOSITY, 1, "%lu", BytesOf(0xE801UL), "Error|Warning|Info|Area1|Area12"},
      {to, FT_VERBOSITY, 1, nullptr, BytesOf(0xFFFF4001UL), " Warning|Area1"},
      {both, FT_INTERVAL, 1, "%lu", BytesOf(90061UL), "1d1h1m1s"},
      {to, FT_INTERVAL + 1, 1, nullptr, "", "no text"},
      {to, FT_STRUCT, 1, nullptr, "", "no text"},
  };
  MemSetLimits(1, 1, 1); // no memory is needed
  for (const auto &[how, ulType, ulCount, pszFormat, strBytes, pszText] : aCase) {
    SCOPED_TRACE("type " + std::to_string(ulType) + " and " + pszText);
    FDSC fdsc = Formatted(Field("F", ulType, ulCount, &edsc), pszFormat);
    if (ulType == FT_DOTTED) fdsc.pvDesc = &sdsc;
    std::string strOther = strBytes;
    for (char &ch : strOther) ch = static_cast<char>(~ch);

    EXPECT_EQ(how == from ? pszText : ToText(fdsc, strBytes), pszText);
    if (how == to) continue;
    EXPECT_EQ(FromText(fdsc, strOther, pszText), "*" + strBytes);
    EXPECT_EQ(FromText(fdsc, strBytes, pszText), strBytes);
  }
}

TEST_F(IniConvert, StoresTextsUpToTheFieldsEnd) {
  const FDSC fdsc = Field("F", FT_STRING, 4), fdscFixed = Field("F", FT_FIXEDSTRING, 3);
  EXPECT_EQ(FromText(fdsc, "aB\0x"s, "Ab"), "Ab\0x"s);
  EXPECT_EQ(FromText(fdsc, "xyzw", "abcde"), "*abcw");
  EXPECT_EQ(FromText(fdsc, "xyzw", "a"), "*a\0\0w"s);
  EXPECT_EQ(FromText(Field("F", FT_STRING, 0), "x", "a"), "x");
  EXPECT_EQ(FromText(fdscFixed, "ab ", "AB"), "AB ") << "case is no change";
  EXPECT_EQ(FromText(fdscFixed, "xyz", "\0ab"s), "*   ") << "nothing is read behind the end";
  for (const ULONG ulType : {18UL, 24UL, 25UL, 28UL, 29UL})
    EXPECT_EQ(FromText(Field("F", ulType), "xxxx", "1"), "notxxxx") << ulType;

  char *psz = nullptr;
  auto *pb = reinterpret_cast<BYTE *>(&psz);
  const FDSC fdscText = Field("F", FT_PSZ);
  EXPECT_EQ(IniConvertFromString(&pb, "text", &fdscText, nullptr), 1u);
  EXPECT_STREQ(psz, "text");
  MemFreeString_(psz);
}

// Holds both directions of a numeric type against the runtime: S is scanned, P is printed.
template <typename T, typename S, typename P>
void CompareWithRuntime(ULONG ulType) {
  const char *const apszPiece[] = {
      "-", "+",     " ",   "\v",         "0",          "1",          "6",           ".",
      "e", "32768", "inf", "2147483647", "2147483648", "4294967295", "99999999999", "1e39"};
  const FDSC fdsc = Field("F", ulType);
  const char *pszFormat = IniGetTypeDefaults()[ulType].pszFormat;
  std::mt19937 random(ulType);
  for (int i = 0; i < 3000; i++) {
    std::string strText;
    for (auto u = random() % 5; u > 0; u--) strText += apszPiece[random() % std::size(apszPiece)];
    const ULONG aul[] = {random(), random()};
    T tOld;
    std::memcpy(&tOld, aul, sizeof tOld);
    if (std::is_floating_point_v<T> && i % 2) // values whose decimals end, and some just below
      tOld = static_cast<T>(LONG(random()) / double(1UL << random() % 32) - random() % 2 * 4e-7);
    if (tOld != tOld) continue;
    char szText[400];
    std::snprintf(szText, sizeof szText, pszFormat, static_cast<P>(tOld));
    S s;
    const bool fScanned = std::sscanf(strText.c_str(), pszFormat, &s) == 1;
    const T tNew = fScanned ? static_cast<T>(s) : tOld;

    EXPECT_EQ(ToText(fdsc, BytesOf(tOld)), szText) << ulType;
    EXPECT_EQ(FromText(fdsc, BytesOf(tOld), strText), (tNew != tOld ? "*" : "") + BytesOf(tNew))
        << ulType << ": " << strText;
  }
}

TEST_F(IniConvert, TreatsNumbersAsTheRuntimeDoes) {
  CompareWithRuntime<BYTE, SHORT, int>(FT_BYTE);
  CompareWithRuntime<SHORT, SHORT, int>(FT_SHORT);
  CompareWithRuntime<USHORT, USHORT, int>(FT_USHORT);
  CompareWithRuntime<LONG, LONG, LONG>(FT_LONG);
  CompareWithRuntime<ULONG, ULONG, ULONG>(FT_ULONG);
  CompareWithRuntime<float, float, double>(FT_FLOAT);
  CompareWithRuntime<double, double, double>(FT_DOUBLE);
}

// Makes a locale in the current folder, where numbers have a decimal comma, and turns to it. The
// tool gives 1, because all other categories are missing.
bool TakeCommas() {
  std::ofstream("ascii.map") << "<code_set_name> ASCII\n<escape_char> /\n"
                                "CHARMAP\n<U0000>..<U007F> /x00\nEND CHARMAP\n";
  std::ofstream("locale.src") << "LC_NUMERIC\ndecimal_point \",\"\nthousands_sep \"\"\n"
                                 "grouping -1\nEND LC_NUMERIC\n";
  const std::string strOrder = TAG_NATIVE == TAG_BIG_ENDIAN ? "--big-endian" : "--little-endian";
  const std::string strCommand =
      "localedef --no-archive -c -i ./locale.src -f ./ascii.map ./comma ";
  static_cast<void>(std::system((strCommand + strOrder + " >/dev/null 2>&1").c_str()));
  setenv("LOCPATH", std::filesystem::current_path().c_str(), 1);
  return std::setlocale(LC_NUMERIC, "comma") && *std::localeconv()->decimal_point == ',';
}

TEST_F(IniConvert, HasADecimalPointInEveryLocale) {
  if (std::system("command -v localedef >/dev/null") != 0) GTEST_SKIP() << "no localedef";
  const ScratchFolder folder;
  ASSERT_TRUE(TakeCommas());
  const FDSC fdsc = Field("F", FT_DOUBLE), fdscFloat = Formatted(Field("F", FT_FLOAT), "%.1f");

  EXPECT_EQ(ToText(fdsc, BytesOf(1.5)), "1.500000");
  EXPECT_EQ(ToText(fdscFloat, BytesOf(1.5F)), "1.5");
  EXPECT_EQ(FromText(fdsc, BytesOf(0.0), "1.50000000000000000000000"), "*" + BytesOf(1.5));
  EXPECT_EQ(FromText(Formatted(fdscFloat, "%f"), BytesOf(0.0F), "1.5"), "*" + BytesOf(1.5F));

  std::setlocale(LC_NUMERIC, "C");
  unsetenv("LOCPATH");
}

TEST_F(IniConvert, TakesEachVerbosityWordBack) {
  for (ULONG fl = 0; fl <= 0xFFFF; fl++) {
    char szText[101];
    szText[100] = '~';
    VerbosityToString(fl, szText);
    const bool fBlank = fl != 0 && !(fl & VERB_ERROR);
    ASSERT_EQ(szText[100], '~') << szText;
    ASSERT_EQ(szText[0] == ' ', fBlank) << szText;
    ASSERT_EQ(ParseVerbosity(szText), fl & VERB_ERROR ? fl : 0xF000) << szText;
    ASSERT_EQ(ParseVerbosity(szText + fBlank), fl ? fl : 0xF000) << szText;
  }
  const std::pair<const char *, ULONG> aCase[] = {
      {"error warning", 0xC000}, {"Info|Area3|Area12", 0x2804}, {"Error | ", 0x8000},
      {"Area13 Area", 0},        {"AREA1Debug", 0x1001},
  };
  for (const auto &[psz, fl] : aCase) EXPECT_EQ(ParseVerbosity(psz), fl) << psz;
  for (const char *psz : {"", "|Error", "Error,Info", "Area1 Errors", "Error1"})
    EXPECT_EQ(ParseVerbosity(psz), 0xF000u) << psz;
}

TEST_F(IniConvert, TakesIntervalsBack) {
  const FDSC fdsc = Field("F", FT_INTERVAL);
  for (ULONG ul = 0; ul <= 0xFFFF; ul++) {
    char szText[17];
    IntervalToString(ul * 65537, szText);
    ASSERT_EQ(FromText(fdsc, BytesOf(1UL), szText), "*" + BytesOf(ul * 65537)) << szText;
  }
  const std::pair<const char *, ULONG> aCase[] = {
      {"", 0},    {"2H", 2}, {"1h 30m", 5400}, {"1m1m", 120},
      {"90", 90}, {"x5", 5}, {"d", 0},         {"49711d", ~0UL},
  };
  for (const auto &[psz, ulSeconds] : aCase)
    EXPECT_EQ(FromText(fdsc, BytesOf(77UL), psz), "*" + BytesOf(ulSeconds)) << psz;
}
} // namespace
