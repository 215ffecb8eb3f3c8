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
  char sz[] = "a//ab\xff/";
  for (const char *psz : {"/z", "\xff/", "zz", "\0x"}) MscReplaceChar(sz, psz[0], psz[1]);
  EXPECT_STREQ(sz, "azzab/z");
  MscReplaceChar(sz, 'z', '\0');
  EXPECT_STREQ(sz, "a");
  MscReplaceChar(nullptr, 'a', 'b');
}
} // namespace
