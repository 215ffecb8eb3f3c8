// tag_test.cpp: files of tagged records: writing, finding, both byte orders, and what is no record.

#include "zebbase/tag.h"

#include <memory>

#include "support.h"

namespace {
using Stream = std::unique_ptr<FILE, int (*)(FILE *)>;
using namespace std::string_literals;

Stream NewFile(const std::string &str = "") {
  Stream pf(std::tmpfile(), std::fclose);
  std::fwrite(str.data(), 1, str.size(), pf.get());
  std::rewind(pf.get());
  return pf;
}

Stream NewPipe(const std::string &str) { // its writer has gone
  int aiEnd[2];
  EXPECT_EQ(pipe(aiEnd), 0);
  EXPECT_EQ(write(aiEnd[1], str.data(), str.size()), static_cast<ssize_t>(str.size()));
  close(aiEnd[1]);
  return {fdopen(aiEnd[0], "rb"), std::fclose};
}

const auto strLittle = "I\x1F\x02\x00\x03\x00\x00\x00\x44\x33\x22\x11\x88\x77\x66\x55"s;
const auto strBig = "M\x1F\x00\x02\x00\x00\x00\x03\x11\x22\x33\x44\x55\x66\x77\x88"s;
const auto &strNative = TAG_NATIVE == TAG_LITTLE_ENDIAN ? strLittle : strBig;

TEST(Tag, RecordsAreWrittenInTheMachinesOrderOrItIsSaidWhatCouldNotBe) {
  const struct {
    std::size_t cbRoom; // in the stream
    ULONG rc;
  } aCase[] = {{15, ERROR_TAG_WRITE}, {16, ERROR_TAG_WRITE_DATA}, {19, 0}};
  for (const auto &[cbRoom, rc] : aCase) {
    char ach[19] = {};
    const Stream pf(fmemopen(ach, cbRoom, "r+b"), std::fclose);
    std::setvbuf(pf.get(), nullptr, _IONBF, 0);

    for (const ULONG ulSize : {0U, 3U})
      EXPECT_EQ(TagWriteRecord(pf.get(), 2, ulSize, 1, 1, nullptr), ULONG{ERROR_TAG_NO_DATA});
    EXPECT_EQ(TagWriteRecord(pf.get(), 2, 3, 0x11223344, 0x55667788, "abc"), rc) << cbRoom;
    EXPECT_TRUE(rc != 0 || std::string(ach, cbRoom) == strNative + "abc");
  }
}

TEST(Tag, HeadersOfBothOrdersGiveTheSameNumbers) {
  for (const auto &str : {strLittle, strBig}) {
    TAG tag;
    ASSERT_EQ(TagReadTag(NewFile(str).get(), &tag), 0U);
    EXPECT_EQ(BytesOf(tag), BytesOf(TAG{str[0], TAG_MAGIC, 2, 3, 0x11223344, 0x55667788}));

    tag.bMagic = 0;
    EXPECT_EQ(TagWriteTag(NewFile().get(), &tag), 0U);
    EXPECT_EQ(BytesOf(tag), strNative) << "whatever the mark was, it is now the truth";
  }
}

TEST(Tag, WhatIsNoHeaderIsRefusedAndStaysAsItWasRead) {
  TAG tag;
  for (const auto &str : {"M\x1E" + strBig.substr(2), "J" + strLittle.substr(1)}) {
    EXPECT_EQ(TagReadTag(NewFile(str).get(), &tag), ULONG{ERROR_TAG_BAD_HEADER}) << str;
    EXPECT_EQ(BytesOf(tag), str);
    EXPECT_EQ(TagGetTag(NewFile(str).get(), 2, &tag), ULONG{ERROR_TAG_NOT_FOUND}) << str;
  }
  EXPECT_EQ(TagReadTag(NewFile(strLittle.substr(1)).get(), &tag), ULONG{ERROR_TAG_READ});
  EXPECT_EQ(TagReadTag(nullptr, &tag), ULONG{ERROR_TAG_READ});
  EXPECT_EQ(TagReadTag(NewFile(strLittle).get(), nullptr), ULONG{ERROR_TAG_READ});
  EXPECT_EQ(TagWriteTag(nullptr, &tag), ULONG{ERROR_TAG_WRITE});
  EXPECT_EQ(TagWriteTag(NewFile().get(), nullptr), ULONG{ERROR_TAG_WRITE});
  EXPECT_EQ(TagGetTag(NewFile(strLittle).get(), 2, nullptr), ULONG{ERROR_TAG_NOT_FOUND});
  EXPECT_EQ(TagSwapTag(nullptr), ULONG{ERROR_TAG_BAD_HEADER});
}

TEST(Tag, TheFirstRecordFromThePositionOnIsFound) {
  const Stream pf = NewFile();
  for (USHORT us = 0; us < 50; us++)
    ASSERT_EQ(TagWriteRecord(pf.get(), us, us, us, 0, std::string(us, 'x').data()), 0U);
  TAG tag = {'x', 0, 0, 0, 0, 0};
  const struct {
    USHORT usTag;
    ULONG rc;
  } aCase[] = {{45, 0}, {46, ERROR_TAG_NOT_FOUND}, {47, ERROR_TAG_NOT_FOUND}, {3, 0}};
  for (const auto &[usTag, rc] : aCase) {
    std::rewind(pf.get());
    EXPECT_EQ(TagGetTag(pf.get(), usTag, &tag), rc) << usTag;
  }
  EXPECT_EQ(std::ftell(pf.get()), 4 * 16 + 0 + 1 + 2);
  std::fseek(pf.get(), 3, SEEK_CUR);
  EXPECT_EQ(TagGetTag(pf.get(), 3, &tag), ULONG{ERROR_TAG_NOT_FOUND});
  EXPECT_EQ(tag.ulParam1, 3U) << "is unchanged";
}

TEST(Tag, MoreThanTwoGigabytesArePassedOverButNotInAPipe) {
  const Stream pf = NewFile();
  TAG tag = {0, 0, 1, 0xFFFFFFF0, 0, 0};
  ASSERT_EQ(TagWriteTag(pf.get(), &tag), 0U);
  ASSERT_EQ(fseeko(pf.get(), off_t{0x100000000}, SEEK_SET), 0);
  ASSERT_EQ(TagWriteRecord(pf.get(), 2, 0, 0, 0, ""), 0U); // a header alone
  std::rewind(pf.get());

  EXPECT_EQ(TagGetTag(pf.get(), 2, &tag), 0U);
  EXPECT_EQ(ftello(pf.get()), off_t{0x100000010});
  EXPECT_EQ(TagGetTag(NewPipe(strLittle + "abc" + strLittle).get(), 3, &tag),
            ULONG{ERROR_TAG_SEEK});
  EXPECT_EQ(TagGetTag(NewPipe(strLittle + "abc").get(), 2, &tag), 0U);
}
} // namespace
