// cpp_test.cpp: the owners, lists and settings of zebbase.hpp. (describe_test.cpp has its
// descriptions, cpp.sh what the compiler refuses.)

#include "zebbase/zebbase.hpp"

#include <list>
#include <numeric>
#include <ranges>
#include <sstream>

#include "input.h"

namespace {
class Cpp : public FileTest {
 protected:
  template <typename Of>
  auto Anywhere(Of &of) { // an iterator of a container, at its end too
    return std::next(of.begin(), static_cast<LONG>(Random(of.size() + 1)));
  }
};

static_assert(std::ranges::bidirectional_range<zebbase::List<int>> &&
              std::ranges::bidirectional_range<zebbase::ListView<char *>>);

TEST_F(Cpp, ListsAreThoseOfTheStandardLibrary) {
  zebbase::List<std::string> list;
  std::list<std::string> model;
  for (int i = 0; i < 3000; i++) {
    const std::string str(Random(40), static_cast<char>('a' + i % 26));
    const std::string *pstr = &str;
    const ULONG ulAt = Random(model.size() + 1);
    const auto it = std::next(list.begin(), static_cast<LONG>(ulAt));
    const auto itModel = std::next(model.begin(), static_cast<LONG>(ulAt));
    switch (Random(model.size() > 60 ? 8 : 6)) {
      case 0:
        pstr = list.push_back(str);
        model.push_back(str);
        break;
      case 1:
        pstr = list.push_front(str);
        model.push_front(str);
        break;
      case 2:
        pstr = list.insert(it, str);
        model.insert(itModel, str);
        break;
      case 3:
        if (itModel == model.end()) break;
        ASSERT_EQ(list.erase(it) == list.end(), model.erase(itModel) == model.end());
        break;
      case 4: {
        const auto IsLonger = [ul = Random(60)](const auto &text) { return text.size() > ul; };
        ASSERT_EQ(list.erase_if(IsLonger), std::erase_if(model, IsLonger));
        break;
      }
      default: { // of different texts only equal ones are equal in this order
        const auto IsBefore = [fUp = i % 2 == 0](const auto &text1, const auto &text2) {
          return fUp ? text1 < text2 : text2 < text1;
        };
        list.sort(IsBefore);
        model.sort(IsBefore);
      }
    }
    ASSERT_EQ(*pstr, str);
    ASSERT_TRUE(list.size() == model.size() && std::equal(list.begin(), list.end(), model.begin()));
    ASSERT_TRUE(std::equal(std::make_reverse_iterator(list.end()),
                           std::make_reverse_iterator(list.begin()), model.rbegin()));
    if (Random(100) == 0) list = zebbase::List<std::string>(std::move(list).release());
  }
}

TEST_F(Cpp, SortsWithinASort) {
  zebbase::List<int> list;
  for (const int i : {2, 3, 1}) list.push_back(i);
  struct Order { // one type for both sorts
    zebbase::List<int> *plistInner;
    bool operator()(int i1, int i2) const {
      if (plistInner) plistInner->sort(Order{nullptr});
      return plistInner ? i1 > i2 : i1 < i2;
    }
  };
  zebbase::List<int> listInner;
  for (const int i : {6, 4, 5}) listInner.push_back(i);

  list.sort(Order{&listInner});

  EXPECT_EQ(
      std::accumulate(list.begin(), list.end(), 0, [](int i1, int i2) { return 10 * i1 + i2; }),
      321);
  EXPECT_TRUE(std::is_sorted(listInner.begin(), listInner.end()));
}

TEST_F(Cpp, OwnersGiveBackWhatTheyHave) {
  for (const char *psz : {"a.txt", "b.txt", "c.c"}) std::ofstream(psz) << "x";
  zebbase::Search search, searchEnded;
  char szName[FIL_MAX_PATH];
  EXPECT_TRUE(zebbase::FindNext(search, "*.txt", szName));
  for (int i = 0; i < 2; i++) EXPECT_TRUE(zebbase::FindNext(searchEnded, "*.txt", szName));
  EXPECT_FALSE(zebbase::FindNext(searchEnded, "*.txt", szName) || searchEnded);

  zebbase::Text text = zebbase::NewText("text"), textMoved = std::move(text);
  EXPECT_FALSE(text);
  EXPECT_STREQ(textMoved.get(), "text");
  zebbase::Block<double[]> block = zebbase::NewArray<double>(3);
  EXPECT_EQ(block[2], 0.0);
  EXPECT_FALSE(zebbase::NewArray<double>(0x20000001));
  const zebbase::Parse parse(PrsStartParse("a.txt", 0, nullptr));
  EXPECT_TRUE(parse && search && zebbase::NewBlock<LONG>());
  static_assert(sizeof parse == sizeof(void *) && sizeof search == sizeof(void *));
}

TEST_F(Cpp, ListsHaveElementsOrStayAsTheyWereWithoutMemory) {
  if (!FailMalloc::Works()) GTEST_SKIP() << "malloc is not ours to fail here";
  const Reports reports;
  for (unsigned u = 1; u <= 3; u++) { // the head, the block, the node
    zebbase::List<int> list;
    const FailMalloc fail(u);
    EXPECT_FALSE(list.push_back(1));
    EXPECT_TRUE(list.empty() && list.push_back(2));
  }
}

// --- Settings ---

struct ROUTE {
  char szTarget[12];
  BYTE bHops;
};

struct SERVER {
  ULONG ulPort = 80;
  char *pszName = nullptr;
  LIST *plstText = nullptr;
  LIST *plstRoute = nullptr;
};

constexpr auto sdscRoute = zebbase::describe<ROUTE>(zebbase::field("Target", &ROUTE::szTarget),
                                                    zebbase::field("Hops", &ROUTE::bHops));
constexpr auto fdscText = zebbase::value<char *>("Text");
constexpr auto sdscServer = zebbase::describe<SERVER>(
    zebbase::field("Port", &SERVER::ulPort), zebbase::field("Name", &SERVER::pszName),
    zebbase::field("Text", &SERVER::plstText, fdscText),
    zebbase::field("Route", &SERVER::plstRoute, sdscRoute));
constexpr auto fdscServer = zebbase::record("Server", sdscServer);

TEST_F(Cpp, SettingsAreLoadedSavedAndGivenBack) {
  Write(
      "[Server]\nPort=8080\nName=\"alpha\"\nText 1=one\nText 2=two\n[Server Route "
      "1]\nTarget=x\nHops=7\n");
  EXPECT_FALSE(zebbase::Load("input", fdscServer)) << "what is taken for the header is no section";
  Write("[x]\n" + Contents("input"));

  auto server = zebbase::Load("input", fdscServer);

  ASSERT_TRUE(server) << server.error().szText;
  SERVER &data = **server;
  EXPECT_EQ(data.ulPort, 8080u);
  std::string str;
  for (const char *psz : zebbase::ListView<char *>(data.plstText)) str += psz;
  for (const ROUTE &route : zebbase::ListView<const ROUTE>(data.plstRoute)) str += route.szTarget;
  EXPECT_EQ(str, "onetwox");
  zebbase::List<ROUTE> list(std::exchange(data.plstRoute, nullptr));
  list.push_back({"y", 9});
  data.plstRoute = list.release();
  EXPECT_FALSE(zebbase::Save("saved.ini", data, fdscServer));
  const auto ini = zebbase::OpenIni("saved.ini");
  EXPECT_STREQ(zebbase::FindValue(*ini, "ServerRoute2", "hops").value_or(""), "9");
  EXPECT_FALSE(zebbase::FindValue(*ini, "ServerRoute3", "Hops") ||
               zebbase::FindValue(*ini, "", "Port"));
  zebbase::Record<SERVER> record = std::move(*server), recordOther(fdscServer);
  recordOther = std::move(record);
  EXPECT_TRUE(!record->pszName && recordOther->pszName);
}

bool IsMistake(const INIFINDING &finding) { return finding.fMistake != 0; }

TEST_F(Cpp, SettingsWithMistakesAreRefusedWithTheFirst) {
  EXPECT_STREQ(zebbase::Load("missing.ini", fdscServer).error().szText,
               "missing.ini: No such file or directory");
  Write("[x]\n[Server]\nName = one\nPrt = 1\nHops = 2\n");
  const auto refused = zebbase::Load("input", fdscServer);
  EXPECT_FALSE(refused);
  EXPECT_STREQ(refused.error().szText, "input:4: [Server] Prt: unknown key, perhaps Port");
  EXPECT_EQ(refused.error().ulLine, 4u);
  EXPECT_EQ(refused.error().ulCode, INI_ERROR_REFUSED);

  std::string strKeys;
  const auto taken = zebbase::Load(
      "input", fdscServer,
      [&](const INIFINDING &finding) {
        strKeys += (finding.pszKey ? finding.pszKey : "-") + std::string(",");
        return false;
      },
      SERVER{7, nullptr, nullptr, nullptr});
  ASSERT_TRUE(taken);
  EXPECT_EQ(taken->ulPort, 7u);
  EXPECT_EQ(strKeys, "Port,Text1,-,Prt,Hops,");
  const auto ini = zebbase::OpenIni("input");
  SERVER server;
  EXPECT_EQ(zebbase::ReadIni(*ini, server, fdscServer, IsMistake), INI_REFUSED);
}
} // namespace
