#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Builds quillbox, makes the bundled sample winmail.dat and shows what quillbox reads in it.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/build.sh build >/dev/null
build/make-samples samples >/dev/null
set -x
build/quillbox dump samples/winmail.dat
build/quillbox info samples/winmail.dat
out=$(mktemp -d)
build/quillbox extract samples/winmail.dat -o "$out"
build/quillbox eml samples/winmail.dat -o "$out/winmail.eml"
echo "extracted into $out (the whole message as one mail: $out/winmail.eml)"
