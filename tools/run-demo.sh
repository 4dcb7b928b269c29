#!/usr/bin/env bash
# First run: starts the demo game server and the client on a data directory of
# its own that already holds a "Demo" character with example scripts. The
# player's real settings are never touched; closing the client stops the server.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build_dir=$(cd "${1:-build}" && pwd)
port=${OLVEX_DEMO_PORT:-4000}
data="$build_dir/demo-data-$port"
scripts="$data/.olvex/scripts/Demo_127.0.0.1_$port"

if [[ ! -f "$data/.olvex/settings.json" ]]; then
  mkdir -p "$scripts"
  sed "s/@PORT@/$port/g" "$root/tools/demo/settings.json.in" > "$data/.olvex/settings.json"
  cp "$root/tools/demo/demo.lua" "$scripts/demo.lua"
fi

log="$build_dir/demo-server.log"
"$build_dir/tools/olvex-demo-server" --port "$port" > "$log" 2>&1 &
server=$!
trap 'kill "$server" 2>/dev/null || true' EXIT
for _ in $(seq 50); do
  grep -q '^listening' "$log" && break
  if ! kill -0 "$server" 2>/dev/null; then
    echo "The demo server could not start on port $port:" >&2
    cat "$log" >&2
    echo "Try another port: OLVEX_DEMO_PORT=4001 make run" >&2
    exit 1
  fi
  sleep 0.1
done

echo "Demo server on 127.0.0.1:$port. Select \"Demo\" and press CONNECT, then pick any name."
XDG_DATA_HOME="$data" "$build_dir/olvex"
