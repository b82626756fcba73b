#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Installs a build into a temporary prefix and uses it as a program outside this repository
# would: every installed header compiles on its own, examples/ builds against the prefix only,
# once with find_package(QBCore) and once with pkg-config, and prints for three corpus files
# what `quillbox info --json` says of them. For a shared libqbcore it also checks the SONAME
# and that the library exports namespace qb and nothing else.
#   scripts/install-test.sh [BUILD_DIR]        (default: build)
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/prefix
fail() { echo "install-test: $*" >&2; exit 1; }

cmake --install "$build" --prefix "$prefix" >/dev/null
libdir=$prefix/lib
[[ -d $prefix/lib64 ]] && libdir=$prefix/lib64
[[ -d $libdir/pkgconfig ]] || libdir=$(dirname "$(find "$prefix" -name qbcore.pc | head -1)")/..
for f in bin/quillbox include/qbcore/qbcore.h include/qbcore/api/QBVersion.h \
         share/man/man1/quillbox.1 share/bash-completion/completions/quillbox \
         share/zsh/site-functions/_quillbox share/doc/QBCore/LICENSE; do
  [[ -e $prefix/$f ]] || fail "$f was not installed"
done
[[ -e $libdir/cmake/QBCore/QBCoreConfig.cmake ]] || fail "no CMake package installed"
[[ -e $libdir/pkgconfig/qbcore.pc ]] || fail "no qbcore.pc installed"
# Internal headers stay out.
for f in OXMSG/cfb/POLE.h platform/ByteReader.h platform/Log.h; do
  [[ ! -e $prefix/include/qbcore/$f ]] || fail "internal header $f was installed"
done
"$prefix/bin/quillbox" --version | grep -q '^quillbox [0-9]' || fail "quillbox --version"

# Each public header on its own, with only the prefix to include from (two at a time).
mkdir -p "$work/headers"
count=0
while IFS= read -r header; do
  count=$((count + 1))
  echo "#include <${header#"$prefix/include/"}>" >"$work/headers/$count.cpp"
done < <(find "$prefix/include/qbcore" -name '*.h' | sort)
compilers=(c++)
command -v clang++ >/dev/null && compilers+=(clang++)
for cxx in "${compilers[@]}"; do
  find "$work/headers" -name '*.cpp' -print0 | xargs -0 -P2 -n1 sh -c \
    '"$0" -std=c++20 -fsyntax-only -Wall -Wextra -Wpedantic -Werror -I"$1/include" \
       -I"$1/include/qbcore" "$2" ||
     { echo "install-test: $(cat "$2") does not compile on its own ($0)" >&2; exit 255; }' \
    "$cxx" "$prefix" || fail "installed headers do not compile with $cxx"
done
echo "install-test: $count installed headers compile on their own (${compilers[*]})"

shared=
[[ -e $libdir/libqbcore.so ]] && shared=yes
if [[ -n $shared ]]; then
  so=$(readlink -f "$libdir/libqbcore.so")
  soname=$(readelf -d "$so" | sed -n 's/.*(SONAME).*\[\(.*\)\]/\1/p')
  [[ $soname =~ ^libqbcore\.so\.[0-9]+\.[0-9]+$ ]] || fail "SONAME is '$soname'"
  # Every exported symbol belongs to namespace qb (or is the type data of one of its classes).
  nm -D --defined-only "$so" | awk '{ $1 = ""; $2 = ""; sub(/^  /, ""); print }' | c++filt \
    >"$work/exported"
  grep -v -E '^(qb::|(vtable|typeinfo|typeinfo name|VTT|construction vtable) for qb::|(non-)?virtual thunk to qb::)' \
    "$work/exported" >"$work/foreign" || true
  if [[ -s $work/foreign ]]; then
    head -20 "$work/foreign" >&2
    fail "libqbcore.so exports $(wc -l <"$work/foreign") symbols outside namespace qb"
  fi
  ! grep -q -E 'POLE::|icu_[0-9]+::|xml[A-Z]' "$work/exported" || fail "internals are exported"
  echo "install-test: $soname exports $(wc -l <"$work/exported") symbols, all of namespace qb"
fi

# The example, copied out of the tree so that nothing can be found beside it.
cp -r examples "$work/src"
cmake -S "$work/src" -B "$work/cmake" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$work/cmake" >/dev/null
static=--static
[[ -n $shared ]] && static=
# shellcheck disable=SC2046  # pkg-config's flags are words
c++ -std=c++20 -o "$work/pkgconfig-summary" "$work/src/message_summary.cpp" \
  $(PKG_CONFIG_PATH=$libdir/pkgconfig pkg-config --cflags --libs $static qbcore)
if [[ -n $shared ]]; then
  export LD_LIBRARY_PATH=$libdir
  ldd "$work/pkgconfig-summary" | grep -q "$libdir/libqbcore.so" || fail "not linked to the installed library"
fi

corpus=${QB_CORPUS:-}
for c in ../shared/corpus ../../shared/corpus; do
  [[ -z $corpus && -d $c ]] && corpus=$c
done
if [[ -z $corpus ]]; then
  echo "install-test: no corpus (../shared/corpus): the examples were built but not run" >&2
  exit 0
fi
# Two TNEF streams and a .msg, with senders, non-ASCII names and several attachments; all read
# whole, so quillbox exits 0.
files=("$corpus/tnef/umlaut-filename.tnef" "$corpus/tnef/quick-winmail.dat"
       "$corpus/msg/attachment_test_msg.msg")
"$prefix/bin/quillbox" info --json "${files[@]}" >"$work/info.json"
# What the example prints, made from quillbox's JSON.
/usr/bin/python3 - "$work/info.json" >"$work/expected" <<'PY'
import json, sys
for line in open(sys.argv[1], encoding="utf-8"):
    entry = json.loads(line)
    m = entry["message"]
    print("file: " + entry["file"])
    print("format: " + entry["format"])
    if m["subject"] is not None:
        print("subject: " + m["subject"])
    s = m["sender"]
    if s is not None:
        name, email = s["name"] or "", s["email"] or ""
        print("sender: " + (f"{name} <{email}>" if name and email else name or email))
    for a in m["attachments"]:
        print("attachment: " + (a["filename"] if a["filename"] is not None else "(no name)"))
PY
for program in "$work/cmake/message-summary" "$work/pkgconfig-summary"; do
  "$program" "${files[@]}" >"$work/actual"
  diff -u "$work/expected" "$work/actual" || fail "$(basename "$program") differs from quillbox info"
done
echo "install-test: the example built with find_package and with pkg-config agrees with quillbox info on ${#files[@]} files ($(grep -c '^attachment:' "$work/expected") attachments)"
