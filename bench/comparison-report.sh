# Sourced by bench/run-comparison.sh once every measurement is in: turns the
# collected figures into the "results" block of docs/performance.md, the plot
# docs/performance-flood.png and, with PROFILE=1, the "profile" block.
# shellcheck shell=bash

med() { printf '%s\n' "$@" | median; }
rate() { awk -v n="$1" -v ms="$2" 'BEGIN { printf "%.0f", n * 1000 / ms }'; }
ratio() { awk -v a="$1" -v b="$2" 'BEGIN { printf "%.2f", a / b }'; }
join() { local first=$1; shift; printf '%s' "$first"; [[ $# -gt 0 ]] && printf ', %s' "$@"; echo; }
verdict() { awk -v v="$1" -v t="$3" -v op="$2" 'BEGIN {
  if (v == "n/a" || v == "" || v == "nan") { print "not measured"; exit }
  ok = (op == ">=") ? (v + 0 >= t + 0) : (v + 0 < t + 0); print ok ? "met" : "**missed**" }'; }

declare -A rate_of cpu_of
everyone=("${variants[@]}" "${peers[@]}")
for who in "${everyone[@]}"; do
  read -r -a values <<<"${ms[$who]}"
  rate_of[$who]=$(rate "$flood_lines" "$(med "${values[@]}")")
  read -r -a values <<<"${cpu[$who]}"
  cpu_of[$who]=$(med "${values[@]}")
done
per100k() { awk -v c="$1" -v n="$flood_lines" 'BEGIN { printf "%.2f", c * 100000 / n }'; }

# Ratio of the medians and of each round's pair: client variant over peer.
pair_ratios() {
  local -a mine theirs out=()
  read -r -a mine <<<"${ms[$1]}"
  read -r -a theirs <<<"${ms[$2]}"
  local i
  for ((i = 0; i < ${#mine[@]}; i++)); do out+=("$(ratio "${theirs[i]}" "${mine[i]}")"); done
  printf '%s (%s)' "$(ratio "${rate_of[$1]}" "${rate_of[$2]}")" "$(join "${out[@]}")"
}

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
linear=n/a
[[ -n "$long_rate" ]] && linear=$(ratio "$long_rate" "${rate_of[olvex-xvfb]}")

commit=$(git -C "$root" rev-parse --short HEAD 2>/dev/null || echo unknown)
if [[ -n "$(git -C "$root" status --porcelain --untracked-files=no -- . ':!docs' 2>/dev/null)" ]]; then
  commit="$commit (with uncommitted changes)"
fi
cpu_model=$(sed -n 's/^model name[[:space:]]*: //p' /proc/cpuinfo | head -n 1)
mem_total=$(awk '/^MemTotal/ { printf "%.1f GB", $2 / 1048576 }' /proc/meminfo)
version() { dpkg-query -W -f '${Version}' "$1" 2>/dev/null || echo unknown; }

# --- the plot -----------------------------------------------------------------
{
  i=0
  for who in "${everyone[@]}"; do
    read -r -a values <<<"${ms[$who]}"
    lo=$(printf '%s\n' "${values[@]}" | sort -g | tail -n 1) hi=$(printf '%s\n' "${values[@]}" | sort -g | head -n 1)
    printf '%d "%s" %s %s %s\n' "$i" "${label[$who]/ in tmux/}" "${rate_of[$who]}" \
      "$(rate "$flood_lines" "$lo")" "$(rate "$flood_lines" "$hi")"
    i=$((i + 1))
  done
} >"$work/plot.dat"
gnuplot <<EOF
set terminal png size 1100,520 font ",10"
set output "$plot"
set title "Flood of $flood_lines coloured lines, 101 triggers: lines/s (median and range of $runs rounds)"
set style fill solid 0.6
set boxwidth 0.6
set yrange [0:*]
set grid ytics
set xtics rotate by -20
unset key
plot "$work/plot.dat" using 1:3:4:5:(0.6):xtic(2) with boxerrorbars lc rgb "#ff6b00", \
     "" using 1:3:(sprintf("%d", \$3)) with labels offset 0,1
EOF

# --- the results block ----------------------------------------------------------
results=$work/results.md
{
  echo "<!-- results:begin (written by bench/run-comparison.sh; edits here are overwritten) -->"
  echo
  echo "Measured $(date -u '+%Y-%m-%d %H:%M UTC') at commit $commit with \`$command\`"
  echo "(\`make bench\` runs the same), ${elapsed} s in all."
  echo
  echo "- Machine: $(nproc) CPUs, $cpu_model, $mem_total memory; Qt $(pkg-config --modversion Qt6Core 2>/dev/null),"
  echo "  TinTin++ $(version tintin++), TinyFugue $(version tf), KBtin $(version kbtin), tmux $(version tmux)."
  echo "- Load average (1, 5, 15 min) before: $load_before; after: $load_after. Wall-clock figures carry"
  echo "  the machine's load; the rounds interleave every client so all carry it alike."
  echo
  echo "### Flood: $flood_lines lines, 101 triggers, medians of $runs rounds"
  echo
  echo "| Client | Lines/s | ms | CPU s | CPU s per 100,000 lines | Peak memory | Whole flood read |"
  echo "|---|---|---|---|---|---|---|"
  for who in "${everyone[@]}"; do
    read -r -a values <<<"${ms[$who]}"
    read -r -a r <<<"${rss[$who]}"
    read -r -a c <<<"${checks[$who]}"
    good=$(printf '%s\n' "${c[@]}" | grep -c '^1$' || true)
    echo "| ${label[$who]} | ${rate_of[$who]} | $(med "${values[@]}") | ${cpu_of[$who]} |" \
      "$(per100k "${cpu_of[$who]}") | $(awk -v kb="$(med "${r[@]}")" 'BEGIN { printf "%.1f MiB", kb / 1024 }') |" \
      "$good of ${#c[@]} |"
  done
  echo
  echo "![Lines per second per client](performance-flood.png)"
  echo
  echo "Ratios, client lines/s ÷ peer lines/s: of the medians, then of each round's pair."
  echo
  echo "| Client | ÷ TinTin++ | ÷ TinyFugue | ÷ KBtin |"
  echo "|---|---|---|---|"
  for who in "${variants[@]}"; do
    echo "| ${label[$who]} | $(pair_ratios "$who" tintin) | $(pair_ratios "$who" tf) | $(pair_ratios "$who" kbtin) |"
  done
  echo
  echo "### Targets"
  echo
  echo "| Measure | Result | Target | |"
  echo "|---|---|---|---|"
  for who in olvex-xvfb olvex-xvfb-std; do
    r=$(ratio "${rate_of[$who]}" "${rate_of[tf]}")
    echo "| ${label[$who]}: lines/s ÷ TinyFugue's | $r | ≥ 1.5 | $(verdict "$r" ">=" 1.5) |"
    c=$(per100k "${cpu_of[$who]}")
    echo "| ${label[$who]}: client CPU per 100,000 lines | $c s | < 1.0 s | $(verdict "$c" "<" 1.0) |"
  done
  if [[ -n "$long_rate" ]]; then
    echo "| Long flood, $long_lines lines (Xvfb, switches off): $long_rate lines/s, CPU $long_cpu s, peak $((long_rss / 1024)) MiB; ÷ the $flood_lines-line median | $linear | ≥ 0.90 | $(verdict "$linear" ">=" 0.9) |"
  fi
  echo "| Reaction, trigger answers a ping: p50 $p50_ms ms; p99 (max $max_ms ms) | $p99_ms ms | < 2 ms | $(verdict "$p99_ms" "<" 2) |"
  echo "| 16 sessions, 5000 coloured lines each (VmHWM; empty window $empty_mib MiB) | $memory_mib MiB = $memory_mb MB | < 200 MB | $(verdict "$memory_mb" "<" 200) |"
  echo "| Start-up to first paint, offscreen | $startup_ms ms | < 500 ms | $(verdict "$startup_ms" "<" 500) |"
  echo "| Start-up to first paint, X server (Xvfb) | ${startup_x_ms:-n/a} ms | < 500 ms | $(verdict "$startup_x_ms" "<" 500) |"
  echo "| GameSession alone, no triggers: wall (CPU time) lines/s | ${session_plain% *} (${session_plain#* }) | ≥ 100,000 | $(verdict "${session_plain% *}" ">=" 100000) |"
  echo "| GameSession alone, 100 triggers: wall (CPU time) lines/s | ${session_triggers% *} (${session_triggers#* }) | | |"
  echo
  echo "Single runs, in round order:"
  echo
  for who in "${everyone[@]}"; do
    read -r -a values <<<"${ms[$who]}"
    read -r -a c <<<"${cpu[$who]}"
    echo "- ${label[$who]}: ms $(join "${values[@]}"); CPU s $(join "${c[@]}")."
  done
  echo "- Reaction p50 µs: $(join "${ping_p50[@]}"); p99 µs: $(join "${ping_p99[@]}"); max µs: $(join "${ping_max[@]}")."
  echo "- 16 sessions, VmHWM kB: $(join "${memory_kb[@]}")."
  echo "- Start-up: $startup_line${startup_x_line:+; Xvfb: $startup_x_line}."
  echo "- GameSession: $session_lines lines (10 MB) per run."
  echo
  echo "<!-- results:end -->"
} >"$work/results.md"

# --- the profile block ----------------------------------------------------------
if [[ $profile == 1 ]] && command -v perf >/dev/null; then
  log "== profile: perf record of the client on Xvfb, switches off"
  start_server flood "$flood_lines"
  perf record -q -F 1000 --call-graph dwarf,16384 -o "$work/perf.data" -- env QT_QPA_PLATFORM=xcb \
    DISPLAY="$display" "$build/bench_flood_client" --port "$port" >/dev/null 2>"$work/perf.err" || true
  wait "$server_pid" || true
  server_pid=""
  {
    echo "<!-- profile:begin (written by bench/run-comparison.sh; edits here are overwritten) -->"
    echo
    echo "\`perf record -F 1000 --call-graph dwarf\` of \`bench_flood_client\` on Xvfb, switches off,"
    echo "$flood_lines lines, at commit $commit. First the share of samples by library (self time),"
    echo "then, for the named functions, the share of samples spent in them and what they call"
    echo "(inclusive; event-loop frames above 70 % left out; Qt's internal functions have no symbols"
    echo "in Debian's packages and show up only inside their callers):"
    echo
    echo '```'
    perf report -i "$work/perf.data" --no-children --sort dso --stdio -g none --percent-limit 1 2>/dev/null |
      grep -E '^ +[0-9]' | head -n 15
    echo
    perf report -i "$work/perf.data" --children --sort symbol --stdio -g none --percent-limit 1.5 2>/dev/null |
      grep -E '^ +[0-9]' | grep -v '\] 0x0' | awk '$1 + 0 < 70' | sed 's/ *$//' | cut -c1-120 | head -n 45
    echo '```'
    echo
    echo "<!-- profile:end -->"
  } >"$work/profile.md"
fi

# Keep what surrounds the markers; a page without them gets them at its end.
replace_block() { # NAME FILE
  if grep -q "^<!-- $1:begin" "$doc"; then
    awk -v name="$1" -v block="$2" '
      $0 ~ "^<!-- " name ":begin" { while ((getline line < block) > 0) print line; skipping = 1; next }
      $0 ~ "^<!-- " name ":end" { skipping = 0; next }
      !skipping { print }' "$doc" >"$work/doc.md"
  else
    { cat "$doc"; echo; cat "$2"; } >"$work/doc.md"
  fi
  cp "$work/doc.md" "$doc"
}
mkdir -p "$(dirname "$doc")"
[[ -f "$doc" ]] || echo "# Performance" >"$doc"
replace_block results "$work/results.md"
[[ -f "$work/profile.md" ]] && replace_block profile "$work/profile.md"

echo
sed -n '/^### Flood/,/^Single runs/p' "$work/results.md"
echo "written to ${doc#"$root"/} and ${plot#"$root"/} (command: $command)"
