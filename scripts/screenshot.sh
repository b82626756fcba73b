#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Takes a PNG screenshot of a page with headless Chromium (Debian's package, installed when
# missing): scripts/screenshot.sh PAGE.html OUT.png [WIDTH] [HEIGHT]
set -euo pipefail
[[ $# -ge 2 ]] || { echo "usage: $0 PAGE.html OUT.png [WIDTH] [HEIGHT]" >&2; exit 2; }
page=$(realpath "$1")
out=$(realpath -m "$2")
width=${3:-1024}
height=${4:-1400}
cd "$(dirname "$0")/.."
QB_EXTRA_PACKAGES="chromium fonts-noto-cjk" scripts/install-deps.sh
profile=$(mktemp -d)
trap 'rm -rf "$profile"' EXIT
# No network: the flags keep Chromium from trying to reach any service.
chromium --headless --no-sandbox --disable-gpu --disable-quic --no-first-run \
  --disable-background-networking --disable-component-update --disable-sync \
  --user-data-dir="$profile" --hide-scrollbars --window-size="$width,$height" \
  --screenshot="$out" "file://$page" >/dev/null 2>&1
[[ -s "$out" ]] || { echo "no screenshot written" >&2; exit 1; }
echo "$out"
