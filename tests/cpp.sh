#!/bin/sh
# Compiles programs with zebbase.hpp: alone, which must be silent in every language, with exceptions and RTTI and
# without; and with a mistake each, which must be an error.
# usage: CXX=... cpp.sh INCLUDE_FOLDER
# shellcheck source=tests/script.sh
. "$(dirname "$0")/script.sh"

include=$1
cat >"$work/good.cpp" <<'EOT'
#include <zebbase/zebbase.hpp>
using namespace zebbase;
struct IN { BYTE b; };
struct PLAIN { USHORT us; USHORT us2; ULONG ul; };
struct GAP { BYTE b; ULONG ul; };
struct ANY { bool f; char ch; char ach[4]; float aflt[2][2]; USHORT us; LIST *plst; IN *pin; double d; };
enum class COLOUR : USHORT { Red = 1 };
struct MADE { MADE() {} int i; };
struct alignas(16) WIDE { int i; };
inline constexpr EDSC edscBig = names<long>({{"Big", 70000}});
inline constexpr auto sdscIn = describe<IN>(field("B", &IN::b));
inline constexpr auto fdscIn = record("In", sdscIn);
inline constexpr auto sdscPlain = describe<PLAIN>(field("A", &PLAIN::us), field("B", &PLAIN::us2), field("C", &PLAIN::ul));
EOT

# IsSilent COMPILER
IsSilent() {
  for options in -std=c++17 '-std=c++17 -fno-exceptions -fno-rtti' -std=c++20 -std=c++2b; do
    Compile "$1 $options -Wconversion -Wshadow" -fsyntax-only -I"$include" "$work/good.cpp" ||
      Fail "$1 $options has something to say"
  done
}

# RefusesMistakes COMPILER: each statement stands in a function, on a line of its own, for which there is an error; all
# the words are in messages.
RefusesMistakes() {
  ! Compile "$1 -std=c++17 -fno-show-column" -fsyntax-only -I"$include" "$work/wrong.cpp" >"$work/output" 2>&1 ||
    Fail "$1 accepts all of it"
  grep -n '^void f' "$work/wrong.cpp" | while IFS=: read -r number statement; do
    grep -q "wrong.cpp:$number: " "$work/output" || Fail "$1 accepts: $statement"
  done
  sed 's/.*~//' "$work/mistakes" | while read -r message; do
    grep -q "$message" "$work/output" || Fail "$1 does not say: $message"
  done
}

cat >"$work/mistakes" <<'EOT'
field("F", &ANY::f);                                                                 ~no field has a value of this type
field("F", &ANY::aflt);                                                              ~
field<FT_LONG>("F", &ANY::us);                                                       ~or not with this type code
field("F", &ANY::ch);                                                                ~a text is an array of char
field<FT_DOTTED>("F", &ANY::ach);                                                    ~what it nests is missing
field("F", &ANY::us, sdscIn);                                                        ~that of another record
field("F", &ANY::us, fdscIn);                                                        ~no matching function
field("F", &ANY::plst, fdscIn);                                                      ~a list of records takes their structure
field("F", &ANY::pin, describe<IN>(field("B", &IN::b)));                             ~
field("F", &ANY::us, names<COLOUR>({{"Red", COLOUR::Red}}));                         ~
field("F", &ANY::plst, value<int>("N"));                                             ~
record("R", describe<IN>(field("B", &IN::b)));                                       ~
Load("f.ini", record("In", sdscIn));                                                 ~
Record<IN> rec(record("In", sdscIn));                                                ~
value<USHORT, FT_ENUM16>("F");                                                       ~what it nests is missing
value<int[3]>("F");                                                                  ~an array is no single value
constexpr auto m = field("F", &ANY::us, edscBig);                                    ~DescriptionIsWrong
constexpr SDSC sdsc = parts({{"A", 0}});                                             ~
constexpr auto s = describe<GAP>(field("B", &GAP::b), field("U", &GAP::ul));         ~
constexpr auto s = describe<PLAIN>(field("A", &PLAIN::us2));                         ~
constexpr auto s = describe<PLAIN>(field("A", &PLAIN::us));                          ~
describe<GAP>(field("A", &PLAIN::us));                                               ~
List<char *> list;                                                                   ~for pointers there is ListView
List<int> list; List<int> list2 = list;                                              ~deleted
Ini ini; Ini ini2 = ini;                                                             ~
NewBlock<MADE>();                                                                    ~a block is for plain data
NewBlock<WIDE>();                                                                    ~no block is aligned for this
List<int> list; list.sort([](const char *, int) { return true; });                   ~
PLAIN plain; ReadIni(Ini(), plain, fdscIn, [](const INIFINDING &) { return true; }); ~
EOT
cp "$work/good.cpp" "$work/wrong.cpp"
sed 's/ *~.*//; s/.*/void f(char (\&)[__LINE__]) { & }/' "$work/mistakes" >>"$work/wrong.cpp"
IsSilent "$CXX"
RefusesMistakes "$CXX"
if command -v clang++ >/dev/null; then
  clang="clang++ --target=$("$CXX" -dumpmachine) -ferror-limit=0"
  IsSilent "$clang"
  RefusesMistakes "$clang"
fi
