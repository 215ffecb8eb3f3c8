// iniwrite_test.cpp: writing INI files, and reading back what was written. (inisave_test.cpp has
// random data.)

#include "described.h"

namespace {
using IniWriting = IniTest;

TEST_F(IniWriting, PutsFieldsBelowOneAnotherAndCutsNothing) {
  const FDSC fdscText = Field("Text", FT_PSZ);
  const SDSC sdscItem = Describe({Field("Name", FT_STRING, 6)});
  const SDSC sdscServer = Describe({Field("Route", FT_STRUCTLIST, 1, &sdscItem),
                                    Field("Texts", FT_VALUELIST, 1, &fdscText),
                                    Field("None", FT_STRUCTPTR, 1, &sdscItem)});
  const FDSC fdscServer = Field("Server", sdscServer);
  LIST *aplst[] = {LstNewList(0), LstNewList(0), nullptr}; // the routes, the texts, and none
  for (LIST *plst : {aplst[0], aplst[1]}) {
    LstInsert(plst, nullptr, LST_END);
    LstInsert(plst, MemAllocString_("north", 0, nullptr), LST_END);
  }
  const ULONG fVerbose = 1;
  const char aszItem[2][6] = {"one", "two"};
  const std::string strLong(100000, 'x');
  const char *pszLong = strLong.c_str();

  const std::string str = Written({{&fVerbose, Field("Verbose", FT_BOOL32)},
                                   {aplst, fdscServer},
                                   {aszItem, Field("Item", sdscItem, 2)},
                                   {&pszLong, Field("Long", FT_PSZ)},
                                   {&pszLong, Formatted(Field("Long", FT_PSZ), "<%s>")}});

  EXPECT_EQ(str, R"([ data.ini ]
  Verbose = TRUE

[ Server ]

[ Server Route 1 ]
  Name = "north"
  Text 1 = ""
  Text 2 = "north"

[ Item 1 ]
  Name = "one"

[ Item 2 ]
  Name = "two"
  Long = ")" + strLong +
                     "\"\n  Long = \"<" + strLong + ">\"\n");
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
  for (const std::string &strFile :
       {std::string("no/such/folder/config.ini"), std::string(300, 'p'), std::string(".")})
    EXPECT_EQ(IniOpen(strFile.c_str(), 2), nullptr) << strFile;
}

struct NODE {
  LONG l;
  NODE *apnode[2]; // the next nodes; or back to one on the way to this one, or to this one
};

// A tree of nodes by their titles, such as "N A B", is written, and read from a file that lacks
// some of the sections. A missing one costs the node whose it is, and hides those behind it.
TEST_F(IniWriting, GoesOnceAroundReferencesThatLeadBackAndSoDoesReading) {
  const SDSC sdsc = Describe({Field("L", FT_LONG), Field("A", FT_STRUCTPTR, 1, &sdsc),
                              Field("B", FT_STRUCTPTR, 1, &sdsc)});
  const FDSC fdsc = Field("N", FT_STRUCTPTR, 1, &sdsc);
  enum : LONG { lHidden, lRead, lFreed };
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
    std::map<std::string, NODE> expected;
    for (const auto &[str, pnode] : nodes) {
      const bool fThere = Random(4) > 0;
      NODE *pnodeOuter = str.size() > 1 ? &expected[str.substr(0, str.size() - 2)] : nullptr;
      const bool fReached = !pnodeOuter || pnodeOuter->l == lRead;
      strWritten += "\n[ " + str + " ]\n  L = 0\n";
      if (fThere) strFile += "[" + str + "]\nL = 1\n";
      expected[str] = *pnode;
      if (fReached) expected[str].l = fThere ? lRead : lFreed;
      if (fReached && !fThere && pnodeOuter) pnodeOuter->apnode[str.back() - 'A'] = nullptr;
    }
    SCOPED_TRACE(strFile);

    EXPECT_EQ(Written({{&pnodeTop, fdsc}}), strWritten);
    EXPECT_EQ(IniRead(Open(strFile).get(), &pnodeTop, &fdsc), 0u);

    for (const auto &[str, node] : expected) {
      if (node.l == lFreed) continue;
      EXPECT_EQ(std::memcmp(nodes[str], &node, sizeof node), 0) << str;
      MemFreeMem_(nodes[str]);
    }
  }
}
} // namespace
