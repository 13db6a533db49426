#!/usr/bin/env bash
# Sets up a fresh Debian 12 machine (installs only what is missing), builds the example host
# program and runs it: ostrum-planner prints, stage by stage, what the document pipeline does
# with its operations, draws its plan with the OpenGL renderer into
# build/ostrum-planner-plan.png and its two interactive panes, the active one framed, into
# build/ostrum-planner-windows.png; it moves the pointer over the sample mesh and screws in
# front of it with object sensitivity on, printing the modes switched, and clicks on the mesh and
# a screw with a picking tool, printing what was picked, where and how fast; then it shows the sample mesh
# (examples/planner/data/knob.stl) in a 3D window, turns and zooms it by scripted mouse drags
# and writes build/ostrum-planner-mesh-before.png and build/ostrum-planner-mesh-after.png.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/setup.sh"
cd "$OSTRUM_ROOT"

ostrum_install_missing
build_dir="${OSTRUM_BUILD_DIR:-build}"
ostrum_configure "$build_dir" >/dev/null
ostrum_build "$build_dir" --target ostrum-planner
exec "$build_dir/examples/planner/ostrum-planner" --plan-png "$build_dir/ostrum-planner-plan.png" \
  --windows-png "$build_dir/ostrum-planner-windows.png" --mesh-png "$build_dir/ostrum-planner-mesh" "$@"
