#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Builds (warnings as errors) and runs the whole test suite. With QB_SANITIZE=1 it builds into
# build-asan with AddressSanitizer and UndefinedBehaviorSanitizer, and any report fails the run;
# QB_BUILD_TYPE picks the build type (scripts/build.sh).
set -euo pipefail
cd "$(dirname "$0")/.."
if [[ "${QB_SANITIZE:-0}" == 1 ]]; then dir=build-asan; else dir=build; fi
scripts/build.sh "$dir"
export ASAN_OPTIONS=detect_leaks=1:abort_on_error=1:strict_string_checks=1
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
# What the system libraries of the drawing modules keep for the life of the process.
export LSAN_OPTIONS=suppressions=$PWD/tests/lsan.supp
log=$(mktemp)
trap 'rm -f "$log"' EXIT
status=0
# What a browser shows does not depend on how quillbox was instrumented, and the browser tests
# take minutes: the sanitizer run leaves them to the plain one.
exclude=()
[[ "${QB_SANITIZE:-0}" == 1 ]] && exclude=(-E '[Cc]hromium|Browser')
ctest --test-dir "$dir" --output-on-failure -j2 "${exclude[@]}" 2>&1 | tee "$log" || status=$?
if grep -q -E 'ERROR: AddressSanitizer|ERROR: LeakSanitizer|runtime error:' "$log"; then
  echo "Sanitizer reports found" >&2
  status=1
fi
exit $status
