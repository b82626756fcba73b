#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Writes what quillbox makes of every corpus file (info --json, dump, the extract tree, the
# .eml, and each command's exit status and standard error) into one folder, so that two builds
# can be compared with `diff -r`: a refactoring must leave the folders identical.
#   scripts/corpus-snapshot.sh QUILLBOX OUTDIR [CORPUS]
set -uo pipefail
if [[ $# -lt 2 ]]; then
  echo "usage: $0 QUILLBOX OUTDIR [CORPUS]" >&2
  exit 2
fi
qb=$(realpath "$1")
out=$2
corpus=${3:-${QB_CORPUS:-$(dirname "$0")/../../shared/corpus}}
[[ -d $corpus ]] || { echo "$0: no corpus at $corpus" >&2; exit 2; }
corpus=$(realpath "$corpus")
rm -rf "$out"
mkdir -p "$out"
out=$(realpath "$out")
shopt -s nullglob
for f in "$corpus"/tnef/* "$corpus"/msg/*.msg; do
  name=$(basename "$(dirname "$f")")_$(basename "$f")
  d=$out/$name
  mkdir -p "$d"
  # Paths in messages would differ between machines; run where the file is, by its name.
  (
    cd "$(dirname "$f")" || exit 1
    base=$(basename "$f")
    "$qb" info --json "$base" >"$d/info.json" 2>"$d/info.err"
    echo $? >"$d/info.status"
    "$qb" dump "$base" >"$d/dump.txt" 2>"$d/dump.err"
    echo $? >"$d/dump.status"
    "$qb" eml "$base" -o "$d/message.eml" >/dev/null 2>"$d/eml.err"
    echo $? >"$d/eml.status"
  )
  # extract names its output folder in its summary: give it the same relative one every time.
  (
    cd "$d" || exit 1
    "$qb" extract "$f" -o extract >/dev/null 2>extract.err
    echo $? >extract.status
  )
done
echo "$(ls "$out" | wc -l) files written to $out"
