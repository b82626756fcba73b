#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Times quillbox on large and many small inputs, with the commands that bound the same work:
# cp writing the same files (what extract writes, copied from a folder of them), sha256sum
# reading the input once. Writing is bound by the file system, so every run starts after a
# sync.
# Median of 5 runs (wall clock, and processor time: user + system, which waiting for a core
# on a busy machine does not count); peak RSS from /usr/bin/time. Start-up: the mean of 200
# runs of info --json on a small file beside /bin/true, measured by hyperfine on the same
# run. Writes bench/results.md.
# With --hostile, only the crafted hostile inputs (each at two sizes) are run, every command
# on each, and their section of bench/results.md is rewritten; with --rich, only the rich text
# conversion, and its section.
#   bench/run.sh [--hostile | --rich] [WORKDIR]   (default: a temporary folder, removed at the end)
set -euo pipefail
cd "$(dirname "$0")/.."
hostile=
rich=
if [[ "${1:-}" == --hostile ]]; then hostile=yes; shift; fi
if [[ "${1:-}" == --rich ]]; then rich=yes; shift; fi
QB_EXTRA_PACKAGES="time hyperfine" scripts/install-deps.sh
if [[ -n "$rich" ]]; then
    cmake --build build -j2 --target rtf-bench >/dev/null
else
    scripts/build.sh build >/dev/null
fi

work=${1:-$(mktemp -d)}
keep=${1:+yes}
mkdir -p "$work/in/small"
[[ -n "$rich" || -f "$work/in/msg-1000.msg" ]] || build/make-samples "$work/in" --bench >/dev/null
# A file of the size of the largest input's .eml, for cp to write.
[[ -n "$rich" || -n "$hostile" || -f "$work/x.eml" ]] ||
    build/quillbox eml "$work/in/msg-1000.msg" -o "$work/x.eml"
q=$PWD/build/quillbox
runs=5
# Outputs go to memory when the machine has /dev/shm: the disk's write-back otherwise
# decides the times (seconds of noise for 200 MB), for quillbox and cp alike.
outroot=$work
if [[ -d /dev/shm && -w /dev/shm ]]; then
    outroot=$(mktemp -d /dev/shm/qb-bench.XXXXXX)
    trap 'rm -rf "$outroot"' EXIT
fi

# median_and_rss LABEL INPUT-SIZE COMMAND...: prints one table row.
rows=()
measure() {
    local label=$1 input=$2
    shift 2
    local times=() cpus=() rss=0
    for ((i = 0; i < runs; i++)); do
        rm -rf "$outroot/out"
        mkdir -p "$outroot/out"
        # Earlier runs' dirty pages must not be written back on this run's time.
        sync
        /usr/bin/time -f "%e %M %U %S" -o "$work/time" "$@" >/dev/null 2>"$work/err" ||
            { echo "failed: $*" >&2; cat "$work/err" >&2; exit 1; }
        read -r t m u s <"$work/time"
        times+=("$t")
        cpus+=("$(awk -v u="$u" -v s="$s" 'BEGIN { printf "%.2f", u + s }')")
        ((m > rss)) && rss=$m
    done
    local median cpu
    median=$(printf '%s\n' "${times[@]}" | sort -n | sed -n "$(((runs + 1) / 2))p")
    cpu=$(printf '%s\n' "${cpus[@]}" | sort -n | sed -n "$(((runs + 1) / 2))p")
    rows+=("| $label | $input | $median | $cpu | $((rss / 1024)) |")
    echo "$label $input: ${median}s (cpu ${cpu}s), $((rss / 1024)) MB" >&2
}

# The hostile inputs: every command on both sizes of each; exit status 0, 1 or 3 expected
# (3: read only in part, with warnings), never a signal.
hostile_rows=()
measure_hostile() {
    local input=$1 label=$2
    shift 2
    local times=() cpus=() rss=0 status=0
    for ((i = 0; i < 3; i++)); do
        rm -rf "$outroot/out"
        mkdir -p "$outroot/out"
        status=0
        /usr/bin/time -f "%e %M %U %S" -o "$work/time" "$@" >/dev/null 2>"$work/err" || status=$?
        if ((status != 0 && status != 1 && status != 3)); then
            echo "$label $input: exit $status" >&2
            cat "$work/err" >&2
            exit 1
        fi
        read -r t m u s < <(tail -n 1 "$work/time")
        times+=("$t")
        # On a shared machine the wall clock counts waiting for a core; the processor time
        # (user + system) is what the command itself costs.
        cpus+=("$(awk -v u="$u" -v s="$s" 'BEGIN { printf "%.2f", u + s }')")
        ((m > rss)) && rss=$m
    done
    local median cpu
    median=$(printf '%s\n' "${times[@]}" | sort -n | sed -n 2p)
    cpu=$(printf '%s\n' "${cpus[@]}" | sort -n | sed -n 2p)
    hostile_rows+=("| $input ($(du -k "$work/hostile/$input" | cut -f1) KB) | $label | $status | $median | $cpu | $((rss / 1024)) |")
    echo "$input $label: exit $status, ${median}s (cpu ${cpu}s), $((rss / 1024)) MB" >&2
}

run_hostile() {
    mkdir -p "$work/hostile"
    build/make-samples "$work/hostile" --hostile >/dev/null
    for f in "$work"/hostile/*-[12].*; do
        local input
        input=$(basename "$f")
        measure_hostile "$input" "info --json" "$q" info --json "$f"
        measure_hostile "$input" "dump" "$q" dump "$f"
        measure_hostile "$input" "extract" "$q" extract "$f" -o "$outroot/out"
        measure_hostile "$input" "eml" "$q" eml "$f" -o "$outroot/out/x.eml"
    done
    {
        echo "## Hostile inputs"
        echo
        echo "Crafted inputs (make-samples --hostile), each at two sizes (-1, -2: the count that"
        echo "makes the work doubled). Median of 3 runs, wall clock and processor time (user +"
        echo "system); $(date -u +%Y-%m-%d); load average at the"
        echo "end: $(cut -d' ' -f1-3 /proc/loadavg) on $(nproc) cores."
        echo
        echo "| input | command | exit | median s | median cpu s | peak RSS MB |"
        echo "|---|---|---|---|---|---|"
        printf '%s\n' "${hostile_rows[@]}"
    } >"$work/hostile.md"
    # Replace the section in results.md, keeping what comes before it.
    sed -i '/^## Hostile inputs/,$d' bench/results.md
    cat "$work/hostile.md" >>bench/results.md
    cat "$work/hostile.md"
}

# Rich text: RTF → styled text → page, in the process (no start-up or file writing), for a
# document of 20 MB (formatted paragraphs, a table every 20 paragraphs, a 5 MB picture as hex
# digits) and ones of 2 and 200 MB of the same kind; then the 10× check: the 200 MB one may
# take at most as many times longer than the 20 MB one as it is larger (both are far larger
# than the processor's caches, which the 2 MB one partly fits in). The check is on the
# conversion's CPU time, which waiting for the cores of a shared machine does not count; the
# wall clock is shown too.
run_rich() {
    local rtfrows=() bytes=() walls=() cpus=()
    local -A best bestmbps bestcpu rss
    local sizes=(2 20 200)
    for mb in "${sizes[@]}"; do
        build/rtf-bench make "$mb" "$work/rich-$mb.rtf"
        rss[$mb]=0
    done
    # The sizes take turns within each run, so a slow spell of a shared machine does not fall
    # on one size only and tilt the 10x check.
    for ((i = 0; i < runs; i++)); do
        for mb in "${sizes[@]}"; do
            /usr/bin/time -f "%M" -o "$work/time" build/rtf-bench convert "$work/rich-$mb.rtf" >"$work/rtf-out"
            read -r secs mbps _ cpu <"$work/rtf-out"
            m=$(cat "$work/time")
            ((m > rss[$mb])) && rss[$mb]=$m
            if [[ -z "${best[$mb]:-}" ]] || awk -v a="$secs" -v b="${best[$mb]}" 'BEGIN { exit !(a < b) }'; then
                best[$mb]=$secs
                bestmbps[$mb]=$mbps
            fi
            if [[ -z "${bestcpu[$mb]:-}" ]] || awk -v a="$cpu" -v b="${bestcpu[$mb]}" 'BEGIN { exit !(a < b) }'; then
                bestcpu[$mb]=$cpu
            fi
        done
    done
    for mb in "${sizes[@]}"; do
        local n size ratio
        n=$(stat -c %s "$work/rich-$mb.rtf")
        size=$(awk -v b="$n" 'BEGIN { printf "%.1f", b / 1048576 }')
        ratio=$(awk -v r="${rss[$mb]}" -v b="$n" 'BEGIN { printf "%.1f", r * 1024 / b }')
        bytes+=("$n")
        walls+=("${best[$mb]}")
        cpus+=("${bestcpu[$mb]}")
        rtfrows+=("| $size MB | ${best[$mb]} | ${bestmbps[$mb]} | ${bestcpu[$mb]} | $((rss[$mb] / 1024)) | ${ratio}× |")
        echo "rich text $size MB: ${best[$mb]}s, ${bestmbps[$mb]} MB/s, ${bestcpu[$mb]} CPU s, $((rss[$mb] / 1024)) MB (${ratio}× the input)" >&2
    done
    local sizex cpux wallx verdict
    sizex=$(awk -v a="${bytes[1]}" -v b="${bytes[2]}" 'BEGIN { printf "%.2f", b / a }')
    cpux=$(awk -v a="${cpus[1]}" -v b="${cpus[2]}" 'BEGIN { printf "%.2f", b / a }')
    wallx=$(awk -v a="${walls[1]}" -v b="${walls[2]}" 'BEGIN { printf "%.2f", b / a }')
    verdict=$(awk -v c="$cpux" -v s="$sizex" 'BEGIN { print (c <= s ? "linear" : "SLOWER THAN LINEAR") }')
    echo "10× check: size ×$sizex, CPU time ×$cpux, wall clock ×$wallx: $verdict" >&2
    {
        echo "## Rich text to HTML"
        echo
        echo "Best of $runs, conversion only (bench/rtf_bench.cpp): wall clock, and the CPU seconds of"
        echo "the conversion; peak RSS of the process (the most of the $runs runs), input included, and"
        echo "as a multiple of the input's size. $(date -u +%Y-%m-%d); load average at the end:"
        echo "$(cut -d' ' -f1-3 /proc/loadavg) on $(nproc) cores."
        echo
        echo "| RTF size | seconds | MB/s | CPU s | peak RSS MB | RSS / input |"
        echo "|---|---|---|---|---|---|"
        printf '%s\n' "${rtfrows[@]}"
        echo
        echo "10× check: the 200 MB document is ×$sizex the 20 MB one; its conversion took ×$cpux the"
        echo "CPU time (×$wallx the wall clock): $verdict."
        echo
    } >"$work/rich.md"
}

if [[ -n "$hostile" ]]; then
    run_hostile
    [[ -n "$keep" ]] || rm -rf "$work"
    exit 0
fi

if [[ -n "$rich" ]]; then
    run_rich
    # Replace the section in results.md, keeping what comes before and after it.
    {
        sed -n '/^## Rich text to HTML/q;p' bench/results.md
        cat "$work/rich.md"
        sed -n '/^## Hostile inputs/,$p' bench/results.md
    } >"$work/results.md"
    cp "$work/results.md" bench/results.md
    cat "$work/rich.md"
    [[ -n "$keep" ]] || rm -rf "$work"
    exit 0
fi

# What cp does for the same job: the attachments, already split, copied into files.
split_attachments() {
    local input=$1 dir=$2
    rm -rf "$dir" "$outroot/split-small" && mkdir -p "$dir"
    "$q" extract "$input" -o "$dir" >/dev/null 2>&1
}

for input in tnef-1000.dat tnef-2000.dat msg-500.msg msg-1000.msg; do
    f="$work/in/$input"
    size=$(du -m "$f" | cut -f1)
    measure "quillbox extract" "$input ($size MB)" "$q" extract "$f" -o "$outroot/out"
    split_attachments "$f" "$outroot/split"
    measure "cp (same attachment files)" "$input" cp -r "$outroot/split" "$outroot/out/"
    measure "quillbox info --json" "$input" "$q" info --json "$f"
    # The page of a thousand attachment links: each type's picture is drawn once.
    if [[ $input == *-1000.* ]]; then
        measure "quillbox view" "$input" "$q" view "$f" -o "$outroot/out/view.html"
    fi
    measure "sha256sum" "$input" sha256sum "$f"
done
# The .eml of the largest input is written as it is made: its peak RSS is the mapped input
# and little more.
big="$work/in/msg-1000.msg"
measure "quillbox eml" "msg-1000.msg" "$q" eml "$big" -o "$outroot/out/x.eml"
measure "cp (a file of the .eml's size)" "msg-1000.msg" cp "$work/x.eml" "$outroot/out/"
for jobs in 1 2; do
    measure "quillbox extract -j $jobs" "5000 small files" sh -c "'$q' extract -j $jobs '$work'/in/small/* -o '$outroot/out'"
done
"$q" extract -j 1 "$work"/in/small/* -o "$outroot/split-small" >/dev/null 2>&1
measure "cp (same output tree)" "5000 small files" cp -r "$outroot/split-small" "$outroot/out/"
for jobs in 1 2; do
    measure "quillbox info --json -j $jobs" "5000 small files" sh -c "'$q' info --json -j $jobs '$work'/in/small/*"
done

# Start-up: a process per small file, as find -exec, xargs and mail filters run it.
# (A glob, not ls | head: with pipefail, ls cut off by head would end the script.)
smalls=("$work"/in/small/*.dat)
small=${smalls[0]}
hyperfine -N --warmup 20 --runs 200 --export-json "$work/startup.json" \
    "$q info --json $small" /bin/true >/dev/null
startup=$(python3 - "$work/startup.json" <<'PY'
import json, sys
r = json.load(open(sys.argv[1]))["results"]
q, t = r[0], r[1]
ms = lambda x: 1000 * x
row = lambda x: "%.2f | %.2f | %.2f |" % (ms(x["mean"]), ms(x["median"]), ms(x["user"] + x["system"]))
print("| quillbox info --json (0 bytes) | " + row(q))
print("| /bin/true | " + row(t))
print("difference: %.2f ms wall clock, %.2f ms processor time" %
      (ms(q["mean"] - t["mean"]), ms(q["user"] + q["system"] - t["user"] - t["system"])))
PY
)
startup=${startup/(0 bytes)/($(stat -c %s "$small") bytes)}
echo "$startup" >&2

run_rich

{
    echo "# Benchmark results"
    echo
    echo "Machine: $(nproc) cores, $(awk '/MemTotal/ {printf "%d GiB", $2/1048576}' /proc/meminfo);" \
         "$(date -u +%Y-%m-%d). Median of $runs runs, wall clock and processor time (user +" \
         "system); peak RSS includes mapped pages." \
         "Outputs written to $( [[ $outroot == /dev/shm/* ]] && echo "memory (/dev/shm)" || echo "disk")." \
         "Load average at the end: $(cut -d' ' -f1-3 /proc/loadavg)."
    echo
    echo "| command | input | median s | median cpu s | peak RSS MB |"
    echo "|---|---|---|---|---|"
    printf '%s\n' "${rows[@]}"
    echo
    echo "## Start-up"
    echo
    echo "Mean of 200 runs (hyperfine -N, 20 warm-up runs), wall clock and processor time, ms."
    echo
    echo "| command | mean ms | median ms | mean cpu ms |"
    echo "|---|---|---|---|"
    echo "$startup" | head -n 2
    echo
    echo "$startup" | tail -n 1
    echo
    cat "$work/rich.md"
} >"$work/results.md"
# The hostile section stays until bench/run.sh --hostile writes it again.
[[ -f bench/results.md ]] && sed -n '/^## Hostile inputs/,$p' bench/results.md >>"$work/results.md"
cp "$work/results.md" bench/results.md
/usr/bin/python3 bench/python_bench.py "$work/in/small" >/dev/null  # its own section of results.md
cat bench/results.md
[[ -n "$keep" ]] || rm -rf "$work"
