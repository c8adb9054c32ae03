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

awk -v n="$count" 'BEGIN {
  for (i = 0; i < n; i++) {
    key = "\"ChecksumElement1\": " i ", \"ChecksumElement2\": 1, \"ChecksumElement3\": 2, \"ChecksumElement4\": 3"
    kind = i % 5
    if (kind == 0)
      printf "{\"identity\": {\"class\": \"BasicUtilityIdentity\", \"UtilityIdentifier\": \"rt_util_%d\"}, \"data\": {\"class\": \"BasicUtilityData\", \"Name\": \"rt_util_%d\", \"Identifier\": \"rt_util_%d\", \"ModelNames\": [\"model_%d\"], \"Traceability\": [\"model_%d:Subsystem/Block%d\"]}}\n", i, i, i, i % 300, i % 300, i
    else if (kind == 1)
      printf "{\"identity\": {\"class\": \"SharedFunctionIdentity\", %s}, \"data\": {\"class\": \"SharedFunctionData\", \"Name\": \"fn_%d\", \"FunctionName\": \"fn_%d\", \"FileName\": \"fn_%d.c\"}}\n", key, i, i, i
    else if (kind == 2)
      printf "{\"identity\": {\"class\": \"SharedTypesIdentity\", %s}, \"data\": {\"class\": \"SharedTypesData\", \"Name\": \"T_%d\", \"Kind\": \"SCM_SHARED_TYPES\", \"FileName\": \"shared_types.h\", \"Definition\": \"typedef struct { real32_T a; int32_T b; } T_%d;\"}}\n", key, i, i
    else if (kind == 3)
      printf "{\"identity\": {\"class\": \"SharedDataIdentity\", %s}, \"data\": {\"class\": \"SharedData\", \"Name\": \"g_%d\", \"Kind\": \"SCM_SHARED_DATA_DEFINITION\", \"FileName\": \"shared_data.c\", \"Definition\": \"real32_T g_%d = 0.0F;\"}}\n", key, i, i
    else
      printf "{\"identity\": {\"class\": \"SharedConstantsIdentity\", %s}, \"data\": {\"class\": \"SharedConstantsData\", \"Name\": \"K_%d\", \"InitialString\": \"%d\", \"DataType\": \"int32_T\", \"GenerateConstant\": true}}\n", key, i, i
  }
}' > "$work/manifest.jsonl"
echo "manifest: $count entries, $(du -h "$work/manifest.jsonl" | cut -f1)"

for run in "new entries" "merges"; do
  summary=$("$scm" register --json "$work/registry.scm" "$work/manifest.jsonl")
  seconds=$(sed -n 's/^  "seconds": \(.*\),$/\1/p' <<< "$summary")
  awk -v run="$run" -v n="$count" -v s="$seconds" \
    'BEGIN { printf "%-12s %8.2f s  %8.0f entries/s\n", run ":", s, n / s }'
done
