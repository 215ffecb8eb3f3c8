// Packing of descriptions and data: worked examples, random trees in both byte orders, refusals, damaged buffers.

#include "zebbase/ini.h"

#include <array>
#include <deque>

#include "input.h"
#include "zebbase/swp.h"

namespace {
using Bytes = std::vector<BYTE>;
constexpr ULONG flBoth = FDSC_NOINI | FDSC_NOPACK;

typedef ULONG __attribute__((may_alias)) WORD;
WORD &At(Bytes &ab, ULONG ulAt) { return reinterpret_cast<WORD &>(ab.at(ulAt)); }

FDSC Field(ULONG ulType, ULONG ulCount, const char *pszName = nullptr, void *pvDesc = nullptr, ULONG fl = flBoth) {
  return {0x11223344, pszName, fl, ulType, ulCount, nullptr, pvDesc};
}

SDSC Structure(std::initializer_list<FDSC> fields, ULONG ulSize) {
  SDSC sdsc = {0, 0x01020304, ulSize, 0x05060708, {}};
  for (const FDSC &fdsc : fields) sdsc.afdsc[sdsc.ulFields++] = fdsc;
  return sdsc;
}

Bytes Packed(const FDSC &fdsc) {
  ULONG ulSize = 0;
  EXPECT_EQ(IniSizeofFdsc(&fdsc, &ulSize), 0U);
  Bytes ab(ulSize, 0xEE);
  EXPECT_EQ(IniPackFdsc(&fdsc, ab.data()), 0U);
  return ab;
}

ULONG WidthOf(ULONG ulType) { return static_cast<ULONG>("24122444814248114400000000444"[ulType] - '0'); }
bool IsPointer(ULONG ulType) { return ulType == 10 || ulType > 25; }
ULONG ExtentOf(const FDSC &fdsc) {
  if (fdsc.ulType != FT_STRUCT) return fdsc.ulCount * WidthOf(fdsc.ulType);
  return fdsc.pvDesc ? fdsc.ulCount * static_cast<const SDSC *>(fdsc.pvDesc)->ulSize : 0;
}

struct Tree { // a random description
  explicit Tree(ULONG ulSeed) : rng(ulSeed), fdscTop(NewField(3, FT_STRUCT)) {}

  ULONG Below(ULONG ul) { return rng() % ul; }
  Bytes RandomBytes(ULONG ulSize) {
    Bytes ab(ulSize);
    for (BYTE &b : ab) b = static_cast<BYTE>(rng());
    return ab;
  }
  const char *NewText() { return Below(4) ? texts.emplace_back(Below(9), 'x').c_str() : nullptr; }
  const char *NewFormat(ULONG ulType) { // one that fits, or any where none is used
    static const char *const apszFormat[] = {"<%-5.3s>", "%05hx", "%%%lu%%", "%.3f", "% 20.9le"};
    return Below(2) ? nullptr : ulType < FT_DOTTED ? apszFormat["001112234000000"[ulType] - '0'] : "%n";
  }
  FDSC NewField(ULONG ulDepth, ULONG ulType) {
    const ULONG fl = IsPointer(ulType) || !Below(8) ? rng() | flBoth : rng() & ~flBoth;
    const ULONG ulCount = ulType == FT_STRUCT || Below(9) ? Below(4) : 30;
    FDSC fdsc = {rng(), NewText(), fl, ulType, ulCount, NewFormat(ulType), nullptr};
    if (ulType == FT_ENUM16 || ulType == FT_ENUM32) {
      EDSC &edsc = edscs.emplace_back(EDSC{Below(17), {}, {1, -2, 3}});
      for (const char *&psz : edsc.apszName) psz = NewText();
      fdsc.pvDesc = &edsc;
    } else if (ulType >= FT_DOTTED && ulDepth > 0) {
      SDSC &sdsc = sdscs.emplace_back(Structure({}, 0));
      for (ULONG ul = Below(6); ul > 0; ul--) {
        const ULONG ulRandom = Below(24);
        const FDSC fdscIn = NewField(ulDepth - 1, ulRandom < 16 ? ulRandom : ulRandom < 21 ? 25 : ulRandom + 5);
        sdsc.afdsc[sdsc.ulFields++] = fdscIn;
        sdsc.ulSize += ExtentOf(fdscIn);
      }
      fdsc.pvDesc = &sdsc;
    }
    return fdsc;
  }
  std::mt19937 rng;
  std::deque<std::string> texts;
  std::deque<SDSC> sdscs;
  std::deque<EDSC> edscs;
  const FDSC fdscTop;
};

// Turns a packed description into what a machine of the other order would have written.
void ReverseWords(Bytes &ab, ULONG ulAt, ULONG ulWords) {
  for (BYTE *pb = &ab[ulAt]; ulWords > 0; ulWords--, pb += 4) std::reverse(pb, pb + 4);
}
void ReverseDescription(Bytes &ab, ULONG ulAt = 0) {
  const ULONG ulType = At(ab, ulAt + 12), ulNested = At(ab, ulAt + 24);
  if (ulNested && (ulType == 25 || ulType == 15)) {
    for (ULONG i = 0; i < At(ab, ulNested); i++) ReverseDescription(ab, ulNested + 16 + i * 28);
    ReverseWords(ab, ulNested, 3);
  }
  if (ulNested && (ulType == 11 || ulType == 12)) ReverseWords(ab, ulNested, 33);
  ReverseWords(ab, ulAt, 7);
}

// Data goes its way, with numbers reversed or not; the pointers at the other end stay. Gives the end of the field.
ULONG Travel(Bytes &abTo, const Bytes &abFrom, const FDSC &fdsc, bool fReverse, ULONG ulAt = 0) {
  const auto *psdsc = static_cast<const SDSC *>(fdsc.pvDesc);
  const ULONG ulFields = fdsc.ulType == FT_STRUCT && psdsc ? psdsc->ulFields : 0;
  for (ULONG ul = 0; ul < fdsc.ulCount; ul++) {
    for (ULONG i = 0; i < ulFields; i++) ulAt = Travel(abTo, abFrom, psdsc->afdsc[i], fReverse, ulAt);
    const ULONG ulWidth = WidthOf(fdsc.ulType);
    if (!IsPointer(fdsc.ulType)) std::copy_n(abFrom.data() + ulAt, ulWidth, abTo.data() + ulAt);
    if (!IsPointer(fdsc.ulType) && fReverse) std::reverse(abTo.data() + ulAt, abTo.data() + ulAt + ulWidth);
    ulAt += ulWidth;
  }
  return ulAt;
}

TEST(IniPackFdsc, WritesTheRecordsAndTextsWhereTheyBelong) {
  Bytes ab = Packed(Field(FT_ULONG, 1, "Port", nullptr, 0));
  ASSERT_EQ(ab.size(), 33U);
  const ULONG aul[] = {0x11223344, 28, 0, 6, 1, 0, 0};
  EXPECT_EQ(std::memcmp(ab.data(), aul, sizeof aul) | std::memcmp(&ab[28], "Port", 5), 0);
  EDSC edsc = {1, {"One", nullptr, "Two"}, {7, 8, 9}};
  for (const auto &[pszName, ulSdsc] : {std::pair{"Rec", 32UL}, {"Recs", 36UL}}) {
    SDSC sdsc = Structure({Field(FT_ULONG, 1, "A")}, 4);
    ab = Packed(Field(FT_STRUCT, 1, pszName, &sdsc));
    ASSERT_EQ(ab.size(), ulSdsc + 1696 + 2 + 28);
    EXPECT_EQ(At(ab, 24), ulSdsc);
    EXPECT_EQ(ab[ulSdsc - 1], ulSdsc == 32 ? 0 : 0xEE); // the name's end; padding, which is not written
    EXPECT_EQ(At(ab, ulSdsc + 16 + 4), ulSdsc + 1696);
    EXPECT_EQ(std::memcmp(&ab[ulSdsc + 1696], "A\0\xEE", 3), 0);

    sdsc.afdsc[0] = Field(FT_ENUM16, 2, "A", &edsc);
    ab = Packed(Field(FT_STRUCT, 1, pszName, &sdsc));
    const ULONG ulEdsc = ulSdsc + 1696 + 4, aulEdsc[] = {1, ulEdsc + 132, 0, ulEdsc + 136, 0};
    EXPECT_EQ(ab.size(), ulEdsc + 132 + 8 + 28);
    EXPECT_EQ(std::memcmp(&ab[ulEdsc], aulEdsc, sizeof aulEdsc), 0);
    EXPECT_EQ(std::memcmp(&ab[ulEdsc + 132], "One\0Two\0\xEE", 9), 0);
  }
}

TEST(IniPack, TakesRandomDescriptionsAndDataToBothByteOrdersAndBack) {
  for (ULONG ulSeed = 0; ulSeed < 300; ulSeed++) {
    SCOPED_TRACE(ulSeed);
    Tree tree(ulSeed);
    const FDSC &fdsc = tree.fdscTop;
    const ULONG fSwap = ulSeed & 0x80, ulAt = ulSeed % 3; // any truth value, any offset
    const Bytes abNative = Packed(fdsc);
    Bytes abAgain = abNative, ab = abNative;
    if (fSwap) ReverseDescription(ab);
    ab.insert(ab.begin(), ulAt, 0);
    ASSERT_EQ(IniCheckFdsc(&ab[ulAt], abNative.size(), fSwap), 0U);
    ASSERT_EQ(IniUnpackFdsc(&ab[ulAt], fSwap), 0U);
    const auto *pfdsc = reinterpret_cast<const FDSC *>(&ab[ulAt]);
    ASSERT_EQ(IniPackFdsc(pfdsc, abAgain.data()), 0U);
    EXPECT_EQ(abAgain, abNative);

    ULONG ulSize = 1;
    ASSERT_EQ(IniSizeofData(pfdsc, nullptr, &ulSize), 0U);
    ASSERT_EQ(ulSize, ExtentOf(fdsc));
    const Bytes abData = tree.RandomBytes(ulSize), abBefore = tree.RandomBytes(ulSize);
    Bytes abPlain = abBefore, abTurned = abBefore, abInPlace = abData; // as they should come out
    for (Bytes *pab : {&abPlain, &abTurned, &abInPlace}) Travel(*pab, abData, fdsc, pab != &abPlain);
    Bytes abPacked = abBefore, abUnpacked = abBefore, abReversed = abBefore, abSwapped = abData;
    BYTE *pb = abSwapped.data();
    EXPECT_EQ(IniPackData(pfdsc, abData.data(), abPacked.data()), 0U);
    EXPECT_EQ(IniUnpackData(pfdsc, abUnpacked.data(), abData.data(), 0), 0U);
    EXPECT_EQ(IniUnpackData(pfdsc, abReversed.data(), abData.data(), 0x100), 0U);
    SwpSwapField(&pb, pfdsc, 0);
    EXPECT_EQ(pb, abSwapped.data() + ulSize);
    EXPECT_EQ((std::array{abPacked, abUnpacked, abReversed, abSwapped}),
              (std::array{abPlain, abPlain, abTurned, abInPlace}));
  }
}

TEST(IniPack, StopsAtTheFirstErrorAndKeepsWhatWasDone) {
  const ULONG aaulCase[][4] = {{16, 0, 0, 7},       {17, 0, 0, 7},     {18, 0, 0, 7},          {24, 0, 0, 7},
                               {29, 0, 0, 7},       {10, 0, 8, 8},     {26, FDSC_NOINI, 8, 0}, {27, FDSC_NOPACK, 8, 0},
                               {28, ~flBoth, 8, 8}, {28, flBoth, 0, 0}};
  for (const auto &[ulType, flFlags, rcFdsc, rcData] : aaulCase) {
    SCOPED_TRACE(ulType);
    SDSC sdscIn = Structure({Field(FT_USHORT, 1), Field(ulType, 1), Field(FT_USHORT, 1)}, 8);
    SDSC sdsc = Structure({Field(FT_STRUCT, 2, nullptr, &sdscIn), Field(FT_USHORT, 1)}, 18);
    const FDSC fdsc = Field(FT_STRUCT, 1, nullptr, &sdsc);
    Bytes ab = Packed(fdsc);
    At(ab, 28 + 1696 + 16 + 28 + 8) = flFlags;
    EXPECT_EQ(IniUnpackFdsc(ab.data(), 0), rcFdsc);
    sdscIn.afdsc[1].flFlags = flFlags;
    EXPECT_EQ(IniPackFdsc(&fdsc, ab.data()), rcFdsc);

    std::string strPacked(18, '.'), strUnpacked = strPacked, strReversed = strPacked;
    const auto *pbFrom = reinterpret_cast<const BYTE *>("abPPPPcdefQQQQghij");
    ULONG ulSize = 0;
    EXPECT_EQ(IniPackData(&fdsc, pbFrom, reinterpret_cast<BYTE *>(strPacked.data())), rcData);
    EXPECT_EQ(IniUnpackData(&fdsc, strUnpacked.data(), pbFrom, 0), rcData);
    EXPECT_EQ(IniUnpackData(&fdsc, strReversed.data(), pbFrom, 1), rcData);
    EXPECT_EQ(IniUnpackData(&fdsc, nullptr, pbFrom, 1), rcData);
    EXPECT_EQ(IniSizeofData(&fdsc, nullptr, &ulSize), rcData);
    EXPECT_EQ(strPacked, strUnpacked);
    EXPECT_EQ(strPacked, rcData ? "ab................" : "ab....cdef....ghij");
    EXPECT_EQ(strReversed, rcData ? "ba................" : "ba....dcfe....hgji");
    EXPECT_EQ(ulSize, rcData ? 2U : 18U);
  }
}

class IniChecking : public FileTest {};

TEST_F(IniChecking, RefusesEachKindOfDamage) {
  EDSC edsc = {1, {"One"}, {}};
  SDSC sdscIn = Structure({Field(FT_ENUM16, 1, "E", &edsc), Field(FT_PSZ, 1, "P")}, 6);
  SDSC sdsc = Structure({Field(FT_STRUCT, 2, "A", &sdscIn), Field(FT_STRUCT, 1, "B", &sdscIn)}, 18);
  Bytes abGood = Packed(Field(FT_STRUCT, 3, "Top", &sdsc));
  abGood.resize(abGood.size() - 6 * 28); // what it takes
  const ULONG ulA = 32 + 16, ulB = ulA + 28, ulIn = 32 + 1696 + 4, ulE = ulIn + 16, ulEdsc = ulIn + 1696 + 4;
  // clang-format off
  const struct { ULONG ulAt, ul, rc; } aCase[] = {
      {12, 18, 7}, {12, 29, 7}, {ulE + 28 + 12, FT_INTERVAL, 0},  // types; an interval is as large as a pointer
      {ulE + 28 + 8, FDSC_NOINI, 8},                              // only one of the marks
      {4, 29, 9}, {4, 0, 9}, {ulEdsc + 4, 0xFFFFFFFF, 9},         // names elsewhere, or left out
      {24, 28, 9}, {24, 0x7FFFFFFC, 9}, {ulB + 24, ulIn, 9}, {ulA + 24, 32, 9},  // on a text, outside, shared, in itself
      {32, 61, 10}, {ulEdsc, 17, 10},                             // fields, names
      {16, 0x0E38E38F, 10}, {16, 0x071C71C8, 10}, {16, 0x071C71C7, 0},  // times 18 bytes: 33 bits, 32 bits, 31 bits
      {ulA + 16, 3, 11}, {32 + 8, 17, 11}, {ulIn + 8, 7, 11}};    // sizes that are no sums
  // clang-format on
  for (const auto &[ulAt, ul, rc] : aCase) {
    Bytes ab = abGood;
    At(ab, ulAt) = ul;
    EXPECT_EQ(IniCheckFdsc(ab.data(), ab.size(), 0), rc) << ulAt << ": " << ul;
  }
  for (ULONG ul = 0; ul < abGood.size(); ul++)
    ASSERT_EQ(IniCheckFdsc(Bytes(abGood.data(), abGood.data() + ul).data(), ul, 0), ULONG{ERROR_FDSC_LAYOUT}) << ul;
  EXPECT_EQ(IniCheckFdsc(abGood.data(), abGood.size(), 0), 0U);

  std::deque<SDSC> chain(1, Structure({}, 0));
  while (chain.size() < 128) chain.push_back(Structure({Field(FT_STRUCT, 1, nullptr, &chain.back())}, 0));
  for (const auto &[i, rc] : {std::pair{126U, 0U}, {127U, 10U}}) {
    abGood = Packed(Field(FT_STRUCT, 1, nullptr, &chain[i]));
    EXPECT_EQ(IniCheckFdsc(abGood.data(), abGood.size(), 0), rc);
  }
}

ULONG Check(const FDSC &fdsc) {
  const Bytes ab = Packed(fdsc);
  return IniCheckFdsc(ab.data(), ab.size(), 0);
}

TEST_F(IniChecking, RefusesWhatIsNotSafeToUse) {
  const struct {
    ULONG ulType;
    const char *pszFine, *pszRefused; // formats
  } aCase[] = {{FT_BYTE, "%hd~%3hhu~0x%02hX", "%d~%ld~%s~%c~%hhn~%hf"},
               {FT_USHORT, "%hu~%hi~%+5.3ho", "%u~%hhu~%lu~%s~%hn~%128hu~%hu%hu"},
               {FT_ULONG, "%08lx~%lu%%~%-127.127lu~%d",
                "%n~%s~%9999999d~%128lu~%.128lu~%4294967297lu~%*lu~%1$lu~%mlu~%llu~%lu %lu~none~%%~%"},
               {FT_FLOAT, "%f~%.3f~%10.4lg~%a", "%lf~%Lf~%.3Lf~%.*f~%ld~%s"},
               {FT_DOUBLE, "%lf~%.3f~%.0lE", "%f~%Lf~%.3Lf~%.200lf~%lu~%s"},
               {FT_STRING, "%s~%-20s.~<%.8s>", "%ls~%S~%c~%d~%p~%[a]~%ms~%s%s~%s%n~%*s"},
               {FT_ENUM16, "%20s", "%hd~%n"},
               {FT_DOTTED, "%n~~%s%s", ""}};
  for (const auto &[ulType, pszFine, pszRefused] : aCase)
    for (const char *psz : {pszFine, pszRefused})
      for (const std::string &str : Split(psz)) {
        FDSC fdsc = Field(ulType, 1);
        fdsc.pszFormat = str.c_str();
        EXPECT_EQ(Check(fdsc), psz == pszFine ? 0U : ERROR_FDSC_FORMAT) << "type " << ulType << ": " << str;
      }
  const std::string strLong(INI_MAX_TEXT, 'n'), strTooLong = strLong + "n";
  EDSC edsc = {1, {strLong.c_str()}, {}}, edscTooLong = {0, {nullptr, strTooLong.c_str()}, {}};
  EXPECT_EQ(Check(Field(FT_ENUM32, 1, strLong.c_str(), &edsc)), 0U);
  EXPECT_EQ(Check(Field(FT_ENUM32, 1, nullptr, &edscTooLong)), ULONG{ERROR_FDSC_LIMIT});
  EXPECT_EQ(Check(Field(FT_LONG, 1, strTooLong.c_str())), ULONG{ERROR_FDSC_LIMIT});

  SDSC sdscDots = Structure({Field(FT_STRING, 2), Field(FT_STRING, 3)}, 99); // a size that nobody reads
  EXPECT_EQ(Check(Field(FT_DOTTED, 6, nullptr, &sdscDots)), 0U);

  SDSC sdscEmpty = Structure({}, 0), sdscByte = Structure({Field(FT_BYTE, 1)}, 1); // and empty structures in it
  for (const auto &[ulCount, rc] : {std::pair{1723U, 0U}, {1724U, 10U}, {4000000000U, 10U}})
    EXPECT_EQ(Check(Field(FT_STRUCT, ulCount, nullptr, &sdscEmpty)), rc) << ulCount;
  for (; sdscByte.ulFields < 10; sdscByte.afdsc[sdscByte.ulFields++] = Field(FT_STRUCT, 1, nullptr, &sdscEmpty))
    EXPECT_EQ(Check(Field(FT_STRUCT, 1000000, nullptr, &sdscByte)), sdscByte.ulFields <= 5 ? 0U : 10U);
}

// Converts values to text, for which there is just the room that the header names, and back.
void ConvertValues(const FDSC &fdsc, BYTE *pb) {
  const bool fStructure = fdsc.ulType == FT_STRUCT, fBlock = fdsc.ulType == 9 || fdsc.ulType == 14 || fdsc.ulType == 15;
  const auto *psdsc = static_cast<const SDSC *>(fdsc.pvDesc);
  for (ULONG ul = fBlock ? 1 : std::min<ULONG>(fdsc.ulCount, 3); ul > 0; ul--) {
    for (ULONG i = 0; fStructure && psdsc && i < psdsc->ulFields; pb += ExtentOf(psdsc->afdsc[i++]))
      ConvertValues(psdsc->afdsc[i], pb);
    if (fStructure || IsPointer(fdsc.ulType)) continue;
    std::vector<char> achText(fdsc.ulCount + 600);
    EXPECT_EQ(IniConvertToString(&pb, achText.data(), &fdsc), 1U);
    for (const char *psz : {static_cast<const char *>(achText.data()), "77777777777777777777 \x80"})
      EXPECT_EQ(IniConvertFromString(&pb, psz, &fdsc, nullptr), 1U);
    pb += WidthOf(fdsc.ulType);
  }
}

// Writes data into an INI file, or as if, and reads it back. Gives the length of what was written.
std::size_t WriteAndRead(const FDSC *pfdsc, BYTE *pb, bool fFile) {
  static INIFILE ini;
  char *pszText;
  std::size_t cb;
  ini.pfile = open_memstream(&pszText, &cb);
  std::fputs("[ x ]\n", ini.pfile);
  IniWrite(&ini, pb, pfdsc);
  std::fclose(ini.pfile);
  if (fFile) std::ofstream("input") << pszText;
  std::free(pszText);
  if (!fFile) return cb;
  INIFILE *pini = IniOpen("input", INI_MODE_READ);
  IniRead(pini, pb, pfdsc);
  IniClose(pini);
  return cb;
}

// Puts an accepted description to every use. The vectors have just their bytes, so the sanitizers see any beyond.
void UseAccepted(Bytes ab, ULONG fSwap, Tree &tree) {
  Bytes abAgain = ab; // its padding stays
  const Bytes abBefore = ab;
  ASSERT_EQ(IniUnpackFdsc(ab.data(), fSwap), 0U);
  const auto *pfdsc = reinterpret_cast<const FDSC *>(ab.data());
  ASSERT_EQ(IniPackFdsc(pfdsc, abAgain.data()), 0U);
  EXPECT_TRUE(fSwap || abAgain == abBefore);
  ULONG ulSize = 0;
  const ULONG rc = IniSizeofData(pfdsc, nullptr, &ulSize), ulExtent = ExtentOf(*pfdsc);
  ASSERT_TRUE(rc == 0 ? ulSize == ulExtent : rc == ERROR_FDSC_TYPE && ulSize <= ulExtent) << rc;
  if (ulExtent > 100000) return;
  Bytes abData = tree.RandomBytes(ulExtent), abFrom(ulSize);
  abData.reserve(1); // an address, even of nothing
  BYTE *pb = abData.data();
  SwpSwapField(&pb, pfdsc, 0);
  EXPECT_EQ(pb, abData.data() + ulExtent);
  ConvertValues(*pfdsc, abData.data());
  EXPECT_LT(WriteAndRead(pfdsc, abData.data(), tree.Below(8) == 0), 3000 * (ulExtent + ab.size()));
  EXPECT_EQ(IniUnpackData(pfdsc, abData.data(), abFrom.data(), ulSize & 4), rc);
}

void Damage(Bytes &ab, Tree &tree) {
  const ULONG ulAt = tree.Below(ab.size() / 4) * 4, ulOther = tree.Below(ab.size() / 4) * 4, ulKind = tree.Below(7);
  const ULONG aul[] = {tree.Below(64), At(ab, ulOther), At(ab, ulAt) + 4, At(ab, ulAt) - 28};
  if (ulKind < 4) At(ab, ulAt) = aul[ulKind];
  if (ulKind == 4) ab[tree.Below(ab.size())] ^= static_cast<BYTE>(1 << tree.Below(8));
  if (ulKind == 5) ab.resize(ulAt + 4);
  const auto itFormat = ulKind == 6 ? std::find(ab.begin() + ulAt, ab.end() - 4, '%') : ab.end();
  if (itFormat < ab.end() - 4) itFormat[1 + tree.Below(4)] = "%.*$9dflhmns"[tree.Below(12)];
}

TEST_F(IniChecking, AcceptsOnlyWhatCanBeUsed) {
  LiftLimits();
  ULONG aulResults[2] = {};
  for (ULONG ul = 0; ul < 15000 && !HasFailure(); ul++) {
    Tree tree(ul / 50);
    const ULONG fSwap = ul & 1;
    Bytes ab = Packed(tree.fdscTop);
    if (fSwap) ReverseDescription(ab);
    Tree chance(ul);
    for (ULONG ulTimes = 1 + chance.Below(3); ulTimes > 0; ulTimes--) Damage(ab, chance);
    const bool fAccepted = IniCheckFdsc(Bytes(ab).data(), ab.size(), fSwap) == 0;
    aulResults[fAccepted]++;
    if (fAccepted) UseAccepted(ab, fSwap, chance);
  }
  EXPECT_GT(std::min(aulResults[0], aulResults[1]), 1000U);
}
} // namespace
