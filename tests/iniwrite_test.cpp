// iniwrite_test.cpp: writing INI files, and reading back what was written.

#include <map>

#include "generated.h"

namespace {
// Files that are written.
class IniWriting : public Generated {
 protected:
  static std::string Written(
      std::initializer_list<std::pair<void *, const FDSC *>> fields) { // the file's text
    INIFILE *pini = IniOpen("config.ini", 2);
    if (!pini) return "not opened";
    for (const auto &[pv, pfdsc] : fields) EXPECT_EQ(IniWrite(pini, pv, pfdsc), 0u);
    EXPECT_EQ(IniClose(pini), 0u);
    return Contents("config.ini");
  }
};

TEST_F(IniWriting, GivesTheFileThatWasRead) {
  LiftLimits();
  for (int i = 0; i < 300; i++) {
    const SDSC *psdsc = Structure(3);
    const FDSC fdsc = Named(FT_STRUCT, 1, psdsc);
    std::string str = "[ config.ini ]\n";
    PutStructure(str, *psdsc, std::string(" ") + fdsc.pszName);
    Write(str);
    std::vector<BYTE> ab(psdsc->ulSize + 1); // read and written at odd addresses
    INIFILE *pini = IniOpen("input", INI_MODE_READ);
    EXPECT_EQ(IniRead(pini, &ab[1], &fdsc), 0u) << str;
    IniClose(pini);
    EXPECT_EQ(Written({{&ab[1], &fdsc}}), str);
    TakeApart(fdsc, &ab[1]);
  }
}

TEST_F(IniWriting, WritesKeysThenSectionsUnderTheirPath) {
  const SDSC sdscRoute = Describe({Field("Target", FT_STRING, 6)});
  const FDSC fdscText = Field("Text", FT_PSZ), fdscVerbose = Field("Verbose", FT_BOOL32);
  const FDSC fdscPort = {0, "Port", 0, FT_ULONG, 2, "%lX", nullptr},
             fdscItem = Field("Item", FT_STRUCT, 2, &sdscRoute);
  const SDSC sdscServer = Describe(
      {Field("Name", FT_STRING, 6), Field("Route", FT_STRUCTLIST, 1, &sdscRoute),
       Field("Texts", FT_VALUELIST, 1, &fdscText), Field("None", FT_STRUCTPTR, 1, &sdscRoute),
       fdscPort, Field("Fixed", FT_FIXEDSTRING, 8)});
  const FDSC fdscServer = Field("Server", FT_STRUCT, 1, &sdscServer);
  LIST *aplst[] = {LstNewList(0), LstNewList(0), nullptr}; // the routes, the texts, and none
  for (const char *psz : {"north", "south"})
    for (LIST *plst : {aplst[0], aplst[1]})
      LstInsert(plst, MemAllocString_(psz, __LINE__, "test"), LST_END);
  LstInsert(aplst[1], nullptr, LST_END);
  const ULONG aulPort[] = {80, 8080};
  BYTE abServer[34] = "alpha";
  std::memcpy(abServer + 6, aplst, sizeof aplst);
  std::memcpy(abServer + 18, aulPort, sizeof aulPort);
  std::memcpy(abServer + 26, "ab      ", 8);
  ULONG fVerbose = 1;
  char aszItem[2][6] = {"one", "two"};
  EXPECT_EQ(
      Written({{&fVerbose, &fdscVerbose}, {abServer, &fdscServer}, {aszItem, &fdscItem}}),
      "[ config.ini ]\n  Verbose = TRUE\n"
      "\n[ Server ]\n  Name = \"alpha\"\n  Port 1 = 50\n  Port 2 = 1F90\n  Fixed = \"ab      \"\n"
      "\n[ Server Route 1 ]\n  Target = \"north\"\n\n[ Server Route 2 ]\n  Target = \"south\"\n"
      "  Text 1 = \"north\"\n  Text 2 = \"south\"\n  Text 3 = \"\"\n"
      "\n[ Item 1 ]\n  Target = \"one\"\n\n[ Item 2 ]\n  Target = \"two\"\n");
  TakeApart(fdscServer, abServer);
}

TEST_F(IniWriting, CutsNothingAndSurvivesFailure) {
  std::string strLong(100000, 'x');
  char *pszLong = strLong.data();
  const FDSC fdscLong = Field("Long", FT_PSZ),
             fdscFormatted = {0, "Long", 0, FT_PSZ, 1, "<%s>", nullptr};
  EXPECT_EQ(Written({{&pszLong, &fdscLong}, {&pszLong, &fdscFormatted}}),
            "[ config.ini ]\n  Long = \"" + strLong + "\"\n  Long = \"<" + strLong + ">\"\n");
  INIFILE *pini = IniOpen("/dev/full", 2);
  ASSERT_TRUE(pini);
  EXPECT_EQ(IniWrite(pini, &pszLong, &fdscLong), 0u);
  EXPECT_EQ(IniClose(pini), 0u);
  for (const std::string &str :
       {std::string("no/such/folder/config.ini"), std::string(300, 'p'), std::string(".")})
    EXPECT_EQ(IniOpen(str.c_str(), 2), nullptr) << str;
  SDSC sdsc = {1, 0, sizeof(void *), 0, {Field("Next", FT_STRUCTPTR, 1, &sdsc)}};
  void *apvNext[200] = {};
  for (void **ppv = apvNext; ppv + 1 < std::end(apvNext); ppv++) *ppv = ppv + 1;
  const std::string strText = Written({{apvNext, &sdsc.afdsc[0]}});
  EXPECT_EQ(std::count(strText.begin(), strText.end(), '['), 1 + 127) << "of a longer chain";
}

struct NODE {
  LONG l;
  NODE *apnode
      [2]; // each is the next node, or leads back to one on the way to this one, or to this one
};

// A tree of nodes by their titles is written, and read from a file that lacks some of the sections. A missing section
// costs the node whose it is, and hides those behind it.
TEST_F(IniWriting, GoesOnceAroundReferencesThatLeadBackAndSoDoesReading) {
  SDSC sdsc = {3,
               0,
               sizeof(NODE),
               0,
               {Field("L", FT_LONG), Field("A", FT_STRUCTPTR), Field("B", FT_STRUCTPTR)}};
  sdsc.afdsc[1].pvDesc = sdsc.afdsc[2].pvDesc = &sdsc;
  const FDSC fdsc = Field("N", FT_STRUCTPTR, 1, &sdsc);
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
    std::string strWritten = "[ config.ini ]\n", strRead = strWritten;
    std::map<std::string, NODE> expected; // one that is to be freed has the number 2
    for (const auto &[str, pnode] : nodes) {
      strWritten += "\n[ " + str + " ]\n  L = 0\n";
      const bool fMissing = Random(4) == 0;
      if (!fMissing) strRead += "[" + str + "]\nL = 1\n";
      NODE *pnodeOuter = str.size() > 1 ? &expected[str.substr(0, str.size() - 2)] : nullptr;
      const bool fReached = !pnodeOuter || pnodeOuter->l == 1;
      expected[str] = {fReached && !fMissing, {pnode->apnode[0], pnode->apnode[1]}};
      if (fReached && fMissing && pnodeOuter) pnodeOuter->apnode[str.back() - 'A'] = nullptr;
      if (fReached && fMissing) expected[str].l = 2;
    }
    SCOPED_TRACE(strRead);
    EXPECT_EQ(Written({{&pnodeTop, &fdsc}}), strWritten);
    Write(strRead);
    INIFILE *pini = IniOpen("input", INI_MODE_READ);
    EXPECT_EQ(IniRead(pini, &pnodeTop, &fdsc), 0u);
    IniClose(pini);
    for (const auto &[str, node] : expected) {
      if (node.l == 2) continue;
      EXPECT_EQ(std::memcmp(nodes[str], &node, sizeof node), 0) << str;
      MemFreeMem_(nodes[str]);
    }
  }
}
} // namespace
