#!/bin/sh
# Runs zebini and zebtag as their users do, on good, broken and hostile files.
# usage: [RUN=emulator] tools_test.sh ZEBINI ZEBTAG HOSTLOG   (with strict.ini beside the last)
# shellcheck source=tests/script.sh
. "$(dirname "$0")/script.sh"

zebini=$(realpath "$1")
zebtag=$(realpath "$2")
hostlog=$(realpath "$3")
settings=$(dirname "$hostlog")/strict.ini
completion=$(realpath "$(dirname "$0")/../tools/completion.bash")
cd "$work"

# Expects STATUS TEXT PROGRAM [ARGUMENT...]: TEXT (for printf) is the output, errors included.
Expects() {
  status=0 expected=$1 text=$2
  shift 2
  Run "$@" >out 2>&1 || status=$?
  [ "$status" -eq "$expected" ] || Fail "$*: status $status: $(cat out)"
  printf %b "$text" | diff - out >&2 || Fail "$*: output"
}

# Sets CHANGES SECTION KEY VALUE: the lines that differ afterwards, < for the old ones; none when it is refused.
Sets() {
  changes=$1 status=0
  shift
  cp edited.ini before.ini
  Run "$zebini" set link.ini "$@" 2>err || status=$?
  found=$(diff before.ini edited.ini | grep '^[<>]' | tr '\n' '~') || true
  [ "$found" = "$changes" ] || Fail "set $*: $found"
  [ -n "$changes" ] || { [ "$status" -eq 2 ] && [ -s err ]; } || Fail "set $*: not refused"
}

cat >edited.ini <<'EOT'
# mine
top = 1
[ Server ]
  Name = "alpha"  
Port=80 
Long = "one
  two" "three"
Next =
  value
[ Server Route 1 ]
Empty=
[ Last ]
EOT
sed -i "1s/\$/$(printf %3000s '')/" edited.ini # two lines of the library
chmod 640 edited.ini
ln -s edited.ini link.ini
Expects 0 'alpha\n' "$zebini" get link.ini server name
Expects 1 '' "$zebini" get link.ini server top
Expects 0 '[Last]\n' "$zebini" list link.ini last
Expects 0 '[ServerRoute1]\n[ServerRoute1] Empty = \n' "$zebini" list link.ini 'Server Route 1'
Sets '< top = 1~> top = 2~' '' TOP 2
Sets '> new = 3~' '' new 3
Sets '<   Name = "alpha"  ~>   Name = "be ta"  ~' Server Name 'be ta'
Sets '<   Name = "be ta"  ~>   Name = be"ta~' Server Name 'be"ta'
Sets '< Port=80 ~> Port=" 81"~' Server Port ' 81'
Sets '< Long = "one~<   two" "three"~> Long = ""~' Server Long ''
Sets '< Next =~<   value~> Next = -5~' Server Next -5
Sets '> a b = c = d~' Server 'a b' 'c = d'
Sets '< Empty=~> Empty=full~' ServerRoute1 Empty full
Sets '>   first = 1~' Last first 1
Sets '> ~> [ New One ]~>   k = v~' 'New One' k v
echo '[ One ] [ Line ]  a =' >>edited.ini
Sets '< [ One ] [ Line ]  a =~> [ One ]~>   k = v~>  [ Line ]  a =~' One k v
Sets '<  [ Line ]  a =~>  [ Line ]~>   k = v~>   a =~' Line k v
Sets '<   a =~>   a = 1~' Line a 1
Sets '' Server Port "$(printf 'a\nb')"
Sets '' Server Port "$(printf %0128d 0)"
Sets '' Server 'a b c' 1
Sets "> $(printf %0127d 0) = 1~" '' "$(printf %0127d 0)" 1
Sets '' '' "$(printf %0128d 0)" 2
{ [ "$(stat -c %a edited.ini)" = 640 ] && [ -L link.ini ] && [ "$(find . -name 'edited.ini*' | wc -l)" -eq 1 ]; } ||
  Fail "not the old file's mode, link or folder: $(ls -l)"
Expects 0 '' "$zebini" check edited.ini
Expects 0 '' "$zebini" diff edited.ini link.ini
Run "$zebini" set before.ini Last first 2
Run "$zebini" set before.ini More k v
Expects 1 '-[Last] first = 1\n+[Last] first = 2\n+[More]\n+[More] k = v\n' "$zebini" diff edited.ini before.ini
printf '[ x ]\r\n[ s ]\r\na = 1\r\n' >crlf.ini
for section in s t; do Run "$zebini" set crlf.ini $section b 2; done
[ "$(grep -c "$(printf '\r')\$" crlf.ini)" -eq "$(wc -l <crlf.ini)" ] || Fail "a line end of another kind"
echo '# nothing' >empty.ini
Run "$zebini" set empty.ini a b c
Expects 0 '[a]\n[a] b = c\n' "$zebini" list empty.ini
if Run "$zebini" list edited.ini >/dev/full 2>out; then Fail "a full disk was not noticed"; fi
grep -qx 'zebini: the output cannot be written' out || Fail "full disk: $(cat out)"
Expects 2 'none: No such file or directory\n' "$zebini" set none a b c
truncate -s 3G huge.ini
Expects 2 'huge.ini: File too large\n' "$zebini" check huge.ini
mkfifo pipe
Expects 2 'pipe: not a regular file\n' "$zebini" set pipe a b c
long=$(printf %0255d 0)
: >"$long"
Expects 0 '' "$zebini" set "$long" a b c

printf '[ x ]\nb = 0\n[ a\nb = 1\n[ c ]\nd : 2\ne = 1\nE = 2\n[C]\n f = "x\n' >wrong.ini
printf "wrong.ini:%s\n" "3: the title is not closed by a ']'" "6: a name cannot hold ':'" "10: a quoted text is not closed" \
  "8: E: a second one; the first is in line 7" "9: [C]: a second one; the first is in line 5" >expected
Expects 1 "$(cat expected)\n" "$zebini" check wrong.ini edited.ini
printf '[ x ]\n[ c ]\ne = 1\nE = 2\n[]\ng = 3\n[C]\nf = 4\n' >twice.ini
Expects 0 '' "$zebini" diff twice.ini twice.ini

Run "$hostlog" "$settings" -b -n 2 -i 0 -r good.rec >/dev/null
Expects 0 '' "$zebtag" check good.rec good.rec
[ "$(Run "$zebtag" list good.rec | cut -f 2,6 | tr '\t\n' ' ,')" = '1 0,2 1,2 2,' ] || Fail "list: $(cat good.rec)"
Run "$zebtag" show good.rec | grep -qx 'Snapshot.Title = Hostlog: limits that no machine keeps' || Fail "show"
Run "$zebtag" show --json good.rec | grep -c '^{"offset":[0-9]*,"type":2,.*"data":{"Title":"Hostlog: .*}}$' >out
[ "$(cat out)" = 2 ] || Fail "show --json"
Run "$zebtag" extract good.rec 2 some.rec
[ "$(Run "$zebtag" cat good.rec 2 | cksum)" = "$(Run "$zebtag" cat some.rec | cksum)" ] || Fail "cat of extracted records"
Expects 2 'some.rec: File exists\n' "$zebtag" extract good.rec 2 some.rec
Expects 2 'none: No such file or directory\n' "$zebtag" extract none 2 new.rec
[ ! -e new.rec ] || Fail "a file of nothing"
head -c 20 good.rec | { cat good.rec -; } >short.rec
Expects 1 "short.rec: byte $(wc -c <good.rec): a record of 4359 bytes, of which 4 are there\n" "$zebtag" check short.rec
{ # a pointer has no data; a name may hold anything
  for flags_and_type in '\024\0\0\0\012' '\0\0\0\0\006'; do
    printf 'I\037\001\0\037\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\034\0\0\0%b' "$flags_and_type"
    printf '\0\0\0\001\0\0\0\0\0\0\0\0\0\0\0P\n\0I\037\002\0\004\0\0\0\0\0\0\0\0\0\0\0abcd'
  done
} >odd.rec
[ "$(Run "$zebtag" show --json odd.rec | sed 's/{.*"param2":0//' | tr '\n' ' ')" = '} } } ,"data":1684234849} ' ] || Fail "odd JSON"
Run "$zebtag" show odd.rec | grep -qx 'P? = 1684234849' || Fail "odd text"
printf 'M\037\0\003\200\0\0\0\0\0\0\0\0\0\0\007' >large.rec # 2 GiB, of a big-endian machine
truncate -s $((16 + 2147483648)) large.rec
head -c 16 large.rec >header
cat header >>large.rec
truncate -s $((2 * (16 + 2147483648))) large.rec
Expects 0 "0\t3\t2147483648\tbig\t0\t7\n2147483664\t3\t2147483648\tbig\t0\t7\n" "$zebtag" list large.rec

# Whatever is in a file, the tools end with a status of theirs, which is not that of a sanitizer.
export ASAN_OPTIONS=exitcode=99 UBSAN_OPTIONS=exitcode=99
for seed in $(seq 40); do
  for file in good.rec edited.ini; do
    awk -v seed="$seed" -v size="$(wc -c <$file)" 'BEGIN { srand(seed); for (i = 0; i < 6; i++)
      printf "%d %03o\n", rand() * (rand() < 0.5 ? size : 400), rand() * 256 }' >damage
    cp $file damaged
    while read -r offset byte; do printf %b "\\0$byte" | dd of=damaged bs=1 seek="$offset" conv=notrunc 2>/dev/null; done <damage
    for command in "$zebini check" "$zebini list" "$zebtag check" "$zebtag show --json"; do
      status=0
      # shellcheck disable=SC2086 # a command and its arguments
      Run $command damaged >out 2>&1 || status=$?
      [ "$status" -le 2 ] || Fail "$command: status $status with seed $seed of $file"
    done
  done
done
# shellcheck disable=SC2016 # for other shells
if [ -z "${RUN-}" ]; then # what is completed is not run
  printf '[ x ]\n[ `./ran` ]\n' >hostile.ini
  printf '#!/bin/sh\nrm "$0"\n' >ran && chmod +x ran
  words='COMP_WORDS=("$1" get hostile.ini "") COMP_CWORD=3; _zebbase_tool; echo "${COMPREPLY[*]}"'
  Expects 0 '`./ran`\n' bash -c ". $completion; $words" bash "$zebini"
  [ -e ran ] || Fail "a name has been run"
fi
for program in "$zebini" "$zebtag"; do
  Run "$program" --help | grep -q '^usage: zeb' || Fail "$program --help"
  if Run "$program" >out 2>&1 || Run "$program" list >out 2>&1; then Fail "$program: no usage"; fi
done
