#!/usr/bin/env bash
# Builds quillbox, makes the bundled sample winmail.dat and shows what quillbox reads in it.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/build.sh build >/dev/null
build/make-samples samples >/dev/null
set -x
build/quillbox dump samples/winmail.dat
build/quillbox info samples/winmail.dat
