// base_test.cpp: start-up, the settings, and the replacing of characters.

#include "support.h"

namespace {
const char *const pszAtLoad = pszTaskName; // read before any test runs
const ULONG flAtLoad = flVerbosity;

TEST(Base, StartSetsAndResetsTheSettings) {
  EXPECT_EQ(pszAtLoad, nullptr);
  EXPECT_EQ(flAtLoad, 0u);
  for (int iCall = 0; iCall < 2; iCall++) {
    BaseInit();

    EXPECT_STREQ(pszTaskName, "ZEBBASE");
    EXPECT_EQ(flVerbosity, 0xE000u);
    EXPECT_EQ(mtxsemMemory, 0u);

    pszTaskName = "other";
    BaseSetVerbosity(0xFFFF1234);
    EXPECT_EQ(flVerbosity, 0xFFFF1234u) << "is stored without a mask";
  }
}

TEST(Base, ReplacesEachCharacterOfATextButNotItsEnd) {
  for (const char chOld : {'a', '/', '\xff', '\0'})
    for (const char chNew : {'a', '/', 'z', '\0'}) {
      char sz[] = "a//ab\xff/";
      std::string strExpected = sz;
      if (chOld) std::replace(strExpected.begin(), strExpected.end(), chOld, chNew);

      MscReplaceChar(sz, chOld, chNew);

      EXPECT_STREQ(sz, strExpected.c_str()) << chOld << " by " << chNew;
    }
  MscReplaceChar(nullptr, 'a', 'b');
}
} // namespace
