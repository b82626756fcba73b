#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Installs the Debian packages the build and the tests need, when any is missing.
# Safe to run again and again: it does nothing when everything is there.
set -euo pipefail

packages=(
  build-essential cmake ninja-build pkg-config
  libicu-dev libssl-dev libfmt-dev nlohmann-json3-dev libcli11-dev libzip-dev
  libxml2-dev uuid-dev
  libcairo2-dev libpango1.0-dev librsvg2-dev libpoppler-cpp-dev
  adwaita-icon-theme shared-mime-info fonts-dejavu-core
  # What `pkg-config --static --libs qbcore` names through libzip and libxml2.
  libbz2-dev liblzma-dev zlib1g-dev
  # The manual page test renders docs/quillbox.1.
  groff-base
  libgtest-dev libgmock-dev
  python3 python3-icalendar python3-vobject
  chromium fonts-noto-cjk
  pybind11-dev python3-pybind11 python3-dev python3-pytest python3-dask python3-distributed
)
# Extra packages a caller needs (the fuzz script asks for clang and its runtime).
read -r -a extra <<< "${QB_EXTRA_PACKAGES:-}"
packages+=("${extra[@]}")

missing=()
for p in "${packages[@]}"; do
  status=$(dpkg-query -W -f='${Status}' "$p" 2>/dev/null || true)
  [[ "$status" == "install ok installed" ]] || missing+=("$p")
done
[[ ${#missing[@]} -eq 0 ]] && exit 0

echo "Installing: ${missing[*]}" >&2
sudo=""
if [[ $(id -u) -ne 0 ]]; then
  command -v sudo >/dev/null || { echo "Run as root, or install: ${missing[*]}" >&2; exit 1; }
  sudo="sudo"
fi
export DEBIAN_FRONTEND=noninteractive
$sudo apt-get update -qq
$sudo apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
