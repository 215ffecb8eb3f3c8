// convert_test.cpp: single values as text and back, at odd addresses.

#include <clocale>

#include "support.h"
#include "zebbase/base.h"
#include "zebbase/ini.h"

namespace {
class IniConvert : public NoLeak {};

template <typename T>
std::string Bytes(T t) {
  return std::string(reinterpret_cast<char *>(&t), sizeof t);
}
const std::string str0(1, '\0');

FDSC Field(ULONG ulType, ULONG ulCount = 1, const char *pszFormat = nullptr, void *pvDesc = nullptr) {
  return {0, "F", 0, ulType, ulCount, pszFormat, pvDesc};
}

std::string ToText(const FDSC &fdsc, std::string strBytes) {
  auto *pb = reinterpret_cast<BYTE *>(strBytes.insert(0, "!").data() + 1);
  char szText[400];
  return IniConvertToString(&pb, szText, &fdsc) == 1 ? szText : "no text";
}

// The stored bytes after a conversion, with a "*" when they have changed.
std::string FromText(const FDSC &fdsc, std::string strBytes, const char *pszText) {
  auto *pb = reinterpret_cast<BYTE *>(strBytes.insert(0, "!").data() + 1);
  ULONG fChanged = 77;
  const BOOL fStored = IniConvertFromString(&pb, pszText, &fdsc, &fChanged);
  return (!fStored ? "not" : fChanged ? "*" : "") + std::string(reinterpret_cast<char *>(pb), strBytes.size() - 1);
}

TEST_F(IniConvert, GivesAndTakesTexts) {
  EDSC edsc = {4, {"one", nullptr, "Two", "two"}, {1, 7, 0x10002, 2}};
  SDSC sdsc = {3, 0, 7, 0, {Field(FT_STRING, 2), Field(FT_STRING, 2), Field(FT_STRING, 3)}};
  const char *pszText = "text";
  enum HOW { both, to, from };
  MemSetLimits(1, 1, 1); // no memory is needed
  const struct {
    HOW how;
    FDSC fdsc;
    std::string strBytes;
    const char *pszText;
  } aCase[] = {
      {both, Field(FT_BOOL16), Bytes<USHORT>(1), "TRUE"},
      {both, Field(FT_BOOL32), Bytes(0UL), "FALSE"},
      {to, Field(FT_BOOL16), Bytes<USHORT>(2), "FALSE"},
      {to, Field(FT_BOOL32, 1, "<%5s>"), Bytes(1UL), "< TRUE>"},
      {from, Field(FT_BOOL32), Bytes(1UL), "truely"},
      {from, Field(FT_BOOL16), Bytes<USHORT>(1), "Yes"},
      {from, Field(FT_BOOL16), Bytes<USHORT>(0), "YESS"},
      {both, Field(FT_BYTE, 1, "<%hd"), "\x80", "<128"},
      {both, Field(FT_USHORT, 1, "%hx"), Bytes<USHORT>(0xBEEF), "beef"},
      {both, Field(FT_DOUBLE, 1, "=%lf"), Bytes(0.5), "=0.500000"},
      {to, Field(FT_STRING, 4), "ab" + str0 + "c", "ab"},
      {to, Field(FT_STRING, 4, "'%-6s'"), "abcd", "'abcd  '"},
      {to, Field(FT_STRING, 4, "%%%1$5.3s%%%2$s%"), "abcd", "%  abc%abcd"},
      {to, Field(FT_STRING, 4, "%.9s and no more"), "ab" + str0 + "c", "ab and no more"},
      {to, Field(FT_PSZ, 1, "<%s>"), Bytes(pszText), "<text>"},
      {to, Field(FT_PSZ), Bytes<const char *>(nullptr), ""},
      {both, Field(FT_ENUM16, 1, nullptr, &edsc), Bytes<USHORT>(2), "Two"},
      {both, Field(FT_ENUM32, 1, nullptr, &edsc), Bytes(0x10002UL), "Two"},
      {to, Field(FT_ENUM32, 1, "%.4s", &edsc), Bytes(7UL), "Unkn"},
      {from, Field(FT_ENUM32, 1, nullptr, &edsc), Bytes(0UL), "on"},
      {both, Field(FT_REALTIME), Bytes(86400.5), "1970-01-02_00:00:00.5000"},
      {both, Field(FT_FIXEDSTRING, 6), "abc   ", "abc   "},
      {to, Field(FT_FIXEDSTRING, 6), "abc" + str0 + "xx", "   abc"},
      {to, Field(FT_FIXEDSTRING, 3, "<%-5s>"), "abc", "<abc  >"},
      {from, Field(FT_FIXEDSTRING, 4), "ab  ", "ab\xFF"},
      {both, Field(FT_DOTTED, 7, nullptr, &sdsc), "1 23456", "1.23.456"},
      {to, Field(FT_DOTTED, 7, nullptr, &sdsc), "  2 f  ", ".2.f"},
      {from, Field(FT_DOTTED, 7, nullptr, &sdsc), "1 23   ", "1.2345"},
      {from, Field(FT_DOTTED, 8, nullptr, &sdsc), "ab  b   ", "abc..b.c"},
      {both, Field(FT_VERBOSITY, 1, "%lu"), Bytes(0xE801UL), "Error|Warning|Info|Area1|Area12"},
      {to, Field(FT_VERBOSITY), Bytes(0xFFFF4001UL), " Warning|Area1"},
      {both, Field(FT_INTERVAL, 1, "%lu"), Bytes(90061UL), "1d1h1m1s"},
      {to, Field(FT_STRUCT), "", "no text"},
  };
  for (const auto &c : aCase) {
    std::string strOther = c.strBytes;
    for (char &ch : strOther) ch = static_cast<char>(~ch);
    SCOPED_TRACE("type " + std::to_string(c.fdsc.ulType) + " and " + c.pszText);
    EXPECT_EQ(c.how == from ? c.pszText : ToText(c.fdsc, c.strBytes), c.pszText);
    if (c.how == to) continue;
    EXPECT_EQ(FromText(c.fdsc, strOther, c.pszText), "*" + c.strBytes);
    EXPECT_EQ(FromText(c.fdsc, c.strBytes, c.pszText), c.strBytes);
  }
}

TEST_F(IniConvert, StoresTextsUpToTheFieldsEnd) {
  EXPECT_EQ(FromText(Field(FT_STRING, 4), "aB" + str0 + "x", "Ab"), "Ab" + str0 + "x");
  EXPECT_EQ(FromText(Field(FT_STRING, 4), "xyzw", "abcde"), "*abcw");
  EXPECT_EQ(FromText(Field(FT_STRING, 4), "xyzw", "a"), "*a" + str0 + str0 + "w");
  EXPECT_EQ(FromText(Field(FT_STRING, 0), "x", "a"), "x");
  EXPECT_EQ(FromText(Field(FT_FIXEDSTRING, 3), "ab ", "AB"), "AB ") << "case is no change";
  for (const ULONG ulType : {18UL, 24UL, 25UL, 28UL, 29UL})
    EXPECT_EQ(FromText(Field(ulType), "xxxx", "1"), "notxxxx") << ulType;
  char *psz = nullptr;
  auto *pb = reinterpret_cast<BYTE *>(&psz);
  const FDSC fdsc = Field(FT_PSZ);
  EXPECT_EQ(IniConvertFromString(&pb, "text", &fdsc, nullptr), 1u);
  EXPECT_STREQ(psz, "text");
  MemFreeString_(psz);
}

// Holds both directions of a numeric type against the runtime. S is what is scanned, P what is printed.
template <typename T, typename S, typename P>
void CompareWithRuntime(ULONG ulType) {
  const char *const aszPiece[] = {"-", "+",     " ",          "\v",         "0",          "1",           "6",    ".",
                                  "e", "32768", "2147483647", "2147483648", "4294967295", "99999999999", "1e39", "inf"};
  const char *pszFormat = IniGetTypeDefaults()[ulType].pszFormat;
  std::mt19937 random(ulType);
  for (int i = 0; i < 3000; i++) {
    std::string strText, strOld(sizeof(T), '\0');
    for (auto n = random() % 5; n > 0; n--) strText += aszPiece[random() % std::size(aszPiece)];
    for (char &ch : strOld) ch = static_cast<char>(random());
    T tOld;
    std::memcpy(&tOld, strOld.data(), sizeof tOld);
    if (std::is_floating_point_v<T> && i % 2) // values whose decimals end, and some just below
      tOld = static_cast<T>(LONG(random()) / double(1UL << random() % 32) - random() % 2 * 4e-7);
    strOld = Bytes(tOld);
    if (tOld != tOld) continue;
    char szText[400];
    std::snprintf(szText, sizeof szText, pszFormat, static_cast<P>(tOld));
    EXPECT_EQ(ToText(Field(ulType), strOld), szText);
    S s;
    const T tNew = std::sscanf(strText.c_str(), pszFormat, &s) == 1 ? static_cast<T>(s) : tOld;
    EXPECT_EQ(FromText(Field(ulType), strOld, strText.c_str()), (tNew != tOld ? "*" : "") + Bytes(tNew)) << strText;
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

TEST_F(IniConvert, HasADecimalPointInEveryLocale) {
  if (!std::setlocale(LC_ALL, "de_DE.UTF-8")) GTEST_SKIP() << "no locale with a comma";
  EXPECT_EQ(ToText(Field(FT_DOUBLE), Bytes(1.5)), "1.500000");
  EXPECT_EQ(FromText(Field(FT_DOUBLE), Bytes(0.0), "1.50000000000000000000000"), "*" + Bytes(1.5));
  EXPECT_EQ(FromText(Field(FT_FLOAT, 1, "%f"), Bytes(0.0F), "1.5"), "*" + Bytes(1.5F));
  std::setlocale(LC_ALL, "C");
}

TEST_F(IniConvert, TakesVerbosityWordsAndIntervalsBack) {
  for (ULONG fl = 0; fl <= 0xFFFF; fl++) {
    char szText[101];
    szText[100] = '~';
    VerbosityToString(fl, szText);
    ASSERT_TRUE(szText[100] == '~' && (szText[0] == ' ') == (fl != 0 && !(fl & VERB_ERROR))) << szText;
    ASSERT_EQ(ParseVerbosity(szText), fl & VERB_ERROR ? fl : 0xF000) << szText;
    ASSERT_EQ(ParseVerbosity(szText + (szText[0] == ' ')), fl ? fl : 0xF000) << szText;
    IntervalToString(fl * 65537, szText);
    ASSERT_EQ(FromText(Field(FT_INTERVAL), Bytes(1UL), szText), "*" + Bytes(fl * 65537)) << szText;
  }
  const auto Before = [](const char *psz) { return std::string(psz, std::strchr(psz, '=')); };
  const auto After = [](const char *psz, int iBase) { return std::strtoul(std::strchr(psz, '=') + 1, nullptr, iBase); };
  for (const char *psz :
       {"error warning=C000", "Info|Area3|Area12=2804", "Error | =8000", "Area0=0", "Area13 Area=0", "AREA1Debug=1001",
        "=F000", "|Error=F000", "Error,Info=F000", "Area1 Errors=F000", "Error1=F000"})
    EXPECT_EQ(ParseVerbosity(Before(psz).c_str()), After(psz, 16)) << psz;
  for (const char *psz : {"=0", "1d2h3m4s=93784", "90=90", "2H=2", "1h 30m=5400", "1m1m=120", "x5=5", "d=0"})
    EXPECT_EQ(FromText(Field(FT_INTERVAL), Bytes(~0UL), Before(psz).c_str()), "*" + Bytes(After(psz, 10))) << psz;
}
} // namespace
