#!/usr/bin/env bash
# A registry of N entries (default 10 million) written by `scm register` from one manifest, then
# every reading command on it, each with its time and peak memory (/usr/bin/time), output thrown
# away. Needs about 1 KB of disk per entry in WORK (manifest and registry; 9 GB for 10M) and runs
# for about half an hour at 10M on this machine. See docs/performance.md.
#
#   bench/reading_at_scale.sh [N] [WORK]     WORK defaults to a new temporary directory, removed
#                                            afterwards; a given WORK is kept (and reused if it
#                                            already holds the registry of N entries)
set -euo pipefail
cd "$(dirname "$0")/.."
count=${1:-10000000}
work=${2:-}
if [ -z "$work" ]; then
  work=$(mktemp -d)
  trap 'rm -rf "$work"' EXIT
fi
mkdir -p "$work"

cmake -S . -B build-bench -DCMAKE_BUILD_TYPE=Release -DSCM_BUILD_TESTS=OFF > /dev/null
cmake --build build-bench -j 2 --target scm scm_bench > /dev/null
scm=$PWD/build-bench/tools/scm
bench=$PWD/build-bench/bench/scm_bench
registry="$work/registry-$count.scm"

# One command: its label and how many entries it reads, then time, rate and peak memory as one
# table row.
measure() {
  local label=$1 entries=$2
  shift 2
  local status=0
  /usr/bin/time -f "%e %M" -o "$work/time" "$@" > /dev/null 2> "$work/errors" || status=$?
  read -r seconds kib < "$work/time"
  awk -v l="$label" -v s="$seconds" -v k="$kib" -v n="$entries" -v e="$status" \
    'BEGIN { printf "| %-30s | %8.1f s | %9.0f/s | %6.1f MiB | exit %d |\n", l, s, n / (s > 0 ? s : 1), k / 1024, e }'
}

echo "date: $(date -u '+%Y-%m-%d %H:%M UTC'); load $(cut -d' ' -f1-3 /proc/loadavg); commit $(git rev-parse --short HEAD)"
if [ ! -f "$registry" ]; then
  awk -v n="$count" -f bench/manifest.awk > "$work/manifest.jsonl"
  echo "manifest: $count entries, $(du -h "$work/manifest.jsonl" | cut -f1)"
  measure "scm register" "$count" "$scm" register "$registry.partial" "$work/manifest.jsonl"
  mv "$registry.partial" "$registry"
  rm -f "$work/manifest.jsonl"
fi
echo "registry: $(stat -c %s "$registry") bytes"
cat "$registry" > /dev/null  # into the page cache once, as a registry in use is
measure "scm list" "$count" "$scm" list "$registry"
measure "scm list --names" "$count" "$scm" list --names "$registry"
measure "scm export" "$count" "$scm" export "$registry"
measure "scm stats" "$count" "$scm" stats "$registry"
measure "scm show (one entry)" 1 "$scm" show "$registry" utilities rt_util_0
measure "scm check --quick" "$count" "$scm" check --quick "$registry"
measure "scm check" "$count" "$scm" check "$registry"
measure "inspector walk" "$count" "$bench" --reading-child=walk "$registry"
