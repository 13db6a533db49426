#!/usr/bin/env bash
# Installs the framework from a build tree into a temporary prefix, moves that prefix
# elsewhere (a package must not depend on where it was installed), then builds the consumer
# project against it (every public header on its own, a host through find_package and one
# through pkg-config) and runs both hosts.
#   consumer_test.sh BUILD_DIR CONSUMER_SOURCE_DIR WORK_DIR
set -euo pipefail
build=$1
consumer=$2
work=$3

rm -rf "$work"
mkdir -p "$work"
cmake --install "$build" --prefix "$work/installed" >/dev/null
mv "$work/installed" "$work/moved"
prefix="$work/moved"

pc=$(find "$prefix" -name ostrum-framework.pc -print -quit)
[[ -n "$pc" ]] || { echo "no ostrum-framework.pc installed"; exit 1; }
launcher=()
if command -v ccache >/dev/null; then launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache); fi
export PKG_CONFIG_PATH="$(dirname "$pc")"
cmake -S "$consumer" -B "$work/build" -G Ninja -DCMAKE_BUILD_TYPE=Release \
  -DCMAKE_PREFIX_PATH="$prefix" "${launcher[@]}" >"$work/configure.log" 2>&1 ||
  { cat "$work/configure.log"; exit 1; }
cmake --build "$work/build" -j2

mkdir -p "$work/undo"
for host in host_cmake host_pkgconfig; do
  echo "== $host"
  "$work/build/$host" "$work/undo"
done
for host in host_gl_cmake host_gl_pkgconfig; do
  echo "== $host"
  "$work/build/$host"
done
leftovers=$(find "$work/undo" -mindepth 1)
[[ -z "$leftovers" ]] || { echo "undo files left behind:"; echo "$leftovers"; exit 1; }

# The installed example host starts from the moved prefix (its RPATH leads to the library)
# and leaves its temporary directory as empty as it found it.
if [[ -x "$prefix/bin/ostrum-planner" ]]; then
  echo "== installed ostrum-planner"
  mkdir -p "$work/tmp"
  TMPDIR="$work/tmp" "$prefix/bin/ostrum-planner" >"$work/planner.log" 2>&1 ||
    { tail -20 "$work/planner.log"; echo "the installed ostrum-planner failed"; exit 1; }
  tail -1 "$work/planner.log"
  leftovers=$(find "$work/tmp" -mindepth 1)
  [[ -z "$leftovers" ]] || { echo "ostrum-planner left behind:"; echo "$leftovers"; exit 1; }

  # A run killed with SIGKILL leaves its undo files; the next run removes them.
  echo "== ostrum-planner killed midway, then run again"
  TMPDIR="$work/tmp" "$prefix/bin/ostrum-planner" --stop-midway >"$work/killed.log" 2>&1 &
  killed=$!
  for _ in $(seq 200); do grep -q "stopped midway" "$work/killed.log" && break; sleep 0.05; done
  kill -KILL "$killed"
  wait "$killed" 2>/dev/null || true
  left=$(find "$work/tmp" -name '~varn_*' | wc -l)
  ((left > 0)) || { echo "the killed run left no undo files to clean up"; exit 1; }
  echo "killed run left $left undo files"
  TMPDIR="$work/tmp" "$prefix/bin/ostrum-planner" >"$work/planner.log" 2>&1 ||
    { tail -20 "$work/planner.log"; echo "the second ostrum-planner failed"; exit 1; }
  leftovers=$(find "$work/tmp" -mindepth 1)
  [[ -z "$leftovers" ]] || { echo "left behind after the next run:"; echo "$leftovers"; exit 1; }
fi
rm -rf "$work"
