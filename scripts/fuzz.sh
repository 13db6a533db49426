#!/usr/bin/env bash
# Builds the libFuzzer harnesses with clang in build-fuzz/ (the whole framework instrumented,
# with AddressSanitizer and UBSan) and runs each on its seed corpus for a while.
#   scripts/fuzz.sh [seconds per harness, default 60]
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/setup.sh"
cd "$OSTRUM_ROOT"

ostrum_install_missing
seconds="${1:-60}"
build_dir="${OSTRUM_BUILD_DIR:-build-fuzz}"
CC=clang CXX=clang++ OSTRUM_WERROR="${OSTRUM_WERROR:-0}" ostrum_configure "$build_dir" \
  -DOSTRUM_BUILD_FUZZ=ON -DOSTRUM_BUILD_TESTS=OFF -DOSTRUM_BUILD_BENCH=OFF -DOSTRUM_BUILD_EXAMPLES=OFF
ostrum_build "$build_dir" --target fuzz_reader fuzz_transforms fuzz_children
for name in reader transforms children; do
  work="$build_dir/fuzz/corpus-$name"
  mkdir -p "$work"
  echo "== fuzz_$name for ${seconds}s"
  "$build_dir/fuzz/fuzz_$name" -max_total_time="$seconds" -max_len=65536 -seed=1 \
    "$work" "fuzz/corpus/$name"
done
