#!/usr/bin/env bash
# What a hostile or broken game server can do to the client, in one command:
# builds bench_hostile and bench_hostile_server in Release, plays every case
# against the whole client (main window, one game tab) over loopback, each in
# a fresh process so its peak memory is its own, and writes the table into
# docs/reliability.md between its "results" markers.
#
# Usage: bench/run-reliability.sh [CASE...]    (default: every case; `make reliability`)
# Environment: BUILD_DIR (default build-release), SCALE (percent of each case's
#              volume, default 100), CASE_TIMEOUT (seconds, default 300),
#              SANITIZE (1: build with AddressSanitizer and UndefinedBehavior-
#              Sanitizer into build-asan and fail a case on any report; memory
#              figures are then the sanitizer's, not the client's).
# Only a full run at SCALE=100 without SANITIZE rewrites the page; any other
# run just prints its table.
set -euo pipefail

here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
root=$(cd "$here/.." && pwd)
sanitize=${SANITIZE:-0}
scale=${SCALE:-100}
build=${BUILD_DIR:-$root/build-release}
build_flags=(-DCMAKE_BUILD_TYPE=Release)
if [[ $sanitize == 1 ]]; then
  build=${BUILD_DIR:-$root/build-asan}
  build_flags=(-DCMAKE_BUILD_TYPE=RelWithDebInfo
               "-DCMAKE_CXX_FLAGS=-fsanitize=address,undefined -fno-omit-frame-pointer"
               "-DCMAKE_EXE_LINKER_FLAGS=-fsanitize=address,undefined")
  # Qt keeps some allocations until exit on purpose; only errors count.
  export ASAN_OPTIONS=detect_leaks=0:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1
fi
case_timeout=${CASE_TIMEOUT:-300}
doc=$root/docs/reliability.md

# name | switches (plain: every switch off; standard: standard telnet and
# conveniences on) | what the server sends | the bound that should hold it
cases=(
  "iac-sb|plain|IAC SB MSDP with a 64 MB value, then IAC SE|sub-negotiation length cap"
  "negotiation|plain|1 M option offers (WILL, DO, WONT, DONT over all options)|answers only on a change of state"
  "random|plain|50 MB of random bytes|64 KiB read per event-loop turn"
  "long-line|plain|one 64 MB line without a line feed|64 KiB pending-line cut"
  "wide-lines|plain|2,000 coloured lines of 60 KiB (117 MB; scaled down from 1 M, 60 GB)|64 KiB read per turn, 5000-line scrollback"
  "huge-csi|plain|32 CSI sequences with 1 MiB of parameters, 100 k with out-of-range numbers|parameter count and value clamps"
  "truecolour|plain|1 M lines, each a distinct 24-bit colour|terminal format table limit"
  "msdp-names|plain|2 M distinct MSDP variable names|MSDP table cap"
  "msdp-highlight|plain|2 M MSDP updates with a highlighting trigger on the name|pending highlights dropped"
  "drip|plain|a coloured line one byte per 10 ms for 5 s|none needed"
  "reset|plain|text, then a connection reset inside a line and a CSI; the check comes on a new link|the line cut by the reset ends with the next link's first line feed"
  "cycles|plain|200 links of 50 lines and an MSDP update, each closed by the client|state released on disconnect"
  "backtrack|plain|20 lines that make the trigger ^(\w+\s?)*\$ backtrack|regex match limit"
  "mccp-bomb|standard|MCCP2 stream inflating 1 MB into 1 GB of zero bytes|inflated bytes per turn"
  "mccp-corrupt|standard|MCCP2 start, then 64 KiB of corrupt deflate data|stream error ends compression or the link"
  "utf8-split|standard|UTF-8 with invalid sequences, one byte per write, then 20 k lines of it|decoder keeps state across reads"
  "ga-prompts|standard|1 M prompts ended by IAC GA without a line feed|prompt lines go through the pending-line cut"
  "reset-sb|standard|text, then a connection reset inside a line, a CSI and an MSDP sub-negotiation; the check comes on a new link|telnet state starts afresh on each link"
  "window-requests|standard|1 M × (DO NAWS, DO TTYPE, SB TTYPE SEND)|answers only on a change of state"
)

selected=("$@")
work=$(mktemp -d)
server_pid=""
cleanup() {
  if [[ -n "$server_pid" ]]; then kill "$server_pid" 2>/dev/null || true; fi
  rm -rf "$work"
}
trap cleanup EXIT
log() { printf '%s\n' "$*" >&2; }
field() { sed -n "s/.*\\b$1=\\([0-9.]*\\).*/\\1/p" <<<"$2" | head -n 1; }

"$root/tools/install-deps.sh" zlib1g-dev
log "== building Release into $build"
cmake -S "$root" -B "$build" -G Ninja "${build_flags[@]}" >/dev/null
cmake --build "$build" -j "$(nproc)" --target bench_hostile bench_hostile_server >/dev/null

rows=()
failures=0
started=$(date +%s)
for entry in "${cases[@]}"; do
  IFS='|' read -r name switches what bound <<<"$entry"
  if [[ ${#selected[@]} -gt 0 && ! " ${selected[*]} " =~ " $name " ]]; then continue; fi
  : >"$work/server.out"
  "$build/bench_hostile_server" "$name" --scale "$scale" >"$work/server.out" 2>"$work/server.err" &
  server_pid=$!
  port=""
  for ((tries = 0; tries < 200; tries++)); do
    port=$(sed -n 's/^listening \([0-9]*\)$/\1/p' "$work/server.out")
    [[ -n "$port" ]] && break
    sleep 0.05
  done
  [[ -n "$port" ]] || { log "the hostile server did not start: $(cat "$work/server.err")"; exit 1; }
  flags=(--port "$port" --case "$name" --timeout "$case_timeout")
  [[ $switches == standard ]] && flags+=(--standard)
  status=0
  line=$(timeout -k 5 $((case_timeout + 30)) "$build/bench_hostile" "${flags[@]}" 2>"$work/client.err") || status=$?
  kill "$server_pid" 2>/dev/null || true
  wait "$server_pid" 2>/dev/null || true
  server_pid=""
  log "$name: ${line:-no report} (exit $status)"

  rss_kb=$(field peak_rss_kb "$line")
  gap=$(field max_gap_ms "$line")
  problems=()
  if grep -qE 'runtime error|AddressSanitizer' "$work/client.err"; then
    cp "$work/client.err" "$build/sanitizer-$name.txt"
    log "  sanitizer report kept in $build/sanitizer-$name.txt"
  fi
  if [[ $status -ge 124 ]]; then
    problems+=("crashed or hung (exit $status)")
  elif [[ -z "$line" ]]; then
    problems+=("no report (exit $status)")
  else
    [[ $(field timed_out "$line") == 1 ]] && problems+=("check line never came")
    grep -qE 'runtime error|AddressSanitizer' "$work/client.err" && problems+=("sanitizer report")
    [[ $(field screen "$line") == 1 ]] || problems+=("check line not on screen")
    [[ $(field trigger "$line") == 1 ]] || problems+=("check trigger did not fire")
    awk -v kb="$rss_kb" 'BEGIN { exit !(kb * 1.024 >= 300000) }' && problems+=("memory over 300 MB")
    awk -v g="$gap" 'BEGIN { exit !(g >= 100) }' && problems+=("event loop stalled")
    if [[ $name == cycles ]]; then
      growth=$(($(field rss_after_last_kb "$line") - $(field rss_after_100_kb "$line")))
      what="$what (resident memory after the last cycle minus after the 100th, when the scrollback is full: $((growth / 1024)) MiB)"
      [[ $growth -gt 4096 ]] && problems+=("memory kept growing")
    fi
  fi
  reconnects=$(field reconnects "$line")
  [[ -n "$reconnects" && "$reconnects" != 0 && $name != cycles ]] && what="$what; reconnected $reconnects ×"
  if grep -q '^refused compression' "$work/server.out"; then
    verdict="not exercised: the client refused MCCP2"
    failures=$((failures + 1))
  elif [[ ${#problems[@]} -eq 0 ]]; then
    verdict="pass"
  else
    verdict="**fail**: $(IFS=';'; echo "${problems[*]}" | sed 's/;/; /g')"
    failures=$((failures + 1))
  fi
  rss_mb=$(awk -v kb="${rss_kb:-0}" 'BEGIN { printf "%.0f", kb * 1.024 / 1000 }')
  rows+=("| $name | $([[ $switches == standard ]] && echo "standard telnet" || echo "all off") | $what | $bound | $rss_mb MB | ${gap:-?} ms | $verdict |")
done
elapsed=$(($(date +%s) - started))

results=$work/results.md
{
  echo "<!-- results:begin (written by bench/run-reliability.sh; edits here are overwritten) -->"
  echo
  echo "Measured $(date -u '+%Y-%m-%d %H:%M UTC') at commit $(git -C "$root" rev-parse --short HEAD 2>/dev/null || echo unknown)"
  echo "with \`bench/run-reliability.sh\` (\`make reliability\` runs the same), $elapsed s in all;"
  echo "$failures of ${#rows[@]} cases failed. Targets for every case: peak resident memory under 300 MB,"
  echo "longest event-loop gap under 100 ms, no crash, and the check line afterwards on screen with its"
  echo "trigger fired."
  echo
  echo "| Case | Switches | What the server sends | Bound in the client | Peak RSS | Longest gap | Verdict |"
  echo "|---|---|---|---|---|---|---|"
  printf '%s\n' "${rows[@]}"
  echo
  echo "<!-- results:end -->"
} >"$results"

if [[ ${#selected[@]} -eq 0 && $scale == 100 && $sanitize == 0 ]]; then
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
  log "written to ${doc#"$root"/}"
fi
sed -n '/^| Case/,/^$/p' "$results"
