// generated.h: random descriptions, with any data that fits them as the text of a file.
#pragma once

#include <array>
#include <deque>
#include <span>

#include "described.h"
#include "input.h"

// Descriptors of random structures, with their data as text. Names have four letters, so that joined names never
// collide.
class Generated : public FileTest {
 protected:
  FDSC Named(ULONG ulType, ULONG ulCount, const void *pvDesc) {
    std::string &strName = names_.emplace_back("Faaa");
    for (ULONG ul = 0, ulName = names_.size(); ul < 3; ul++, ulName /= 26)
      strName[ul + 1] = static_cast<char>('a' + ulName % 26);
    return Field(strName.c_str(), ulType, ulCount, pvDesc);
  }

  const SDSC *Structure(int iDepth) {
    SDSC &sdsc = sdscs_.emplace_back();
    for (ULONG ul = Random(9); ul > 0; ul--) Add(sdsc, Key(3));
    if (Random(2)) Add(sdsc, Named(FT_VALUELIST, 1, &elements_.emplace_back(Key(1))));
    for (ULONG ul = iDepth > 0 ? Random(4) : 0; ul > 0; ul--) {
      const ULONG ulType =
          std::to_array<ULONG>({FT_STRUCT, FT_STRUCT, FT_STRUCTLIST, FT_STRUCTPTR})[Random(4)];
      Add(sdsc, Named(ulType, ulType == FT_STRUCT ? 1 + Random(3) : 1, Structure(iDepth - 1)));
    }
    return &sdsc;
  }

  // Puts any data of a structure into a file as the writer is to put them: its section, with the keys and then the
  // sections within.
  void PutStructure(std::string &str, const SDSC &sdsc, const std::string &strTitle) {
    str += "\n[" + strTitle + " ]\n";
    for (const bool fSections : {false, true})
      for (const FDSC &fdsc : std::span(sdsc.afdsc, sdsc.ulFields))
        if ((fdsc.ulType >= FT_STRUCT) == fSections && !fdsc.flFlags) PutField(str, fdsc, strTitle);
  }

  std::deque<SDSC> sdscs_;    // the structures so far,
  std::deque<FDSC> elements_; // and the elements of value lists

 private:
  FDSC Key(ULONG ulMostElements) {
    FDSC fdsc = Named(Random(FT_INTERVAL + 1), 1, nullptr);
    fdsc.ulCount = 1 + Random(IsText(fdsc) ? 31 : ulMostElements);
    if (fdsc.ulType == FT_ENUM16 || fdsc.ulType == FT_ENUM32) fdsc.pvDesc = &edsc_;
    if (fdsc.ulType == FT_DOTTED) {
      sdscDotted_ = {2, 0, 7, 0, {Field("", FT_FIXEDSTRING, 3), Field("", FT_FIXEDSTRING, 4)}};
      fdsc.ulCount = 7;
      fdsc.pvDesc = &sdscDotted_;
    }
    if (Random(10) == 0 && ulMostElements > 1) fdsc.flFlags = FDSC_NOINI;
    return fdsc;
  }

  void PutField(std::string &str, const FDSC &fdsc, const std::string &strTitle) {
    const bool fList = fdsc.ulType == FT_STRUCTLIST || fdsc.ulType == FT_VALUELIST;
    const ULONG ulElements = fList                         ? Random(5)
                             : fdsc.ulType == FT_STRUCTPTR ? Random(2)
                                                           : Elements(fdsc);
    const FDSC &fdscValue = fdsc.ulType == FT_VALUELIST ? ItemOf(fdsc) : fdsc;
    for (ULONG ul = 1; ul <= ulElements; ul++) {
      const std::string strName =
          fdscValue.pszName + (fList || ulElements > 1 ? " " + std::to_string(ul) : "");
      if (fdscValue.ulType < FT_STRUCT)
        str += "  " + strName + " = " + Value(fdscValue) + "\n";
      else
        PutStructure(str, StructureOf(fdsc), strTitle + " " + strName);
    }
  }

  std::string Value(
      const FDSC &fdsc) { // any, as it is written; a quoted one may begin and end with blanks
    static const char *const apszValues[] = {"TRUE~FALSE",
                                             "TRUE~FALSE",
                                             "0~17~255",
                                             "-32768~-1~32767",
                                             "0~65535",
                                             "-2147483648~2147483647",
                                             "0~4294967295",
                                             "-1.500000~1000000.250000",
                                             "-0.015625~4294967295.500000",
                                             "",
                                             "",
                                             "One~Two~Three",
                                             "One~Two~Three",
                                             "1970-01-01_00:00:01.5000~2106-02-07_06:28:15.5000",
                                             "",
                                             "\"a.bcde\"~\"abc.\"~\"a.b\"",
                                             "Error|Debug|Area12~ Warning|Area1",
                                             "1d1h1m1s~59s~49710d"};
    const auto astr = Split(apszValues[fdsc.ulType]);
    if (!astr.empty()) return astr[Random(astr.size())];
    const bool fFixed = fdsc.ulType == FT_FIXEDSTRING;
    std::string str(
        fFixed ? fdsc.ulCount : Random(fdsc.ulType == FT_PSZ ? INI_MAX_TEXT + 1 : fdsc.ulCount),
        ' ');
    for (char &ch : str)
      ch = "ab XY09[]=#;%.,-_\\\xE4"[Random(fFixed ? 18 : 19)]; // the last one is not printable
    return '"' + str + '"';
  }

  std::deque<std::string> names_;
  SDSC sdscDotted_ = {};
  EDSC edsc_ = {3, {"One", "Two", "Three"}, {1, -2, 40000}};
};
