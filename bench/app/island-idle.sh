#!/usr/bin/env bash
# The running application at rest: one compact activity, nothing changing. Measures, over
# SECONDS_TO_WATCH (default 60) seconds, the CPU time and the voluntary context switches (wake-ups)
# of every thread from /proc, and the resident memory after start, for a windowed island on a
# private Xvfb and for a headless one side by side.
# Usage: bench/app/island-idle.sh [build-dir]
set -euo pipefail

build=${1:-build/default}
watch=${SECONDS_TO_WATCH:-60}
island="$build/bin/vantaquill-island"
command="$build/bin/vantaquill"
work=$(mktemp -d)
pids=()
cleanup() {
  for pid in "${pids[@]}"; do kill "$pid" 2>/dev/null || true; done
  wait 2>/dev/null || true
  rm -rf "$work"
}
trap cleanup EXIT

exec {displayfd}<> <(:)
Xvfb -displayfd "$displayfd" -screen 0 1440x900x24 -nolisten tcp >/dev/null 2>&1 &
pids+=($!)
read -r -t 20 -u "$displayfd" number
display=":$number"

start() { # name, extra arguments...
  local name=$1; shift
  local home="$work/$name"
  mkdir -p "$home/.config/vantaquill" "$home/run"
  chmod 700 "$home/run"
  HOME="$home" XDG_CONFIG_HOME="$home/.config" XDG_DATA_HOME="$home/.local/share" XDG_RUNTIME_DIR="$home/run" \
    DISPLAY="$display" \
    "$island" --port 0 "$@" >"$home/out.log" 2>"$home/err.log" &
  pids+=($!)
  echo $! >"$home/pid"
  for _ in $(seq 100); do
    grep -q "Listening on" "$home/out.log" 2>/dev/null && break
    sleep 0.1
  done
  local port
  port=$(grep -o 'Listening on 127.0.0.1:[0-9]*' "$home/out.log" | grep -o '[0-9]*$')
  HOME="$home" XDG_CONFIG_HOME="$home/.config" VANTAQUILL_PORT="$port" \
    "$command" notify --id tea --title "Tea" --symbol timer >/dev/null
}

ticks() { # utime + stime of the whole process, in clock ticks
  awk '{print $14 + $15}' "/proc/$1/stat"
}
wakeups() { # "thread switches" for every thread: its voluntary context switches
  for task in /proc/"$1"/task/*; do
    echo "${task##*/} $(awk '/^voluntary_ctxt_switches/ {print $2}' "$task/status" 2>/dev/null)"
  done
}
woken() { # switches between two samples, over the threads present in both
  join <(sort <<<"$1") <(sort <<<"$2") | awk '{sum += $3 - $2} END {print sum + 0}'
}
rss() { awk '/^VmRSS/ {print $2}' "/proc/$1/status"; }

start windowed --surface x11
start headless --headless
sleep 5 # the opening animation settles

hz=$(getconf CLK_TCK)
declare -A cpu0 wake0
for name in windowed headless; do
  pid=$(cat "$work/$name/pid")
  cpu0[$name]=$(ticks "$pid"); wake0[$name]=$(wakeups "$pid")
  echo "$name: RSS after start $(rss "$pid") kB"
done
sleep "$watch"
for name in windowed headless; do
  pid=$(cat "$work/$name/pid")
  cpu=$(( $(ticks "$pid") - cpu0[$name] ))
  wake=$(woken "${wake0[$name]}" "$(wakeups "$pid")")
  awk -v n="$name" -v c="$cpu" -v hz="$hz" -v w="$wake" -v s="$watch" \
    'BEGIN {printf "%s: CPU %.3f %% over %d s (%d ticks), %.2f wake-ups per second\n", n, 100 * c / hz / s, s, c, w / s}'
done
