#!/usr/bin/env bash
# Throughput of a console MUD client on the flood the Olvex client is measured
# with: bench_flood_server sends LINES coloured lines and a sentinel; the
# client, drawing into a real 200x50 terminal inside tmux, checks every line
# against 100 triggers that never match (50 plain phrases, 50 anchored
# patterns, written in its own pattern language) and answers the sentinel
# with BENCH-ACK from one more.
#
# Usage: bench/peer/console_flood.sh CLIENT [LINES]   CLIENT: tintin, tf or kbtin
# Prints the server's line ("flood lines=N bytes=B ms=T send_queue=S
# client_receive_queue=R") followed by "peer_cpu_s=C peer_rss_kb=K
# tmux_cpu_s=X last_seen=0|1": the client's own CPU time and peak memory,
# the CPU time of the tmux server that keeps its screen, and whether the
# flood's last line is on that screen at the end.
# The server is $FLOOD_SERVER, else build-release/bench_flood_server.
set -euo pipefail

client=${1:?usage: $0 tintin|tf|kbtin [LINES]}
lines=${2:-100000}
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
root=$(cd "$here/../.." && pwd)
server=${FLOOD_SERVER:-$root/build-release/bench_flood_server}
[[ -x "$server" ]] || { echo "no flood server at $server (build it first)" >&2; exit 1; }

find_program() { command -v "$1" || { [[ -x /usr/games/$1 ]] && echo "/usr/games/$1"; }; }
case $client in
  tintin) package=tintin++ program=tt++ ;;
  tf) package=tf program=tf ;;
  kbtin) package=kbtin program=kbtin ;;
  *) echo "unknown client $client" >&2; exit 2 ;;
esac
if ! command -v tmux >/dev/null || ! find_program "$program" >/dev/null; then
  "$root/tools/install-deps.sh" "$package" tmux
fi
binary=$(find_program "$program")

work=$(mktemp -d)
socket="olvex-bench-$$"
server_pid=""
cleanup() {
  tmux -L "$socket" kill-server 2>/dev/null || true
  if [[ -n "$server_pid" ]]; then kill "$server_pid" 2>/dev/null || true; fi
  rm -rf "$work"
}
trap cleanup EXIT

# The hundred idle triggers of bench/BenchSupport.h (idleTriggers), in order:
# for i in 0..49 one pattern (TEMPLATE_i % 5 with creature i / 5) and one
# phrase. Keep both lists in step.
creatures=(dragon lich wyvern basilisk hydra minotaur banshee wraith chimera cyclops)
phrases=('The %s flees in terror' 'You feel the %s watching you' 'A %s roars' 'The %s is DEAD'
         'You smell a %s')

# TinTin++ patterns: %w a word, %d digits, %* anything; ^ anchors.
tintin_patterns=('^The %s %%w you %%d times' '^%%w tells you: the %s is at %%w$'
                 'You receive %%d gold from the %s' '^%%w gossips: %%* %s %%*$'
                 '^A %s arrives from the %%w.$')
# TinyFugue regular expressions (its own regexp dialect: no \w or \d).
tf_patterns=('^The %s ([A-Za-z0-9_]+) you ([0-9]+) times' '^([A-Za-z0-9_]+) tells you: the %s is at ([A-Za-z0-9_]+)$'
             'You receive ([0-9]+) gold from the %s' '^([A-Za-z0-9_]+) gossips: (.*) %s (.*)$'
             '^A %s arrives from the ([A-Za-z0-9_]+)\.$')
# KBtin patterns: %1..%9 match any text; ^ and $ anchor.
kbtin_patterns=('^The %s %%1 you %%2 times' '^%%1 tells you: the %s is at %%2$'
                'You receive %%1 gold from the %s' '^%%1 gossips: %%2 %s %%3$'
                '^A %s arrives from the %%1.$')

write_config() {
  local port=$1 i creature pattern phrase
  for ((i = 0; i < 50; i++)); do
    creature=${creatures[i / 5]}
    # shellcheck disable=SC2059 # the templates are the formats
    phrase=$(printf "${phrases[i % 5]}" "$creature")
    case $client in
      tintin)
        pattern=$(printf "${tintin_patterns[i % 5]}" "$creature")
        echo "#action {$pattern} {#nop}"
        echo "#action {$phrase} {#nop}" ;;
      tf)
        pattern=$(printf "${tf_patterns[i % 5]}" "$creature")
        echo "/def -mregexp -t\"$pattern\" idle_regex_$i = /set last=%P1"
        echo "/def -mglob -t\"*$phrase*\" idle_plain_$i = /set seen=$creature" ;;
      kbtin)
        pattern=$(printf "${kbtin_patterns[i % 5]}" "$creature")
        echo "#action {$pattern} {#nop}"
        echo "#action {$phrase} {#nop}" ;;
    esac
  done
  case $client in
    tintin) echo "#action {BENCH-SENTINEL-END} {#send {BENCH-ACK}}"
            echo "#session bench 127.0.0.1 $port" ;;
    tf) echo "/def -mglob -t\"BENCH-SENTINEL-END\" bench_ack = /send BENCH-ACK" ;;
    kbtin) echo "#action {BENCH-SENTINEL-END} {#send BENCH-ACK}"
           echo "#session bench 127.0.0.1 $port" ;;
  esac
}

# utime + stime of a process, in seconds.
cpu_seconds() {
  awk -v hz="$(getconf CLK_TCK)" '{ sub(/^.*\) /, ""); printf "%.2f", ($12 + $13) / hz }' "/proc/$1/stat" 2>/dev/null ||
    echo nan
}

: >"$work/server.out"
"$server" "$lines" >"$work/server.out" 2>"$work/server.err" &
server_pid=$!
port=""
for ((tries = 0; tries < 100; tries++)); do
  port=$(sed -n 's/^listening \([0-9]*\)$/\1/p' "$work/server.out")
  [[ -n "$port" ]] && break
  sleep 0.05
done
[[ -n "$port" ]] || { echo "the server did not start: $(cat "$work/server.err")" >&2; exit 1; }
last=$(sed -n 's/^last //p' "$work/server.out")

case $client in
  tintin) write_config "$port" >"$work/bench.tin"; command=("$binary" -G "$work/bench.tin") ;;
  tf) write_config "$port" >"$work/bench.tf"; command=("$binary" "-f$work/bench.tf" 127.0.0.1 "$port") ;;
  kbtin) write_config "$port" >"$work/bench.kb"; command=("$binary" -q "$work/bench.kb") ;;
esac
tmux -L "$socket" -f /dev/null new-session -d -x 200 -y 50 "$(printf '%q ' "${command[@]}")"
pane_pid=$(tmux -L "$socket" display-message -p '#{pane_pid}')
tmux_pid=$(tmux -L "$socket" display-message -p '#{pid}')

# The server exits by itself once the answer arrives, or after 180 s without.
status=0
wait "$server_pid" || status=$?
server_pid=""
sleep 0.2 # the client draws what it has left, then the screen is read
peer_cpu=$(cpu_seconds "$pane_pid")
peer_rss=$(awk '/^VmHWM/ { print $2 }' "/proc/$pane_pid/status" 2>/dev/null || echo 0)
tmux_cpu=$(cpu_seconds "$tmux_pid")
seen=0
tmux -L "$socket" capture-pane -p -J -S -50 | grep -qF -- "$last" && seen=1
tmux -L "$socket" kill-server 2>/dev/null || true
if [[ $status -ne 0 ]]; then
  echo "$client run failed: $(cat "$work/server.err")" >&2
  exit 1
fi
echo "$(sed -n '/^flood /p' "$work/server.out") peer_cpu_s=$peer_cpu peer_rss_kb=$peer_rss tmux_cpu_s=$tmux_cpu last_seen=$seen"
