#!/usr/bin/env bash
# Builds the libFuzzer targets with clang and runs each for SECONDS (default 60), seeded with
# the shared corpus (copied at run time, never committed) and the bundled samples.
#   scripts/fuzz.sh [SECONDS] [TARGET...]
# With FUZZ_RUNS=N instead, each target runs N inputs with a fixed seed (repeatable). Every
# target runs with -rss_limit_mb=512 -malloc_limit_mb=256, so an input that makes the readers
# allocate far more than it holds is a finding.
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-60}
shift || true
targets=("$@")
[[ ${#targets[@]} -gt 0 ]] || targets=(fuzz_tnef fuzz_msg fuzz_rtf fuzz_mailkit fuzz_formats fuzz_export)

QB_EXTRA_PACKAGES="clang libclang-rt-14-dev" scripts/install-deps.sh
CC=clang CXX=clang++ cmake -S . -B build-fuzz -G Ninja -DQB_FUZZ=ON -DQB_BUILD_TESTS=OFF \
  -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build-fuzz -j2 --target "${targets[@]}" make-samples >/dev/null

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
    fuzz_export) cp "$work"/winmail.dat "$seeds"/; [[ -d $corpus/tnef ]] && cp $corpus/tnef/* "$seeds"/; [[ -d $corpus/msg ]] && cp $corpus/msg/*.msg "$seeds"/ ;;
    fuzz_formats) cp "$work"/winmail.dat "$seeds"/; [[ -d $corpus/msg ]] && cp $corpus/msg/51873.msg "$seeds"/ ;;
    fuzz_mailkit) [[ -d $corpus/golden/msg ]] && for f in $corpus/golden/msg/*.eml; do head -c 4000 "$f" > "$seeds/$(basename "$f")"; done ;;
  esac
  touch "$seeds/empty"
  if [[ -n "${FUZZ_RUNS:-}" ]]; then
    limit=(-runs="$FUZZ_RUNS" -seed=1)
  else
    limit=(-max_total_time="$seconds")
  fi
  echo "== $t"
  ASAN_OPTIONS=detect_leaks=1 build-fuzz/fuzz/$t "${limit[@]}" -max_len=200000 -timeout=10 \
    -rss_limit_mb=512 -malloc_limit_mb=256 -artifact_prefix="$work/$t-" "$work/$t-corpus" "$seeds" 2>&1 \
    | grep -E '^#[0-9]+ *(DONE|INITED)|ERROR|SUMMARY|Done [0-9]+ runs' || true
  findings=$(find "$work" -maxdepth 1 -name "$t-crash-*" -o -name "$t-leak-*" \
             -o -name "$t-timeout-*" -o -name "$t-oom-*")
  if [[ -n "$findings" ]]; then
    mkdir -p fuzz-findings && cp $findings fuzz-findings/
    echo "$t: findings copied to fuzz-findings/" >&2
    exit 1
  fi
done
