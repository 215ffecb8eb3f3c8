// zebtag.cpp: files of tagged records from the shell: listed, shown, checked and taken apart.
// A file is read record by record, and a record's data in pieces, so that memory does not grow with the file. Only a
// description, and the data of a record that is to be shown by it, are held as a whole, up to a limit.

#include <sys/stat.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <string_view>

#include "tool.h"

namespace {
using zebbase::Block;

constexpr ULONG ulMostHeld = 1 << 24; // bytes of a description, and of the data that it describes

// --- Records ---

struct CloseFile {
  void operator()(FILE *pf) const { std::fclose(pf); }
};
using Stream = std::unique_ptr<FILE, CloseFile>;

// A record of a file, with the stream at its data.
struct RECORD {
  TAG tag;
  long long llOffset; // of its header
  FILE *pf;

  bool IsForeign() const { return tag.chByteOrder != TAG_NATIVE; }
};

// Opens a regular file: others do not tell where they end.
Stream Open(const char *pszFile, long long &llSize) {
  struct stat st;
  if (stat(pszFile, &st) != 0) return SystemTrouble(pszFile, errno), nullptr;
  if (!S_ISREG(st.st_mode)) return Trouble(pszFile, "not a regular file"), nullptr;
  llSize = st.st_size;
  Stream stream(std::fopen(pszFile, "rb"));
  if (!stream) SystemTrouble(pszFile, errno);
  return stream;
}

__attribute__((format(printf, 3, 4))) STATUS Damage(const char *pszFile, long long llOffset, const char *pszFormat,
                                                    ...) {
  char szWhat[128];
  std::va_list va;
  va_start(va, pszFormat);
  std::vsnprintf(szWhat, sizeof szWhat, pszFormat, va);
  va_end(va);
  Trouble(pszFile, "byte %lld: %s", llOffset, szWhat);
  return statusNo;
}

// Reads the header at an offset, and holds it against the file.
STATUS ReadRecord(const char *pszFile, FILE *pf, long long llOffset, long long llSize, RECORD &rec) {
  rec = {{}, llOffset, pf};
  if (fseeko(pf, llOffset, SEEK_SET) != 0) return SystemTrouble(pszFile, errno);
  const long long llLeft = llSize - llOffset - static_cast<long long>(sizeof(TAG));
  if (llLeft < 0) return Damage(pszFile, llOffset, "the file ends within the header of a record");
  const ULONG rc = TagReadTag(pf, &rec.tag);
  if (rc == ERROR_TAG_READ) return SystemTrouble(pszFile, errno);
  if (rc != 0) return Damage(pszFile, llOffset, "no record begins here");
  if (rec.tag.usTag > TAG_MAX)
    return Damage(pszFile, llOffset, "a record of number %u, above %d", rec.tag.usTag, TAG_MAX);
  if (rec.tag.ulSize <= llLeft) return statusGood;
  return Damage(pszFile, llOffset, "a record of %lu bytes, of which %lld are there", rec.tag.ulSize, llLeft);
}

// Calls visit(record) for each record, up to the first that is damaged or for which it gives trouble.
template <typename Visit>
STATUS ForRecords(const char *pszFile, const Visit &visit) {
  long long llSize = 0;
  const Stream stream = Open(pszFile, llSize);
  STATUS status = stream ? statusGood : statusTrouble;
  RECORD rec;
  for (long long ll = 0; status == statusGood && ll < llSize;
       ll += static_cast<long long>(sizeof(TAG)) + rec.tag.ulSize) {
    status = ReadRecord(pszFile, stream.get(), ll, llSize, rec);
    if (status == statusGood) status = visit(rec);
  }
  return status;
}

STATUS CopyData(const char *pszFile, const RECORD &rec, FILE *pfTo) {
  char ach[65536];
  for (ULONG ulLeft = rec.tag.ulSize; ulLeft > 0;) {
    const std::size_t cb = std::fread(ach, 1, std::min<ULONG>(ulLeft, sizeof ach), rec.pf);
    if (cb == 0) return Trouble(pszFile, "cannot be read");
    if (std::fwrite(ach, 1, cb, pfTo) != cb) return statusTrouble; // told in the end
    ulLeft -= cb;
  }
  return statusGood;
}

// The number of a record as it was typed; -1 for no such number.
int NumberOf(const char *psz) {
  char *pszEnd;
  const long l = std::strtol(psz, &pszEnd, 10);
  return *psz && *pszEnd == '\0' && l >= 0 && l <= TAG_MAX ? static_cast<int>(l) : -1;
}

// --- Described data ---

bool IsText(ULONG ulType) { return ulType == FT_STRING || ulType == FT_FIXEDSTRING || ulType == FT_DOTTED; }
bool IsReference(ULONG ulType) { return ulType == FT_PSZ || ulType > FT_STRUCT; } // nothing of these travels

// The description that a file carries: the data of a record from which one can be unpacked.
class Description {
 public:
  bool Fits(ULONG ulSize) const { // data of this size; a pointer as such has none
    return block_ && ulSize == ulData_ && !IsReference(Field().ulType);
  }
  const FDSC &Field() const { return *reinterpret_cast<const FDSC *>(block_.get()); }

  // Takes the data of a record, if they are a description.
  bool Take(const BYTE *pb, ULONG ulSize, bool fForeign) {
    if (IniCheckFdsc(pb, ulSize, fForeign) != 0) return false;
    auto block = zebbase::NewArray<BYTE>(ulSize);
    if (!block) return false;
    std::memcpy(block.get(), pb, ulSize);
    const auto *pfdsc = reinterpret_cast<const FDSC *>(block.get());
    ULONG ulData;
    if (IniUnpackFdsc(block.get(), fForeign) != 0 || IniSizeofData(pfdsc, nullptr, &ulData) != 0) return false;
    if (ulData > ulMostHeld) return false;
    block_ = std::move(block);
    ulData_ = ulData;
    return true;
  }

 private:
  Block<BYTE[]> block_;
  ULONG ulData_ = 0;
};

// Prints described data, as lines PATH = VALUE or as JSON.
class Printer {
 public:
  Printer(bool fJson, char *pszText) : fJson_(fJson), pszText_(pszText) {}

  // Prints a field and moves pb over it.
  void PutField(const FDSC &fdsc, const BYTE *&pb, ULONG ulNumber) {
    const ULONG ulElements = IsText(fdsc.ulType) ? 1 : fdsc.ulCount;
    if (IsReference(fdsc.ulType)) {
      pb += ulElements * IniGetTypeDefaults()[fdsc.ulType].ulSize;
      return;
    }
    const std::size_t cbOuter = Enter(fdsc.pszName, ulNumber);
    if (fJson_ && ulElements != 1) std::putchar('[');
    for (ULONG ul = 0; ul < ulElements; ul++) {
      if (fJson_ && ul > 0) std::putchar(',');
      const std::size_t cbField = ulElements != 1 ? EnterElement(ul + 1) : cbPath_;
      PutElement(fdsc, pb);
      cbPath_ = cbField;
    }
    if (fJson_ && ulElements != 1) std::putchar(']');
    cbPath_ = cbOuter;
  }

 private:
  void PutElement(const FDSC &fdsc, const BYTE *&pb) {
    if (fdsc.ulType == FT_STRUCT) return PutStructure(*static_cast<const SDSC *>(fdsc.pvDesc), pb);
    auto *pbData = const_cast<BYTE *>(pb);
    FDSC fdscShown = fdsc;
    if (fJson_) fdscShown.pszFormat = nullptr; // which is for people
    IniConvertToString(&pbData, pszText_, &fdscShown);
    PutValue(fdsc.ulType, pb);
    pb += IsText(fdsc.ulType) ? fdsc.ulCount : IniGetTypeDefaults()[fdsc.ulType].ulSize;
  }

  void PutStructure(const SDSC &sdsc, const BYTE *&pb) {
    if (fJson_) std::putchar('{');
    bool fFirst = true;
    for (ULONG ul = 0; ul < sdsc.ulFields; ul++) {
      const FDSC &fdsc = sdsc.afdsc[ul];
      if (fJson_ && !IsReference(fdsc.ulType)) {
        if (!fFirst) std::putchar(',');
        PutName(fdsc.pszName, ul + 1);
        std::putchar(':');
        fFirst = false;
      }
      PutField(fdsc, pb, ul + 1);
    }
    if (fJson_) std::putchar('}');
  }

  // The text of a value is in pszText_. JSON has no infinity and no NaN.
  void PutValue(ULONG ulType, const BYTE *pb) {
    if (!fJson_) {
      szPath_[cbPath_] = '\0';
      PutPrintable(szPath_);
      std::fputs(" = ", stdout);
      PutPrintable(pszText_);
      std::putchar('\n');
    } else if (ulType == FT_BOOL16 || ulType == FT_BOOL32) {
      std::fputs(*pszText_ == 'T' ? "true" : "false", stdout);
    } else if (ulType == FT_FLOAT || ulType == FT_DOUBLE) {
      PutFraction(ulType, pb);
    } else if (ulType >= FT_BYTE && ulType <= FT_ULONG) {
      std::fputs(pszText_, stdout);
    } else {
      PutString(pszText_);
    }
  }

  static void PutFraction(ULONG ulType, const BYTE *pb) { // to the last bit
    double d = 0;
    float flt;
    std::memcpy(&flt, pb, sizeof flt);
    if (ulType == FT_DOUBLE) std::memcpy(&d, pb, sizeof d);
    if (ulType == FT_FLOAT) d = static_cast<double>(flt);
    if (std::isfinite(d))
      std::printf("%.*g", ulType == FT_FLOAT ? 9 : 17, d);
    else
      std::fputs("null", stdout);
  }

  static void PutPrintable(const char *psz) { // what could end a line or steer a terminal is a '?'
    for (; *psz; psz++) std::putchar(static_cast<unsigned char>(*psz) < ' ' || *psz == 0x7F ? '?' : *psz);
  }
  static void PutString(const char *psz) { // bytes beyond ASCII are taken for those of Latin-1
    std::putchar('"');
    for (; *psz; psz++) {
      const auto ch = static_cast<unsigned char>(*psz);
      if (ch == '"' || ch == '\\') std::putchar('\\');
      if (ch < ' ' || ch >= 0x7F)
        std::printf("\\u%04x", ch);
      else
        std::putchar(ch);
    }
    std::putchar('"');
  }
  void PutName(const char *pszName, ULONG ulNumber) {
    char szNumber[16];
    std::snprintf(szNumber, sizeof szNumber, "#%lu", ulNumber);
    PutString(pszName ? pszName : szNumber);
  }

  // The path of the field at hand; what does not fit is left out. Result: the length before.
  std::size_t Append(const char *pszFormat, const char *psz, ULONG ul) {
    const std::size_t cbRoom = sizeof szPath_ - cbPath_;
    const int cb = std::snprintf(szPath_ + cbPath_, cbRoom, pszFormat, psz, ul);
    return std::exchange(cbPath_, cbPath_ + std::min(static_cast<std::size_t>(cb), cbRoom - 1));
  }
  std::size_t Enter(const char *pszName, ULONG ulNumber) {
    if (pszName) return Append(cbPath_ > 0 ? ".%s" : "%s", pszName, 0);
    return Append(cbPath_ > 0 ? ".%s#%lu" : "%s#%lu", "", ulNumber);
  }
  std::size_t EnterElement(ULONG ulNumber) { return Append("%s[%lu]", "", ulNumber); }

  const bool fJson_;
  char *const pszText_;
  char szPath_[4096] = "";
  std::size_t cbPath_ = 0;
};

// The room that a value of a description, which has been checked, takes as text.
ULONG RoomForText(ULONG ulData) { return ulData + 600; }

void PutHead(const RECORD &rec, bool fJson) {
  const char *pszOrder = rec.tag.chByteOrder == TAG_LITTLE_ENDIAN ? "little" : "big";
  if (fJson)
    std::printf("{\"offset\":%lld,\"type\":%u,\"size\":%lu,\"order\":\"%s\",\"param1\":%lu,\"param2\":%lu",
                rec.llOffset, rec.tag.usTag, rec.tag.ulSize, pszOrder, rec.tag.ulParam1, rec.tag.ulParam2);
  else
    std::printf("%lld\t%u\t%lu\t%s\t%lu\t%lu\n", rec.llOffset, rec.tag.usTag, rec.tag.ulSize, pszOrder,
                rec.tag.ulParam1, rec.tag.ulParam2);
}

// Shows one record: its head and, when the description is for data of this size, the data. A record that is itself a
// description is that of the records behind it.
STATUS ShowRecord(const char *pszFile, const RECORD &rec, Description &description, bool fJson) {
  const bool fHeld = rec.tag.ulSize <= ulMostHeld;
  auto packed = zebbase::NewArray<BYTE>(fHeld ? rec.tag.ulSize : 0);
  if (!packed) return Trouble(pszFile, "no memory");
  if (fHeld && std::fread(packed.get(), 1, rec.tag.ulSize, rec.pf) != rec.tag.ulSize)
    return Trouble(pszFile, "cannot be read");
  PutHead(rec, fJson);
  if (fHeld && !description.Take(packed.get(), rec.tag.ulSize, rec.IsForeign()) && description.Fits(rec.tag.ulSize)) {
    const auto data = zebbase::NewArray<BYTE>(rec.tag.ulSize);
    const auto text = zebbase::NewArray<char>(RoomForText(rec.tag.ulSize));
    if (!data || !text) return Trouble(pszFile, "no memory");
    IniUnpackData(&description.Field(), data.get(), packed.get(), rec.IsForeign());
    const BYTE *pb = data.get();
    if (fJson) std::fputs(",\"data\":", stdout);
    Printer(fJson, text.get()).PutField(description.Field(), pb, 1);
  }
  if (fJson) std::puts("}");
  return statusGood;
}

// --- Commands ---

STATUS List(char **ppsz, int) {
  return ForRecords(ppsz[0], [](const RECORD &rec) {
    PutHead(rec, false);
    return statusGood;
  });
}

STATUS Show(char **ppsz, int iCount) {
  const bool fJson = iCount == 2 && std::strcmp(ppsz[0], "--json") == 0;
  if (iCount == 2 && !fJson) return Trouble("zebtag", "no such option: %s", ppsz[0]);
  const char *pszFile = ppsz[iCount - 1];
  Description description;
  return ForRecords(pszFile, [&](const RECORD &rec) { return ShowRecord(pszFile, rec, description, fJson); });
}

STATUS CheckFile(const char *pszFile) {
  return ForRecords(pszFile, [](const RECORD &) { return statusGood; });
}

STATUS Check(char **ppszFile, int iCount) { return ForFiles(ppszFile, iCount, CheckFile); }

STATUS Cat(char **ppsz, int iCount) {
  const int iNumber = iCount > 1 ? NumberOf(ppsz[1]) : 0;
  if (iNumber < 0) return Trouble("zebtag", "no number of a record: %s", ppsz[1]);
  return ForRecords(ppsz[0], [&](const RECORD &rec) {
    return iCount > 1 && rec.tag.usTag != iNumber ? statusGood : CopyData(ppsz[0], rec, stdout);
  });
}

// Records keep their byte order: header and data are copied as they are.
STATUS Extract(char **ppsz, int) {
  const int iNumber = NumberOf(ppsz[1]);
  if (iNumber < 0) return Trouble("zebtag", "no number of a record: %s", ppsz[1]);
  const Stream stream(std::fopen(ppsz[2], "wbx"));
  if (!stream) return SystemTrouble(ppsz[2], errno);
  STATUS status = ForRecords(ppsz[0], [&](const RECORD &rec) {
    if (rec.tag.usTag != iNumber) return statusGood;
    TAG tag = rec.tag;
    if (rec.IsForeign()) TagSwapTag(&tag);
    if (std::fwrite(&tag, sizeof tag, 1, stream.get()) != 1) return statusTrouble;
    return CopyData(ppsz[0], rec, stream.get());
  });
  if (std::fflush(stream.get()) != 0 || std::ferror(stream.get())) status = Trouble(ppsz[2], "cannot be written");
  if (status == statusTrouble) std::remove(ppsz[2]);
  return status;
}

constexpr COMMAND aCommand[] = {
    {"list", "FILE", 1, 1, List},
    {"show", "[--json] FILE", 1, 2, Show},
    {"check", "FILE...", 1, INT_MAX, Check},
    {"cat", "FILE [NUMBER]", 1, 2, Cat},
    {"extract", "FILE NUMBER NEWFILE", 3, 3, Extract},
    {},
};
constexpr TOOL tool = {
    "zebtag",
    "list     prints offset, number, size, byte order and the two words of each record\n"
    "show     prints the data of records, too, by the description that stands before them in the file\n"
    "check    tells where a file is damaged\n"
    "cat      writes the data of all records, or of those with a number, to standard output\n"
    "extract  copies the records with a number to a new file\n"
    "The status is 0; 1 for a damaged file; 2 for one that cannot be read or written.\n",
    aCommand};
} // namespace

int main(int argc, char **argv) { return Main(tool, argc, argv); }
