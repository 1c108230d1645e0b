#!/usr/bin/env bash
# Each job of the Makefile installs the packages it needs and no more: the
# main job (make run) none of what only the tests use, and builds without
# the tests; the other jobs the main job's packages and their own.
# Usage: deps_test.sh SOURCE_DIR WORK_DIR
set -euo pipefail
source_dir="$1"
work="$2"
rm -rf "$work"
mkdir -p "$work"
fail() { echo "FAILED: $*"; exit 1; }

list() { bash "$source_dir/scripts/install-deps.sh" --list "$1"; }
has() { grep -qx "$2" <<< "$1"; }

run=$(list run)
for package in g++ cmake make libboost-dev libcli11-dev libedit-dev libabsl-dev libexpat1-dev libssl-dev; do
  has "$run" "$package" || fail "the main job's set lacks $package"
done
# What only the tests, the benchmarks, the package or the fuzzers use.
for package in libgtest-dev libgmock-dev chromium sblim-wbemcli graphviz python3 curl libxml2-utils \
               libbenchmark-dev dpkg-dev clang; do
  has "$run" "$package" && fail "the main job's set holds $package"
done
declare -A own=([test]="libgtest-dev chromium sblim-wbemcli graphviz python3 libxml2-utils pkg-config man-db"
                [bench]="libbenchmark-dev" [deb]="dpkg-dev" [fuzz]="clang libclang-rt-14-dev")
for set in test bench deb fuzz; do
  packages=$(list "$set")
  while read -r package; do
    has "$packages" "$package" || fail "the $set set lacks the main job's $package"
  done <<< "$run"
  for package in ${own[$set]}; do
    has "$packages" "$package" || fail "the $set set lacks $package"
  done
done
status=0
bash "$source_dir/scripts/install-deps.sh" --list nothing > /dev/null 2>&1 || status=$?
[ "$status" -eq 2 ] || fail "an unknown set exits $status"

# Which set each job installs, and that the main job builds without tests.
for job in run:run test:test sanitize:test bench:bench deb:deb fuzz:fuzz; do
  recipe=$(make -n -C "$source_dir" "${job%%:*}" BUILD_DIR="$work/b" SANITIZE_DIR="$work/s" BENCH_DIR="$work/x" \
           DEB_DIR="$work/d" FUZZ_DIR="$work/f" 2> /dev/null)
  grep -q "install-deps.sh ${job##*:}\$" <<< "$recipe" || fail "make ${job%%:*} does not install the ${job##*:} set"
  [ "$(grep -c 'install-deps.sh' <<< "$recipe")" -eq 1 ] || fail "make ${job%%:*} installs more than one set"
done
grep -q -- "-DBUILD_TESTING=OFF" <<< "$(make -n -C "$source_dir" run BUILD_DIR="$work/b" 2> /dev/null)" ||
  fail "make run builds the tests"
# Configured so, the build looks for no test framework.
cmake -S "$source_dir" -B "$work/main-job" -DBUILD_TESTING=OFF > "$work/configure.log" 2>&1 ||
  fail "the main job's build does not configure: $(tail -5 "$work/configure.log")"
found=$(grep -Ei '^(gtest|gmock|benchmark)[a-z_]*:' "$work/main-job/CMakeCache.txt" || true)
[ -z "$found" ] || fail "the main job's build looks for a test framework: $found"
grep -qE '^absl_DIR:' "$work/main-job/CMakeCache.txt" || fail "the cache is not what this test reads"
echo "PASSED: each job's packages"
