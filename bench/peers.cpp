// peers.cpp: the optional peers. Each part is compiled where the build has found its library.

#include "peers.h"

#include <strings.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>

#ifdef PEER_GLIB
#include <glib.h>
#endif
#ifdef PEER_INIH
#include <ini.h>
#endif
#ifdef PEER_INIPARSER
#include <iniparser.h>
#endif

namespace {
// The names of the record's fields in their order, behind a prefix.
[[maybe_unused]] std::vector<std::string> FieldNames(const char *pszPrefix) {
  std::vector<std::string> astr;
  for (ULONG ul = 1; ul <= ulGroups; ul++)
    for (const char *psz : {"Active", "Small", "Short", "Word", "Number", "Count", "Value", "Name", "Place", "Colour"})
      astr.push_back(pszPrefix + (psz + std::to_string(ul)));
  return astr;
}

// Reads the record field by field through a reader of single values.
template <typename Reader>
void ReadRecord(const Reader &reader, const std::vector<std::string> &astrName, RECORD &rec) {
  auto it = astrName.begin();
  const auto Name = [&] { return it++->c_str(); };
  for (GROUP &group : rec.agroup) {
    reader.WithText(Name(), [&](const char *psz) { group.fActive = strcasecmp(psz, "TRUE") == 0; });
    group.b = static_cast<BYTE>(reader.Integer(Name()));
    group.s = static_cast<SHORT>(reader.Integer(Name()));
    group.us = static_cast<USHORT>(reader.Integer(Name()));
    group.l = reader.Integer(Name());
    group.ul = reader.Unsigned(Name());
    group.d = reader.Real(Name());
    reader.WithText(Name(), [&](const char *psz) { std::strncpy(group.szName, psz, sizeof group.szName - 1); });
    reader.WithText(Name(), [&](const char *psz) { std::strncpy(group.szPlace, psz, sizeof group.szPlace - 1); });
    reader.WithText(Name(), [&](const char *psz) {
      const auto *pcolour = std::find_if(std::begin(aColour), std::end(aColour),
                                         [psz](const COLOUR &colour) { return strcasecmp(colour.pszName, psz) == 0; });
      group.ulColour = static_cast<ULONG>(pcolour->lValue);
    });
  }
}

template <typename Reader>
Peers RecordPeer(std::shared_ptr<const Reader> reader, const char *pszPrefix, const RECORD &rec, const char *pszName) {
  const auto Read = [reader, astrName = FieldNames(pszPrefix)] {
    RECORD recRead = {};
    ReadRecord(*reader, astrName, recRead);
    Touch(&recRead);
    return recRead;
  };
  const RECORD recRead = Read();
  REQUIRE(std::memcmp(&rec, &recRead, sizeof rec) == 0);
  return {{Read, {}, pszName}};
}

// --- GLib ---

#ifdef PEER_GLIB
struct FreeGlib {
  void operator()(GKeyFile *p) const { g_key_file_free(p); }
  void operator()(GList *p) const { g_list_free(p); }
};
using KeyFile = std::unique_ptr<GKeyFile, FreeGlib>;

KeyFile OpenKeyFile(const char *pszFile) {
  KeyFile file(g_key_file_new());
  g_key_file_load_from_file(file.get(), pszFile, G_KEY_FILE_NONE, nullptr);
  return file;
}

// Values of one group.
struct KEYFILEREADER {
  KeyFile file;
  const char *pszGroup;
  LONG Integer(const char *pszKey) const { return g_key_file_get_integer(file.get(), pszGroup, pszKey, nullptr); }
  ULONG Unsigned(const char *pszKey) const {
    return static_cast<ULONG>(g_key_file_get_uint64(file.get(), pszGroup, pszKey, nullptr));
  }
  double Real(const char *pszKey) const { return g_key_file_get_double(file.get(), pszGroup, pszKey, nullptr); }
  template <typename Use>
  void WithText(const char *pszKey, Use use) const { // without its quotes
    char *psz = g_key_file_get_value(file.get(), pszGroup, pszKey, nullptr);
    const bool fQuoted = *psz == '"';
    if (fQuoted) psz[std::strlen(psz) - 1] = '\0';
    use(psz + fQuoted);
    g_free(psz);
  }
};

Peers KeyFileRecord(const char *pszFile, const RECORD &rec) {
  return RecordPeer(std::make_shared<const KEYFILEREADER>(KEYFILEREADER{OpenKeyFile(pszFile), " Record "}), "", rec,
                    "GKeyFile");
}

GList *ReadItems(GKeyFile *pfile) {
  GList *plist = nullptr;
  char szGroup[32];
  const auto HasItem = [&](ULONG ul) {
    std::snprintf(szGroup, sizeof szGroup, " Item %lu ", ul);
    return g_key_file_has_group(pfile, szGroup);
  };
  for (ULONG ul = 1; HasItem(ul); ul++) {
    auto *pul = g_new(ULONG, 1);
    *pul = static_cast<ULONG>(g_key_file_get_uint64(pfile, szGroup, "Value", nullptr));
    plist = g_list_prepend(plist, pul);
  }
  return g_list_reverse(plist);
}

Peers KeyFileItems(const char *pszFile, const std::vector<ULONG> &aul) {
  const std::shared_ptr<GKeyFile> file(OpenKeyFile(pszFile));
  const auto FreeItems = [](GList *plist) { g_list_free_full(plist, g_free); };
  const auto list = std::make_shared<std::unique_ptr<GList, void (*)(GList *)>>(nullptr, FreeItems);
  const auto Read = [=] { list->reset(ReadItems(file.get())); };
  Read();
  std::vector<ULONG> aulRead;
  for (GList *plist = list->get(); plist; plist = plist->next) aulRead.push_back(*static_cast<ULONG *>(plist->data));
  REQUIRE(aulRead == aul);
  return {{Read, [=] { list->reset(); }, "GKeyFile"}};
}

Peers KeyFileOpen(const char *pszFile) {
  const auto file = std::make_shared<KeyFile>();
  return {{[=] { *file = OpenKeyFile(pszFile); }, [=] { file->reset(); }, "GKeyFile"}};
}

Peers GlibStringCopy(const char *psz, ULONG ulTimes) {
  const auto Copy = [=] {
    for (ULONG ul = 0; ul < ulTimes; ul++) {
      char *pszCopy = g_strdup(psz);
      Touch(pszCopy);
      g_free(pszCopy);
    }
  };
  return {{Copy, {}, "g_strdup, g_free"}};
}

int CompareNumbers(const void *pv1, const void *pv2) {
  const ULONG ul1 = *static_cast<const ULONG *>(pv1);
  const ULONG ul2 = *static_cast<const ULONG *>(pv2);
  return ul1 < ul2 ? -1 : ul1 > ul2;
}

Peers GlibSort(const std::vector<ULONG *> &apul) {
  const auto list = std::make_shared<std::unique_ptr<GList, FreeGlib>>();
  const auto Prepare = [=, &apul] {
    GList *plist = nullptr;
    list->reset();
    for (auto it = apul.rbegin(); it != apul.rend(); ++it) plist = g_list_prepend(plist, *it);
    list->reset(plist);
  };
  return {{[=] { list->reset(g_list_sort(list->release(), CompareNumbers)); }, Prepare, "g_list_sort"}};
}
#else
Peers KeyFileRecord(const char *, const RECORD &) { return {}; }
Peers KeyFileItems(const char *, const std::vector<ULONG> &) { return {}; }
Peers KeyFileOpen(const char *) { return {}; }
Peers GlibStringCopy(const char *, ULONG) { return {}; }
Peers GlibSort(const std::vector<ULONG *> &) { return {}; }
#endif

// --- inih ---

#ifdef PEER_INIH
// It only calls back for each key, so what it finds is kept here.
struct Entry {
  std::string strSection, strName, strValue;
};
using Entries = std::vector<Entry>;

Peers InihOpen(const char *pszFile, ULONG ulKeys) {
  const auto entries = std::make_shared<Entries>();
  const auto Read = [=] {
    ini_parse(
        pszFile,
        [](void *pv, const char *pszSection, const char *pszName, const char *pszValue) {
          static_cast<Entries *>(pv)->push_back({pszSection, pszName, pszValue});
          return 1;
        },
        entries.get());
  };
  Read();
  REQUIRE(entries->size() == ulKeys);
  return {{Read, [=] { Entries().swap(*entries); }, "inih"}};
}
#else
Peers InihOpen(const char *, ULONG) { return {}; }
#endif

// --- iniparser ---

#ifdef PEER_INIPARSER
struct INIPARSERREADER {
  std::unique_ptr<dictionary, void (*)(dictionary *)> dict;
  LONG Integer(const char *pszKey) const { return iniparser_getint(dict.get(), pszKey, 0); }
  ULONG Unsigned(const char *pszKey) const {
    return std::strtoul(iniparser_getstring(dict.get(), pszKey, ""), nullptr, 10);
  }
  double Real(const char *pszKey) const { return iniparser_getdouble(dict.get(), pszKey, 0); }
  template <typename Use>
  void WithText(const char *pszKey, Use use) const {
    use(iniparser_getstring(dict.get(), pszKey, ""));
  }
};

Peers IniparserRecord(const char *pszFile, const RECORD &rec) {
  return RecordPeer(
      std::make_shared<const INIPARSERREADER>(INIPARSERREADER{{iniparser_load(pszFile), iniparser_freedict}}),
      "Record:", rec, "iniparser");
}
#else
Peers IniparserRecord(const char *, const RECORD &) { return {}; }
#endif
} // namespace

Peers StringCopyPeers(const char *psz, ULONG ulTimes) { return GlibStringCopy(psz, ulTimes); }
Peers SortPeers(const std::vector<ULONG *> &apul) { return GlibSort(apul); }
Peers IniOpenPeers(const char *pszFile, ULONG ulKeys) {
  return Together(KeyFileOpen(pszFile), InihOpen(pszFile, ulKeys));
}
Peers RecordPeers(const char *pszFile, const RECORD &rec) {
  return Together(KeyFileRecord(pszFile, rec), IniparserRecord(pszFile, rec));
}
Peers ItemPeers(const char *pszFile, const std::vector<ULONG> &aul) { return KeyFileItems(pszFile, aul); }
