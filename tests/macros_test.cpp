// macros_test.cpp: the macros of the headers, in both languages.

#include "macros.h"

#include "support.h"

extern "C" BOOL MacrosInC(void);

namespace {
using Macros = NoLeak;

TEST_F(Macros, FillInThePlaceAndKeepTypes) {
  Reports reports;

  EXPECT_TRUE(MacrosOfMemory());
  EXPECT_TRUE(MacrosOfLists());
  EXPECT_TRUE(MacrosOfReports());
  const auto astrInCpp = reports.Take();
  EXPECT_TRUE(MacrosInC());

  EXPECT_EQ(astrInCpp, (std::vector<std::string>{"7", "A NULL pointer was detected.",
                                                 "Failed: iEvaluated != 0"}));
  EXPECT_EQ(reports.Take(), astrInCpp);
}
} // namespace
