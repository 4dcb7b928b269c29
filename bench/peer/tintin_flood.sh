#!/usr/bin/env bash
# Throughput of TinTin++ on the same flood the Olvex client is measured with:
# the demo server (--bench-flood) sends LINES coloured lines and a sentinel;
# TinTin++, drawing into a real 200x50 terminal inside tmux, runs 100 actions
# that never match plus one on the sentinel that answers BENCH-ACK. Prints the
# server's result line, "flood lines=N bytes=B ms=T" (T: first byte written to
# ack received).
#
# Usage: bench/peer/tintin_flood.sh [LINES] [RUNS]   (defaults 100000 and 1)
# The server is taken from $OLVEX_DEMO_SERVER, else build/tools/olvex-demo-server;
# build it with: cmake --build build --target olvex-demo-server
set -euo pipefail

lines=${1:-100000}
runs=${2:-1}
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
root=$(cd "$here/../.." && pwd)
server=${OLVEX_DEMO_SERVER:-$root/build/tools/olvex-demo-server}

find_tintin() { command -v tt++ || { [[ -x /usr/games/tt++ ]] && echo /usr/games/tt++; }; }
if ! command -v tmux >/dev/null || ! find_tintin >/dev/null; then
  "$here/../../tools/install-deps.sh" tintin++ tmux
fi
tintin=$(find_tintin)
[[ -x "$server" ]] || { echo "no demo server at $server (build it first)" >&2; exit 1; }

work=$(mktemp -d)
socket="olvex-bench-$$"
server_pid=""
cleanup() {
  tmux -L "$socket" kill-server 2>/dev/null || true
  if [[ -n "$server_pid" ]]; then kill "$server_pid" 2>/dev/null || true; fi
  rm -rf "$work"
}
trap cleanup EXIT

# The actions TinTin++ checks against every line: the hundred idle triggers
# the Olvex benchmarks give the client (bench/BenchSupport.h, idleTriggers),
# written as TinTin++ patterns, and one on the sentinel that answers the
# server. Half are anchored patterns with wildcards, half plain phrases
# searched for anywhere in the line; none matches the flood.
write_actions() {
  local creatures=(dragon lich wyvern basilisk hydra minotaur banshee wraith chimera cyclops)
  local regex=('^The %s %%w you %%d times' '^%%w tells you: the %s is at %%w$'
               'You receive %%d gold from the %s' '^%%w gossips: %%* %s %%*$'
               '^A %s arrives from the %%w.$')
  local plain=('The %s flees in terror' 'You feel the %s watching you' 'A %s roars'
               'The %s is DEAD' 'You smell a %s')
  local i creature
  for ((i = 0; i < 50; i++)); do
    creature=${creatures[i / 5]}
    # shellcheck disable=SC2059 # the templates are the formats
    printf "#action {${regex[i % 5]}} {#nop}\n" "$creature"
    # shellcheck disable=SC2059
    printf "#action {${plain[i % 5]}} {#nop}\n" "$creature"
  done
  echo "#action {BENCH-SENTINEL-END} {#send {BENCH-ACK}}"
}

run_once() {
  # Created here: the background job opens its own redirections only later.
  : >"$work/server.out"
  "$server" --bench-flood "$lines" --port 0 >"$work/server.out" 2>"$work/server.err" &
  server_pid=$!
  local port="" tries
  for ((tries = 0; tries < 100; tries++)); do
    port=$(sed -n 's/^listening \([0-9]*\)$/\1/p' "$work/server.out")
    [[ -n "$port" ]] && break
    sleep 0.05
  done
  [[ -n "$port" ]] || { echo "the server did not start: $(cat "$work/server.err")" >&2; return 1; }

  { write_actions; echo "#session bench 127.0.0.1 $port"; } >"$work/bench.tin"
  tmux -L "$socket" -f /dev/null new-session -d -x 200 -y 50 "$tintin -G $work/bench.tin"

  # The server exits by itself once the ack arrives, or after 120 s without one.
  local status=0
  wait "$server_pid" || status=$?
  server_pid=""
  tmux -L "$socket" kill-server 2>/dev/null || true
  if [[ $status -ne 0 ]]; then
    echo "run failed: $(cat "$work/server.err")" >&2
    return 1
  fi
  sed -n '/^flood /p' "$work/server.out"
}

for ((run = 1; run <= runs; run++)); do
  run_once
done
