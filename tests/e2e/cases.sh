# The cases of the end-to-end suite, sourced by tests/e2e/run. Each case_*
# function runs in a fresh sandboxed home (HOME, XDG_RUNTIME_DIR) with $out
# for its files, and fails through `fail`.
cases=(
  demo_road
  demo_road_in_german
  apps_trashed_together_share_one_window
  app_inside_a_trashed_folder
  copy_still_installed_stays_silent
  exclude_then_clear
  focus_rules
  deleting_the_bundle_ends_the_agent
  second_start_forwards_to_the_agent
  hostile_command_files
  hostile_names_list_only_their_own
  name_not_utf8_leaves_the_rest_of_the_list
  second_start_forwards_without_a_runtime_folder
  gio_trash_is_noticed
  same_name_twice_in_the_desktop_trash
  item_before_its_trash_info
  bundle_copied_in_slowly
  disk_trash_after_the_start
  main_app_moves_the_checked_leftovers
  main_app_refuses_a_hostile_list
  desktop_notification_without_a_display
  desktop_notification_closed_or_absent
)

fail() {
  printf 'FAILED: %s\n' "$*" >&2
  import -window root "$out/failure.png" 2>/dev/null || true
  exit 1
}
step() { printf '%s\n' "$*"; }

received=""
# Installs the Main application where the agent finds it and starts
# the agent of the built bundle (or of the bundle given).
start_session() {
  cp -a "$main_bundle" "$HOME/Applications/"
  received=$out/received.txt
  : >"$received"
  export SWEEPWELL_PRINT_TO=$received
  start_agent "${1:-$helper_bundle}" "$out/agent.log" || fail "the agent did not start"
}
stop_agent() {
  [ -n "${agent_pid:-}" ] || return 0
  kill "$agent_pid" 2>/dev/null || true
  wait "$agent_pid" 2>/dev/null || true
}
agent_alive() { kill -0 "$agent_pid" 2>/dev/null; }

# An application in ~/Downloads with a few leftovers in Library.
app() {  # name, identifier
  make_app "$HOME/Downloads" "$1" "$2"
  blob "$HOME/Library/Caches/$2/Cache.db" 300
  blob "$HOME/Library/Preferences/$2.plist" 4
}
trash() { local name; for name; do mv "$HOME/Downloads/$name.app" "$HOME/.Trash/"; done; }
# Takes an application back out of the Trash and waits until the watcher has
# seen it go: out and in again within its quiet period would look like no
# change at all.
untrash_and_settle() { mv "$HOME/.Trash/$1.app" "$HOME/Downloads/"; sleep 2.5; }

# Trashes as the desktop's file manager does: into the desktop Trash, with
# the item's trash info.
gtrash() { local name; for name; do gio trash "$HOME/Downloads/$name.app" || fail "gio trash $name"; done; }
desktop_trash() { printf '%s' "$HOME/.local/share/Trash"; }
# An application that names no executable: the window must name it by its
# folder's name before trashing.
app_without_executable() {  # name, identifier
  app "$1" "$2"
  sed -i '/CFBundleExecutable/d' "$HOME/Downloads/$1.app/Contents/Info.plist"
}
# Fails unless the window's name (what it says) names the application as
# given and not as stored.
expect_named() {  # name, stored name
  local says
  says=$(xdotool getwindowname "$window" 2>/dev/null)
  [[ $says == *"$1"* && $says != *"$2"* ]] || fail "the window says \"$says\", not \"$1\""
}

no_window() { ! find_window; }
expect_window() { wait_for 15 find_window || fail "no notification appeared: $*"; }
# Nothing may show for the given seconds: the quiet period, the checks and
# the showing itself take well under that.
expect_silence() {
  if wait_for "$1" find_window; then fail "a notification appeared: ${*:2}"; fi
}
# Clicks "Complete Uninstall" (the primary button in the bottom right corner)
# and waits for the removal list and for the window to go.
accept() {
  local X Y WIDTH HEIGHT SCREEN
  sleep 0.5
  eval "$(xdotool getwindowgeometry --shell "$window")"
  : >"$received"
  xdotool mousemove --window "$window" $((WIDTH - 70)) $((HEIGHT - 26)) click 1
  wait_for 15 test -s "$received" || fail "the Main application received nothing"
  wait_for 5 no_window || fail "the window stayed after Complete Uninstall"
  sleep 0.3  # the list is written in one go, but give the writer its end
}
listed() { grep -qF -- "$1" "$received"; }
expect_listed() { local path; for path; do listed "$path" || fail "not in the removal list: $path"; done; }
expect_unlisted() { local path; for path; do ! listed "$path" || fail "in the removal list: $path"; done; }

# Command files go to the agent as the Main application sends them.
main_app() { "$HOME/Applications/Sweepwell.app/Contents/MacOS/Sweepwell" "$@"; }
message_folder() { printf '%s' "$XDG_RUNTIME_DIR/com.quorvex.Sweepwell-Plus-Helper"; }
no_pending_messages() { [ -z "$(find "$(message_folder)" -name '*.msgforswhelp' -print -quit 2>/dev/null)" ]; }
# Waits until the agent has consumed what the Main application sent.
expect_consumed() {
  wait_for 10 no_pending_messages || fail "the agent left a command file unread"
}

case_demo_road() { SWEEPWELL_DEMO_OUT=$out "$root/scripts/demo" --inside --check; }
case_demo_road_in_german() {
  SWEEPWELL_DEMO_OUT=$out "$root/scripts/demo" --inside --check --language de
}

case_apps_trashed_together_share_one_window() {
  start_session
  app "Alpha Notes" com.example.AlphaNotes
  app "Beta Paint" com.example.BetaPaint
  app "Gamma Mail" com.example.GammaMail
  trash "Alpha Notes"
  sleep 0.5
  trash "Beta Paint"
  expect_window "for two applications"
  sleep 1
  [ "$(agent_windows | wc -l)" -eq 1 ] || fail "$(agent_windows | wc -l) windows for two applications"
  step "one window for two; a third arrives while it shows"
  trash "Gamma Mail"
  sleep 3.5
  [ "$(agent_windows | wc -l)" -eq 1 ] || fail "the third application opened another window"
  import -window root "$out/three.png"
  accept
  expect_listed "$HOME/.Trash/Alpha Notes.app" "$HOME/.Trash/Beta Paint.app" \
    "$HOME/.Trash/Gamma Mail.app" "$HOME/Library/Caches/com.example.AlphaNotes" \
    "$HOME/Library/Caches/com.example.BetaPaint" "$HOME/Library/Preferences/com.example.GammaMail.plist"
}

case_app_inside_a_trashed_folder() {
  start_session
  mkdir -p "$HOME/Downloads/Tools"
  make_app "$HOME/Downloads/Tools" "Inner Tool" com.example.InnerTool
  blob "$HOME/Library/Caches/com.example.InnerTool/Cache.db" 200
  mv "$HOME/Downloads/Tools" "$HOME/.Trash/"
  expect_window "for an application inside a trashed folder"
  accept
  expect_listed "$HOME/.Trash/Tools/Inner Tool.app" "$HOME/Library/Caches/com.example.InnerTool"
}

# Deeper than the Trash's re-read looks: found by the search of the folder,
# which the agent runs beside its main thread.
case_app_deep_inside_a_trashed_folder() {
  start_session
  mkdir -p "$HOME/Downloads/Archive/usr/lib/share"
  for i in $(seq 1 300); do : >"$HOME/Downloads/Archive/usr/lib/file-$i"; done
  make_app "$HOME/Downloads/Archive/usr/lib/share" "Deep Tool" com.example.DeepTool
  blob "$HOME/Library/Caches/com.example.DeepTool/Cache.db" 200
  mv "$HOME/Downloads/Archive" "$HOME/.Trash/"
  expect_window "for an application deep inside a trashed folder"
  accept
  expect_listed "$HOME/.Trash/Archive/usr/lib/share/Deep Tool.app" \
    "$HOME/Library/Caches/com.example.DeepTool"
}

case_copy_still_installed_stays_silent() {
  start_session
  make_app "$HOME/Applications" "Kept App" com.example.KeptApp
  app "Kept App" com.example.KeptApp
  app "Control App" com.example.ControlApp
  trash "Kept App"
  expect_silence 6 "for an application still installed in ~/Applications"
  step "silent while a copy is installed; a control application is still shown"
  trash "Control App"
  expect_window "for the control application"
  accept
  expect_listed "$HOME/.Trash/Control App.app"
  expect_unlisted "Kept App" "com.example.KeptApp"
}

case_exclude_then_clear() {
  start_session
  app "Quiet App" com.example.QuietApp
  main_app --exclude "/Applications/Quiet App.app"
  expect_consumed
  trash "Quiet App"
  expect_silence 6 "for an excluded name"
  step "excluded name silent"

  untrash_and_settle "Quiet App"
  main_app --clear
  expect_consumed
  local cleared=$(date +%s%N)
  # Arrivals within 5 s of the clear are still matched against the exclusion.
  trash "Quiet App"
  expect_silence 4 "within 5 s of the clear"
  step "still silent within 5 s of the clear"

  untrash_and_settle "Quiet App"
  local left=$(((cleared + 5600000000 - $(date +%s%N)) / 1000000))
  [ $left -le 0 ] || sleep "$(awk -v ms=$left 'BEGIN { print ms / 1000 }')"
  trash "Quiet App"
  expect_window "after the clear took effect"
  accept
  expect_listed "$HOME/.Trash/Quiet App.app"
}

case_focus_rules() {
  start_session
  app "First App" com.example.FirstApp
  app "Second App" com.example.SecondApp
  xmessage -name other-application -geometry +100+300 "Another application" &
  local other_pid=$! other
  other=$(timeout 10 xdotool search --sync --onlyvisible --classname other-application | head -n1)
  [ -n "$other" ] || fail "the other application's window did not appear"

  trash "First App"
  expect_window "for the first application"
  wait_for 2 sh -c "[ \"\$(xdotool getwindowfocus)\" = $window ]" || fail "the notification did not take the focus"
  xdotool windowfocus --sync "$other"
  step "focus moved away at once"
  sleep 3
  find_window || fail "the window hid although the focus left in its first 2 s"

  xdotool windowfocus --sync "$window"
  sleep 0.3
  xdotool windowfocus --sync "$other"
  wait_for 3 no_window || fail "the window stayed after losing the focus later than 2 s"
  step "focus lost after 2 s hides it"
  [ ! -s "$received" ] || fail "hiding sent a removal list"
  kill $other_pid

  # Hidden means forgotten: the next notification is about the next application only.
  trash "Second App"
  expect_window "for the second application"
  accept
  expect_listed "$HOME/.Trash/Second App.app"
  expect_unlisted "First App"
}

case_deleting_the_bundle_ends_the_agent() {
  cp -a "$helper_bundle" "$HOME/Applications/"
  local bundle="$HOME/Applications/Sweepwell Helper.app"
  start_session "$bundle"
  touch "$bundle/Contents/Info.plist"
  mkdir "$bundle/Contents/Extra"
  sleep 1
  agent_alive || fail "the agent ended when its bundle was merely touched"
  step "touching the bundle leaves it running"
  rm -rf "$bundle"
  wait_for 5 sh -c "! kill -0 $agent_pid 2>/dev/null" || fail "the agent runs on without its bundle"
  local status=0
  wait "$agent_pid" || status=$?
  agent_pid=""
  [ $status -eq 0 ] || fail "the agent ended with status $status"
}

case_second_start_forwards_to_the_agent() {
  start_session
  app "Forwarded App" com.example.ForwardedApp
  app "Control App" com.example.ControlApp
  mkdir -p "$SWEEPWELL_SANDBOX/outbox"
  "$command_files" exclude "$SWEEPWELL_SANDBOX/outbox/exclude.msgforswhelp" "/Applications/Forwarded App.app"
  # A relative path, as a launcher might pass it.
  local status=0
  (cd "$SWEEPWELL_SANDBOX/outbox" &&
    timeout 20 "$helper_bundle/Contents/MacOS/SweepwellHelper" exclude.msgforswhelp) || status=$?
  [ $status -eq 0 ] || fail "the second start ended with status $status"
  [ ! -e "$SWEEPWELL_SANDBOX/outbox/exclude.msgforswhelp" ] || fail "the forwarded file is still there"
  agent_alive || fail "the first agent is gone"
  [ "$(pgrep -c -f "^$helper_bundle/Contents/MacOS/SweepwellHelper")" -eq 1 ] ||
    fail "more than one agent runs"
  step "second start handed over its file and left"

  trash "Forwarded App"
  expect_silence 6 "for the name the forwarded command excluded"
  trash "Control App"
  expect_window "for the control application"
  accept
  expect_listed "$HOME/.Trash/Control App.app"
  expect_unlisted "Forwarded App"
}

case_hostile_command_files() {
  start_session
  local flood=$SWEEPWELL_SANDBOX/flood
  "$command_files" hostile "$flood" 10000 "${SWEEPWELL_E2E_SEED:-$RANDOM}" || fail "could not write the files"
  local before
  before=$(cd "$flood/victims" && find . -printf '%p %s %T@\n' | sort | sha256sum)
  step "opening 10000 hostile command files with the running agent"
  local started=$SECONDS
  find "$flood/hostile" "$flood/controls" -mindepth 1 -print0 |
    xargs -0 -n 1000 "$helper_bundle/Contents/MacOS/SweepwellHelper" ||
    fail "a start that forwarded files failed"
  wait_for 60 sh -c "[ -z \"\$(find '$flood/hostile' -mindepth 1 -print -quit)\" ]" ||
    fail "$(find "$flood/hostile" -mindepth 1 | wc -l) hostile files are still on disk"
  step "all consumed in $((SECONDS - started)) s"
  agent_alive || fail "the agent died"
  [ "$(find "$flood/controls" -type f | wc -l)" -eq 4 ] || fail "a file with another extension was removed"
  [ "$(cd "$flood/victims" && find . -printf '%p %s %T@\n' | sort | sha256sum)" = "$before" ] ||
    fail "a file that a link pointed at was changed"
  [ "$(pgrep -c -f "^$helper_bundle/Contents/MacOS/SweepwellHelper")" -eq 1 ] ||
    fail "more than one agent runs"

  app "After Flood" com.example.AfterFlood
  trash "After Flood"
  expect_window "after the flood"
  accept
  expect_listed "$HOME/.Trash/After Flood.app"
}

# An Info.plist anyone could have written names another application's folder
# as its executable and an identifier that only starts a name.
case_hostile_names_list_only_their_own() {
  start_session
  blob "$HOME/Library/Application Support/Vendor/Browser/profile.db" 200
  blob "$HOME/Library/LaunchAgents/com.example.backup.plist" 4
  blob "$HOME/Library/Application Support/CrashReporter/Vendor_host.plist" 4
  make_app "$HOME/Downloads" Hostile "com."
  mkdir -p "$HOME/Downloads/Hostile.app/Contents/MacOS/Vendor"
  mv "$HOME/Downloads/Hostile.app/Contents/MacOS/Hostile" "$HOME/Downloads/Hostile.app/Contents/MacOS/Vendor/Browser"
  sed -i 's|<key>CFBundleExecutable</key><string>Hostile</string>|<key>CFBundleExecutable</key><string>Vendor/Browser</string>|' \
    "$HOME/Downloads/Hostile.app/Contents/Info.plist"
  grep -q 'Vendor/Browser' "$HOME/Downloads/Hostile.app/Contents/Info.plist" || fail "could not write the Info.plist"
  trash Hostile
  expect_window "for the trashed application itself"
  accept
  expect_listed "$HOME/.Trash/Hostile.app"
  expect_unlisted "Vendor" "com.example.backup"
  [ "$(grep -c "$HOME/Library" "$received")" -eq 0 ] || fail "something in Library was listed: $(grep "$HOME/Library" "$received")"
}

# A file name may hold any byte; JSON carries only UTF-8. The one leftover that
# cannot be written is left out, and the rest of the list still arrives.
case_name_not_utf8_leaves_the_rest_of_the_list() {
  start_session
  app "Odd Agent" com.example.OddAgent
  local agents=$HOME/Library/LaunchAgents
  blob "$agents/com.example.OddAgent.plist" 1
  blob "$agents/com.example.OddAgent."$'\xff'".plist" 1
  trash "Odd Agent"
  expect_window "for an application with a leftover whose name is not UTF-8"
  accept
  expect_listed "$HOME/.Trash/Odd Agent.app" "$HOME/Library/Caches/com.example.OddAgent" \
    "$HOME/Library/Preferences/com.example.OddAgent.plist" "$agents/com.example.OddAgent.plist"
  [ "$(wc -l <"$received")" -eq 4 ] || fail "$(wc -l <"$received") entries instead of 4"
}

# The runtime folder is not ours (another user could have made it, as they
# could make /tmp/sweepwell-<uid>): both starts must meet in the same private
# folder of the home, so the second still hands its file to the first.
case_second_start_forwards_without_a_runtime_folder() {
  chmod 0755 "$XDG_RUNTIME_DIR"
  agent_socket() { printf '%s' "$HOME/.cache/sweepwell-helper/com.quorvex.Sweepwell-Plus-Helper.open-files"; }
  message_folder() { printf '%s' "$HOME/.cache/sweepwell-helper/com.quorvex.Sweepwell-Plus-Helper"; }
  start_session
  app "Forwarded App" com.example.ForwardedApp
  mkdir -p "$SWEEPWELL_SANDBOX/outbox"
  "$command_files" exclude "$SWEEPWELL_SANDBOX/outbox/exclude.msgforswhelp" "/Applications/Forwarded App.app"
  timeout 20 "$helper_bundle/Contents/MacOS/SweepwellHelper" "$SWEEPWELL_SANDBOX/outbox/exclude.msgforswhelp" ||
    fail "the second start ended with status $?"
  [ ! -e "$SWEEPWELL_SANDBOX/outbox/exclude.msgforswhelp" ] || fail "the forwarded file is still there"
  agent_alive || fail "the first agent is gone"
  [ "$(pgrep -c -f "^$helper_bundle/Contents/MacOS/SweepwellHelper")" -eq 1 ] ||
    fail "more than one agent runs"
  [ -z "$(ls -A "$XDG_RUNTIME_DIR")" ] || fail "something was made in the runtime folder that is not ours"
  trash "Forwarded App"
  expect_silence 6 "for the name the forwarded command excluded"
}

case_gio_trash_is_noticed() {
  start_session
  app "Desk Notes" com.example.DeskNotes
  wait_for 5 grep -q "watching the Trash folder $(desktop_trash)/files" "$out/agent.log" ||
    fail "the agent does not say it watches the desktop Trash"
  gtrash "Desk Notes"
  expect_window "for an application trashed with gio"
  accept
  expect_listed "$(desktop_trash)/files/Desk Notes.app" "$HOME/Library/Caches/com.example.DeskNotes" \
    "$HOME/Library/Preferences/com.example.DeskNotes.plist"
}

# The second is stored under another name (Twin.2.app); both are announced
# under their own name.
case_same_name_twice_in_the_desktop_trash() {
  start_session
  app_without_executable Twin com.example.TwinOne
  gtrash Twin
  expect_window "for the first Twin"
  expect_named "Twin" "Twin.app"
  accept
  expect_listed "$(desktop_trash)/files/Twin.app" "$HOME/Library/Caches/com.example.TwinOne"
  app_without_executable Twin com.example.TwinTwo
  gtrash Twin
  expect_window "for the second Twin"
  local stored
  stored=$(cd "$(desktop_trash)/files" && ls -d Twin* | grep -vx Twin.app | head -n1)
  [ -n "$stored" ] || fail "gio did not store the second Twin under another name"
  expect_named "Twin" "${stored%.app}"
  import -window root "$out/second-twin.png"
  accept
  expect_listed "$(desktop_trash)/files/$stored" "$HOME/Library/Caches/com.example.TwinTwo"
  expect_unlisted "com.example.TwinOne"
}

# As some programs trash: the item is renamed into files/ first, under a name
# that is not an application's, and its trash info is written after it.
case_item_before_its_trash_info() {
  start_session
  app_without_executable "Late Info" com.example.LateInfo
  mkdir -p "$(desktop_trash)/files" "$(desktop_trash)/info"
  mv "$HOME/Downloads/Late Info.app" "$(desktop_trash)/files/Late Info.app-0001"
  sleep 0.3
  printf '[Trash Info]\nPath=%s\nDeletionDate=%s\n' "$HOME/Downloads/Late%20Info.app" \
    "$(date +%Y-%m-%dT%H:%M:%S)" >"$(desktop_trash)/info/Late Info.app-0001.trashinfo"
  expect_window "for an item whose trash info came after it"
  expect_named "Late Info" "Late Info.app-0001"
  accept
  expect_listed "$(desktop_trash)/files/Late Info.app-0001" "$HOME/Library/Caches/com.example.LateInfo"
}

# Copied in rather than renamed: the Info.plist arrives 3 s after the folder,
# after the Trash's quiet period has ended.
case_bundle_copied_in_slowly() {
  start_session
  app "Slow Copy" com.example.SlowCopy
  local source="$HOME/Downloads/Slow Copy.app" target="$HOME/.Trash/Slow Copy.app"
  mkdir -p "$target/Contents/MacOS"
  cp "$source/Contents/MacOS/Slow Copy" "$target/Contents/MacOS/"
  sleep 3
  no_window || fail "a window for a bundle without its Info.plist"
  cp "$source/Contents/Info.plist" "$target/Contents/"
  expect_window "for a bundle whose Info.plist came 3 s after it"
  accept
  expect_listed "$target" "$HOME/Library/Caches/com.example.SlowCopy"
}

# A disk mounted after the agent started, trashed into as a file manager does
# on a disk of its own: .Trash-<uid>/files with a trash info relative to the
# disk's top folder.
case_disk_trash_after_the_start() {
  start_session
  local disk="$SWEEPWELL_SANDBOX/disk" uid
  uid=$(id -u)
  mkdir -p "$disk"
  mount -t tmpfs -o mode=0755 sweepwell-disk "$disk" || fail "cannot mount a tmpfs"
  make_app "$disk" "Disk App" com.example.DiskApp
  blob "$HOME/Library/Caches/com.example.DiskApp/Cache.db" 200
  sleep 1
  mkdir -p -m 0700 "$disk/.Trash-$uid"
  mkdir -p "$disk/.Trash-$uid/files" "$disk/.Trash-$uid/info"
  printf '[Trash Info]\nPath=Disk%%20App.app\nDeletionDate=%s\n' "$(date +%Y-%m-%dT%H:%M:%S)" \
    >"$disk/.Trash-$uid/info/Disk App.app.trashinfo"
  mv "$disk/Disk App.app" "$disk/.Trash-$uid/files/"
  expect_window "for an application trashed on a disk mounted after the start"
  accept
  expect_listed "$disk/.Trash-$uid/files/Disk App.app" "$HOME/Library/Caches/com.example.DiskApp"
  step "unplugged: the disk's Trash is dropped and the agent goes on"
  umount "$disk" || fail "the agent kept the disk busy"
  wait_for 5 grep -q "no longer watching $disk/.Trash-$uid/files" "$out/agent.log" ||
    fail "the agent did not drop the disk's Trash"
  agent_alive || fail "the agent ended with the disk"
}

# The Main application for real: the window lists the leftovers, one is
# unchecked, the rest go to the desktop Trash with their original paths, and
# the application inside a moved folder is not announced as a new one.
main_window() {
  main_win=$(xdotool search --onlyvisible --classname '^Sweepwell$' 2>/dev/null | head -n1)
  [ -n "$main_win" ]
}
trashed_paths() {
  cat "$(desktop_trash)"/info/*.trashinfo 2>/dev/null | grep '^Path=' |
    python3 -c 'import sys, urllib.parse; [print(urllib.parse.unquote(l.rstrip("\n")[5:])) for l in sys.stdin]'
}
case_main_app_moves_the_checked_leftovers() {
  start_session
  unset SWEEPWELL_PRINT_TO
  stop_agent
  start_agent "$helper_bundle" "$out/agent.log" || fail "the agent did not start"
  app "Tidy Notes" com.example.TidyNotes
  blob "$HOME/Library/Logs/Tidy Notes.log" 20
  make_app "$HOME/Library/Application Support/Tidy Notes" "Tidy Updater" com.example.TidyUpdater
  blob "$HOME/Documents/keep.txt" 1
  gtrash "Tidy Notes"
  expect_window "for the trashed application"
  local X Y WIDTH HEIGHT SCREEN
  eval "$(xdotool getwindowgeometry --shell "$window")"
  xdotool mousemove --window "$window" $((WIDTH - 70)) $((HEIGHT - 26)) click 1
  wait_for 15 main_window || fail "the Main application showed no window"
  sleep 2  # the sizes arrive
  import -window root "$out/main-window.png"
  # Rows: application, bundle, Caches, its entry, Preferences, its entry, Logs, its entry…
  # The check box of the log (the eighth row) is unchecked.
  xdotool mousemove --window "$main_win" 82 $((79 + 7 * 14)) click 1
  sleep 0.5
  import -window root "$out/main-window-unchecked.png"
  eval "$(xdotool getwindowgeometry --shell "$main_win")"
  xdotool mousemove --window "$main_win" $((WIDTH - 70)) $((HEIGHT - 26)) click 1
  wait_for 10 test ! -e "$HOME/Library/Caches/com.example.TidyNotes" || fail "nothing was moved"
  sleep 1
  import -window root "$out/main-window-after.png"
  local moved=$(trashed_paths) path
  for path in "$HOME/Library/Caches/com.example.TidyNotes" "$HOME/Library/Preferences/com.example.TidyNotes.plist" \
    "$HOME/Library/Application Support/Tidy Notes"; do
    grep -qxF -- "$path" <<<"$moved" || fail "not in the Trash: $path"
    [ ! -e "$path" ] || fail "still in place: $path"
  done
  [ -f "$HOME/Library/Logs/Tidy Notes.log" ] || fail "the unchecked log was moved"
  [ -f "$HOME/Documents/keep.txt" ] && [ -d "$(desktop_trash)/files/Tidy Notes.app" ] ||
    fail "something else in the home was touched"
  [ "$(wc -l <<<"$moved")" -eq 4 ] || fail "the Trash holds other things: $moved"
  expect_silence 6 "for the application inside a moved folder"
}

# A list nobody should trust: the system's files, the home, a Library folder,
# a link out of the home, and a list of 100,000 entries. Nothing is touched
# and the window says why.
case_main_app_refuses_a_hostile_list() {
  start_session
  unset SWEEPWELL_PRINT_TO
  mkdir -p "$HOME/Library/Caches" /tmp/outside-of-home
  blob /tmp/outside-of-home/precious 1
  ln -s /tmp/outside-of-home "$HOME/Library/Caches/out"
  python3 - "$HOME" "$out" <<'PY'
import json, sys
home, out = sys.argv[1], sys.argv[2]
header = "---=== Sweepwell Agent Watcher Message v2 ===---\n"
def write(name, paths):
    items = [{"type": "8", "path": p, "bundleId": "com.example.hostile"} for p in paths]
    with open(f"{out}/{name}.trforsw", "w") as f:
        f.write(header + json.dumps({"items": items}))
write("hostile", ["/etc/passwd", "/etc", home, home + "/Library/Caches",
                  home + "/Library/Caches/out/precious", home + "/Library/../Library/Caches"])
write("flood", [f"{home}/Library/Caches/flood-{i}" for i in range(100000)])
PY
  main_app "$out/hostile.trforsw" "$out/flood.trforsw" >"$out/main.log" 2>&1 &
  wait_for 15 main_window || fail "the Main application showed no window"
  sleep 1
  import -window root "$out/main-window.png"
  local X Y WIDTH HEIGHT SCREEN
  eval "$(xdotool getwindowgeometry --shell "$main_win")"
  xdotool mousemove --window "$main_win" $((WIDTH - 70)) $((HEIGHT - 26)) click 1
  sleep 1
  [ -f /etc/passwd ] && [ -d "$HOME/Library/Caches" ] && [ -f /tmp/outside-of-home/precious ] ||
    fail "something was moved"
  [ -z "$(ls -A "$(desktop_trash)/files" 2>/dev/null)" ] || fail "the Trash is not empty"
  [ "$(grep -c 'is not touched' "$out/main.log")" -eq 6 ] || fail "not every refusal was said: $(cat "$out/main.log")"
  grep -q "100000 entries" "$out/main.log" || fail "the flood was not refused whole"
}

# Without an X server the agent asks the desktop's notification service: a
# session bus of the sandbox's own with our fake service on it.
notifications=$build/tests/e2e/e2e_fake_notifications
start_bus() {  # fake service options…
  dbus-daemon --config-file="$root/tests/e2e/session-bus.conf" --fork --print-address=3 \
    --print-pid=4 3>"$out/bus-address" 4>"$out/bus-pid" ||
    fail "no session bus"
  export DBUS_SESSION_BUS_ADDRESS=$(head -n1 "$out/bus-address")
  if [ "${1:-}" != --no-service ]; then
    "$notifications" "$out/notify.txt" "$out/notify-control" "$@" &
    wait_for 10 grep -q . "$out/bus-address" || true
    sleep 0.5
  fi
  unset DISPLAY
}
stop_bus() { kill "$(cat "$out/bus-pid" 2>/dev/null)" 2>/dev/null || true; }
notified() { grep -c '^Notify' "$out/notify.txt" 2>/dev/null || echo 0; }

case_desktop_notification_without_a_display() {
  start_bus
  trap 'stop_agent; stop_bus' EXIT
  start_session
  app "Quiet Notes" com.example.QuietNotes
  gtrash "Quiet Notes"
  wait_for 15 grep -q '^Notify' "$out/notify.txt" || fail "no desktop notification (see $out/agent.log)"
  sleep 2.5  # the sizes arrive and replace its text
  local first
  first=$(grep -m1 '^Notify' "$out/notify.txt")
  IFS=$'\t' read -r _ app replaces icon summary body actions hints timeout id <<<"$first"
  [ "$app" = "Sweepwell Helper" ] && [ "$replaces" = 0 ] || fail "not a new notification: $first"
  [ "$summary" = "Sweepwell - Complete Uninstallation" ] || fail "summary: $summary"
  [[ "$body" == "<b>Quiet Notes</b>"*"<b>"*"</b>"* ]] || fail "body: $body"
  [ "$actions" = "default|Complete Uninstall|close|Close" ] || fail "actions: $actions"
  [ -f "$icon" ] || fail "no icon at $icon"
  [ "$(grep -c $'^Notify\t[^\t]*\t0\t' "$out/notify.txt")" -eq 1 ] || fail "stacked: $(cat "$out/notify.txt")"
  echo default >"$out/notify-control"
  wait_for 15 test -s "$received" || fail "the Main application received nothing"
  expect_listed "$(desktop_trash)/files/Quiet Notes.app" "$HOME/Library/Caches/com.example.QuietNotes"
}

# Closing it hands nothing over; a plain-text service gets plain text; with no
# service at all the agent keeps running and says so once in its log.
case_desktop_notification_closed_or_absent() {
  start_bus --no-markup
  trap 'stop_agent; stop_bus' EXIT
  start_session
  app "Shy Notes" com.example.ShyNotes
  gtrash "Shy Notes"
  wait_for 15 grep -q '^Notify' "$out/notify.txt" || fail "no desktop notification"
  grep -m1 '^Notify' "$out/notify.txt" | grep -q $'\tShy Notes left' || fail "not plain text: $(cat "$out/notify.txt")"
  echo dismiss >"$out/notify-control"
  sleep 3
  [ ! -s "$received" ] || fail "closing handed the list over"
  pkill -f e2e_fake_notifications || true
  sleep 0.5
  app "Lone Notes" com.example.LoneNotes
  gtrash "Lone Notes"
  wait_for 10 grep -q "no desktop notification service" "$out/agent.log" || fail "no log line without a service"
  agent_alive || fail "the agent ended without a service"
  [ ! -s "$received" ] || fail "something was handed over"
}

# The Debian package's files, unpacked into a scratch folder by
# tests/package/check (SWEEPWELL_UNPACKED): the agent runs from there and
# finds the Main application beside it. Not in the default list: it needs the
# package built.
case_package_runs_unpacked() {
  local unpacked=${SWEEPWELL_UNPACKED:?the unpacked package folder}/usr/lib/sweepwell
  start_agent "$unpacked/Sweepwell Helper.app" "$out/agent.log" || fail "the unpacked agent did not start"
  wait_for 5 grep -q "watching the Trash folder $(desktop_trash)/files" "$out/agent.log" ||
    fail "the unpacked agent watches no Trash"
  app "Boxed Notes" com.example.BoxedNotes
  gtrash "Boxed Notes"
  expect_window "from the unpacked agent"
  import -window root "$out/notification.png"
  local X Y WIDTH HEIGHT SCREEN
  eval "$(xdotool getwindowgeometry --shell "$window")"
  xdotool mousemove --window "$window" $((WIDTH - 70)) $((HEIGHT - 26)) click 1
  wait_for 15 main_window || fail "the Main application beside the agent showed no window"
  [ "$(readlink "/proc/$(xdotool getwindowpid "$main_win")/exe")" = "$unpacked/Sweepwell.app/Contents/MacOS/Sweepwell" ] ||
    fail "another Main application was started"
  sleep 1
  import -window root "$out/main-window.png"
}
