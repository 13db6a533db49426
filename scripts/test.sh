#!/usr/bin/env bash
# Sets up a fresh Debian 12 machine (installs only what is missing), builds the framework, its
# tests, benchmarks and example with ccache and -j2, and runs the test suite. Exit status is
# ctest's.
#   OSTRUM_SANITIZE=1 scripts/test.sh   builds and tests with AddressSanitizer + UBSan in
#                                       build-asan/ instead of build/.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/setup.sh"
cd "$OSTRUM_ROOT"

ostrum_install_missing

if [[ "${OSTRUM_SANITIZE:-0}" == "1" ]]; then
  build_dir="${OSTRUM_BUILD_DIR:-build-asan}"
  ostrum_configure "$build_dir" -DOSTRUM_SANITIZE=ON -DOSTRUM_BUILD_BENCH=OFF
else
  build_dir="${OSTRUM_BUILD_DIR:-build}"
  ostrum_configure "$build_dir"
fi
ostrum_build "$build_dir"

cd "$build_dir"
set +e
ctest --output-on-failure -j2
status=$?
exit $status
