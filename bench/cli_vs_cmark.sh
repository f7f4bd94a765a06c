#!/usr/bin/env bash
# Whole-process time of `tarn --export html` on 10 MB of realistic Markdown against cmark-gfm
# with the GitHub extensions on the same file, in the same run: the median of five runs each.
# Usage: bench/cli_vs_cmark.sh [BUILD_DIR]   (after a release build; needs cmark-gfm)
set -euo pipefail
build=${1:-build/release}
command -v cmark-gfm >/dev/null || { echo "needs cmark-gfm (apt install cmark-gfm)" >&2; exit 1; }
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
"$build/bench/render/write_document" "$work/doc.md" 10000000

median() { sort -n | awk '{ v[NR] = $1 } END { print v[int((NR + 1) / 2)] }'; }
seconds() { # the command's wall-clock time in seconds
    local start end
    start=$(date +%s.%N)
    "$@" >/dev/null
    end=$(date +%s.%N)
    echo "$end - $start" | bc -l
}
tarn=$(for _ in 1 2 3 4 5; do seconds "$build/src/tarn" --export html -o - "$work/doc.md"; done | median)
cmark=$(for _ in 1 2 3 4 5; do
    seconds cmark-gfm -e table -e strikethrough -e tasklist "$work/doc.md"
done | median)
printf 'tarn --export html  %.3f s\ncmark-gfm           %.3f s\nratio               %.2f (target <= 1.0)\n' \
    "$tarn" "$cmark" "$(echo "$tarn / $cmark" | bc -l)"
