#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Compiles every source file of the readers (src/tnef, src/OXMSG with cfb, src/model,
# src/formats) with clang's -Wunsafe-buffer-usage -Werror, so that pointer arithmetic and
# unchecked indexing on input fail the build instead of waiting for a review. Only the checked
# folders' own lines count: headers they include from elsewhere must be clean too, and the
# platform code that has to index raw memory marks itself with QB_UNSAFE_BUFFER_USAGE_BEGIN.
#   scripts/unsafe-buffers.sh            exit 0: clean; 1: warnings (printed); 2: no compiler
# The flag first came with clang 16. The newest clang++ on PATH that has it is used; on
# Debian 12 (clang 14 by default) clang-16 is installed from the main archive when none has.
set -euo pipefail
cd "$(dirname "$0")/.."
folders=(src/tnef src/OXMSG src/model src/formats)
build=build-clang-unsafe

has_flag() {
  echo 'int main() { return 0; }' |
    "$1" -x c++ -fsyntax-only -Werror -Wunsafe-buffer-usage - >/dev/null 2>&1
}
find_compiler() {
  local v
  for v in 20 19 18 17 16; do
    if command -v "clang++-$v" >/dev/null && has_flag "clang++-$v"; then echo "clang++-$v"; return; fi
  done
  if command -v clang++ >/dev/null && has_flag clang++; then echo clang++; fi
}

cxx=$(find_compiler)
if [[ -z $cxx ]] && apt-cache show clang-16 >/dev/null 2>&1; then
  QB_EXTRA_PACKAGES="clang-16" scripts/install-deps.sh
  cxx=$(find_compiler)
fi
if [[ -z $cxx ]]; then
  echo "$0: no clang++ with -Wunsafe-buffer-usage (it needs clang 16 or later);" \
       "install one (Debian 12: apt-get install clang-16) and run again" >&2
  exit 2
fi
echo "$0: checking with $($cxx --version | head -1)" >&2

# Configuring needs the build's own packages.
scripts/install-deps.sh
# Only the compile commands are wanted, not a build.
cmake -S . -B "$build" -G Ninja -DCMAKE_CXX_COMPILER="$cxx" -DQB_BUILD_TESTS=OFF \
  -DCMAKE_EXPORT_COMPILE_COMMANDS=ON >/dev/null

# One line per file: the compile command turned into a syntax check with the warning on.
commands=$(/usr/bin/python3 - "$build/compile_commands.json" "$PWD" "${folders[@]}" <<'EOF'
import json, os, shlex, sys
path, root, folders = sys.argv[1], sys.argv[2], sys.argv[3:]
wanted = [os.path.join(root, f) + os.sep for f in folders]
for entry in json.load(open(path)):
    source = os.path.normpath(os.path.join(entry["directory"], entry["file"]))
    if not any(source.startswith(w) for w in wanted):
        continue
    args = shlex.split(entry["command"])
    out, skip = [], False
    for a in args:
        if skip:
            skip = False
            continue
        if a == "-o":
            skip = True
            continue
        out.append("-fsyntax-only" if a == "-c" else a)
    out += ["-Wunsafe-buffer-usage", "-Werror"]
    print("cd " + shlex.quote(entry["directory"]) + " && " + shlex.join(out))
EOF
)
count=$(grep -c . <<<"$commands" || true)
if [[ $count -eq 0 ]]; then
  echo "$0: no sources of ${folders[*]} in $build/compile_commands.json" >&2
  exit 2
fi

log=$(mktemp)
trap 'rm -f "$log"' EXIT
status=0
# Two at a time: the machine is shared.
tr '\n' '\0' <<<"$commands" | xargs -0 -P2 -n1 bash -c 'eval "$1" 2>&1' _ >"$log" || status=1
if [[ $status -ne 0 ]] || grep -q 'warning:\|error:' "$log"; then
  cat "$log"
  echo "$0: unsafe buffer use in ${folders[*]} (see above)" >&2
  exit 1
fi
echo "$0: $count files of ${folders[*]} clean" >&2
