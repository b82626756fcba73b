#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Builds the libFuzzer targets with clang and runs each for SECONDS (default 60), seeded with
# the shared corpus (copied at run time, never committed), the bundled samples and the kept
# findings in tests/data/fuzz-regressions/<target>/.
#   scripts/fuzz.sh [SECONDS] [TARGET...]
# With FUZZ_RUNS=N instead, each target runs N inputs with a fixed seed (repeatable). Every
# target runs with -rss_limit_mb=512 -malloc_limit_mb=256, so an input that makes the readers
# allocate far more than it holds is a finding. A new finding (crash-*, oom-*, timeout-*,
# leak-*) is minimised where libFuzzer can and added to tests/data/fuzz-regressions/<target>/,
# which the test suite replays; the script then exits 1.
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-60}
shift || true
targets=("$@")
[[ ${#targets[@]} -gt 0 ]] || targets=(fuzz_tnef fuzz_msg fuzz_rtf fuzz_richtext fuzz_mailkit fuzz_formats fuzz_export fuzz_records fuzz_calendar fuzz_vcf fuzz_mimeglobs fuzz_pdf fuzz_mime)

QB_EXTRA_PACKAGES="clang libclang-rt-14-dev" scripts/install-deps.sh
CC=clang CXX=clang++ cmake -S . -B build-fuzz -G Ninja -DQB_FUZZ=ON -DQB_BUILD_TESTS=OFF \
  -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build-fuzz -j2 --target "${targets[@]}" make-samples quillbox >/dev/null

# What the system libraries of the drawing modules keep for the life of the process.
export LSAN_OPTIONS=suppressions=$PWD/tests/lsan.supp
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
build-fuzz/make-samples "$work" >/dev/null
corpus=../shared/corpus
for t in "${targets[@]}"; do
  seeds="$work/$t-seeds"
  mkdir -p "$seeds" "$work/$t-corpus"
  case $t in
    fuzz_tnef) cp "$work"/winmail.dat "$seeds"/; [[ -d $corpus/tnef ]] && cp $corpus/tnef/* "$seeds"/ ;;
    fuzz_msg) [[ -d $corpus/msg ]] && cp $corpus/msg/*.msg "$seeds"/ ;;
    fuzz_rtf) printf '\x2d\x00\x00\x00\x2b\x00\x00\x00LZFu\xf1\xc5\xc7\xa7\x03\x00\x0a\x00rcpg125B2\x0a\xf3 hel\x09\x00 bw\x05\xb0ld}\x0a\x80\x0f\xa0' > "$seeds"/hello ;;
    fuzz_richtext)
      # The RTF bodies of the corpus, decompressed, and a few built here.
      for f in $corpus/tnef/* $corpus/msg/*.msg; do
        [[ -f $f ]] && build-fuzz/quillbox rtf "$f" -o "$seeds/$(basename "$f").rtf" 2>/dev/null || true
      done
      printf '{\\rtf1\\ansi\\ansicpg932{\\fonttbl{\\f0\\fcharset128 M;}}\\f0 \\'"'"'93\\'"'"'fa\\u8364?{\\field{\\*\\fldinst HYPERLINK "x"}{\\fldrslt y}}\\trowd\\cellx10\\intbl a\\cell\\row{\\*\\shppict{\\pict\\pngblip\\bin3 abc}}{\\nonshppict{\\pict\\wmetafile8 0102}}\\par}' > "$seeds"/built.rtf
      printf '{\\rtf1\\ansi\\fromhtml1 {\\*\\htmltag19 <html>}\\htmlrtf x\\htmlrtf0 y{\\*\\mhtmltag84 <img src="cid:a">}{\\*\\htmltag84 <img src="a">}}' > "$seeds"/html.rtf ;;
    fuzz_export) cp "$work"/winmail.dat "$seeds"/; [[ -d $corpus/tnef ]] && cp $corpus/tnef/* "$seeds"/; [[ -d $corpus/msg ]] && cp $corpus/msg/*.msg "$seeds"/ ;;
    fuzz_formats) cp "$work"/winmail.dat "$seeds"/; [[ -d $corpus/msg ]] && cp $corpus/msg/51873.msg "$seeds"/ ;;
    fuzz_records)
      # A one-off entry id (SMTP, Unicode) and a packaged file.
      printf '\x00\x00\x00\x00\x81\x2b\x1f\xa4\xbe\xa3\x10\x19\x9d\x6e\x00\xdd\x01\x0f\x54\x02\x00\x00\x00\x80A\x00\x00\x00S\x00M\x00T\x00P\x00\x00\x00a\x00@\x00b\x00\x00\x00' > "$seeds"/oneoff
      printf '\x23\x00\x00\x00\x02\x00a.txt\x00C:\\a.txt\x00\x00\x00\x03\x00\x03\x00\x00\x00t\x00\x00\x03\x00\x00\x00abc' > "$seeds"/package ;;
    fuzz_mailkit) [[ -d $corpus/golden/msg ]] && for f in $corpus/golden/msg/*.eml; do head -c 4000 "$f" > "$seeds/$(basename "$f")"; done ;;
    fuzz_mime) [[ -d $corpus/msg ]] && for f in $corpus/msg/*.eml; do head -c 60000 "$f" > "$seeds/$(basename "$f")"; done ;;
    fuzz_mimeglobs) [[ -f /usr/share/mime/globs2 ]] && { head -c 20000 /usr/share/mime/globs2; printf '\0'; head -c 4000 /usr/share/mime/generic-icons; } > "$seeds"/system ;;
    fuzz_pdf) cp tests/data/pdf/*.pdf "$seeds"/ ;;
    # fuzz_calendar and fuzz_vcf start from their kept findings and the empty input.
  esac
  touch "$seeds/empty"
  if [[ -n "${FUZZ_RUNS:-}" ]]; then
    limit=(-runs="$FUZZ_RUNS" -seed=1)
  else
    limit=(-max_total_time="$seconds")
  fi
  echo "== $t"
  kept=tests/data/fuzz-regressions/$t
  seedDirs=("$seeds")
  [[ -d $kept ]] && seedDirs+=("$kept")
  flags=(-max_len=200000 -timeout=10 -rss_limit_mb=512 -malloc_limit_mb=256)
  # AddressSanitizer keeps up to 256 MB of freed memory by default (to catch late uses); in
  # the export target that alone passed the RSS limit within seconds, whatever the input.
  # 32 MB still catches uses of recently freed memory and leaves the limit to the inputs.
  export ASAN_OPTIONS=detect_leaks=1:quarantine_size_mb=32
  build-fuzz/fuzz/$t "${limit[@]}" "${flags[@]}" \
    -artifact_prefix="$work/$t-" "$work/$t-corpus" "${seedDirs[@]}" 2>&1 \
    | grep -E '^#[0-9]+ *(DONE|INITED)|ERROR|SUMMARY|Done [0-9]+ runs' || true
  while IFS= read -r finding; do
    [[ -n $finding ]] || continue
    kind=$(basename "$finding"); kind=${kind#"$t-"}; kind=${kind%%-*}
    # The smallest input that still fails the same way, when libFuzzer can find one.
    small="$work/minimised"
    rm -f "$small"
    build-fuzz/fuzz/$t "${flags[@]}" -minimize_crash=1 -runs=20000 \
      -exact_artifact_path="$small" "$finding" >/dev/null 2>&1 || true
    [[ -s $small ]] || cp "$finding" "$small"
    mkdir -p "$kept"
    name="$kind-$(sha1sum "$small" | cut -c1-40)"
    if [[ -e $kept/$name ]]; then
      echo "$t: $kind already kept as $kept/$name" >&2
    else
      cp "$small" "$kept/$name"
      echo "$t: added $kept/$name ($(stat -c %s "$finding") bytes, minimised to $(stat -c %s "$small"))" >&2
    fi
    found=1
  done < <(find "$work" -maxdepth 1 \( -name "$t-crash-*" -o -name "$t-leak-*" \
             -o -name "$t-timeout-*" -o -name "$t-oom-*" \) | sort)
done
if [[ -n ${found:-} ]]; then
  echo "findings were added to tests/data/fuzz-regressions/: fix them, then commit them with the fix" >&2
  exit 1
fi
