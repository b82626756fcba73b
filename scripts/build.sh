#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Configures and builds into a build folder (default: build), warnings as errors. QB_SANITIZE=1
# builds with AddressSanitizer and UndefinedBehaviorSanitizer; QB_BUILD_TYPE picks the CMake
# build type (default RelWithDebInfo; CI builds Release). The Python module is built too;
# QB_PYTHON=0 leaves it out.
set -euo pipefail
cd "$(dirname "$0")/.."
dir=${1:-build}
"$PWD/scripts/install-deps.sh"
cmake -S . -B "$dir" -G Ninja -DQB_SANITIZE="${QB_SANITIZE:-0}" -DQB_WERROR=ON \
  -DCMAKE_BUILD_TYPE="${QB_BUILD_TYPE:-RelWithDebInfo}" -DQB_PYTHON="${QB_PYTHON:-1}" \
  -DPYTHON_EXECUTABLE=/usr/bin/python3 >/dev/null
cmake --build "$dir" -j2
