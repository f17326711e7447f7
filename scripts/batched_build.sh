#!/usr/bin/env bash
# Configures and builds with the sources compiled in batches (CMake's unity
# build), which takes about half the time; should two files ever clash inside one
# batch (the same file-local name), it configures again and builds file by file.
#   scripts/batched_build.sh BUILD_DIR CMAKE_ARGS...
set -uo pipefail
cd "$(dirname "$0")/.." || exit 1
build=${1:?usage: scripts/batched_build.sh BUILD_DIR CMAKE_ARGS...}
shift

configure() { cmake -S . -B "$build" "$@" > /dev/null; }
configure "$@" -DCMAKE_UNITY_BUILD=ON || exit 1
if ! cmake --build "$build" -j"$(nproc)"; then
  echo "$build: the batched build failed; building file by file" >&2
  configure "$@" -DCMAKE_UNITY_BUILD=OFF || exit 1
  cmake --build "$build" -j"$(nproc)" || exit 1
fi
