// base_test.cpp: start-up, the settings, and the replacing of characters.

#include "support.h"

namespace {
const bool fNothingAtLoad = !pszTaskName && flVerbosity == 0; // before any test runs

TEST(Base, StartSetsAndResetsTheSettings) {
  EXPECT_TRUE(fNothingAtLoad);
  pszTaskName = "other";
  BaseSetVerbosity(0xFFFF1234);
  EXPECT_EQ(flVerbosity, 0xFFFF1234u) << "is stored without a mask";

  BaseInit();

  EXPECT_STREQ(pszTaskName, "ZEBBASE");
  EXPECT_EQ(flVerbosity, 0xE000u);
  EXPECT_EQ(mtxsemMemory, 0u);
}

TEST(Base, ReplacesEachCharacterOfATextButNotItsEnd) {
  for (const char chOld : {'a', '/', '\xff', '\0'})
    for (const char chNew : {'a', '/', 'z', '\0'}) {
      std::string str = "a//ab\xff/", strExpected = str;
      if (chOld) std::replace(strExpected.begin(), strExpected.end(), chOld, chNew);
      MscReplaceChar(str.data(), chOld, chNew);
      EXPECT_STREQ(str.c_str(), strExpected.c_str()) << chOld << " by " << chNew;
    }
  MscReplaceChar(nullptr, 'a', 'b');
}
} // namespace
