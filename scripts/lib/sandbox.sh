# Shared by the demo, the end-to-end suite and the agent benchmark: a private
# X server, a sandboxed home (a temporary folder bound over the home folder in
# a private mount namespace, so nothing real is touched), sample applications
# with leftovers, and the agent started there. Source it; it defines functions
# only.

# Polls a command for up to $1 seconds (fractions allowed).
wait_for() {
  local deadline
  # Milliseconds from awk (its integers may be 32 bits wide), then nanoseconds.
  deadline=$(($(date +%s%N) + $(awk -v s="$1" 'BEGIN { printf "%d", s * 1000 }') * 1000000))
  shift
  until "$@"; do
    [ "$(date +%s%N)" -lt "$deadline" ] || return 1
    sleep 0.05
  done
}

# A file of the given size in KiB, with real blocks behind it.
blob() { mkdir -p "$(dirname "$1")"; head -c $(($2 * 1024)) /dev/urandom >"$1"; }

# An application bundle: folder, name, identifier.
make_app() {
  local app="$1/$2.app"
  mkdir -p "$app/Contents/MacOS" "$app/Contents/Resources"
  cat >"$app/Contents/Info.plist" <<PLIST
<?xml version="1.0" encoding="UTF-8"?>
<plist version="1.0"><dict>
<key>CFBundleIdentifier</key><string>$3</string>
<key>CFBundleExecutable</key><string>$2</string>
<key>CFBundleName</key><string>$2</string>
</dict></plist>
PLIST
  blob "$app/Contents/MacOS/$2" 900
  blob "$app/Contents/Resources/Assets.car" 4200
}

# Starts a private X server of 1440x900 and exports DISPLAY; its log goes to
# $1. Sets xvfb_pid; the caller stops it.
start_xvfb() {
  local display
  for display in $(seq 90 160); do
    [ -e "/tmp/.X11-unix/X$display" ] || [ -e "/tmp/.X$display-lock" ] || break
  done
  Xvfb ":$display" -screen 0 1440x900x24 -nolisten tcp >"$1" 2>&1 &
  xvfb_pid=$!
  wait_for 10 test -e "/tmp/.X11-unix/X$display" || return 1
  export DISPLAY=":$display"
}

# Runs a command in a private mount namespace with SWEEPWELL_SANDBOX set to a
# new temporary folder, removed afterwards. The command calls enter_sandbox.
in_sandbox() {
  local status=0
  SWEEPWELL_SANDBOX=$(mktemp -d /tmp/sweepwell-sandbox.XXXXXX)
  export SWEEPWELL_SANDBOX
  if [ "$(id -u)" -eq 0 ]; then
    unshare --mount --propagation private "$@" || status=$?
  else
    unshare --mount --map-root-user --propagation private "$@" || status=$?
  fi
  rm -rf "$SWEEPWELL_SANDBOX"
  return $status
}

# Inside the namespace: binds a fresh home over the real one and points the
# session's folders into the sandbox. Entering twice changes nothing.
enter_sandbox() {
  [ -z "${SWEEPWELL_SANDBOX_HOME:-}" ] || return 0
  local sandbox=$SWEEPWELL_SANDBOX
  local home_path
  home_path=$(getent passwd "$(id -u)" | cut -d: -f6)
  mkdir -p "$sandbox/home/.Trash" "$sandbox/home/Applications" "$sandbox/home/Downloads" \
    "$sandbox/home/Library" "$sandbox/runtime"
  chmod 700 "$sandbox/runtime"
  mount --bind "$sandbox/home" "$home_path"
  export HOME=$home_path XDG_RUNTIME_DIR=$sandbox/runtime SWEEPWELL_SANDBOX_HOME=$home_path
  unset XDG_DATA_HOME XDG_CONFIG_HOME XDG_CACHE_HOME LC_ALL LC_MESSAGES
}

# The socket a running agent listens on.
agent_socket() { printf '%s' "$XDG_RUNTIME_DIR/com.quorvex.Sweepwell-Plus-Helper.open-files"; }

# Starts the agent of bundle $1 with its output in $2 and waits until it
# listens; sets agent_pid.
start_agent() {
  "$1/Contents/MacOS/SweepwellHelper" >"$2" 2>&1 &
  agent_pid=$!
  wait_for 15 test -S "$(agent_socket)"
}

# Prints the agent's visible windows, one id per line.
agent_windows() { xdotool search --onlyvisible --pid "$agent_pid" 2>/dev/null || true; }
# Sets `window` to the agent's first visible window; false when there is none.
find_window() { window=$(agent_windows | head -n1); [ -n "$window" ]; }
