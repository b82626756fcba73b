#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Writes the page `quillbox rtf FILE --html` makes for every corpus file with an RTF body
# into OUTDIR (one FILE.html each), so two builds can be compared byte for byte. Each RTF
# body is also read as styled text and written as a page (FILE.styled.html, by rtf-bench
# beside QUILLBOX), whatever the body carries, so every body goes through the RTF reader.
#   scripts/rtf-html-snapshot.sh OUTDIR [QUILLBOX]         (default: build/quillbox)
#   scripts/rtf-html-snapshot.sh --compare BEFORE [QUILLBOX]
# With --compare, the pages are written to a temporary folder and compared with BEFORE;
# the exit status is 1 when any page differs or is missing on one side.
set -euo pipefail
cd "$(dirname "$0")/.."
compare=
if [[ "${1:-}" == --compare ]]; then compare=yes; shift; fi
[[ $# -ge 1 ]] || { echo "usage: $0 [--compare] OUTDIR [QUILLBOX]" >&2; exit 2; }
target=$1
q=${2:-build/quillbox}
bench=$(dirname "$q")/rtf-bench
corpus=../shared/corpus
[[ -d $corpus ]] || corpus=/work/shared/corpus

out=$target
if [[ -n $compare ]]; then
    out=$(mktemp -d)
    trap 'rm -rf "$out"' EXIT
fi
mkdir -p "$out"
written=0
for f in "$corpus"/tnef/* "$corpus"/msg/*; do
    [[ -f $f ]] || continue
    # Files without an RTF body (or one that makes no page) give no page.
    page=$out/$(basename "$f")
    if "$q" rtf "$f" --html -o "$page.html" >/dev/null 2>&1; then
        written=$((written + 1))
    else
        rm -f "$page.html"
    fi
    if "$q" rtf "$f" -o "$page.rtf" >/dev/null 2>&1; then
        "$bench" html "$page.rtf" "$page.styled.html" || rm -f "$page.styled.html"
    fi
    rm -f "$page.rtf"
done
echo "$written pages" >&2
[[ -n $compare ]] || exit 0
if diff -r -q "$target" "$out"; then
    echo "all pages identical" >&2
else
    exit 1
fi
