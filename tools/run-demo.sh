#!/usr/bin/env bash
# Starts the client from a build directory.
set -euo pipefail
build_dir=${1:-build}
exec "$build_dir/olvex"
