#!/usr/bin/env bash
# Builds the libFuzzer harnesses with clang in build-fuzz/ (the whole framework instrumented,
# with AddressSanitizer and UBSan) and runs each in turn on its seed corpus and regression
# inputs. Installs clang and its libFuzzer runtime when they are missing; the test suite does
# not need them (it runs the same harnesses through a driver of its own, see fuzz/).
#   scripts/fuzz.sh [seconds per harness, default 60] [harness...]
# Extra libFuzzer options go in OSTRUM_FUZZ_OPTIONS. What a run finds lands in
# build-fuzz/fuzz/findings-<harness>/; the corpus it grows in build-fuzz/fuzz/corpus-<harness>/.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/setup.sh"
cd "$OSTRUM_ROOT"

ostrum_install_missing "${OSTRUM_FUZZ_PACKAGES[@]}"
seconds="${1:-60}"
shift || true
harnesses=("$@")
if ((${#harnesses[@]} == 0)); then harnesses=(reader transforms children); fi
build_dir="${OSTRUM_BUILD_DIR:-build-fuzz}"
targets=()
for name in "${harnesses[@]}"; do targets+=("fuzz_$name"); done
CC=clang CXX=clang++ OSTRUM_WERROR="${OSTRUM_WERROR:-0}" ostrum_configure "$build_dir" \
  -DOSTRUM_BUILD_FUZZ=ON -DOSTRUM_BUILD_TESTS=OFF -DOSTRUM_BUILD_BENCH=OFF -DOSTRUM_BUILD_EXAMPLES=OFF \
  -DOSTRUM_BUILD_GL=OFF >/dev/null
ostrum_build "$build_dir" --target "${targets[@]}"
status=0
for name in "${harnesses[@]}"; do
  work="$build_dir/fuzz/corpus-$name"
  findings="$build_dir/fuzz/findings-$name"
  mkdir -p "$work" "$findings"
  inputs=("$work" "fuzz/corpus/$name")
  if [[ -d "fuzz/regressions/$name" ]]; then inputs+=("fuzz/regressions/$name"); fi
  echo "== fuzz_$name for ${seconds}s"
  # shellcheck disable=SC2086
  "$build_dir/fuzz/fuzz_$name" -max_total_time="$seconds" -max_len=65536 -timeout=10 -rss_limit_mb=2048 \
    -dict=fuzz/plan.dict -artifact_prefix="$findings/" -print_final_stats=1 ${OSTRUM_FUZZ_OPTIONS:-} \
    "${inputs[@]}" || status=$?
done
exit $status
