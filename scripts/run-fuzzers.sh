#!/usr/bin/env bash
# Runs the harnesses of a fuzz build (make fuzz), one after the other, each
# for a set time on a scratch copy of its seed corpus, so that what a run
# finds stays in the build folder and the checked-in corpus is not flooded.
#   scripts/run-fuzzers.sh BUILD_DIR SECONDS [HARNESS...]
# Without names it runs every harness the build made. An input that finds a
# fault is kept in BUILD_DIR/fuzz-artifacts/HARNESS/; the other harnesses
# still run, and the script fails at the end.
set -euo pipefail
cd "$(dirname "$0")/.."

build=$1
seconds=$2
shift 2
harnesses=("$@")
if [ ${#harnesses[@]} -eq 0 ]; then
  for fuzzer in "$build"/fuzz/*_fuzzer; do
    name=$(basename "$fuzzer")
    harnesses+=("${name%_fuzzer}")
  done
fi

failed=()
for harness in "${harnesses[@]}"; do
  # Inputs no longer than what finds faults in what the harness reads.
  dict=()
  case $harness in
    datetime) max_len=64 ;;
    object_path | path_round_trip) max_len=512 ;;
    mof_*) max_len=4096; dict=(-dict=fuzz/dict/mof.dict) ;;
    cim_request) max_len=8192; dict=(-dict=fuzz/dict/cimxml.dict) ;;
    http_request)
      max_len=8192
      cat fuzz/dict/http.dict fuzz/dict/cimxml.dict > "$build/http_request.dict"
      dict=(-dict="$build/http_request.dict")
      ;;
    *) max_len=4096 ;;
  esac
  corpus=$build/fuzz-corpus/$harness
  artifacts=$build/fuzz-artifacts/$harness
  rm -rf "$corpus"
  mkdir -p "$corpus" "$artifacts"
  cp fuzz/corpus/"$harness"/* "$corpus"/
  echo "== $harness: $seconds seconds on a copy of fuzz/corpus/$harness"
  if ! "$build/fuzz/${harness}_fuzzer" "$corpus" "${dict[@]}" -max_total_time="$seconds" \
      -max_len="$max_len" -timeout=10 -rss_limit_mb=2048 -print_final_stats=1 \
      -artifact_prefix="$artifacts/"; then
    failed+=("$harness")
  fi
done

if [ ${#failed[@]} -gt 0 ]; then
  echo "Faults found by: ${failed[*]} (inputs in $build/fuzz-artifacts/)." >&2
  echo "Keep each one in fuzz/regressions/HARNESS/, named for what it is." >&2
  exit 1
fi
