#!/usr/bin/env bash
# The running agent as a user has it: idle cost and how soon a notification
# follows a move into the Trash. The built Helper bundle runs under a private
# X server in a sandboxed home (scripts/lib/sandbox.sh).
#
#   - idle: after start-up has settled, the CPU time the agent takes over
#     AGENT_IDLE_SECONDS (default 60), read from /proc, its resident memory,
#     and how often its threads wake up: all threads' voluntary and
#     involuntary context switches over that time, per second, with the
#     number of threads
#   - move to window: for each of AGENT_ROUNDS (default 7) new applications,
#     the time from the rename into ~/.Trash to the agent's window being on
#     screen, less the 2 s quiet period the Trash watcher waits by design
#   - gio trash to window: the same from `gio trash` (the desktop Trash, as
#     the desktop's file manager trashes) returning
#   - busy shared disk: the agent's CPU time while another process (another
#     user's, when run as root) creates and deletes 1,000 files a second for
#     AGENT_CHURN_SECONDS (default 20) in the top folder of a disk where the
#     user has no Trash yet, which the agent watches for one being made
#
# Prints one "name: value" line per figure. The bundle comes from the build
# folder in SWEEPWELL_BUILD_DIR (default build/default).
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${SWEEPWELL_BUILD_DIR:-$root/build/default}
source "$root/scripts/lib/sandbox.sh"

if [ "${1:-}" != --inside ]; then
  [ -x "$build/Sweepwell Helper.app/Contents/MacOS/SweepwellHelper" ] ||
    { echo "agent: error the Helper is not built in $build" >&2; exit 1; }
  log=$(mktemp -d /tmp/sweepwell-agent-bench.XXXXXX)
  trap 'kill "${xvfb_pid:-0}" 2>/dev/null || true; rm -rf "$log"' EXIT
  start_xvfb "$log/xvfb.log" || { echo "agent: error Xvfb did not start" >&2; exit 1; }
  export SWEEPWELL_BUILD_DIR=$build AGENT_LOG=$log
  in_sandbox "$0" --inside
  exit $?
fi

enter_sandbox
export SWEEPWELL_LOG=debug  # the log says which folders are watched
cp -a "$build/Sweepwell.app" "$HOME/Applications/"
export SWEEPWELL_PRINT_TO=$SWEEPWELL_SANDBOX/received.txt
start_agent "$build/Sweepwell Helper.app" "$AGENT_LOG/agent.log" ||
  { echo "agent: error the agent did not start" >&2; exit 1; }
trap 'kill "$agent_pid" 2>/dev/null || true' EXIT
ticks_per_second=$(getconf CLK_TCK)

# User plus system CPU time of the agent, in clock ticks.
cpu_ticks() { awk '{ print $14 + $15 }' "/proc/$agent_pid/stat"; }
resident_kib() { awk '/^VmRSS:/ { print $2 }' "/proc/$agent_pid/status"; }
# Context switches of each of the agent's threads, voluntary and involuntary:
# "<thread id> <count>" lines.
switches() {
  local task
  for task in "/proc/$agent_pid"/task/*; do
    awk -v t="${task##*/}" '/ctxt_switches:/ { n += $2 } END { print t, n }' "$task/status" 2>/dev/null
  done
}
# How many times the threads woke between two such readings ($1, $2): a
# thread that started meanwhile counts from zero, one that ended is left out.
woken() { awk 'NR == FNR { before[$1] = $2; next } { n += $2 - before[$1] } END { print n + 0 }' "$1" "$2"; }
threads() { ls "/proc/$agent_pid/task" | wc -l; }
now_ns() { date +%s%N; }

sleep 5  # start-up settles: fonts, the first Trash scan, the locale tables
idle_seconds=${AGENT_IDLE_SECONDS:-60}
before=$(cpu_ticks)
switches >"$AGENT_LOG/switches-0"
sleep "$idle_seconds"
after=$(cpu_ticks)
switches >"$AGENT_LOG/switches-1"
idle_woken=$(woken "$AGENT_LOG/switches-0" "$AGENT_LOG/switches-1")
idle_threads=$(threads)
idle_rss=$(resident_kib)

# Another user's busy files on a shared disk (a tmpfs open to all, like /tmp).
churn_seconds=${AGENT_CHURN_SECONDS:-20}
# Beside the sandbox (whose folder only its user may enter), so that the other
# user reaches it; the mount is the namespace's own.
shared=$(mktemp -d /tmp/sweepwell-shared.XXXXXX)
chmod 755 "$shared"
mount -t tmpfs -o mode=1777 sweepwell-shared "$shared"
wait_for 10 grep -q "watching the top folder $shared" "$AGENT_LOG/agent.log" ||
  { echo "agent: error the shared disk's top folder is not watched" >&2; exit 1; }
other=()
[ "$(id -u)" -ne 0 ] || other=(setpriv --reuid=nobody --regid=nogroup --clear-groups)
churn_before=$(cpu_ticks)
"${other[@]}" python3 - "$shared" "$churn_seconds" <<'PY' || { echo "agent: error the churn failed" >&2; exit 1; }
import os, sys, time
folder, seconds = sys.argv[1], float(sys.argv[2])
start = time.monotonic()
made = 0
while (elapsed := time.monotonic() - start) < seconds:
    if made >= elapsed * 1000:  # 1,000 files a second
        time.sleep(0.001)
        continue
    path = os.path.join(folder, "churn-%d" % (made % 100))
    with open(path, "w"):
        pass
    os.unlink(path)
    made += 1
PY
churn_after=$(cpu_ticks)
umount "$shared"
rmdir "$shared"

rounds=${AGENT_ROUNDS:-7}
# One round: a new application, trashed by "$1" (a function given its path),
# timed from the trashing command's return to the window on screen.
measure_round() {  # trash function, round, file for the latency
  local name="Bench App $2 $1" id="com.example.BenchApp$2$1" started shown deadline
  make_app "$HOME/Downloads" "$name" "$id"
  blob "$HOME/Library/Caches/$id/Cache.db" 2000
  "$1" "$HOME/Downloads/$name.app"
  started=$(now_ns)
  # Polled without pause: the resolution is one xdotool call, a few ms.
  deadline=$((started + 20000000000))
  until find_window; do
    [ "$(now_ns)" -lt $deadline ] || { echo "agent: error no window in round $2 ($1)" >&2; exit 1; }
  done
  shown=$(now_ns)
  echo $(((shown - started) / 1000000 - 2000)) >>"$3"
  # Dismiss it as a user would, so that the next round opens a new window.
  sleep 0.5
  eval "$(xdotool getwindowgeometry --shell "$window")"
  xdotool mousemove --window "$window" $((WIDTH - 70)) $((HEIGHT - 26)) click 1
  wait_for 10 sh -c "[ -z \"\$(xdotool search --onlyvisible --pid $agent_pid 2>/dev/null)\" ]" ||
    { echo "agent: error the window stayed in round $2 ($1)" >&2; exit 1; }
  sleep 1
}
into_home_trash() { mv "$1" "$HOME/.Trash/"; }
into_desktop_trash() { gio trash "$1"; }
: >"$AGENT_LOG/latencies"
: >"$AGENT_LOG/desktop-latencies"
for ((round = 1; round <= rounds; round++)); do
  measure_round into_home_trash "$round" "$AGENT_LOG/latencies"
  measure_round into_desktop_trash "$round" "$AGENT_LOG/desktop-latencies"
done
busy_rss=$(resident_kib)
# Idle again, now with the worker pool and the window made.
sleep 3
switches >"$AGENT_LOG/switches-2"
sleep "$idle_seconds"
switches >"$AGENT_LOG/switches-3"
switches_after_use=$(woken "$AGENT_LOG/switches-2" "$AGENT_LOG/switches-3")
used_threads=$(threads)

median() { sort -n | awk '{ v[NR] = $1 } END { print (NR % 2) ? v[(NR + 1) / 2] : (v[NR / 2] + v[NR / 2 + 1]) / 2 }'; }
awk -v t=$((after - before)) -v hz="$ticks_per_second" -v s="$idle_seconds" \
  'BEGIN { printf "agent idle CPU over %d s: %.3f %% (%.2f s of CPU)\n", s, 100 * t / hz / s, t / hz }'
awk -v t=$((churn_after - churn_before)) -v hz="$ticks_per_second" -v s="$churn_seconds" \
  'BEGIN { printf "agent CPU while another process churns 1000 files/s in a watched top folder over %d s: %.3f %% (%.2f s of CPU)\n", s, 100 * t / hz / s, t / hz }'
awk -v n="$idle_woken" -v s="$idle_seconds" -v t="$idle_threads" \
  'BEGIN { printf "agent idle wake-ups per second over %d s: %.2f (%d threads)\n", s, n / s, t }'
awk -v n="$switches_after_use" -v s="$idle_seconds" -v t="$used_threads" -v r="$rounds" \
  'BEGIN { printf "agent idle wake-ups per second after %d notifications over %d s: %.2f (%d threads)\n", r, s, n / s, t }'
awk -v k="$idle_rss" 'BEGIN { printf "agent idle resident memory: %.1f MiB\n", k / 1024 }'
awk -v k="$busy_rss" -v n="$rounds" 'BEGIN { printf "agent resident memory after %d notifications: %.1f MiB\n", n, k / 1024 }'
echo "agent move to window beyond the quiet period median: $(median <"$AGENT_LOG/latencies") ms"
echo "agent gio trash to window beyond the quiet period median: $(median <"$AGENT_LOG/desktop-latencies") ms"
range() { sort -n "$1" | sed -n '1p;$p' | paste -sd' ' | awk '{ print $1 " to " $2 }'; }
echo "agent move to window beyond the quiet period range: $(range "$AGENT_LOG/latencies") ms"
echo "agent gio trash to window beyond the quiet period range: $(range "$AGENT_LOG/desktop-latencies") ms"
