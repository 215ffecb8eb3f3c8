// iniwrite_test.cpp: writing INI files, and reading back what was written. (inisave_test.cpp has
// random data.)

#include "described.h"

namespace {
using IniWriting = IniTest;

TEST_F(IniWriting, PutsFieldsBelowOneAnotherAndCutsNothing) {
  const FDSC fdscText = Field("Text", FT_PSZ);
  const SDSC sdscItem = Describe({Field("Name", FT_STRING, 6)});
  const SDSC sdscServer = Describe(
      {Field("Route", FT_STRUCTLIST, 1, &sdscItem), Field("Texts", FT_VALUELIST, 1, &fdscText)});
  const FDSC fdscServer = Field("Server", sdscServer);
  LIST *aplst[] = {LstNewList(0), LstNewList(0)};
  for (LIST *plst : aplst) {
    LstInsert(plst, nullptr, LST_END);
    LstInsert(plst, MemAllocString_("north", 0, nullptr), LST_END);
  }
  const std::string strLong(100000, 'x');
  const char *pszLong = strLong.c_str();

  const std::string str = Written({{&pszLong, Field("Long", FT_PSZ)},
                                   {aplst, fdscServer},
                                   {&pszLong, Formatted(Field("Long", FT_PSZ), "<%s>")}});

  EXPECT_EQ(str, "[ data.ini ]\n  Long = \"" + strLong + R"("

[ Server ]

[ Server Route 1 ]
  Name = "north"
  Text 1 = ""
  Text 2 = "north"
  Long = "<)" + strLong +
                     ">\"\n");
  IniFreeData(aplst, &fdscServer);
}

TEST_F(IniWriting, SurvivesFailureAndEndsWhereReferencesDoNot) {
  const SDSC sdsc = Describe({Field("Next", FT_STRUCTPTR, 1, &sdsc)});
  void *apvNext[200] = {};
  for (void **ppv = apvNext; ppv + 1 < std::end(apvNext); ppv++) *ppv = ppv + 1;

  const Ini iniFull(IniOpen("/dev/full", 2));
  EXPECT_EQ(IniWrite(iniFull.get(), apvNext, sdsc.afdsc), 0u);
  const std::string str = Written({{apvNext, sdsc.afdsc[0]}});

  EXPECT_EQ(std::count(str.begin(), str.end(), '['), 1 + 127) << "of a longer chain";
  EXPECT_EQ(IniOpen("no/such/folder/config.ini", 2), nullptr);
}

struct NODE {
  LONG l;
  NODE *apnode[2]; // the next nodes; or back to one on the way to this one, or to this one
};

// A tree of nodes by their titles, such as "N A B", is written, read from a file that lacks some
// of the sections, and freed. A missing one costs its node, and hides those behind it.
TEST_F(IniWriting, GoesOnceAroundReferencesThatLeadBackAndSoDoesReading) {
  const SDSC sdsc = Describe({Field("L", FT_LONG), Field("A", FT_STRUCTPTR, 1, &sdsc),
                              Field("B", FT_STRUCTPTR, 1, &sdsc)});
  const FDSC fdsc = Field("N", FT_STRUCTPTR, 1, &sdsc);
  Reports reports;
  for (int i = 0; i < 300; i++) {
    NODE *pnodeTop = nullptr;
    std::map<std::string, NODE *> nodes;
    for (ULONG ul = 1 + Random(9); ul > 0; ul--) {
      std::string str = "N";
      NODE **ppnode = &pnodeTop;
      for (; nodes.contains(str); str += Random(2) ? " A" : " B") ppnode = nodes[str]->apnode;
      if (str.size() > 1) ppnode += str.back() - 'A';
      *ppnode = nodes[str] = static_cast<NODE *>(MemAllocMem_(sizeof(NODE), 0, nullptr));
      for (NODE *&pnode : nodes[str]->apnode)
        pnode = nodes[str.substr(0, Random(str.size()) / 2 * 2 + 1)];
    }
    std::string strWritten = "[ data.ini ]\n", strFile = strWritten;
    std::map<std::string, NODE> expected = {{"", {1, {}}}}; // all but those that are freed
    for (const auto &[str, pnode] : nodes) {
      const std::string strOuter = str.size() > 1 ? str.substr(0, str.size() - 2) : "";
      const bool fThere = Random(4) > 0;
      const bool fReached = expected.contains(strOuter) && expected[strOuter].l == 1;
      strWritten += "\n[ " + str + " ]\n  L = 0\n";
      if (fThere) strFile += "[" + str + "]\nL = 1\n";
      if (fThere || !fReached) expected[str] = {fReached, {pnode->apnode[0], pnode->apnode[1]}};
      if (!fThere && fReached) expected[strOuter].apnode[str.back() == 'B'] = nullptr;
    }
    expected.erase("");
    SCOPED_TRACE(strFile);

    EXPECT_EQ(Written({{&pnodeTop, fdsc}}), strWritten);
    EXPECT_EQ(IniRead(Open(strFile).get(), &pnodeTop, &fdsc), 0u);

    for (const auto &[str, node] : expected) {
      EXPECT_EQ(std::memcmp(nodes[str], &node, sizeof node), 0) << str;
      if (node.l == 0) MemFreeMem_(nodes[str]);
    }
    IniFreeData(&pnodeTop, &fdsc);
    ASSERT_EQ(reports.Take(), Texts()) << "each is freed once";
  }
}
} // namespace
