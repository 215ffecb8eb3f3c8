// inicheck_test.cpp: what is told of INI files that are wrong, and of files as people write them.

#include <cerrno>
#include <optional>

#include "described.h"
#include "input.h"
#include "zebbase/ini.h"

namespace {
using Ini = std::unique_ptr<INIFILE, decltype([](INIFILE *pini) { IniClose(pini); })>;

class IniChecked : public FileTest {
 protected:
  static std::string Entries(const Ini &ini) { // "[title]name=value;"
    std::string str;
    for (ULONG ul = 0; ini && ul < ini->ulEntries; ul++) {
      const INIENTRY &entry = ini->aentry[ul];
      str += (entry.flTitle ? "[" : "") + std::string(entry.pszName) +
             (entry.flTitle ? "]" : "=" + std::string(entry.pszValue) + ";");
    }
    return ini ? str : "refused";
  }
  Ini Open(const std::string &str, ULONG ulMode) {
    Write(str);
    return Ini(IniOpenChecked("input", ulMode, &err_));
  }
  INIERROR err_ = {};
};

TEST_F(IniChecked, TellsWhyAFileIsRefused) {
  const std::string strLong(INI_MAX_TEXT + 1, 'c');
  const struct {
    std::string strFile;
    ULONG ulCode, ulLine;
    const char *pszText;
  } aBad[] = {
      {"", INI_ERROR_HEADER, 0, "input: the file is empty"},
      {"\n\nA = 1\n", INI_ERROR_HEADER, 3, "input:3: no header such as [ settings.ini ]"},
      {"[ my_file.ini ]\n", INI_ERROR_HEADER, 1, "input:1: a header cannot hold '_'"},
      {"[ my file ]\n", INI_ERROR_HEADER, 1, "input:1: a header is one word and a ']'"},
      {"[" + strLong + "]", INI_ERROR_LENGTH, 1, "input:1: a header of more than 127 characters"},
      {"\xEF\xBB\xBF[ x ]\n", INI_ERROR_MARK, 1, "input:1: a byte-order mark before the header"},
      {"\xFF\xFE[\0 x ]\n", INI_ERROR_MARK, 1, "input:1: a byte-order mark of UTF-16, which cannot be read"},
      {"[x]\nPort=80\nB = 2 3\n\n4\nC D = 1\n", INI_ERROR_KEY, 5, "input:5: no '=' behind '4'"},
      {"[x]\nA = 1\n\nPort=80\n[T]\n", INI_ERROR_KEY, 4, "input:4: '=' needs a blank before it"},
      {"[x]\nPort 2=80\n", INI_ERROR_KEY, 2, "input:2: '=' needs a blank before it"},
      {"[x]\nFlag\n\nPort=80\n", INI_ERROR_KEY, 2, "input:2: no '=' behind 'Flag'"},
      {"[x]\n\nmy_key = 80\n", INI_ERROR_KEY, 3, "input:3: a name cannot hold '_'"},
      {"[x]\n# text\n", INI_ERROR_KEY, 2, "input:2: '#' begins no comment"},
      {"[x]\n; a text\n", INI_ERROR_KEY, 2, "input:2: ';' begins no comment"},
      {"[x]\n] = 1\n", INI_ERROR_KEY, 2, "input:2: no key begins with ']'"},
      {"[x]\n\tb\x01\n\n", INI_ERROR_KEY, 2, "input:2: no '=' behind 'b?'"},
      {"[x]\n[ Server\nA = 1\n", INI_ERROR_TITLE, 2, "input:2: the title is not closed by a ']'"},
      {"[x]\n[ Server\n" + strLong, INI_ERROR_TITLE, 2, "input:2: the title is not closed by a ']'"},
      {"[x]\n[ a - b ]\n", INI_ERROR_TITLE, 2, "input:2: a title cannot hold '-'"},
      {"[x]\n[ 1 " + strLong, INI_ERROR_LENGTH, 2, "input:2: a title of more than 127 characters"},
      {"[x]\n" + strLong, INI_ERROR_LENGTH, 2, "input:2: a name of more than 127 characters"},
      {"[x]\nA = " + strLong, INI_ERROR_LENGTH, 2, "input:2: a value of more than 127 characters, or without an end"},
      {"[x]\nA = \"b\"\n\n\"c\nB = 1\n", INI_ERROR_QUOTE, 4, "input:4: a quoted text is not closed"},
  };
  for (const auto &bad : aBad) {
    EXPECT_FALSE(Open(bad.strFile, INI_MODE_READ)) << bad.strFile;
    EXPECT_EQ(err_.szText, std::string(bad.pszText)) << bad.strFile;
    EXPECT_TRUE(err_.ulCode == bad.ulCode && err_.ulLine == bad.ulLine) << err_.ulCode << " in " << err_.ulLine;
  }
}

TEST_F(IniChecked, TellsTheReasonOfTheSystem) {
  const auto Text = [this](const char *pszFile, ULONG ulMode) {
    EXPECT_FALSE(IniOpenChecked(pszFile, ulMode, &err_) || IniOpenChecked(pszFile, ulMode, nullptr)) << pszFile;
    return std::to_string(err_.ulCode) + " " + std::to_string(err_.ulLine) + " " + err_.szText;
  };
  const std::string strLong(600, 'x');
  for (const ULONG ulMode : {INI_MODE_READ, INI_MODE_LENIENT}) {
    EXPECT_EQ(Text("missing", ulMode), "1 0 missing: No such file or directory");
    EXPECT_EQ(Text(".", ulMode), "1 0 .: Is a directory");
    EXPECT_EQ(Text(strLong.c_str(), ulMode), "1 0 ..." + strLong.substr(0, 252) + ": File name too long");
    EXPECT_EQ(Text(nullptr, ulMode), "3 0 (null): no file name");
    EXPECT_FALSE((FailRead(), Open("[x]\nA = 1\nB", ulMode)));
    EXPECT_STREQ(err_.szText, "input: Input/output error") << "and not what is missing behind it";
  }
  EXPECT_EQ(Text("missing/file", 0), "1 0 missing/file: No such file or directory");
  EXPECT_EQ(Text(strLong.c_str(), 0), "3 0 ..." + strLong.substr(0, 252) + ": the name is too long");
  EXPECT_TRUE(Open("[x]\nA = 1", 0) && err_.ulCode == 0 && !*err_.szText);
  EXPECT_EQ(Contents("input"), "[ input ]\n") << "opened for writing";
  MemSetLimits(0xFFFFFFFF, 0xFFFFFFFF, 1);
  std::string strMany = "[x]\n";
  for (ULONG ul = 0; ul < INI_MAX_ENTRIES; ul++) strMany += "k = 1\n";
  EXPECT_TRUE(Open(strMany, INI_MODE_READ));
  EXPECT_FALSE(Open(strMany + "\nk=1\n[\n", INI_MODE_LENIENT));
  EXPECT_TRUE(err_.ulCode == INI_ERROR_ENTRIES && err_.ulLine == INI_MAX_ENTRIES + 3) << err_.szText;
}

TEST_F(IniChecked, TakesFilesAsPeopleWriteThem) {
  const char *const aapszFile[][2] = {
      {"", ""},
      {" \n\t\n# only a comment", ""},
      {"A=1\nB = 2\n", "A=1;B=2;"},
      {"\xEF\xBB\xBF; text\n[ my-file_1.ini ] ignored\nA=1", "A=1;"},
      {"[ a b ]\nA=1\n[c]\n", "[ab]A=1;[c]"},
      {"A=\nB= 2 ; 3\nC =x y\nD = \n z\n", "A=;B=2 ; 3;C=x y;D=z;"},
      {"a-b_c.d=1\nE 1=\"f \n g\" \"h\" # text\n  ; [ text ]\n[ a-b_c.d ] ; text\nA==\n",
       "a-b_c.d=1;E1=f gh;[a-b_c.d]A==;"},
      {"[x]\n#\nA = 1\n; B = 2\n", "A=1;"},
      {"[x]\nA=1\nB = 2\n;C = 1\n", "A=1B=2;;C=1;"}, // which the format takes
  };
  for (const auto &[pszFile, pszEntries] : aapszFile) {
    EXPECT_EQ(Entries(Open(pszFile, INI_MODE_LENIENT)), pszEntries) << pszFile << "\n" << err_.szText;
    EXPECT_EQ(err_.ulCode, 0u) << err_.szText;
  }
  for (const char *pszFile : {"A\n", "=1", "A b c=1", "[x]\n#\n[a", "A=\"b", "A!=1", "[a b"})
    EXPECT_FALSE(Open(pszFile, INI_MODE_LENIENT) || err_.ulCode == 0 || err_.ulLine == 0) << pszFile;
}

TEST_F(IniChecked, TakesWhatThePlainReaderTakes) {
  int cTaken = 0;
  for (int i = 0; i < 20000; i++) {
    std::string str = "[x]\n";
    for (ULONG ul = Random(4); ul > 0; ul--)
      str += Some({"a", "b=1", "#", ";", "\n", " ", "-"}, 3) +
             Some({" = 1\n", " =\n", " = \"c\n\" ", "[t]", "[t\n u]\n"}, 2);
    const Ini iniPlain = (Write(str), Ini(IniOpen("input", INI_MODE_READ)));
    const std::string strEntries = Entries(iniPlain);
    ASSERT_EQ(Entries(Open(str, INI_MODE_READ)), strEntries) << str;
    ASSERT_EQ(err_.ulCode == 0, iniPlain != nullptr) << str << err_.szText;
    const Ini iniLenient = Open(str, INI_MODE_LENIENT);
    ASSERT_EQ(err_.ulCode == 0, iniLenient != nullptr) << str << err_.szText;
    ASSERT_TRUE(!iniPlain || Entries(iniLenient) == strEntries) << str;
    cTaken += iniPlain != nullptr;
  }
  EXPECT_TRUE(cTaken > 5000 && cTaken < 15000) << cTaken;
}

TEST_F(IniChecked, OpensWithoutMemoryForNone) {
  if (!FailMalloc::Works()) GTEST_SKIP() << "malloc is not the test's own";
  const Reports reports;
  Write("[x]\n# text\nA=1\n[T]\nB=2\n");
  ULONG ulFailed = 0;
  for (unsigned u = 1; u < 30; u++) {
    std::optional<FailMalloc> fail(u);
    const Ini ini(IniOpenChecked("input", INI_MODE_LENIENT, &err_));
    fail.reset();
    ASSERT_EQ(ini ? 0u : INI_ERROR_MEMORY, err_.ulCode) << err_.szText;
    ASSERT_EQ(Entries(ini), ini ? "A=1;[T]B=2;" : "refused");
    ulFailed += !ini;
  }
  EXPECT_TRUE(ulFailed > 5 && ulFailed < 20) << ulFailed;
}
} // namespace
