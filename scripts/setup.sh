#!/usr/bin/env bash
# Shared set-up for the project's scripts: installs what a fresh Debian 12 machine lacks
# (one `apt-get update`, only when something is missing), then configures the build tree.
# Sourced by scripts/test.sh and scripts/demo.sh; not meant to be run on its own.
set -euo pipefail

OSTRUM_ROOT="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
OSTRUM_PACKAGES=(
  build-essential cmake ninja-build ccache pkg-config
  libeigen3-dev libboost-dev
  libgtest-dev libgmock-dev libbenchmark-dev
  libxml2-dev libpng-dev
  libembree-dev
  qt6-base-dev
  libepoxy-dev libegl-dev libegl-mesa0 libgl1-mesa-dri
  libfreetype-dev libfontconfig-dev fonts-dejavu-core libcairo2-dev
)
# What only scripts/fuzz.sh needs: clang and its libFuzzer runtime (a recommendation of clang,
# which installs without recommendations leave out). CI never installs these.
OSTRUM_FUZZ_PACKAGES=(clang libclang-rt-14-dev)

# ostrum_install_missing [extra packages...]
# Installs what is missing of OSTRUM_PACKAGES and of the packages named.
ostrum_install_missing() {
  local missing=()
  local p
  for p in "${OSTRUM_PACKAGES[@]}" "$@"; do
    if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
      missing+=("$p")
    fi
  done
  if ((${#missing[@]} == 0)); then
    return 0
  fi
  echo "setup: installing ${missing[*]}"
  local sudo=""
  if [[ $(id -u) -ne 0 ]]; then sudo="sudo"; fi
  $sudo apt-get update
  DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y --no-install-recommends "${missing[@]}"
}

# ostrum_configure BUILD_DIR [extra cmake args...]
# Warnings are errors unless OSTRUM_WERROR=0 (for trying a newer compiler, say).
ostrum_configure() {
  local build_dir="$1"; shift
  export CCACHE_DIR="${CCACHE_DIR:-$HOME/.cache/ccache}"
  # Paths below the checkout are hashed relative to it, so several checkouts share one cache.
  export CCACHE_BASEDIR="${CCACHE_BASEDIR:-$OSTRUM_ROOT}"
  cmake -S "$OSTRUM_ROOT" -B "$build_dir" -G Ninja \
    -DCMAKE_BUILD_TYPE="${OSTRUM_BUILD_TYPE:-RelWithDebInfo}" \
    -DOSTRUM_WERROR="${OSTRUM_WERROR:-1}" \
    -DCMAKE_C_COMPILER_LAUNCHER=ccache -DCMAKE_CXX_COMPILER_LAUNCHER=ccache \
    "$@"
}

ostrum_build() {
  local build_dir="$1"; shift
  export CCACHE_DIR="${CCACHE_DIR:-$HOME/.cache/ccache}"
  export CCACHE_BASEDIR="${CCACHE_BASEDIR:-$OSTRUM_ROOT}"
  cmake --build "$build_dir" -j2 "$@"
}
