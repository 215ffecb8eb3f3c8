// pack.cpp: binary packing and reversal of bytes, against memcpy.

#include <algorithm>
#include <cstring>

#include "bench.h"
#include "zebbase/ini.h"
#include "zebbase/swp.h"

namespace {
// --- Reversal in place by hand, sixteen bytes at a time ---

using VECTOR = BYTE __attribute__((vector_size(16)));

[[gnu::target_clones("ssse3", "default")]] void Shuffle(void *pv, std::size_t cb, VECTOR vOrder) {
  for (auto *pb = static_cast<BYTE *>(pv), *pbEnd = pb + cb; pb < pbEnd; pb += sizeof(VECTOR)) {
    VECTOR v;
    std::memcpy(&v, pb, sizeof v);
    v = __builtin_shuffle(v, vOrder);
    std::memcpy(pb, &v, sizeof v);
  }
}

void ReverseShorts(void *pv, std::size_t cb) {
  Shuffle(pv, cb, VECTOR{1, 0, 3, 2, 5, 4, 7, 6, 9, 8, 11, 10, 13, 12, 15, 14});
}
void ReverseLongs(void *pv, std::size_t cb) {
  Shuffle(pv, cb, VECTOR{3, 2, 1, 0, 7, 6, 5, 4, 11, 10, 9, 8, 15, 14, 13, 12});
}
void ReverseDoubles(void *pv, std::size_t cb) {
  Shuffle(pv, cb, VECTOR{7, 6, 5, 4, 3, 2, 1, 0, 15, 14, 13, 12, 11, 10, 9, 8});
}

// --- A structure of arrays ---

struct [[gnu::packed]] ARRAYS {
  USHORT aus[1024];
  ULONG aul[1024];
  double ad[256];
  char ach[2048];
};
static_assert(sizeof(ARRAYS) == 10240);

constexpr SDSC sdscArrays = {4,
                             0,
                             sizeof(ARRAYS),
                             0,
                             {{0, "Shorts", 0, FT_USHORT, 1024, nullptr, nullptr},
                              {0, "Longs", 0, FT_ULONG, 1024, nullptr, nullptr},
                              {0, "Doubles", 0, FT_DOUBLE, 256, nullptr, nullptr},
                              {0, "Text", 0, FT_STRING, 2048, nullptr, nullptr}}};
constexpr FDSC fdscArrays = {0, "Arrays", 0, FT_STRUCT, 1, nullptr, const_cast<SDSC *>(&sdscArrays)};

void FloorReverse(ARRAYS &arrays) {
  ReverseShorts(arrays.aus, sizeof arrays.aus);
  ReverseLongs(arrays.aul, sizeof arrays.aul);
  ReverseDoubles(arrays.ad, sizeof arrays.ad);
}

template <typename T>
void Fill(T &data) {
  auto *pb = reinterpret_cast<BYTE *>(&data);
  for (std::size_t u = 0; u < sizeof data; u++) pb[u] = static_cast<BYTE>(u * u + u / 7);
}

template <typename T>
bool AreSame(const T &data1, const T &data2) {
  return std::memcmp(&data1, &data2, sizeof data1) == 0;
}

// --- Single fields: 64 structures of 32 numbers each ---

struct SINGLES {
  ULONG aaul[64][32];
};

SDSC MakeSinglesDescription() {
  SDSC sdsc = {32, 0, 32 * sizeof(ULONG), 0, {}};
  std::fill_n(sdsc.afdsc, 32, FDSC{0, "Number", 0, FT_ULONG, 1, nullptr, nullptr});
  return sdsc;
}
} // namespace

TEST_CASE("pack: 10 KB of arrays") {
  static ARRAYS arrays, arraysUnpacked, arraysFloor;
  static BYTE abPacked[sizeof(ARRAYS)];
  Fill(arrays);
  REQUIRE(IniPackData(&fdscArrays, &arrays, abPacked) == 0);
  REQUIRE(std::memcmp(abPacked, &arrays, sizeof arrays) == 0);
  REQUIRE(IniUnpackData(&fdscArrays, &arraysUnpacked, abPacked, 0) == 0);
  REQUIRE(AreSame(arrays, arraysUnpacked));
  arraysFloor = arrays;
  FloorReverse(arraysFloor);
  REQUIRE(IniUnpackData(&fdscArrays, &arraysUnpacked, abPacked, 1) == 0);
  REQUIRE(AreSame(arraysUnpacked, arraysFloor));
  const auto Copy = [](void *pvTo, const void *pvFrom) {
    std::memcpy(pvTo, pvFrom, Opaque(sizeof(ARRAYS)));
    Touch(pvTo);
  };
  Measure({"pack: pack 10 KB", 1.5}, {[] { IniPackData(&fdscArrays, &arrays, abPacked); }},
          {[=] { Copy(abPacked, &arrays); }});
  Measure({"pack: unpack 10 KB", 1.5}, {[] { IniUnpackData(&fdscArrays, &arraysUnpacked, abPacked, 0); }},
          {[=] { Copy(&arraysFloor, abPacked); }});
  Measure({"pack: unpack 10 KB of arrays, swapped", 2.6},
          {[] { IniUnpackData(&fdscArrays, &arraysUnpacked, abPacked, 1); }}, {[=] { Copy(&arraysFloor, abPacked); }});
}

TEST_CASE("pack: single fields") {
  static SINGLES singles, singlesUnpacked, singlesFloor;
  static BYTE abPacked[sizeof(SINGLES)];
  SDSC sdsc = MakeSinglesDescription();
  const FDSC fdsc = {0, "Singles", 0, FT_STRUCT, 64, nullptr, &sdsc};
  Fill(singles);
  REQUIRE(IniPackData(&fdsc, &singles, abPacked) == 0);
  REQUIRE(IniUnpackData(&fdsc, &singlesUnpacked, abPacked, 1) == 0);
  singlesFloor = singles;
  ReverseLongs(&singlesFloor, sizeof singlesFloor);
  REQUIRE(AreSame(singlesUnpacked, singlesFloor));
  Measure({"pack: unpack 2,048 single fields, swapped", 35},
          {[&] { IniUnpackData(&fdsc, &singlesUnpacked, abPacked, 1); }}, {[] {
            std::memcpy(&singlesFloor, abPacked, Opaque(sizeof abPacked));
            Touch(&singlesFloor);
          }});
}

namespace {
// What the compiler makes of a plain loop for a newer machine.
[[gnu::target("avx2"), gnu::optimize("O3")]] void PeerReverseWords(ULONG *pul, ULONG ulCount) {
  for (ULONG ul = 0; ul < ulCount; ul++) pul[ul] = __builtin_bswap32(pul[ul]);
}

void MeasureWords(const ITEM &item, ULONG ulCount) {
  std::vector<ULONG> aul(ulCount);
  for (ULONG ul = 0; ul < ulCount; ul++) aul[ul] = ul * 2654435761UL;
  std::vector<ULONG> aulFloor = aul;
  SwpSwapLongArray(aul.data(), ulCount);
  ReverseLongs(aulFloor.data(), ulCount * sizeof(ULONG));
  REQUIRE(aul == aulFloor);
  std::vector<CONTENDER> peers;
  if (__builtin_cpu_supports("avx2"))
    peers.push_back({[&] { PeerReverseWords(aul.data(), ulCount); }, {}, "AVX2 loop"});
  Measure(item, {[&] { SwpSwapLongArray(aul.data(), ulCount); }}, {[&] {
            std::memcpy(aulFloor.data(), aul.data(), ulCount * sizeof(ULONG));
            Touch(aulFloor.data());
          }},
          peers);
}
} // namespace

TEST_CASE("pack: reversal") {
  MeasureWords({"pack: reversal of 1 KB of words", 1.4}, 256);
  MeasureWords({"pack: reversal of 1 MB of words", 0.65}, 262144);
}

TEST_CASE("pack: swap of a structure") {
  static ARRAYS arrays, arraysFloor;
  Fill(arrays);
  arraysFloor = arrays;
  const auto Library = [] {
    auto *pb = reinterpret_cast<BYTE *>(&arrays);
    SwpSwapStructure(&pb, &sdscArrays, 0);
  };
  Library();
  FloorReverse(arraysFloor);
  REQUIRE(AreSame(arrays, arraysFloor));
  Measure({"pack: swap of 10 KB of arrays", 3}, {Library}, {[] {
            FloorReverse(arraysFloor);
            Touch(&arraysFloor);
          }});
}
