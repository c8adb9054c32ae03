#!/usr/bin/env bash
# Throughput of `scm register`: generates a manifest of N entries (default 100000; utilities,
# shared functions, types, data and constants in turn), registers it into a fresh registry, then
# registers it again (every entry merges), and prints entries per second for both runs.
# Usage: bench/scm_register.sh [N] [path/to/scm]   (default build/tools/scm)
set -euo pipefail
cd "$(dirname "$0")/.."
count=${1:-100000}
scm=${2:-build/tools/scm}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

awk -v n="$count" -f bench/manifest.awk > "$work/manifest.jsonl"
echo "manifest: $count entries, $(du -h "$work/manifest.jsonl" | cut -f1)"

for run in "new entries" "merges"; do
  summary=$("$scm" register --json "$work/registry.scm" "$work/manifest.jsonl")
  seconds=$(sed -n 's/^  "seconds": \(.*\),$/\1/p' <<< "$summary")
  awk -v run="$run" -v n="$count" -v s="$seconds" \
    'BEGIN { printf "%-12s %8.2f s  %8.0f entries/s\n", run ":", s, n / s }'
done
