// swap_test.cpp: reversal of values, arrays and described data.

#include "zebbase/swp.h"

#include <numeric>

#include "described.h"

namespace {
using Bytes = std::vector<BYTE>;

template <typename T, void (*pfnSwap)(T *)>
void SwapEach(BYTE *pb, ULONG ulCount) {
  for (; ulCount > 0; ulCount--, pb += sizeof(T)) pfnSwap(reinterpret_cast<T *>(pb));
}
void SwapArray(BYTE *pb, ULONG ulCount) {
  SwpSwapLongArray(reinterpret_cast<ULONG *>(pb), ulCount);
}

TEST(Swp, ReversesEachValueOfAnyBitPatternAtAnyAddressAndNothingBesides) {
  const struct {
    ULONG ulWidth;
    void (*pfnSwap)(BYTE *, ULONG);
  } aCase[] = {
      {2, SwapEach<SHORT, SwpSwapShort>},
      {2, SwapEach<USHORT, SwpSwapUShort>},
      {4, SwapEach<LONG, SwpSwapLong>},
      {4, SwapEach<ULONG, SwpSwapULong>},
      {4, SwapEach<float, SwpSwapFloat>},
      {8, SwapEach<double, SwpSwapDouble>},
      {4, SwapArray},
  };
  const Bytes abNaN = {0x7F, 0xA0, 1, 2, 1, 2, 0xA0, 0x7F,
                       3,    4,    5, 6, 7, 8, 0xF4, 0x7F}; // signalling
  for (const auto &[ulWidth, pfnSwap] : aCase)
    for (const ULONG ulCount : {0U, 1U, 2U, 3U, 15U, 16U, 17U, 67U})
      for (ULONG ulAt = 0; ulAt < 17; ulAt++) {
        SCOPED_TRACE(testing::Message() << ulCount << " of " << ulWidth << " bytes at " << ulAt);
        Bytes abBefore(ulAt + ulCount * ulWidth + 16 + 3);
        std::iota(abBefore.begin(), abBefore.end(), BYTE{0});
        std::copy(abNaN.begin(), abNaN.end(), abBefore.begin() + static_cast<LONG>(ulAt));
        Bytes ab = abBefore, abExpected = abBefore;
        for (ULONG ul = 0; ul < ulCount; ul++) {
          BYTE *pb = &abExpected[ulAt + ul * ulWidth];
          std::reverse(pb, pb + ulWidth);
        }

        pfnSwap(&ab[ulAt], ulCount);
        EXPECT_EQ(ab, abExpected);

        pfnSwap(&ab[ulAt], ulCount);
        EXPECT_EQ(ab, abBefore);
      }
}

TEST(Swp, LeavesWhatIsNoNumberAndMovesOverIt) {
  SDSC sdscEmpty = Describe({Field("", FT_STRUCT, 0xFFFFFFFF)}); // nothing, however often
  SDSC sdsc = Describe({Field("", FT_STRUCT, 0xFFFFFFFF, &sdscEmpty)});
  for (const int iType :
       {FT_BYTE, FT_STRING, FT_PSZ, FT_FIXEDSTRING, FT_DOTTED, FT_VERBOSITY, FT_INTERVAL, 18, 24,
        FT_TYPES, FT_STRUCTLIST, FT_VALUELIST, FT_STRUCTPTR, FT_USHORT})
    sdsc.afdsc[sdsc.ulFields++] = Field("", static_cast<ULONG>(iType), 2, &sdsc);
  const FDSC fdsc = Field("", FT_STRUCT, 2, &sdsc);
  Bytes ab(2 * (4 * 2 + 6 * 8 + 4)); // of each structure, the last four are numbers
  std::iota(ab.begin(), ab.end(), BYTE{0});
  Bytes abExpected = ab;
  for (const ULONG ul : {56U, 58U, 116U, 118U}) std::swap(abExpected[ul], abExpected[ul + 1]);

  BYTE *pb = ab.data();
  SwpSwapField(&pb, &fdsc, 0);

  EXPECT_EQ(pb, ab.data() + ab.size());
  EXPECT_EQ(ab, abExpected);
}

struct NODE {
  USHORT us;
  NODE *apnode[2];
} __attribute__((packed));

TEST(Swp, FollowsTheFirstReferenceAndOnceAroundACycle) {
  SDSC sdsc = Describe({Field("", FT_USHORT), Field("", FT_STRUCTPTR, 2, &sdsc)});
  NODE nodeOther = {0x0A0B, {}};
  NODE node3 = {0x0506, {}};
  NODE node2 = {0x0304, {&node3, &nodeOther}};
  NODE node1 = {0x0102, {&node2, nullptr}};
  const auto Swap = [&](ULONG fFollow) {
    BYTE *pb = reinterpret_cast<BYTE *>(&node1);
    SwpSwapStructure(&pb, &sdsc, fFollow);
    EXPECT_EQ(pb, reinterpret_cast<BYTE *>(&node1 + 1));
    return std::vector<ULONG>{node1.us, node2.us, node3.us, nodeOther.us};
  };

  EXPECT_EQ(Swap(0), (std::vector<ULONG>{0x0201, 0x0304, 0x0506, 0x0A0B}));
  EXPECT_EQ(Swap(0x100), (std::vector<ULONG>{0x0102, 0x0403, 0x0605, 0x0A0B}));
  for (NODE *pnode : {&node1, &node2, &node3}) {
    node3.apnode[0] = pnode;
    EXPECT_EQ(Swap(1), (std::vector<ULONG>{0x0201, 0x0304, 0x0506, 0x0A0B}));
    EXPECT_EQ(Swap(1), (std::vector<ULONG>{0x0102, 0x0403, 0x0605, 0x0A0B}));
  }
}
} // namespace
