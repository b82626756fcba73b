#!/usr/bin/env bash
# Configures and builds into a build folder (default: build). QB_SANITIZE=1 builds with
# AddressSanitizer and UndefinedBehaviorSanitizer. The Python module is built too (QB_PYTHON=0
# leaves it out), except in sanitizer builds unless QB_PYTHON=1 asks for it.
set -euo pipefail
cd "$(dirname "$0")/.."
dir=${1:-build}
"$PWD/scripts/install-deps.sh"
python_default=1
[[ "${QB_SANITIZE:-0}" == 1 ]] && python_default=0
cmake -S . -B "$dir" -G Ninja -DQB_SANITIZE="${QB_SANITIZE:-0}" -DQB_PYTHON="${QB_PYTHON:-$python_default}" \
  -DPYTHON_EXECUTABLE=/usr/bin/python3 >/dev/null
cmake --build "$dir" -j2
