#!/usr/bin/env bash
# The client's performance in one command: builds the benchmarks in Release,
# measures flood throughput against TinTin++ (runs interleaved, so a change in
# the machine's load hits both alike), reaction time, the memory of sixteen
# full sessions, start-up time and the session's own line rate, and writes the
# results into docs/performance.md between its "results" markers (the rest of
# the page is left as it is).
#
# Usage: bench/run-comparison.sh [RUNS]     (default 5; `make bench` runs this)
# Environment: BUILD_DIR (default build-release), FLOOD_LINES (100000),
#              PINGS (1000).
set -euo pipefail

runs=${1:-5}
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
root=$(cd "$here/.." && pwd)
build=${BUILD_DIR:-$root/build-release}
flood_lines=${FLOOD_LINES:-100000}
pings=${PINGS:-1000}
doc=$root/docs/performance.md
command="bench/run-comparison.sh $runs"
[[ "$runs" =~ ^[1-9][0-9]*$ ]] || { echo "usage: $0 [RUNS]" >&2; exit 2; }

work=$(mktemp -d)
server_pid=""
cleanup() {
  if [[ -n "$server_pid" ]]; then kill "$server_pid" 2>/dev/null || true; fi
  rm -rf "$work"
}
trap cleanup EXIT

log() { printf '%s\n' "$*" >&2; }

# --- build --------------------------------------------------------------------
log "== building Release into $build"
cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build "$build" -j "$(nproc)" --target olvex-demo-server bench_flood_client \
  bench_session bench_session_memory bench_startup >/dev/null
server=$build/tools/olvex-demo-server

# --- helpers ------------------------------------------------------------------
median() { sort -g | awk '{ v[NR] = $1 } END { if (NR == 0) print "nan";
  else if (NR % 2) print v[(NR + 1) / 2]; else print (v[NR / 2] + v[NR / 2 + 1]) / 2 }'; }
field() { sed -n "s/.*\\b$1=\\([0-9.]*\\).*/\\1/p" | head -n 1; }

# Starts the demo server in one of its bench modes; sets server_pid, port.
start_server() {
  : >"$work/server.out"
  "$server" "--bench-$1" "$2" --port 0 >"$work/server.out" 2>"$work/server.err" &
  server_pid=$!
  port=""
  local tries
  for ((tries = 0; tries < 200; tries++)); do
    port=$(sed -n 's/^listening \([0-9]*\)$/\1/p' "$work/server.out")
    [[ -n "$port" ]] && return 0
    sleep 0.05
  done
  log "the demo server did not start: $(cat "$work/server.err")"
  return 1
}

# Runs the client against a server started by start_server and sets line to
# the server's report followed by the client's own line. (Not run in a
# subshell: the server must stay this shell's child to be waited for.)
run_client() {
  local client_line status=0
  client_line=$("$build/bench_flood_client" --port "$port" "$@" 2>"$work/client.err") || status=$?
  wait "$server_pid" || status=$?
  server_pid=""
  if [[ $status -ne 0 ]]; then
    log "run failed: $(cat "$work/server.err" "$work/client.err")"
    exit 1
  fi
  line="$(grep -E '^(flood|ping) ' "$work/server.out") $client_line"
}

# --- the measurements -----------------------------------------------------------
load_before=$(cut -d' ' -f1-3 /proc/loadavg)
started=$(date +%s)

log "== flood: $flood_lines lines, client and TinTin++ interleaved, $runs runs each"
client_ms=() client_rss=() client_cpu=() tintin_ms=()
tintin_ok=1
for ((run = 1; run <= runs; run++)); do
  start_server flood "$flood_lines"
  run_client
  log "client  $line"
  client_ms+=("$(field ms <<<"$line")")
  client_rss+=("$(field peak_rss_kb <<<"$line")")
  client_cpu+=("$(field cpu_s <<<"$line")")
  if [[ $tintin_ok -eq 1 ]]; then
    if line=$(OLVEX_DEMO_SERVER=$server "$here/peer/tintin_flood.sh" "$flood_lines" 1); then
      log "tintin  $line"
      tintin_ms+=("$(field ms <<<"$line")")
    else
      log "TinTin++ could not be run; the comparison is left out"
      tintin_ok=0
    fi
  fi
done

log "== reaction: $pings pings answered by a trigger, $runs runs"
ping_p50=() ping_p99=() ping_max=()
for ((run = 1; run <= runs; run++)); do
  start_server ping "$pings"
  run_client --ping
  log "ping    $line"
  ping_p50+=("$(field p50_us <<<"$line")")
  ping_p99+=("$(field p99_us <<<"$line")")
  ping_max+=("$(field max_us <<<"$line")")
done

log "== memory: 16 sessions with full scrollback, $runs runs"
memory_kb=() empty_kb=()
for ((run = 1; run <= runs; run++)); do
  line=$("$build/bench_session_memory" --server "$server" 2>"$work/memory.err") ||
    { log "memory run failed: $(cat "$work/memory.err")"; exit 1; }
  log "memory  $line"
  memory_kb+=("$(field peak_rss_kb <<<"$line")")
  empty_kb+=("$(field empty_window_kb <<<"$line")")
done

startup_runs=$((runs > 7 ? runs : 7))
log "== start-up: $startup_runs starts"
startup_line=$("$build/bench_startup" "$startup_runs")
log "startup $startup_line"
startup_x_line=""
if command -v xvfb-run >/dev/null; then
  startup_x_line=$(xvfb-run -a env QT_QPA_PLATFORM=xcb "$build/bench_startup" "$startup_runs" 2>/dev/null) ||
    startup_x_line=""
  log "startup (Xvfb) $startup_x_line"
fi

log "== session: 10 MB through a GameSession, $runs runs"
session_out=$("$build/bench_session" "$runs")
log "$session_out"

load_after=$(cut -d' ' -f1-3 /proc/loadavg)
elapsed=$(($(date +%s) - started))

# --- figures ------------------------------------------------------------------
med() { printf '%s\n' "$@" | median; }
client_ms_med=$(med "${client_ms[@]}")
client_rate=$(awk -v n="$flood_lines" -v ms="$client_ms_med" 'BEGIN { printf "%.0f", n * 1000 / ms }')
client_rss_mib=$(awk -v kb="$(med "${client_rss[@]}")" 'BEGIN { printf "%.1f", kb / 1024 }')
client_cpu_med=$(med "${client_cpu[@]}")
if [[ ${#tintin_ms[@]} -gt 0 ]]; then
  tintin_ms_med=$(med "${tintin_ms[@]}")
  tintin_rate=$(awk -v n="$flood_lines" -v ms="$tintin_ms_med" 'BEGIN { printf "%.0f", n * 1000 / ms }')
  ratio=$(awk -v a="$tintin_ms_med" -v b="$client_ms_med" 'BEGIN { printf "%.2f", a / b }')
  pair_ratios=()
  for ((i = 0; i < ${#tintin_ms[@]}; i++)); do
    pair_ratios+=("$(awk -v a="${tintin_ms[i]}" -v b="${client_ms[i]}" 'BEGIN { printf "%.2f", a / b }')")
  done
else
  tintin_ms_med="n/a" tintin_rate="n/a" ratio="n/a" pair_ratios=("n/a")
fi
p50_ms=$(awk -v us="$(med "${ping_p50[@]}")" 'BEGIN { printf "%.2f", us / 1000 }')
p99_ms=$(awk -v us="$(med "${ping_p99[@]}")" 'BEGIN { printf "%.2f", us / 1000 }')
max_ms=$(awk -v us="$(med "${ping_max[@]}")" 'BEGIN { printf "%.1f", us / 1000 }')
memory_mib=$(awk -v kb="$(med "${memory_kb[@]}")" 'BEGIN { printf "%.1f", kb / 1024 }')
memory_mb=$(awk -v kb="$(med "${memory_kb[@]}")" 'BEGIN { printf "%.1f", kb * 1.024 / 1000 }')
empty_mib=$(awk -v kb="$(med "${empty_kb[@]}")" 'BEGIN { printf "%.1f", kb / 1024 }')
startup_ms=$(field median_ms <<<"$startup_line")
startup_x_ms=$(field median_ms <<<"$startup_x_line")
session_plain=$(sed -n 's/^session *0 triggers: *\([0-9]*\) lines\/s wall, *\([0-9]*\).*/\1 \2/p' <<<"$session_out")
session_triggers=$(sed -n 's/^session *100 triggers: *\([0-9]*\) lines\/s wall, *\([0-9]*\).*/\1 \2/p' <<<"$session_out")
session_lines=$(sed -n 's/^bench_session: \([0-9]*\) lines.*/\1/p' <<<"$session_out")

verdict() { awk -v v="$1" -v t="$3" -v op="$2" 'BEGIN {
  if (v == "n/a" || v == "") { print "not measured"; exit }
  ok = (op == ">=") ? (v + 0 >= t + 0) : (v + 0 < t + 0); print ok ? "met" : "**missed**" }'; }

join() { local first=$1; shift; printf '%s' "$first"; [[ $# -gt 0 ]] && printf ', %s' "$@"; echo; }
commit=$(git -C "$root" rev-parse --short HEAD 2>/dev/null || echo unknown)
if [[ -n "$(git -C "$root" status --porcelain --untracked-files=no -- . ':!docs/performance.md' 2>/dev/null)" ]]; then
  commit="$commit (with uncommitted changes)"
fi
cpu_model=$(sed -n 's/^model name[[:space:]]*: //p' /proc/cpuinfo | head -n 1)
mem_total=$(awk '/^MemTotal/ { printf "%.1f GB", $2 / 1048576 }' /proc/meminfo)
qt_version=$(pkg-config --modversion Qt6Core 2>/dev/null || echo unknown)
tintin_version=$(dpkg-query -W -f '${Version}' tintin++ 2>/dev/null || echo unknown)

results=$work/results.md
{
  echo "<!-- results:begin (written by bench/run-comparison.sh; edits here are overwritten) -->"
  echo
  echo "Measured $(date -u '+%Y-%m-%d %H:%M UTC') at commit $commit with \`$command\`"
  echo "(\`make bench\` runs the same), ${elapsed} s in all."
  echo
  echo "- Machine: $(nproc) CPUs, $cpu_model, $mem_total memory; Qt $qt_version, TinTin++ $tintin_version."
  echo "- Load average (1, 5, 15 min) before: $load_before; after: $load_after. The machine was"
  echo "  shared with other people's builds, so wall-clock figures carry their load; the client and"
  echo "  TinTin++ runs alternate so both carry it alike."
  echo
  echo "| Measure | Result (median of $runs) | Target | |"
  echo "|---|---|---|---|"
  echo "| Flood, client: $flood_lines lines, 101 triggers, full window | $client_rate lines/s ($client_ms_med ms; client CPU time $client_cpu_med s) | at least TinTin++ | |"
  echo "| Flood, TinTin++ in tmux: same flood, 101 actions | $tintin_rate lines/s ($tintin_ms_med ms) | | |"
  echo "| Flood ratio, client lines/s ÷ TinTin++ lines/s (of the medians) | $ratio | ≥ 1.0 | $(verdict "$ratio" ">=" 1.0) |"
  echo "| Client peak memory during the flood (VmHWM) | $client_rss_mib MiB | | |"
  echo "| Reaction, trigger answers a ping: p50 | $p50_ms ms | | |"
  echo "| Reaction: p99 (max $max_ms ms) | $p99_ms ms | < 2 ms | $(verdict "$p99_ms" "<" 2) |"
  echo "| 16 sessions, 5000 coloured lines each (VmHWM) | $memory_mib MiB = $memory_mb MB (empty window $empty_mib MiB) | < 200 MB | $(verdict "$memory_mb" "<" 200) |"
  echo "| Start-up to first paint, offscreen | $startup_ms ms | < 500 ms | $(verdict "$startup_ms" "<" 500) |"
  if [[ -n "$startup_x_ms" ]]; then
    echo "| Start-up to first paint, X server (Xvfb) | $startup_x_ms ms | < 500 ms | $(verdict "$startup_x_ms" "<" 500) |"
  fi
  echo "| GameSession alone, no triggers: wall (CPU time) | ${session_plain% *} (${session_plain#* }) lines/s | ≥ 100,000 | $(verdict "${session_plain% *}" ">=" 100000) |"
  echo "| GameSession alone, 100 triggers: wall (CPU time) | ${session_triggers% *} (${session_triggers#* }) lines/s | | |"
  echo
  echo "Single runs, in order:"
  echo
  echo "- Flood, client ms: $(join "${client_ms[@]}"); client CPU s: $(join "${client_cpu[@]}");"
  echo "  TinTin++ ms: $(join "${tintin_ms[@]:-n/a}"); ratio of each pair: $(join "${pair_ratios[@]}")."
  echo "- Reaction p50 µs: $(join "${ping_p50[@]}"); p99 µs: $(join "${ping_p99[@]}"); max µs: $(join "${ping_max[@]}")."
  echo "- 16 sessions, VmHWM kB: $(join "${memory_kb[@]}")."
  echo "- Start-up: $startup_line${startup_x_line:+; Xvfb: $startup_x_line}."
  echo "- GameSession: $session_lines lines (10 MB) per run."
  echo
  echo "<!-- results:end -->"
} >"$results"

# Keep what surrounds the markers; a page without them gets them at its end.
mkdir -p "$(dirname "$doc")"
if [[ -f "$doc" ]] && grep -q '^<!-- results:begin' "$doc"; then
  awk -v results="$results" '
    /^<!-- results:begin/ { while ((getline line < results) > 0) print line; skipping = 1; next }
    /^<!-- results:end/ { skipping = 0; next }
    !skipping { print }' "$doc" >"$work/doc.md"
  cp "$work/doc.md" "$doc"
else
  { [[ -f "$doc" ]] && cat "$doc" && echo; cat "$results"; } >"$work/doc.md"
  cp "$work/doc.md" "$doc"
fi

echo
sed -n '/^| Measure/,/^$/p' "$results"
echo "written to ${doc#"$root"/} (command: $command)"
