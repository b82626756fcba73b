#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Builds quillbox and the batch tests with ThreadSanitizer (in build-tsan) and runs the batch
# tests: quillbox's worker threads over the corpus. Any report fails the run (quillbox exits
# 66, which the tests see as a changed exit status, and the log is searched too). Warnings
# are the ordinary build's business: g++ 12 sees uninitialised values under -fsanitize=thread
# that are not there.
set -euo pipefail
cd "$(dirname "$0")/.."
"$PWD/scripts/install-deps.sh"
cmake -S . -B build-tsan -G Ninja -DQB_STATIC_CLI=OFF -DQB_WERROR=OFF -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DCMAKE_CXX_FLAGS="-fsanitize=thread" -DCMAKE_EXE_LINKER_FLAGS="-fsanitize=thread" >/dev/null
# The drawing modules too: extract writes View.html, whose icons they draw.
cmake --build build-tsan -j2 --target quillbox qb_batch_tests qbcore-icons qbcore-pdf
export TSAN_OPTIONS="halt_on_error=1 exitcode=66 second_deadlock_stack=1"
log=$(mktemp)
trap 'rm -f "$log"' EXIT
status=0
build-tsan/tests/qb_batch_tests 2>&1 | tee "$log" || status=$?
if grep -q "WARNING: ThreadSanitizer" "$log"; then
    echo "ThreadSanitizer reports found" >&2
    status=1
fi
exit $status
