// inipack_test.cpp: packing of descriptions and data, both byte orders, refusals, damage.

#include "described.h"
#include "zebbase/swp.h"

namespace {
using namespace std::string_literals;
using Bytes = std::vector<BYTE>;
constexpr ULONG flBoth = FDSC_NOINI | FDSC_NOPACK;

// Packed descriptions are 32-bit words: those of an FDSC, in an SDSC behind 4 words of its own.
typedef ULONG __attribute__((may_alias)) WORD;
WORD &At(Bytes &ab, ULONG ulAt) { return reinterpret_cast<WORD &>(ab.at(ulAt)); }
constexpr ULONG ulName = 4, ulFlags = 8, ulType = 12, ulCount = 16, ulDesc = 24; // in an FDSC
constexpr ULONG ulSize = 8, ulFirst = 16;                                        // in an SDSC
static_assert(sizeof(FDSC) == 28 && sizeof(SDSC) == 1696 && sizeof(EDSC) == 132);

Bytes Packed(const FDSC &fdsc) {
  ULONG ulBytes = 0;
  EXPECT_EQ(IniSizeofFdsc(&fdsc, &ulBytes), 0U);
  Bytes ab(ulBytes, 0xEE);
  EXPECT_EQ(IniPackFdsc(&fdsc, ab.data()), 0U);
  return ab;
}
ULONG Check(const Bytes &ab) { return IniCheckFdsc(ab.data(), ab.size(), 0); }
ULONG Check(const FDSC &fdsc) { return Check(Packed(fdsc)); }

// Turns a packed description into what a machine of the other order would have written.
void ReverseWords(Bytes &ab, ULONG ulAt, ULONG ulWords) {
  for (BYTE *pb = &ab[ulAt]; ulWords > 0; ulWords--, pb += 4) std::reverse(pb, pb + 4);
}
void ReverseDescription(Bytes &ab, ULONG ulAt = 0) {
  const ULONG ulOfType = At(ab, ulAt + ulType), ulNested = At(ab, ulAt + ulDesc);
  ReverseWords(ab, ulAt, 7);
  if (ulNested && (ulOfType == FT_ENUM16 || ulOfType == FT_ENUM32)) ReverseWords(ab, ulNested, 33);
  if (!ulNested || (ulOfType != FT_STRUCT && ulOfType != FT_DOTTED)) return;
  for (ULONG ul = 0; ul < At(ab, ulNested); ul++) ReverseDescription(ab, ulNested + 16 + ul * 28);
  ReverseWords(ab, ulNested, 3);
}

// What becomes of data on their way, with numbers reversed or not. The pointers at the end stay.
Bytes Travelled(const FDSC &fdscAll, Bytes abFrom, Bytes abTo, bool fReverse) {
  ForElements(fdscAll, abFrom.data(), [&](const FDSC &fdsc, BYTE *pb) {
    const ULONG cb = ElementSize(fdsc);
    if (IsReference(fdsc)) return;
    if (fReverse && !IsText(fdsc)) std::reverse(pb, pb + cb);
    std::copy_n(pb, cb, abTo.begin() + (pb - abFrom.data()));
  });
  return abTo;
}

// Converts values to text, for which there is just the room that the header names, and back.
void ConvertValues(const FDSC &fdscAll, BYTE *pbAll) {
  ForElements(fdscAll, pbAll, [](const FDSC &fdsc, BYTE *pb) {
    if (IsReference(fdsc)) return;
    std::vector<char> achText(fdsc.ulCount + 600);
    EXPECT_EQ(IniConvertToString(&pb, achText.data(), &fdsc), 1U);
    for (const char *psz : {static_cast<const char *>(achText.data()), "77777777777777777777 \x80"})
      EXPECT_EQ(IniConvertFromString(&pb, psz, &fdsc, nullptr), 1U);
  });
}

class IniPack : public IniTest {
 protected:
  IniPack() {
    ulFewest_ = 0;
    ulMost_ = 30;
  }

  // A description that can travel: whatever else its descriptors hold.
  FDSC NewTravelling(int iDepth) {
    FDSC fdscTop = NewDescription(iDepth);
    for (FDSC *pfdsc : Fields()) Decorate(*pfdsc);
    Decorate(fdscTop);
    return fdscTop;
  }

  // Puts an accepted description to every use. Vectors have just their bytes: sanitizers see more.
  void UseAccepted(Bytes ab, ULONG fSwap) {
    const ULONG ulAt = Random(3);  // any offset
    Bytes abAt = ab, abAgain = ab; // its padding stays
    abAt.insert(abAt.begin(), ulAt, 0);
    ASSERT_EQ(IniUnpackFdsc(&abAt[ulAt], fSwap), 0U);
    ASSERT_EQ(IniPackFdsc(reinterpret_cast<const FDSC *>(&abAt[ulAt]), abAgain.data()), 0U);
    if (fSwap) ReverseDescription(abAgain);
    EXPECT_EQ(abAgain, ab);

    ASSERT_EQ(IniUnpackFdsc(ab.data(), fSwap), 0U);
    const auto &fdsc = reinterpret_cast<const FDSC &>(ab[0]);
    const ULONG ulExtent = Extent(fdsc);
    ULONG ulBytes = 0;
    const ULONG rc = IniSizeofData(&fdsc, nullptr, &ulBytes);
    ASSERT_TRUE(rc == 0 ? ulBytes == ulExtent : rc == ERROR_FDSC_TYPE && ulBytes <= ulExtent) << rc;
    if (ulExtent > 10000) return;

    const Bytes abFrom = SomeBytes(ulExtent), abBefore = SomeBytes(ulExtent);
    Bytes abPacked = abBefore, abUnpacked = abBefore, abReversed = abBefore, abData = abFrom;
    abData.reserve(1); // an address, even of nothing
    BYTE *pb = abData.data();
    SwpSwapField(&pb, &fdsc, 0);
    EXPECT_EQ(pb, abData.data() + ulExtent);
    EXPECT_EQ(IniPackData(&fdsc, abFrom.data(), abPacked.data()), rc);
    EXPECT_EQ(IniUnpackData(&fdsc, abUnpacked.data(), abFrom.data(), 0), rc);
    EXPECT_EQ(IniUnpackData(&fdsc, abReversed.data(), abFrom.data(), 0x100), rc);
    if (rc == 0) {
      EXPECT_EQ(abPacked, Travelled(fdsc, abFrom, abBefore, false));
      EXPECT_EQ(abUnpacked, abPacked);
      EXPECT_EQ(abReversed, Travelled(fdsc, abFrom, abBefore, true));
      EXPECT_EQ(abData, Travelled(fdsc, abFrom, abFrom, true));
    }
    ConvertValues(fdsc, abData.data());
    if (Random(8)) return; // files take their time
    EXPECT_LT(Written({{abData.data(), fdsc}}).size(), 3000 * (ulExtent + ab.size()));
    IniRead(OpenIni("data.ini").get(), abData.data(), &fdsc);
  }
  void Damage(Bytes &ab) {
    const ULONG ulAt = Random(ab.size() / 4) * 4, ulOther = Random(ab.size() / 4) * 4;
    const ULONG aul[] = {Random(64), At(ab, ulOther), At(ab, ulAt) + 4, At(ab, ulAt) - 28};
    const ULONG ulKind = Random(7);
    const auto itFormat = std::find(ab.begin() + static_cast<LONG>(ulAt), ab.end(), '%');
    if (ulKind == 6 && ab.end() - itFormat > 4)
      itFormat[1 + static_cast<LONG>(Random(4))] = static_cast<BYTE>(OneOf("%.*$9dflhmns"));
    if (ulKind < 4) At(ab, ulAt) = aul[ulKind];
    if (ulKind == 4) ab[Random(ab.size())] ^= static_cast<BYTE>(1 << Random(8));
    if (ulKind == 5) ab.resize(ulAt + 4);
  }

 private:
  Bytes SomeBytes(ULONG ulBytes) {
    Bytes ab(ulBytes);
    std::generate(ab.begin(), ab.end(), [this] { return static_cast<BYTE>(Random(256)); });
    return ab;
  }
  void Decorate(FDSC &fdsc) {
    static const char *const apszFormat[] = {"<%-5.3s>", "%05hx", "%%%lu%%", "%.3f", "% 20.9le"};
    const bool fMarked = IsReference(fdsc) || Random(8) == 0;
    if (fdsc.ulType == FT_VERBOSITY || fdsc.ulType == FT_INTERVAL) fdsc.ulType = FT_ULONG;
    fdsc.ulTag = Random(~0UL);
    fdsc.flFlags = fMarked ? Random(~0UL) | flBoth : Random(~0UL) & ~flBoth;
    fdsc.pszFormat =
        fdsc.ulType < FT_DOTTED ? apszFormat["001112234000000"[fdsc.ulType] - '0'] : "%n";
    if (Random(2)) fdsc.pszFormat = nullptr;
    if (Random(4) == 0) fdsc.pszName = nullptr;
    if (ElementSize(fdsc) == 0 || (IsText(fdsc) && Random(4) == 0)) fdsc.pvDesc = nullptr;
  }
};

TEST_F(IniPack, WritesTheRecordsAndTextsWhereTheyBelong) {
  const auto Offset = [](ULONG ul) { return reinterpret_cast<char *>(ul); };
  const EDSC edsc = {1, {"One", nullptr, "Two"}, {7, 8, 9}};
  const SDSC sdsc = Describe({Field("A", FT_ENUM16, 2, &edsc)});
  const FDSC fdsc = {0x11223344, "Recs", 0, FT_STRUCT, 1, nullptr, const_cast<SDSC *>(&sdsc)};
  const ULONG ulSdsc = 28 + 5 + 3, ulA = ulSdsc + 1696, ulEdsc = ulA + 4; // both are aligned
  const FDSC fdscPacked = {0x11223344, Offset(28), 0, FT_STRUCT, 1, nullptr, Offset(ulSdsc)};
  const EDSC edscPacked = {1, {Offset(ulEdsc + 132), nullptr, Offset(ulEdsc + 136)}, {7, 8, 9}};
  SDSC sdscPacked = sdsc;
  sdscPacked.afdsc[0].pszName = Offset(ulA);
  sdscPacked.afdsc[0].pvDesc = Offset(ulEdsc);

  const Bytes ab = Packed(fdsc);

  EXPECT_EQ(std::string(ab.begin(), ab.end()),
            BytesOf(fdscPacked) + "Recs\0\xEE\xEE\xEE"s + BytesOf(sdscPacked) + "A\0\xEE\xEE"s +
                BytesOf(edscPacked) + "One\0Two\0"s + std::string(28, '\xEE'))
      << "padding, and the room of the nested field, are not written";
}

TEST_F(IniPack, StopsAtTheFirstErrorAndKeepsWhatWasDone) {
  const struct {
    ULONG ulOfType, flFlags, rcFdsc, rcData;
  } aCase[] = {
      {FT_VERBOSITY, 0, 0, ERROR_FDSC_TYPE},
      {18, 0, 0, ERROR_FDSC_TYPE},
      {FT_TYPES, 0, 0, ERROR_FDSC_TYPE},
      {FT_PSZ, 0, ERROR_FDSC_POINTER, ERROR_FDSC_POINTER},
      {FT_STRUCTLIST, FDSC_NOINI, ERROR_FDSC_POINTER, 0},
      {FT_VALUELIST, FDSC_NOPACK, ERROR_FDSC_POINTER, 0},
      {FT_STRUCTPTR, ~flBoth, ERROR_FDSC_POINTER, ERROR_FDSC_POINTER},
      {FT_STRUCTPTR, flBoth, 0, 0},
  };
  for (const auto &[ulOfType, flFlags, rcFdsc, rcData] : aCase) {
    SCOPED_TRACE(ulOfType);
    SDSC sdscIn = Describe({Field(nullptr, FT_USHORT), Field(nullptr, ulOfType, 1, nullptr, flBoth),
                            Field(nullptr, FT_USHORT)});
    SDSC sdsc = Describe({Field(nullptr, sdscIn, 2), Field(nullptr, FT_USHORT)});
    const FDSC fdsc = Field(nullptr, sdsc);
    Bytes ab = Packed(fdsc);
    At(ab, 28 + 1696 + ulFirst + 28 + ulFlags) = flFlags;
    sdscIn.afdsc[1].flFlags = flFlags;
    EXPECT_EQ(IniUnpackFdsc(ab.data(), 0), rcFdsc);
    EXPECT_EQ(IniPackFdsc(&fdsc, ab.data()), rcFdsc);

    std::string strPacked(18, '.'), strUnpacked = strPacked;
    const auto *pbFrom = reinterpret_cast<const BYTE *>("abPPPPcdefQQQQghij");
    ULONG ulBytes = 0;
    EXPECT_EQ(IniPackData(&fdsc, pbFrom, reinterpret_cast<BYTE *>(strPacked.data())), rcData);
    EXPECT_EQ(IniUnpackData(&fdsc, strUnpacked.data(), pbFrom, 1), rcData);
    EXPECT_EQ(IniUnpackData(&fdsc, nullptr, pbFrom, 1), rcData);
    EXPECT_EQ(IniSizeofData(&fdsc, nullptr, &ulBytes), rcData);
    EXPECT_EQ(strPacked, rcData ? "ab................" : "ab....cdef....ghij");
    EXPECT_EQ(strUnpacked, rcData ? "ba................" : "ba....dcfe....hgji");
    EXPECT_EQ(ulBytes, rcData ? 2U : 18U);
  }
}

TEST_F(IniPack, RefusesEachKindOfDamage) {
  EDSC edsc = {1, {"One"}, {}};
  const SDSC sdscIn =
      Describe({Field("E", FT_ENUM16, 1, &edsc), Field("P", FT_PSZ, 1, nullptr, flBoth)});
  const SDSC sdsc = Describe({Field("A", sdscIn, 2), Field("B", sdscIn)});
  Bytes abGood = Packed(Field("Top", sdsc, 3));
  abGood.resize(abGood.size() - 6 * 28); // what it takes
  const ULONG ulTop = 32, ulA = ulTop + ulFirst, ulIn = ulTop + 1696 + 4;
  const ULONG ulE = ulIn + ulFirst, ulP = ulE + 28, ulEdsc = ulIn + 1696 + 4;
  const struct {
    ULONG rc, ulAt, ul;
  } aCase[] = {
      {ERROR_FDSC_TYPE, ulType, 18},
      {ERROR_FDSC_TYPE, ulType, FT_TYPES},
      {0, ulP + ulType, FT_INTERVAL}, // which is as large as a pointer
      {ERROR_FDSC_POINTER, ulP + ulFlags, FDSC_NOINI},
      {ERROR_FDSC_LAYOUT, ulName, 29}, // elsewhere
      {ERROR_FDSC_LAYOUT, ulEdsc + 4, 0xFFFFFFFF},
      {ERROR_FDSC_LAYOUT, ulA + ulDesc, ulTop}, // in itself
      {ERROR_FDSC_LIMIT, ulTop, 61},
      {ERROR_FDSC_LIMIT, ulEdsc, 17},
      {ERROR_FDSC_LIMIT, ulCount, 0x0E38E38F}, // times 18 bytes: 33 bits,
      {ERROR_FDSC_LIMIT, ulCount, 0x071C71C8}, // 32 bits,
      {0, ulCount, 0x071C71C7},                // 31 bits
      {ERROR_FDSC_SIZE, ulA + ulCount, 3},
      {ERROR_FDSC_SIZE, ulTop + ulSize, 17},
      {ERROR_FDSC_SIZE, ulIn + ulSize, 7},
  };
  for (const auto &[rc, ulAt, ul] : aCase) {
    Bytes ab = abGood;
    At(ab, ulAt) = ul;
    EXPECT_EQ(Check(ab), rc) << ulAt << ": " << ul;
  }
  for (ULONG ul = 0; ul < abGood.size(); ul++)
    ASSERT_EQ(Check(Bytes(abGood.data(), &abGood[ul])), ULONG{ERROR_FDSC_LAYOUT}) << ul;
  EXPECT_EQ(Check(abGood), 0U);
  EXPECT_EQ(IniCheckFdsc(nullptr, 28, 0), ULONG{ERROR_FDSC_LAYOUT});
}

TEST_F(IniPack, RefusesFormatsThatAreNotForTheField) {
  const struct {
    ULONG ulOfType;
    const char *pszFine, *pszRefused; // '' is an empty one
  } aCase[] = {
      {FT_BYTE, "%hd %3hhu 0x%02hX", "%d %ld %s %c %hhn %hf"},
      {FT_USHORT, "%hu %hi %+5.3ho", "%u %hhu %lu %s %hn %128hu %hu%hu"},
      {FT_LONG, "%i %-li", "%n %s %9999999d %4294967297lu %llu none %% %"},
      {FT_ULONG, "%08lx %lu%% %-127.127lu %d", "%128lu %.128lu %*lu %1$lu %mlu %lu,%lu"},
      {FT_FLOAT, "%f %.3f %10.4lg %a", "%lf %Lf %.3Lf %.*f %ld %s"},
      {FT_DOUBLE, "%lf %.3f %.0lE", "%f %Lf %.3Lf %.200lf %lu %s"},
      {FT_STRING, "%s %-20s. <%.8s>", "%ls %S %c %d %p %[a] %ms %s%s %s%n %*s"},
      {FT_ENUM16, "%20s", "%hd %n"},
      {FT_DOTTED, "%n '' %s%s", ""},
  };
  for (const auto &[ulOfType, pszFine, pszRefused] : aCase)
    for (const auto &[pszFormats, rc] :
         {std::pair{pszFine, 0}, std::pair{pszRefused, ERROR_FDSC_FORMAT}})
      for (const std::string &str : Words(pszFormats))
        EXPECT_EQ(Check(Formatted(Field(nullptr, ulOfType), str.c_str())), ULONG(rc))
            << ulOfType << ": " << str;
}

TEST_F(IniPack, RefusesWhatIsBeyondTheLimits) {
  const std::string strLong(INI_MAX_TEXT, 'n'), strTooLong = strLong + "n";
  const EDSC edsc = {1, {strLong.c_str()}, {}},
             edscTooLong = {0, {nullptr, strTooLong.c_str()}, {}};
  const SDSC sdscEmpty = {};
  SDSC sdscByte = Describe({Field(nullptr, FT_BYTE)}); // and empty structures in it
  SDSC sdscDots = Describe({Field(nullptr, FT_STRING, 2), Field(nullptr, FT_STRING, 3)});
  sdscDots.ulSize = 99; // which nobody reads
  std::deque<SDSC> chain(1);
  while (chain.size() < 128) chain.push_back(Describe({Field(nullptr, chain.back())}));
  const struct {
    ULONG rc;
    FDSC fdsc;
  } aCase[] = {
      {0, Field(strLong.c_str(), FT_ENUM32, 1, &edsc)},
      {ERROR_FDSC_LIMIT, Field(nullptr, FT_ENUM32, 1, &edscTooLong)},
      {ERROR_FDSC_LIMIT, Field(strTooLong.c_str(), FT_LONG)},
      {0, Field(nullptr, FT_DOTTED, 6, &sdscDots)},
      {0, Field(nullptr, sdscEmpty, 1723)},
      {ERROR_FDSC_LIMIT, Field(nullptr, sdscEmpty, 1724)},
      {ERROR_FDSC_LIMIT, Field(nullptr, sdscEmpty, 4000000000)},
      {0, Field(nullptr, chain[126])},
      {ERROR_FDSC_LIMIT, Field(nullptr, chain[127])},
  };
  for (const auto &[rc, fdsc] : aCase) EXPECT_EQ(Check(fdsc), rc) << &rc - &aCase[0].rc;
  for (; sdscByte.ulFields < 10; Add(sdscByte, Field(nullptr, sdscEmpty)))
    EXPECT_EQ(Check(Field(nullptr, sdscByte, 1000000)), sdscByte.ulFields <= 5 ? 0U : 10U);
}

// --- Random descriptions, whole and damaged ---

TEST_F(IniPack, TakesWhatIsWholeToBothByteOrdersAndAcceptsOnlyWhatCanBeUsed) {
  LiftLimits();
  ULONG aulResults[2] = {};
  Bytes abWhole;
  for (ULONG ulTry = 0; ulTry < 10000 && !HasFailure(); ulTry++) {
    SCOPED_TRACE(ulTry);
    const ULONG fSwap = Random(2) * 0x80; // any truth value
    const bool fWhole = ulTry % 25 == 0;
    if (fWhole) abWhole = Packed(NewTravelling(ulTry % 100 ? 1 : 2));
    Bytes ab = abWhole;
    if (fSwap) ReverseDescription(ab);
    for (ULONG ulTimes = fWhole ? 0 : 1 + Random(3); ulTimes > 0; ulTimes--) Damage(ab);

    const bool fAccepted = IniCheckFdsc(Bytes(ab).data(), ab.size(), fSwap) == 0;

    ASSERT_TRUE(fAccepted || !fWhole);
    if (fAccepted) UseAccepted(ab, fSwap);
    aulResults[fAccepted]++;
  }
  EXPECT_GT(std::min(aulResults[0], aulResults[1]), 1000U);
}
} // namespace
