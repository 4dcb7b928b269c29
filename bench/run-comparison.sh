#!/usr/bin/env bash
# The client's performance in one command: builds the benchmarks in Release,
# measures flood throughput against TinTin++, TinyFugue and KBtin (rounds
# interleaved, so a change in the machine's load hits every client alike),
# the client offscreen and on an X server (Xvfb), each with every switch off
# and with the standard telnet and conveniences switches on; then a long flood
# for linear cost, reaction time, the memory of sixteen full sessions, start-up
# time and the session's own line rate; optionally a profile. Writes the
# results and a plot into docs/ (the "results" and "profile" blocks of
# docs/performance.md; the rest of the page is left as it is).
#
# Usage: bench/run-comparison.sh [RUNS]     (default 5; `make bench` runs this)
# Environment: BUILD_DIR (default build-release), FLOOD_LINES (100000),
#              LONG_LINES (1000000; 0 skips the long run), PINGS (1000),
#              PROFILE (1: record a perf profile of the client on Xvfb; 0 skips).
set -euo pipefail

runs=${1:-5}
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
root=$(cd "$here/.." && pwd)
build=${BUILD_DIR:-$root/build-release}
flood_lines=${FLOOD_LINES:-100000}
long_lines=${LONG_LINES:-1000000}
pings=${PINGS:-1000}
profile=${PROFILE:-1}
doc=$root/docs/performance.md
plot=$root/docs/performance-flood.png
command="bench/run-comparison.sh $runs"
[[ "$runs" =~ ^[1-9][0-9]*$ ]] || { echo "usage: $0 [RUNS]" >&2; exit 2; }

work=$(mktemp -d)
server_pid="" xvfb_pid=""
cleanup() {
  if [[ -n "$server_pid" ]]; then kill "$server_pid" 2>/dev/null || true; fi
  if [[ -n "$xvfb_pid" ]]; then kill "$xvfb_pid" 2>/dev/null || true; fi
  rm -rf "$work"
}
trap cleanup EXIT
log() { printf '%s\n' "$*" >&2; }

# --- build and tools ------------------------------------------------------------
"$root/tools/install-deps.sh" tintin++ tf kbtin tmux gnuplot-nox
log "== building Release into $build"
cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build "$build" -j "$(nproc)" --target olvex-demo-server bench_flood_server bench_flood_client \
  bench_session bench_session_memory bench_startup >/dev/null
demo_server=$build/tools/olvex-demo-server
flood_server=$build/bench_flood_server
export FLOOD_SERVER=$flood_server

# One X server for every run on X, started once so its start-up is not measured.
Xvfb -displayfd 3 -screen 0 1920x1080x24 -nolisten tcp 3>"$work/display" 2>/dev/null &
xvfb_pid=$!
for ((tries = 0; tries < 100; tries++)); do
  [[ -s "$work/display" ]] && break
  sleep 0.05
done
display=":$(cat "$work/display")"

# --- helpers ------------------------------------------------------------------
median() { sort -g | awk '{ v[NR] = $1 } END { if (NR == 0) print "nan";
  else if (NR % 2) print v[(NR + 1) / 2]; else print (v[NR / 2] + v[NR / 2 + 1]) / 2 }'; }
field() { sed -n "s/.*\\b$1=\\([0-9.]*\\).*/\\1/p" | head -n 1; }

# Starts a server ("flood N" with the flood server, "ping N" with the demo
# server); sets server_pid, port and last (the flood's last line).
start_server() {
  : >"$work/server.out"
  if [[ $1 == flood ]]; then
    "$flood_server" "$2" >"$work/server.out" 2>"$work/server.err" &
  else
    "$demo_server" "--bench-$1" "$2" --port 0 >"$work/server.out" 2>"$work/server.err" &
  fi
  server_pid=$!
  port=""
  local tries
  for ((tries = 0; tries < 200; tries++)); do
    port=$(sed -n 's/^listening \([0-9]*\)$/\1/p' "$work/server.out")
    [[ -n "$port" ]] && break
    sleep 0.05
  done
  [[ -n "$port" ]] || { log "the server did not start: $(cat "$work/server.err")"; return 1; }
  last=$(sed -n 's/^last //p' "$work/server.out")
}

# Runs the client (ENV... -- ARGS...) against the server just started and sets
# line to the server's report followed by the client's own line. (Not run in
# a subshell: the server must stay this shell's child to be waited for.)
run_client() {
  local client_line status=0 environment=()
  while [[ $1 != -- ]]; do environment+=("$1"); shift; done
  shift
  client_line=$(env "${environment[@]}" "$build/bench_flood_client" --port "$port" "$@" 2>"$work/client.err") ||
    status=$?
  wait "$server_pid" || status=$?
  server_pid=""
  if [[ $status -ne 0 ]]; then
    log "run failed: $(cat "$work/server.err" "$work/client.err")"
    exit 1
  fi
  line="$(grep -E '^(flood|ping) ' "$work/server.out") $client_line"
}

# The flood variants of the client, by the name used in the tables.
variants=(olvex-offscreen olvex-offscreen-std olvex-xvfb olvex-xvfb-std)
peers=(tintin tf kbtin)
declare -A label=(
  [olvex-offscreen]="Olvex, offscreen, switches off" [olvex-offscreen-std]="Olvex, offscreen, standard + conveniences"
  [olvex-xvfb]="Olvex, Xvfb, switches off" [olvex-xvfb-std]="Olvex, Xvfb, standard + conveniences"
  [tintin]="TinTin++ in tmux" [tf]="TinyFugue in tmux" [kbtin]="KBtin in tmux")
flood_client() { # VARIANT LINES
  start_server flood "$2"
  local platform=(QT_QPA_PLATFORM=offscreen) flags=(--expect-last "$last")
  [[ $1 == olvex-xvfb* ]] && platform=(QT_QPA_PLATFORM=xcb DISPLAY="$display")
  [[ $1 == *-std ]] && flags+=(--standard)
  run_client "${platform[@]}" -- "${flags[@]}"
}

# --- the measurements -----------------------------------------------------------
load_before=$(cut -d' ' -f1-3 /proc/loadavg)
started=$(date +%s)
declare -A ms cpu rss checks
log "== flood: $flood_lines lines, ${#variants[@]} client variants and ${#peers[@]} peers interleaved, $runs rounds"
for ((run = 1; run <= runs; run++)); do
  # Each round starts with a different client, so no one always runs first.
  order=("${variants[@]}" "${peers[@]}")
  shift_by=$(((run - 1) % ${#order[@]}))
  order=("${order[@]:shift_by}" "${order[@]:0:shift_by}")
  for who in "${order[@]}"; do
    if [[ $who == olvex-* ]]; then
      flood_client "$who" "$flood_lines"
      c=$(field cpu_s <<<"$line") r=$(field peak_rss_kb <<<"$line")
    else
      line=$("$here/peer/console_flood.sh" "$who" "$flood_lines") || { log "$who could not be run"; exit 1; }
      c=$(field peer_cpu_s <<<"$line") r=$(field peer_rss_kb <<<"$line")
    fi
    log "$who  $line"
    ms[$who]+="$(field ms <<<"$line") " cpu[$who]+="$c " rss[$who]+="$r "
    ok=$(awk -v s="$(field send_queue <<<"$line")" -v q="$(field client_receive_queue <<<"$line")" \
      -v l="$(field last_seen <<<"$line")" 'BEGIN { print (s == 0 && q == 0 && l == 1) ? 1 : 0 }')
    checks[$who]+="$ok "
  done
done

long_rate="" long_cpu=""
if [[ $long_lines -gt 0 ]]; then
  log "== long flood: $long_lines lines, Olvex on Xvfb, switches off"
  flood_client olvex-xvfb "$long_lines"
  log "long    $line"
  long_rate=$(awk -v n="$long_lines" -v ms="$(field ms <<<"$line")" 'BEGIN { printf "%.0f", n * 1000 / ms }')
  long_cpu=$(field cpu_s <<<"$line")
  long_rss=$(field peak_rss_kb <<<"$line")
fi

log "== reaction: $pings pings answered by a trigger, $runs runs"
ping_p50=() ping_p99=() ping_max=()
for ((run = 1; run <= runs; run++)); do
  start_server ping "$pings"
  run_client QT_QPA_PLATFORM=offscreen -- --ping
  log "ping    $line"
  ping_p50+=("$(field p50_us <<<"$line")")
  ping_p99+=("$(field p99_us <<<"$line")")
  ping_max+=("$(field max_us <<<"$line")")
done

log "== memory: 16 sessions with full scrollback, $runs runs"
memory_kb=() empty_kb=()
for ((run = 1; run <= runs; run++)); do
  line=$("$build/bench_session_memory" --server "$demo_server" 2>"$work/memory.err") ||
    { log "memory run failed: $(cat "$work/memory.err")"; exit 1; }
  log "memory  $line"
  memory_kb+=("$(field peak_rss_kb <<<"$line")")
  empty_kb+=("$(field empty_window_kb <<<"$line")")
done

startup_runs=$((runs > 7 ? runs : 7))
log "== start-up: $startup_runs starts"
startup_line=$("$build/bench_startup" "$startup_runs")
log "startup $startup_line"
startup_x_line=$(DISPLAY="$display" QT_QPA_PLATFORM=xcb "$build/bench_startup" "$startup_runs" 2>/dev/null) ||
  startup_x_line=""
log "startup (Xvfb) $startup_x_line"

log "== session: 10 MB through a GameSession, $runs runs"
session_out=$("$build/bench_session" "$runs")
log "$session_out"

load_after=$(cut -d' ' -f1-3 /proc/loadavg)
elapsed=$(($(date +%s) - started))

source "$here/comparison-report.sh"
