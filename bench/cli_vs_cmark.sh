#!/usr/bin/env bash
# Whole-process time of `tarn --export html` against cmark-gfm with the GitHub extensions on the
# same 10 MB file, in the same run, the median of five runs each, in both flavours: on the
# generated document and on real Markdown (the .md files under node_modules/ and /usr/share/doc).
# Peak memory (maximum resident set) of each program is reported too. md4c's in-process time on
# the same inputs is in render_bench.
# Usage: bench/cli_vs_cmark.sh [BUILD_DIR]   (after a release build; needs cmark-gfm)
set -euo pipefail
build=${1:-build/release}
command -v cmark-gfm >/dev/null || { echo "needs cmark-gfm (apt install cmark-gfm)" >&2; exit 1; }
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
"$build/bench/render/write_document" "$work/generated.md" 10000000
"$build/bench/render/write_document" "$work/real.md" 10000000 real

median() { sort -n | awk '{ v[NR] = $1 } END { print v[int((NR + 1) / 2)] }'; }
seconds() { # the command's wall-clock time in seconds
    local start end
    start=$(date +%s.%N)
    "$@" >/dev/null
    end=$(date +%s.%N)
    echo "$end - $start" | bc -l
}
peak_mb() { # the command's maximum resident set in MB
    /usr/bin/time -f %M "$@" 2>&1 >/dev/null | tail -1 | awk '{ printf "%.0f", $1 / 1024 }'
}
printf '%-10s %-8s %12s %12s %8s %10s %10s\n' input flavor tarn cmark-gfm ratio "tarn MB" "cmark MB"
for run in generated:classic real:classic generated:gfm real:gfm; do
    input=${run%:*} flavor=${run#*:}
    doc="$work/$input.md"
    tarn=$(for _ in 1 2 3 4 5; do
        seconds "$build/src/tarn" --export html --flavor "$flavor" -o - "$doc"
    done | median)
    cmark=$(for _ in 1 2 3 4 5; do
        seconds cmark-gfm -e table -e strikethrough -e tasklist "$doc"
    done | median)
    printf '%-10s %-8s %10.3f s %10.3f s %8.2f %10s %10s\n' "$input" "$flavor" "$tarn" "$cmark" \
        "$(echo "$tarn / $cmark" | bc -l)" \
        "$(peak_mb "$build/src/tarn" --export html --flavor "$flavor" -o - "$doc")" \
        "$(peak_mb cmark-gfm -e table -e strikethrough -e tasklist "$doc")"
done
echo "targets: classic real <= 1.0, classic generated <= 0.8, gfm <= 1.3"
