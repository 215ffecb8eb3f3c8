// zebbase.hpp: ZEBBASE for C++17 and later, an addition of version 1.1.
//
// Owners, lists with iterators, settings as results and descriptions from members, over the functions of zebbase.h,
// which it includes. All of it is inline and compiles to the calls that a program would have written; with exceptions
// and RTTI, and without. Nothing here throws. What a program's own types throw passes through everything but callbacks
// of the library (a comparison, a report): there it ends the program, because nothing may pass through C.
//
// What hands out memory gives null, or nothing, where there is none, as the functions do.
#ifndef ZEBBASE_ZEBBASE_HPP
#define ZEBBASE_ZEBBASE_HPP

#include <zebbase/zebbase.h>

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <iterator>
#include <limits>
#include <memory>
#include <new>
#include <optional>
#include <type_traits>
#include <utility>

namespace zebbase {

// Where a block is allocated, for the lists of what is held: as a default argument, the place of the call.
struct Place {
  static constexpr Place Here(ULONG ulLine = __builtin_LINE(), const char *pszFile = __builtin_FILE()) {
    return {ulLine, pszFile};
  }
  ULONG ulLine;
  const char *pszFile;
};

// --- Owners ---

// Moves and does not copy, is empty (null) or has one thing to give back at its end; get, release, reset and operator
// bool are those of std::unique_ptr. As large as a pointer.
template <auto pfnFree>
struct Free {
  template <typename T>
  void operator()(T *pt) const noexcept {
    pfnFree(pt);
  }
};
template <typename T, auto pfnFree>
using Owner = std::unique_ptr<T, Free<pfnFree>>;

inline void EndSearch(FILSEARCH *psearch) noexcept { FilEndSearch(&psearch); }

template <typename T>
using Block = Owner<T, MemFreeMem_>;         // of NewBlock, or any block of tracked memory; Block<T[]> of NewArray
using Text = Owner<char, MemFreeString_>;    // of NewText, MemAllocString
using Ini = Owner<INIFILE, IniClose>;        // of OpenIni, IniOpen, IniOpenChecked
using Parse = Owner<PARSECTX, PrsEndParse_>; // of PrsStartParse, PrsStartParseText
using Search = Owner<FILSEARCH, EndSearch>;  // of FindNext
using CommandLine = Owner<CMDRESULT, MemFreeMem_>; // of CmdParseCmdLine

namespace detail {
template <typename T>
constexpr bool fFitsBlock = alignof(T) <= 8; // mem.h

template <typename T>
T *AllocatePlain(ULONG ulCount, Place place) noexcept {
  static_assert(std::is_trivial_v<T>, "a block is for plain data; what has constructors goes into a List");
  static_assert(fFitsBlock<T>, "no block is aligned for this");
  if (ulCount > std::numeric_limits<ULONG>::max() / sizeof(T)) return nullptr;
  return static_cast<T *>(MemAllocMem_(ulCount * sizeof(T), place.ulLine, place.pszFile));
}
} // namespace detail

// A cleared block for one T, or for an array of them. T is plain data: nothing is constructed or destroyed.
template <typename T>
Block<T> NewBlock(Place place = Place::Here()) noexcept {
  return Block<T>(detail::AllocatePlain<T>(1, place));
}
template <typename T>
Block<T[]> NewArray(ULONG ulCount, Place place = Place::Here()) noexcept {
  return Block<T[]>(detail::AllocatePlain<T>(ulCount, place));
}

// A copy of a text, which is not null.
inline Text NewText(const char *psz, Place place = Place::Here()) noexcept {
  return Text(MemAllocString_(psz, place.ulLine, place.pszFile));
}

// FilGetNextPathName with an owner: the first call, with an empty one, begins the search, and after the last it is
// empty again.
inline bool FindNext(Search &search, const char *pszPattern, char *pszResult) noexcept {
  FILSEARCH *psearch = search.release();
  const BOOL fFound = FilGetNextPathName(&psearch, pszPattern, pszResult, 0);
  search.reset(psearch);
  return fFound != 0;
}

// --- Lists ---

// Goes along a list, over what its nodes carry: the T to which the data pointer leads; or, for a T that is a pointer
// itself, this pointer, which may be null. Stays good until its own node is deleted.
template <typename T>
class ListIterator {
  static constexpr bool fPointers = std::is_pointer_v<T>;

 public:
  using iterator_category = std::conditional_t<fPointers, std::input_iterator_tag, std::bidirectional_iterator_tag>;
  using iterator_concept = std::bidirectional_iterator_tag; // of C++20, where a reference need be none
  using value_type = std::remove_cv_t<T>;
  using difference_type = std::ptrdiff_t;
  using pointer = T *;
  using reference = std::conditional_t<fPointers, T, T &>;

  ListIterator() = default;
  ListIterator(const LIST *plst, LISTITEM *pli) noexcept : plst_(plst), pli_(pli) {}
  operator ListIterator<const T>() const noexcept { return {plst_, pli_}; }

  reference operator*() const noexcept {
    if constexpr (fPointers)
      return static_cast<T>(pli_->pvData);
    else
      return *static_cast<T *>(pli_->pvData);
  }
  pointer operator->() const noexcept { return &**this; }
  ListIterator &operator++() noexcept {
    pli_ = pli_->pliNext;
    return *this;
  }
  ListIterator &operator--() noexcept { // the end, too
    pli_ = pli_ ? pli_->pliPrev : plst_->pliLast;
    return *this;
  }
  ListIterator operator++(int) noexcept { return std::exchange(*this, ListIterator(plst_, pli_->pliNext)); }
  ListIterator operator--(int) noexcept {
    const ListIterator it = *this;
    --*this;
    return it;
  }
  friend bool operator==(ListIterator it1, ListIterator it2) noexcept { return it1.pli_ == it2.pli_; }
  friend bool operator!=(ListIterator it1, ListIterator it2) noexcept { return it1.pli_ != it2.pli_; }

  LISTITEM *node() const noexcept { return pli_; } // null at the end

 private:
  const LIST *plst_ = nullptr;
  LISTITEM *pli_ = nullptr;
};

// The items of a list that others own, such as one that IniRead has made: ListView<ROUTE> for a list of structures,
// ListView<char *> for one of texts. A null list is empty.
template <typename T>
class ListView {
 public:
  using value_type = std::remove_cv_t<T>;
  using iterator = ListIterator<T>;

  explicit ListView(const LIST *plst) noexcept : plst_(plst) {}

  iterator begin() const noexcept { return {plst_, LstFirst(plst_)}; }
  iterator end() const noexcept { return {plst_, nullptr}; }
  ULONG size() const noexcept { return plst_ ? plst_->ulCount : 0; }
  bool empty() const noexcept { return size() == 0; }

 private:
  const LIST *plst_;
};

// A list that owns its elements, each in a block of its own: what IniRead makes of an FT_STRUCTLIST, and what IniWrite
// takes. It moves and does not copy; an empty one need not have a LIST yet, get() is then null.
template <typename T>
class List {
  static_assert(std::is_object_v<T> && !std::is_array_v<T> && !std::is_const_v<T>, "elements are objects");
  static_assert(!std::is_pointer_v<T>, "elements are owned; for pointers there is ListView");
  static_assert(std::is_nothrow_destructible_v<T>, "what throws when it is destroyed has no place here");
  static_assert(detail::fFitsBlock<T>, "no block is aligned for this");

 public:
  using value_type = T;
  using iterator = ListIterator<T>;
  using const_iterator = ListIterator<const T>;

  List() = default;
  explicit List(LIST *plst) noexcept : plst_(plst) {} // takes it over; no element of it is null
  List(List &&list) noexcept : plst_(list.release()) {}
  List &operator=(List &&list) noexcept {
    if (this != &list) reset(list.release());
    return *this;
  }
  ~List() { reset(); }

  LIST *get() const noexcept { return plst_; }
  LIST *release() noexcept { return std::exchange(plst_, nullptr); }
  void reset(LIST *plst = nullptr) noexcept {
    clear();
    LstFreeList_(std::exchange(plst_, plst));
  }

  iterator begin() noexcept { return {plst_, LstFirst(plst_)}; }
  iterator end() noexcept { return {plst_, nullptr}; }
  const_iterator begin() const noexcept { return {plst_, LstFirst(plst_)}; }
  const_iterator end() const noexcept { return {plst_, nullptr}; }
  ULONG size() const noexcept { return plst_ ? plst_->ulCount : 0; }
  bool empty() const noexcept { return size() == 0; }
  T &front() noexcept { return *begin(); } // of a list that is not empty, as back
  T &back() noexcept { return *--end(); }

  // The new element; null, with the list unchanged, without memory.
  T *push_back(T t, Place place = Place::Here()) {
    return Put(std::move(t), place, [](LIST *plst, void *pv) { return LstInsert(plst, pv, LST_END); });
  }
  T *push_front(T t, Place place = Place::Here()) {
    return Put(std::move(t), place, [](LIST *plst, void *pv) { return LstInsert(plst, pv, 0); });
  }
  T *insert(const_iterator itBefore, T t, Place place = Place::Here()) {
    return Put(std::move(t), place, [itBefore](LIST *plst, void *pv) {
      LISTITEM *pli = LstNew(pv);
      if (pli) LstInsertBefore(plst, pli, itBefore.node());
      return pli;
    });
  }

  // The element behind the one that is deleted. All other iterators stay good, as they do in all changes of a list
  // that has a LIST.
  iterator erase(const_iterator it) noexcept {
    LISTITEM *pli = it.node();
    const iterator itNext(plst_, pli->pliNext);
    Destroy(pli->pvData);
    MemFreeMem_(pli->pvData);
    LstDelete(pli);
    return itNext;
  }
  template <typename Predicate>
  ULONG erase_if(Predicate predicate) { // how many there were
    const ULONG ulBefore = size();
    for (iterator it = begin(); it != end();) it = predicate(std::as_const(*it)) ? erase(it) : std::next(it);
    return ulBefore - size();
  }
  void clear() noexcept {
    for (iterator it = begin(); !std::is_trivially_destructible_v<T> && it != end(); ++it) Destroy(&*it);
    LstDeleteAllBoth(plst_);
  }

  // LstSort by a callable: less(a, b), a strict order, as for std::sort. The elements stay where they are, their nodes
  // move. An exception of it ends the program.
  template <typename Less = std::less<T>>
  void sort(Less less = {}) noexcept {
    Less *plessOuter = std::exchange(Order<Less>::pless, &less);
    LstSort(plst_, Order<Less>::LessOrEqual);
    Order<Less>::pless = plessOuter;
  }

 private:
  // A comparison knows nothing but two elements: the callable of the sort under way is left here for it.
  template <typename Less>
  struct Order {
    static BOOL LessOrEqual(void *pv1, void *pv2) noexcept {
      return !(*pless)(*static_cast<const T *>(pv2), *static_cast<const T *>(pv1));
    }
    static inline thread_local Less *pless = nullptr;
  };

  template <typename Link>
  T *Put(T &&t, Place place, Link link) {
    if (!plst_) plst_ = LstNewList(0);
    Block<void> block(plst_ ? MemAllocMem_(sizeof(T), place.ulLine, place.pszFile) : nullptr);
    if (!block) return nullptr;
    T *pt = ::new (block.get()) T(std::move(t));
    if (link(plst_, pt)) return block.release(), pt;
    Destroy(pt);
    return nullptr;
  }
  static void Destroy(void *pv) noexcept { static_cast<T *>(pv)->~T(); }

  LIST *plst_ = nullptr;
};

// --- Descriptions ---
//
//     struct Server {
//       char szName[32] = "nobody";
//       USHORT usPort = 80;
//     } __attribute__((packed));
//     constexpr auto sdscServer = zebbase::describe<Server>(zebbase::field("Name", &Server::szName),
//                                                           zebbase::field("Port", &Server::usPort));
//     constexpr auto fdscServer = zebbase::record("Server", sdscServer);
//
// Codes and counts come from the members. A member of a type that no file has, another order than the record's, a field
// left out or listed twice, a gap: for constexpr descriptions each is an error of the compiler; others end the program
// where they are made. A description refers to those that it nests, which have static storage, as fields of the record
// itself do through a description that is declared before (extern).

// Out of reach of a constant expression, so that the compiler shows this name, and the description at fault.
[[noreturn]] inline void DescriptionIsWrong(const char *pszWhy) noexcept {
  std::fprintf(stderr, "zebbase: description: %s\n", pszWhy);
  std::abort();
}

// The SDSC of a T, and the FDSC of one that stands on its own; both convert to what ini.h takes.
template <typename T>
struct Structure {
  SDSC sdsc;
  constexpr operator const SDSC *() const noexcept { return &sdsc; }
};
template <typename T>
struct Field {
  FDSC fdsc;
  constexpr operator const FDSC *() const noexcept { return &fdsc; }
  constexpr Field format(const char *psz) const noexcept {
    Field field = *this;
    field.fdsc.pszFormat = psz;
    return field;
  }
};

// A field of a T. What is not in the list of its arguments is said behind it: field("Mask", &T::ulMask).format("%lX").
template <typename T, typename M>
struct Member {
  M T::*pm;
  FDSC fdsc;

  constexpr Member format(const char *psz) const noexcept {
    Member member = *this;
    member.fdsc.pszFormat = psz;
    return member;
  }
  constexpr Member flags(ULONG fl) const noexcept {
    Member member = *this;
    member.fdsc.flFlags |= fl;
    return member;
  }
  constexpr Member tag(ULONG ul) const noexcept {
    Member member = *this;
    member.fdsc.ulTag = ul;
    return member;
  }
};

namespace detail {
constexpr ULONG ulDeduced = FT_TYPES;

template <typename E>
constexpr ULONG CodeOf() {
  if (std::is_same_v<E, unsigned char>) return FT_BYTE;
  if (std::is_same_v<E, short>) return FT_SHORT;
  if (std::is_same_v<E, unsigned short>) return FT_USHORT;
  if (std::is_same_v<E, long> || std::is_same_v<E, int>) return FT_LONG;
  if (std::is_same_v<E, unsigned long> || std::is_same_v<E, unsigned int>) return FT_ULONG;
  if (std::is_same_v<E, float>) return FT_FLOAT;
  if (std::is_same_v<E, double>) return FT_DOUBLE;
  if (std::is_same_v<E, char>) return FT_STRING;
  if (std::is_same_v<E, char *>) return FT_PSZ;
  return ulDeduced;
}

template <typename E>
constexpr bool IsInteger(std::size_t cb) {
  return sizeof(E) == cb && (std::is_integral_v<E> || std::is_enum_v<E>);
}

// Whether elements of type E can be of a type code that a program names. Those that nest something come from this.
template <typename E>
constexpr bool Suits(ULONG ulType) {
  switch (ulType) {
    case FT_BOOL16:
      return IsInteger<E>(2);
    case FT_BOOL32:
      return IsInteger<E>(4);
    case FT_REALTIME:
      return std::is_same_v<E, double>;
    case FT_FIXEDSTRING:
      return std::is_same_v<E, char>;
    case FT_VERBOSITY:
    case FT_INTERVAL:
      return CodeOf<E>() == FT_ULONG;
    default:
      return ulType < FT_TYPES && CodeOf<E>() == ulType;
  }
}

template <typename M>
constexpr ULONG ulCount = std::extent_v<M> > 0 ? std::extent_v<M> : 1;

// The code of a field, as named or by its type. Of characters there are arrays alone, and of arrays those in one
// dimension.
template <ULONG ulNamed, typename M>
constexpr ULONG ValueCode() {
  using E = std::remove_extent_t<M>;
  constexpr ULONG ulType = ulNamed == ulDeduced ? CodeOf<E>() : ulNamed;
  static_assert(ulType != FT_DOTTED && ulType != FT_ENUM16 && ulType != FT_ENUM32, "what it nests is missing");
  static_assert(Suits<E>(ulType), "no field has a value of this type, or not with this type code");
  static_assert(!std::is_same_v<M, char>, "a text is an array of char");
  return ulType;
}

constexpr void *DescOf(const SDSC &sdsc) { return const_cast<SDSC *>(&sdsc); }
constexpr void *DescOf(const FDSC &fdsc) { return const_cast<FDSC *>(&fdsc); }
constexpr void *DescOf(const EDSC &edsc) { return const_cast<EDSC *>(&edsc); }

// A record to find the places of members in; no object of a program.
template <typename T>
constexpr T specimen{};

template <typename T>
struct Builder {
  SDSC sdsc = {};
  const void *pvEnd = &specimen<T>; // of the fields so far

  template <typename M>
  constexpr void Add(const Member<T, M> &member) {
    const M *pm = &(specimen<T>.*member.pm);
    if (pm != pvEnd) DescriptionIsWrong("a field is not the next member: another order, one left out, or a gap");
    pvEnd = pm + 1;
    sdsc.ulSize += sizeof(M);
    sdsc.afdsc[sdsc.ulFields++] = member.fdsc;
  }
};
} // namespace detail

// A field of one value, or of an array of them. The code comes from the member's type: unsigned char, short, unsigned
// short, long and int, unsigned long and unsigned int, float, double, arrays of char (FT_STRING) and char * (FT_PSZ).
// It is named where several have this type: field<FT_BOOL32>("Active", &Server::fActive).
template <ULONG ulType = detail::ulDeduced, typename T, typename M>
constexpr Member<T, M> field(const char *pszName, M T::*pm) noexcept {
  return {pm, {0, pszName, 0, detail::ValueCode<ulType, M>(), detail::ulCount<M>, nullptr, nullptr}};
}

// Bytes that no file has; packing carries them as they are.
template <typename T, typename M>
constexpr Member<T, M> skipped(M T::*pm) noexcept {
  return {pm, {0, nullptr, FDSC_NOINI, FT_BYTE, sizeof(M), nullptr, nullptr}};
}

// A structure, a pointer to one, or a LIST * of them: FT_STRUCT, FT_STRUCTPTR, FT_STRUCTLIST.
template <typename T, typename M, typename N>
constexpr Member<T, M> field(const char *pszName, M T::*pm, const Structure<N> &structure) noexcept {
  constexpr bool fStruct = std::is_same_v<std::remove_extent_t<M>, N>, fPointer = std::is_same_v<M, N *>;
  static_assert(fStruct || fPointer || std::is_same_v<M, LIST *>, "the description is that of another record");
  constexpr ULONG ulType = fStruct ? FT_STRUCT : fPointer ? FT_STRUCTPTR : FT_STRUCTLIST;
  return {pm, {0, pszName, 0, ulType, detail::ulCount<M>, nullptr, detail::DescOf(structure.sdsc)}};
}

// A LIST * of single values: FT_VALUELIST.
template <typename T, typename V>
constexpr Member<T, LIST *> field(const char *pszName, LIST *T::*pm, const Field<V> &value) noexcept {
  static_assert(!std::is_class_v<V>, "a list of records takes their structure");
  return {pm, {0, pszName, 0, FT_VALUELIST, 1, nullptr, detail::DescOf(value.fdsc)}};
}

// Values with names: FT_ENUM16 or FT_ENUM32, by the size of the member, an integer or an enumeration.
template <typename T, typename M>
constexpr Member<T, M> field(const char *pszName, M T::*pm, const EDSC &edsc) {
  using E = std::remove_extent_t<M>;
  static_assert(detail::IsInteger<E>(2) || detail::IsInteger<E>(4), "values with names have 16 or 32 bits");
  for (ULONG ul = 0; sizeof(E) == 2 && ul < edsc.ulCount; ul++)
    if (edsc.alValue[ul] < -0x8000 || edsc.alValue[ul] > 0xFFFF) DescriptionIsWrong("16 bits do not hold a value");
  constexpr ULONG ulType = sizeof(E) == 2 ? FT_ENUM16 : FT_ENUM32;
  return {pm, {0, pszName, 0, ulType, detail::ulCount<M>, nullptr, detail::DescOf(edsc)}};
}

// Characters in subfields: FT_DOTTED.
template <typename T, std::size_t cb>
constexpr Member<T, char[cb]> field(const char *pszName, char (T::*pm)[cb], const SDSC &sdscParts) {
  if (sdscParts.ulSize != cb) DescriptionIsWrong("the subfields have another length than the member");
  return {pm, {0, pszName, 0, FT_DOTTED, cb, nullptr, detail::DescOf(sdscParts)}};
}

// What a field nests is referred to, and must outlive it.
template <typename T, typename M, typename D>
void field(const char *pszName, M T::*pm, const D &&temporary) = delete;

// The names of an enumeration: names<Colour>({{"Red", Colour::Red}, {"Green", Colour::Green}}).
template <typename E, std::size_t n>
constexpr EDSC names(const std::pair<const char *, E> (&aname)[n]) noexcept {
  static_assert(n <= INI_MAX_NAMES && sizeof(E) <= sizeof(LONG), "too many names, or too large values");
  EDSC edsc = {};
  for (const auto &[pszName, e] : aname) {
    edsc.alValue[edsc.ulCount] = static_cast<LONG>(e);
    edsc.apszName[edsc.ulCount++] = pszName;
  }
  return edsc;
}

// The subfields of an FT_DOTTED: parts({{"Town", 3}, {"Rack", 4}}).
template <std::size_t n>
constexpr SDSC parts(const std::pair<const char *, ULONG> (&apart)[n]) {
  static_assert(n <= INI_MAX_FIELDS, "too many subfields");
  SDSC sdsc = {};
  for (const auto &[pszName, ulWidth] : apart) {
    if (ulWidth == 0) DescriptionIsWrong("a subfield has no width");
    sdsc.afdsc[sdsc.ulFields++] = {0, pszName, 0, FT_FIXEDSTRING, ulWidth, nullptr, nullptr};
    sdsc.ulSize += ulWidth;
  }
  return sdsc;
}

// All members of T in their order. T is plain (standard layout) and has a constexpr constructor.
template <typename T, typename... Ms>
constexpr Structure<T> describe(const Member<T, Ms> &...members) {
  static_assert(std::is_standard_layout_v<T>, "members have an order only in a plain record");
  static_assert(sizeof...(Ms) >= 1 && sizeof...(Ms) <= INI_MAX_FIELDS, "a structure has 1 to INI_MAX_FIELDS fields");
  detail::Builder<T> builder;
  (builder.Add(members), ...);
  if (builder.sdsc.ulSize != sizeof(T)) DescriptionIsWrong("the record goes on behind the last field");
  return {builder.sdsc};
}

// A record that stands on its own, for IniRead and its kind; and a single value, for a list of values.
template <typename T>
constexpr Field<T> record(const char *pszName, const Structure<T> &structure) noexcept {
  return {{0, pszName, 0, FT_STRUCT, 1, nullptr, detail::DescOf(structure.sdsc)}};
}
template <typename T>
void record(const char *pszName, const Structure<T> &&temporary) = delete;
template <typename V, ULONG ulType = detail::ulDeduced>
constexpr Field<V> value(const char *pszName) noexcept {
  static_assert(!std::is_array_v<V> || std::is_same_v<std::remove_extent_t<V>, char>, "an array is no single value");
  return {{0, pszName, 0, detail::ValueCode<ulType, V>(), detail::ulCount<V>, nullptr, nullptr}};
}

// --- Settings ---

// What is wrong, or nothing.
struct Error : INIERROR {
  explicit operator bool() const noexcept { return ulCode != 0; }
};

// An owner T, or why there is none. -> goes through it to what it owns.
template <typename T>
class Result {
 public:
  Result(T t) : t_(std::move(t)), error_() {}
  Result(const Error &error) : error_(error) {}

  explicit operator bool() const noexcept { return t_.has_value(); }
  bool has_value() const noexcept { return t_.has_value(); }
  T &operator*() noexcept { return *t_; }
  const T &operator*() const noexcept { return *t_; }
  T &operator->() noexcept { return *t_; }
  const T &operator->() const noexcept { return *t_; }
  const Error &error() const noexcept { return error_; } // its code is 0 with a value

 private:
  std::optional<T> t_;
  Error error_;
};

// Described data that own what the reader has handed out: texts, lists, structures by reference. Moves, and does not
// copy.
template <typename T>
class Record {
  static_assert(std::is_trivially_copyable_v<T>, "described data are plain");

 public:
  // The pointers of t are null, or to what the record is to own. The description must outlive the record.
  explicit Record(const Field<T> &field, const T &t = T()) noexcept : pfield_(&field), t_(t) {}
  explicit Record(const Field<T> &&temporary, const T & = T()) = delete;
  Record(Record &&record) noexcept : pfield_(record.pfield_), t_(record.release()) {}
  Record &operator=(Record &&record) noexcept {
    if (this == &record) return *this;
    IniFreeData(&t_, *pfield_);
    pfield_ = record.pfield_;
    t_ = record.release();
    return *this;
  }
  ~Record() { IniFreeData(&t_, *pfield_); }

  T &operator*() noexcept { return t_; }
  const T &operator*() const noexcept { return t_; }
  T *operator->() noexcept { return &t_; }
  const T *operator->() const noexcept { return &t_; }
  T *get() noexcept { return &t_; }
  const T *get() const noexcept { return &t_; }
  T release() noexcept { // what it owns is the caller's; a T of zeros stays
    const T t = t_;
    std::memset(static_cast<void *>(&t_), 0, sizeof t_);
    return t;
  }

 private:
  const Field<T> *pfield_;
  T t_;
};

// IniOpenChecked.
inline Result<Ini> OpenIni(const char *pszFile, ULONG ulMode = INI_MODE_LENIENT) noexcept {
  Error error = {};
  Ini ini(IniOpenChecked(pszFile, ulMode, &error));
  if (!ini) return error;
  return Result<Ini>(std::move(ini));
}

// The value of a key of an open file, in a section or, for "", before the first; joined names, in any case.
inline std::optional<const char *> FindValue(const Ini &ini, const char *pszSection, const char *pszKey) noexcept {
  const ULONG ulStart = *pszSection ? FindStructure(ini.get(), pszSection) : 0;
  const char *pszValue = *pszSection && ulStart == 0 ? nullptr : FindTitle(ini.get(), pszKey, ulStart);
  if (!pszValue) return std::nullopt;
  return pszValue;
}

// IniReadChecked with a callable: report(finding) gives whether it refuses the finding, as a bool. Result: as there.
template <typename T, typename Report>
ULONG ReadIni(const Ini &ini, T &t, const Field<T> &field, Report &&report) noexcept {
  using Callable = std::remove_reference_t<Report>;
  const auto Call = [](const INIFINDING *pfinding, void *pv) noexcept -> ULONG {
    return (**static_cast<Callable **>(pv))(*pfinding) ? 1 : 0;
  };
  Callable *pcallable = &report; // of a function, too, which no void * leads to
  return IniReadChecked(ini.get(), &t, field, Call, &pcallable);
}

// A file read into a record: opened leniently, and read with a report, as by ReadIni. The record begins with t, whose
// pointers are null; there is none of a refused file.
template <typename T, typename Report>
Result<Record<T>> Load(const char *pszFile, const Field<T> &field, Report &&report, const T &t = T()) noexcept {
  const Result<Ini> ini = OpenIni(pszFile);
  if (!ini) return ini.error();
  Error error = {};
  const auto Keep = [&](const INIFINDING &finding) {
    const bool fRefused = report(finding);
    if (!fRefused || error) return fRefused;
    error.ulCode = INI_ERROR_REFUSED;
    error.ulLine = finding.ulLine;
    static_assert(sizeof error.szText >= sizeof finding.szText);
    std::memcpy(error.szText, finding.szText, sizeof finding.szText);
    return true;
  };
  Record<T> record(field, t);
  if (ReadIni(*ini, *record, field, Keep) == INI_REFUSED) return error;
  return Result<Record<T>>(std::move(record));
}

// The same, where the first mistake refuses the file: it is then the error.
template <typename T>
Result<Record<T>> Load(const char *pszFile, const Field<T> &field) noexcept {
  return Load(pszFile, field, [](const INIFINDING &finding) { return finding.fMistake != 0; });
}

template <typename T, typename... Arguments>
void Load(const char *pszFile, const Field<T> &&temporary, Arguments &&...) = delete;

// IniSave.
template <typename T>
Error Save(const char *pszFile, const T &t, const Field<T> &field) noexcept {
  Error error = {};
  IniSave(pszFile, &t, field, &error);
  return error;
}
} // namespace zebbase

#endif
