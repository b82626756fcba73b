#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Puts the licence line "SPDX-License-Identifier: Apache-2.0" at the top of every source file
# that lacks it: C++ sources and headers under src/ tests/ fuzz/ bench/ samples/ examples/
# python/ get "// ...", scripts, CMake and Python files "# ..." (after a #! or #compdef line).
#   scripts/spdx.sh            add the line where it is missing
#   scripts/spdx.sh --check    change nothing; list the files without it, exit 1 if any
set -euo pipefail
cd "$(dirname "$0")/.."
check=
[[ ${1:-} == --check ]] && check=yes
tag="SPDX-License-Identifier: Apache-2.0"

# The comment that carries the line in FILE, or nothing for a file we do not mark.
comment_for() {
  case $1 in
    tests/data/*) ;;
    *.cpp | *.cc | *.h | *.hpp | *.h.in) echo "//" ;;
    *.sh | *.py | *.cmake | *.cmake.in | *.pc.in | */CMakeLists.txt | CMakeLists.txt | .ci/run | \
      */completions/_quillbox | */completions/*.bash) echo "#" ;;
  esac
}

files() {
  git ls-files --cached --others --exclude-standard -- \
    src tests fuzz bench samples examples python scripts packaging .ci CMakeLists.txt
}

missing=0
while IFS= read -r f; do
  [[ -f $f ]] || continue
  c=$(comment_for "$f")
  [[ -n $c ]] || continue
  head -n 3 "$f" | grep -q "$tag" && continue
  missing=$((missing + 1))
  if [[ -n $check ]]; then
    echo "$f: no SPDX line" >&2
    continue
  fi
  first=$(head -n 1 "$f")
  tmp=$(mktemp)
  if [[ $first == '#!'* || $first == '#compdef'* ]]; then
    { echo "$first"; echo "$c $tag"; tail -n +2 "$f"; } >"$tmp"
  else
    { echo "$c $tag"; cat "$f"; } >"$tmp"
  fi
  # Keep the file's mode (scripts stay executable).
  cat "$tmp" >"$f"
  rm -f "$tmp"
done < <(files)

if [[ -n $check ]]; then
  if [[ $missing -gt 0 ]]; then
    echo "spdx: $missing files without \"$tag\" (scripts/spdx.sh adds it)" >&2
    exit 1
  fi
  echo "spdx: every source file carries \"$tag\""
elif [[ $missing -gt 0 ]]; then
  echo "spdx: added \"$tag\" to $missing files"
fi
