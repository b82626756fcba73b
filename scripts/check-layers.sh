#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Fails when a source file includes a header of a layer it may not see (src/LAYERS.txt):
# dependencies point downward only.
set -euo pipefail
cd "$(dirname "$0")/.."
declare -A allowed
while read -r folder _target deps; do
  [[ -z $folder || $folder == \#* ]] && continue
  allowed[$folder]=" $folder $deps "
done <src/LAYERS.txt

# The layer a path under src/ belongs to: the longest listed folder that holds it.
layer_of() {
  local path=$1 best=""
  for folder in "${!allowed[@]}"; do
    if [[ $path == "$folder"/* && ${#folder} -gt ${#best} ]]; then best=$folder; fi
  done
  echo "$best"
}

status=0
checked=0
while IFS= read -r file; do
  rel=${file#src/}
  from=$(layer_of "$rel")
  if [[ -z $from ]]; then
    echo "check-layers: $file: folder not listed in src/LAYERS.txt" >&2
    status=1
    continue
  fi
  while IFS=: read -r line header; do
    to=$(layer_of "$header")
    [[ -z $to ]] && continue  # not one of ours
    checked=$((checked + 1))
    if [[ ${allowed[$from]} != *" $to "* ]]; then
      echo "check-layers: $file:$line: $from may not include $header ($to is not below it)" >&2
      status=1
    fi
  done < <(grep -n -o -E '^[[:space:]]*#[[:space:]]*include[[:space:]]*"[^"]+"' "$file" |
           sed -E 's/^([0-9]+):.*"([^"]+)"/\1:\2/')
done < <(find src -name '*.h' -o -name '*.cpp' | sort)
if [[ $status == 0 ]]; then echo "check-layers: $checked includes checked, none points up"; fi
exit $status
