// Reversal of values, arrays and described data, against reversal byte by byte.

#include "zebbase/swp.h"

#include <numeric>

#include "described.h"
#include "support.h"

namespace {
using Bytes = std::vector<BYTE>;

template <typename T, void (*pfnSwap)(T *)>
void SwapEach(BYTE *pb, ULONG ulCount) {
  for (; ulCount > 0; ulCount--, pb += sizeof(T)) pfnSwap(reinterpret_cast<T *>(pb));
}
void SwapArray(BYTE *pb, ULONG ulCount) { SwpSwapLongArray(reinterpret_cast<ULONG *>(pb), ulCount); }

TEST(SwpSwap, ReversesEachValueOfAnyBitPatternAtAnyAddressAndNothingBesides) {
  const struct {
    void (*pfnSwap)(BYTE *, ULONG);
    ULONG ulWidth;
  } aCase[] = {{SwapEach<SHORT, SwpSwapShort>, 2},
               {SwapEach<USHORT, SwpSwapUShort>, 2},
               {SwapEach<LONG, SwpSwapLong>, 4},
               {SwapEach<ULONG, SwpSwapULong>, 4},
               {SwapEach<float, SwpSwapFloat>, 4},
               {SwapEach<double, SwpSwapDouble>, 8},
               {SwapArray, 4}};
  const BYTE abNaN[] = {0x7F, 0xA0, 1, 2, 1, 2, 0xA0, 0x7F, 3, 4, 5, 6, 7, 8, 0xF4, 0x7F}; // signalling
  for (const auto &[pfnSwap, ulWidth] : aCase)
    for (const ULONG ulCount : {0U, 1U, 2U, 3U, 15U, 16U, 17U, 67U})
      for (ULONG ulAt = 0; ulAt < 17; ulAt++) {
        Bytes abBefore(ulAt + ulCount * ulWidth + 3);
        for (ULONG ul = 0; ul < abBefore.size(); ul++)
          abBefore[ul] = ul < ulAt + 16 ? abNaN[(ul - ulAt) % 16] : static_cast<BYTE>(ul);
        Bytes ab = abBefore, abExpected = abBefore;
        for (BYTE *pb = &abExpected[ulAt], *pbEnd = pb + ulCount * ulWidth; pb < pbEnd; pb += ulWidth)
          std::reverse(pb, pb + ulWidth);
        pfnSwap(&ab[ulAt], ulCount);
        EXPECT_EQ(ab, abExpected) << ulCount << " values of " << ulWidth << " bytes at " << ulAt;
        pfnSwap(&ab[ulAt], ulCount);
        EXPECT_EQ(ab, abBefore);
      }
}

TEST(SwpSwapField, LeavesWhatIsNoNumberAndMovesOverIt) {
  SDSC sdsc = {}, sdscEmpty = {1, 0, 0, 0, {Field("", FT_STRUCT, 0xFFFFFFFF)}};
  sdsc.afdsc[sdsc.ulFields++] = Field("", FT_STRUCT, 0xFFFFFFFF, &sdscEmpty); // nothing, however often
  for (const ULONG ulType : {2U, 9U, 10U, 14U, 15U, 16U, 17U, 18U, 24U, 29U, 26U, 27U, 28U, 4U})
    sdsc.afdsc[sdsc.ulFields++] = Field("", ulType, 2, &sdsc);
  const FDSC fdsc = Field("", FT_STRUCT, 2, &sdsc);
  Bytes ab(2 * (4 * 2 + 6 * 8 + 4));
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

TEST(SwpSwapStructure, FollowsTheFirstReferenceAndOnceAroundACycle) {
  SDSC sdsc = {2, 0, 0, 0, {Field("", FT_USHORT), Field("", FT_STRUCTPTR, 2, &sdsc)}};
  NODE nodeOther = {0x0A0B, {}}, node3 = {0x0506, {}}, node2 = {0x0304, {&node3, &nodeOther}};
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
