# The cases of the end-to-end suite, sourced by tests/e2e/run. Each case_*
# function runs in a fresh sandboxed home (HOME, XDG_RUNTIME_DIR) with $out
# for its files, and fails through `fail`.
cases=(
  demo_road
  demo_road_in_german
  apps_trashed_together_share_one_window
  app_inside_a_trashed_folder
  app_deep_inside_a_trashed_folder
  copy_still_installed_stays_silent
  exclude_then_clear
  exclude_and_clear_arrive_in_order
  focus_rules
  deleting_the_bundle_ends_the_agent
  upgraded_executable_takes_over
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
  trash_removed_and_made_again
  disk_of_another_user_is_not_trusted
  main_app_moves_the_checked_leftovers
  main_app_refuses_a_hostile_list
  main_app_records_each_original_path
  main_app_keeps_out_of_an_unsafe_trash
  desktop_notification_without_a_display
  desktop_notification_closed_or_absent
  desktop_notification_without_buttons
  desktop_notification_service_started_on_demand
  desktop_notification_on_dunst
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

# The Main application excludes, moves and clears in quick succession; a
# clear that overtook its exclude would silence the name for good.
case_exclude_and_clear_arrive_in_order() {
  start_session
  app "Busy App" com.example.BusyApp
  local i commands=()
  for i in $(seq 50); do commands+=(--exclude "/Applications/Busy App.app" --clear); done
  main_app "${commands[@]}"
  wait_for 60 no_pending_messages || fail "the agent left a command file unread"
  step "50 exclude/clear pairs taken"
  sleep 5.6  # the last clear's delay
  trash "Busy App"
  expect_window "once the last clear took effect"
  accept
  expect_listed "$HOME/.Trash/Busy App.app"
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

# The process ids of agents running the given executable (as the kernel names
# it: " (deleted)" once it was replaced).
agents_running() { local p; for p in /proc/[0-9]*; do [ "$(readlink "$p/exe" 2>/dev/null)" != "$1" ] || echo "${p#/proc/}"; done; }
new_agent_listens() { [ -n "$(agents_running "$1")" ] && [ -S "$(agent_socket)" ]; }
gone() { ! kill -0 "$1" 2>/dev/null || grep -q '^State:.*Z' "/proc/$1/status" 2>/dev/null; }
# After an upgrade of executable $2: the old agent ($1) ended well and one
# agent, on the file the upgrade installed and on no replaced one, listens.
# Sets agent_pid to it.
expect_handed_over() {  # old agent, executable
  wait_for 15 gone "$1" || fail "the old agent runs on after the upgrade"
  local status=0 running
  wait "$1" || status=$?
  [ $status -eq 0 ] || fail "the old agent ended with status $status"
  wait_for 15 new_agent_listens "$2" || fail "no agent listens on the new file after the upgrade"
  running=$(agents_running "$2")
  [ "$(printf '%s\n' $running | grep -c .)" -eq 1 ] || fail "not one agent on the new file: ${running:-none}"
  [ -z "$(agents_running "$2 (deleted)")" ] || fail "an agent still runs the replaced file"
  [ "$(stat -L -c %d:%i "/proc/$running/exe")" = "$(stat -c %d:%i "$2")" ] ||
    fail "the agent does not run the file the upgrade installed"
  agent_pid=$running
}

# A package upgrade renames a new executable over the running one, inside the
# bundle folder that stays: the old agent hands over to the new file, and one
# agent, the new one, takes the next command and the next application.
case_upgraded_executable_takes_over() {
  cp -a "$helper_bundle" "$HOME/Applications/"
  local bundle="$HOME/Applications/Sweepwell Helper.app"
  local exe="$bundle/Contents/MacOS/SweepwellHelper"
  start_session "$bundle"
  app "Quiet App" com.example.QuietApp
  app "Loud App" com.example.LoudApp
  local old=$agent_pid
  cp "$exe" "$exe.dpkg-new"
  touch "$bundle/Contents/Info.plist"  # the rest of the package lands too
  mv "$exe.dpkg-new" "$exe"
  expect_handed_over "$old" "$exe"
  step "the new executable took over"

  main_app --exclude "/Applications/Quiet App.app" || fail "the new agent did not take the command"
  trash "Quiet App"
  expect_silence 6 "for the name excluded after the upgrade"
  trash "Loud App"
  expect_window "from the new agent"
  accept
  expect_listed "$HOME/.Trash/Loud App.app"
  expect_unlisted "Quiet App"
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

# A shared disk whose top folder is another user's (or whose sticky .Trash
# is): that user could swap the user's Trash there, so it is never used, and
# an application "trashed" there is not announced. Needs root to play the
# other user; skipped otherwise.
case_disk_of_another_user_is_not_trusted() {
  [ "$(id -u)" -eq 0 ] || { step "skipped: needs root to make another user's disk"; return 0; }
  local disk="$SWEEPWELL_SANDBOX/shared" uid=0 other
  other=$(id -u nobody)
  mkdir -p "$disk"
  mount -t tmpfs -o mode=0755 sweepwell-shared "$disk" || fail "cannot mount a tmpfs"
  mkdir -p "$disk/top" "$disk/sticky/.Trash/$uid/files" "$disk/sticky/.Trash/$uid/info"
  chown "$other" "$disk/top" "$disk/sticky/.Trash"
  chmod 1777 "$disk/sticky/.Trash"
  chmod 700 "$disk/sticky/.Trash/$uid"
  mkdir -p -m 0700 "$disk/top/.Trash-$uid"
  mkdir -p "$disk/top/.Trash-$uid/files" "$disk/top/.Trash-$uid/info"
  mount --bind "$disk/top" "$disk/top"  # two disks: another's top folder, another's .Trash
  mount --bind "$disk/sticky" "$disk/sticky"
  start_session
  wait_for 5 grep -q "watching the Trash folder $(desktop_trash)/files" "$out/agent.log" ||
    fail "the agent does not watch the desktop Trash"
  ! grep -q "watching the Trash folder $disk/" "$out/agent.log" || fail "another user's disk is trusted: $(cat "$out/agent.log")"
  make_app "$disk/top/.Trash-$uid/files" "Lure" com.victim.Precious
  make_app "$disk/sticky/.Trash/$uid/files" "Lure" com.victim.Precious
  blob "$HOME/Library/Containers/com.victim.Precious/Data.db" 100
  expect_silence 5 "for an application in the Trash of another user's disk"
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
# A Trash removed whole while the agent runs (a cleaning tool, rm -rf) is
# watched again once it is there: the desktop Trash the agent makes again
# itself once the removal has settled, ~/.Trash once the user makes it. What
# a Trash made again holds when it is found was there before: not announced.
watched_times() {  # folder, how many times the log has said it is watched
  test "$(grep -c "watching the Trash folder $1\$" "$out/agent.log")" -eq "$2"
}
case_trash_removed_and_made_again() {
  start_session
  wait_for 5 watched_times "$(desktop_trash)/files" 1 || fail "the desktop Trash is not watched"
  rm -rf "$(desktop_trash)"
  wait_for 10 watched_times "$(desktop_trash)/files" 2 ||
    fail "the desktop Trash is not watched again (see $out/agent.log)"
  app "Again Notes" com.example.AgainNotes
  gtrash "Again Notes"
  expect_window "for an application trashed into a desktop Trash made again"
  expect_named "Again Notes" "none"
  accept
  expect_listed "$(desktop_trash)/files/Again Notes.app" "$HOME/Library/Caches/com.example.AgainNotes"

  # ~/.Trash: gone, then made again by hand with an application already in it.
  rm -rf "$HOME/.Trash"
  wait_for 10 grep -q "the Trash folder $HOME/.Trash is gone" "$out/agent.log" ||
    fail "the removal of ~/.Trash went unnoticed"
  app "Old Notes" com.example.OldNotes
  mkdir "$HOME/.Trash"
  mv "$HOME/Downloads/Old Notes.app" "$HOME/.Trash/"
  wait_for 10 watched_times "$HOME/.Trash" 2 || fail "~/.Trash is not watched again"
  expect_silence 4 "for what ~/.Trash held when it was found"
  app "Home Notes" com.example.HomeNotes
  trash "Home Notes"
  expect_window "for an application moved into ~/.Trash made again"
  expect_named "Home Notes" "Old Notes"
  accept
  expect_listed "$HOME/.Trash/Home Notes.app" "$HOME/Library/Caches/com.example.HomeNotes"
  expect_unlisted "$HOME/.Trash/Old Notes.app"
  agent_alive || fail "the agent ended"
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
  # Said in the project's log, as the agent says things.
  [ "$(grep -c '^sweepwell\.main-app: .* is not touched' "$out/main.log")" -eq 6 ] ||
    fail "not every refusal was said: $(cat "$out/main.log")"
  grep -q "^sweepwell\.main-app: a removal list was refused: .*100000 entries" "$out/main.log" ||
    fail "the flood was not refused whole"
}

# Opens a removal list of the given paths in the Main application (from a
# folder of its own, $out/cwd), clicks "Move to Trash" and waits until the
# window has said how it went; its output goes to $out/main.log.
move_with_main_app() {  # path…
  python3 - "$out/list.trforsw" "$@" <<'PY'
import json, sys
items = [{"type": "8", "path": p, "bundleId": "com.example.odd"} for p in sys.argv[2:]]
with open(sys.argv[1], "w") as f:
    f.write("---=== Sweepwell Agent Watcher Message v2 ===---\n" + json.dumps({"items": items}))
PY
  mkdir -p "$out/cwd"
  (cd "$out/cwd" && exec "$HOME/Applications/Sweepwell.app/Contents/MacOS/Sweepwell" "$out/list.trforsw") \
    >"$out/main.log" 2>&1 &
  local main_pid=$!
  wait_for 15 main_window || fail "the Main application showed no window"
  sleep 1
  local X Y WIDTH HEIGHT SCREEN
  eval "$(xdotool getwindowgeometry --shell "$main_win")"
  xdotool mousemove --window "$main_win" $((WIDTH - 70)) $((HEIGHT - 26)) click 1
  # Every entry is either gone or said to have failed.
  wait_for 10 moves_done "$@" || fail "the Main application did not finish"
  sleep 1
  import -window root "$out/main-window-after.png"
  kill "$main_pid" 2>/dev/null || true
}
moves_done() {
  local path
  for path; do
    [ ! -e "$path" ] || grep -qF -- "$path could not be moved" "$out/main.log" || return 1
  done
}

# Names that a trash info must escape: the Main application records each so
# that the desktop's own tools list it, and put it back, where it was. There
# is no ~/.local/share yet: the Trash is made there, never in the current
# folder.
case_main_app_records_each_original_path() {
  start_session
  unset SWEEPWELL_PRINT_TO
  # The agent makes the desktop Trash it watches; without it nothing does.
  stop_agent
  rm -rf "$HOME/.local"
  [[ $HOME =~ ^[A-Za-z0-9/._~-]+$ ]] || fail "the home $HOME would need escaping itself"
  local -A written=(
    ["$HOME/Library/Caches/com.example.half%25off"]="$HOME/Library/Caches/com.example.half%2525off"
    ["$HOME/Library/Logs/Sale 50% now.log"]="$HOME/Library/Logs/Sale%2050%25%20now.log"
    ["$HOME/Library/Caches/# notes"]="$HOME/Library/Caches/%23%20notes"
    ["$HOME/Library/Caches/Café 日本"]="$HOME/Library/Caches/Caf%C3%A9%20%E6%97%A5%E6%9C%AC"
    ["$HOME/Library/Caches/two"$'\n'"lines"]="$HOME/Library/Caches/two%0Alines"
  )
  local path
  for path in "${!written[@]}"; do blob "$path" 1; done
  move_with_main_app "${!written[@]}"
  for path in "${!written[@]}"; do [ ! -e "$path" ] || fail "still in place: $path"; done
  [ ! -e "$out/cwd/files" ] && [ ! -e "$out/cwd/info" ] || fail "the Trash went into the current folder"
  local info
  for info in "$(desktop_trash)"/info/*.trashinfo; do
    [ "$(grep -c '^Path=' "$info")" -eq 1 ] || fail "not one Path line in $info: $(cat "$info")"
  done
  # The lines as written, byte for byte.
  local raw want
  raw=$(cat "$(desktop_trash)"/info/*.trashinfo | grep '^Path=' | sort)
  want=$(for path in "${!written[@]}"; do printf 'Path=%s\n' "${written[$path]}"; done | sort)
  [ "$raw" = "$want" ] || fail "the Path lines are"$'\n'"$raw"$'\n'"not"$'\n'"$want"
  # A Trash tool users have lists each one where it was.
  local listed
  listed=$(trash-list) || fail "trash-list failed"
  for path in "${!written[@]}"; do
    [[ $listed == *" $path"$'\n'* || $listed == *" $path" ]] || fail "trash-list lost $path: $listed"
  done
  [ "$(stat -c %a "$HOME/.local" "$HOME/.local/share" "$(desktop_trash)" "$(desktop_trash)/files" \
    "$(desktop_trash)/info" | sort -u)" = 700 ] || fail "the Trash's folders are not private"
}

# A desktop Trash whose "files" is a link: nothing goes where it leads, the
# leftover stays and the window says why.
case_main_app_keeps_out_of_an_unsafe_trash() {
  start_session
  unset SWEEPWELL_PRINT_TO
  stop_agent
  mkdir -p "$HOME/elsewhere" "$(desktop_trash)/info"
  rm -rf "$(desktop_trash)/files"
  ln -s "$HOME/elsewhere" "$(desktop_trash)/files"
  blob "$HOME/Library/Caches/com.example.Kept" 1
  move_with_main_app "$HOME/Library/Caches/com.example.Kept"
  [ -f "$HOME/Library/Caches/com.example.Kept" ] || fail "the leftover was moved"
  [ -z "$(ls -A "$HOME/elsewhere")" ] && [ -z "$(ls -A "$(desktop_trash)/info")" ] ||
    fail "something landed"
  grep -q "could not be moved to the Trash: the Trash folder is a link or not only yours" \
    "$out/main.log" || fail "the reason was not said: $(cat "$out/main.log")"
}

# Without an X server the agent asks the desktop's notification service: a
# session bus of the sandbox's own with our fake service on it.
notifications=$build/tests/e2e/e2e_fake_notifications
start_bus() {  # fake service options…
  dbus-daemon --config-file="${bus_config:-$root/tests/e2e/session-bus.conf}" --fork --print-address=3 \
    --print-pid=4 3>"$out/bus-address" 4>"$out/bus-pid" ||
    fail "no session bus"
  export DBUS_SESSION_BUS_ADDRESS=$(head -n1 "$out/bus-address")
  if [ "${1:-}" != --no-service ]; then
    "$notifications" "$out/notify.txt" "$out/notify-control" "$@" &
    service_pid=$!
    wait_for 10 grep -q . "$out/bus-address" || true
    sleep 0.5
  fi
  unset DISPLAY
}
# The service too: one left over from an earlier run would take the answers
# meant for this one (the same control file).
stop_service() { [ -z "${service_pid:-}" ] || kill "$service_pid" 2>/dev/null || true; }
stop_bus() {
  stop_service
  kill "$(cat "$out/bus-pid" 2>/dev/null)" 2>/dev/null || true
}
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
  [ "$actions" = "complete-uninstall|Complete Uninstall|close|Close" ] || fail "actions: $actions"
  [ -f "$icon" ] || fail "no icon at $icon"
  [ "$(grep -c $'^Notify\t[^\t]*\t0\t' "$out/notify.txt")" -eq 1 ] || fail "stacked: $(cat "$out/notify.txt")"
  echo complete-uninstall >"$out/notify-control"
  wait_for 15 test -s "$received" || fail "the Main application received nothing"
  expect_listed "$(desktop_trash)/files/Quiet Notes.app" "$HOME/Library/Caches/com.example.QuietNotes"
}

# Answers the last notification as the user would (see FakeNotifications.cpp)
# and waits until the service has taken the answer.
answer() {
  echo "$1" >"$out/notify-control"
  wait_for 10 test ! -e "$out/notify-control" || fail "the service took no answer"
}

# A click on the body or closing it hands nothing over; a plain-text service
# gets plain text; the service is asked what it can draw once, not for each
# notification; with no service at all the agent keeps running and says so
# once in its log.
case_desktop_notification_closed_or_absent() {
  start_bus --no-markup
  trap 'stop_agent; stop_bus' EXIT
  start_session
  app "Shy Notes" com.example.ShyNotes
  gtrash "Shy Notes"
  wait_for 15 grep -q '^Notify' "$out/notify.txt" || fail "no desktop notification"
  grep -m1 '^Notify' "$out/notify.txt" | grep -q $'\tShy Notes left' || fail "not plain text: $(cat "$out/notify.txt")"
  answer default
  answer dismiss
  sleep 3
  [ ! -s "$received" ] || fail "a click on the body or closing handed the list over"
  app "Next Notes" com.example.NextNotes
  gtrash "Next Notes"
  wait_for 15 grep -q $'^Notify.*\tNext Notes left' "$out/notify.txt" || fail "no second notification"
  [ "$(grep -c '^GetCapabilities' "$out/notify.txt")" -eq 1 ] ||
    fail "the service was asked more than once what it can draw: $(cat "$out/notify.txt")"
  answer dismiss
  stop_service
  sleep 0.5
  app "Lone Notes" com.example.LoneNotes
  gtrash "Lone Notes"
  wait_for 10 grep -q "no desktop notification service" "$out/agent.log" || fail "no log line without a service"
  agent_alive || fail "the agent ended without a service"
  [ ! -s "$received" ] || fail "something was handed over"
}

# As on many desktops, the bus starts the service when the agent first calls
# it. The bus tells of the new owner only afterwards, and that is the server
# the agent already talks to, not another one: the notification stays its
# own, and its action is taken.
case_desktop_notification_service_started_on_demand() {
  mkdir -p "$out/services"
  sed "s|<busconfig>|<busconfig><servicedir>$out/services</servicedir>|" \
    "$root/tests/e2e/session-bus.conf" >"$out/session-bus.conf"
  # The bus starts it: it leaves its process id for stop_service.
  printf '#!/bin/sh\necho $$ >"%s"\nexec "%s" "%s" "%s"\n' "$out/service-pid" "$notifications" \
    "$out/notify.txt" "$out/notify-control" >"$out/services/start-notifications"
  chmod +x "$out/services/start-notifications"
  printf '[D-BUS Service]\nName=org.freedesktop.Notifications\nExec=%s\n' \
    "$out/services/start-notifications" >"$out/services/notifications.service"
  bus_config=$out/session-bus.conf start_bus --no-service
  trap 'service_pid=$(cat "$out/service-pid" 2>/dev/null); stop_agent; stop_bus' EXIT
  start_session
  app "Woken Notes" com.example.WokenNotes
  gtrash "Woken Notes"
  wait_for 15 grep -q '^Notify' "$out/notify.txt" || fail "no desktop notification (see $out/agent.log)"
  sleep 2.5  # the sizes arrive and replace its text; the owner change has long arrived
  [ "$(grep -c $'^Notify\t[^\t]*\t0\t' "$out/notify.txt")" -eq 1 ] || fail "not one notification: $(cat "$out/notify.txt")"
  answer complete-uninstall
  wait_for 15 test -s "$received" || fail "the Main application received nothing"
  expect_listed "$(desktop_trash)/files/Woken Notes.app"
}

# A service that draws no buttons is told how to hand the list over anyway:
# the Helper started again with nothing to open does it.
case_desktop_notification_without_buttons() {
  start_bus --no-actions
  trap 'stop_agent; stop_bus' EXIT
  start_session
  app "Plain Notes" com.example.PlainNotes
  gtrash "Plain Notes"
  wait_for 15 grep -q '^Notify' "$out/notify.txt" || fail "no desktop notification"
  local body actions  # fields 6 and 7; the actions are empty
  body=$(grep -m1 '^Notify' "$out/notify.txt" | cut -f6)
  actions=$(grep -m1 '^Notify' "$out/notify.txt" | cut -f7)
  [ -z "$actions" ] || fail "actions sent to a service without them: $actions"
  [[ $body == *"start Sweepwell Helper again (sweepwell-helper)"* ]] || fail "no way to go on: $body"
  timeout 20 "$helper_bundle/Contents/MacOS/SweepwellHelper" || fail "the second start failed"
  wait_for 15 test -s "$received" || fail "the second start handed nothing over"
  expect_listed "$(desktop_trash)/files/Plain Notes.app" "$HOME/Library/Caches/com.example.PlainNotes"
  wait_for 5 grep -q '^Close' "$out/notify.txt" || fail "the notification stayed after the hand-over"
  # With nothing shown, starting it again does nothing.
  : >"$received"
  timeout 20 "$helper_bundle/Contents/MacOS/SweepwellHelper" || fail "the second start failed"
  sleep 2
  [ ! -s "$received" ] || fail "a start with nothing shown handed something over"
}

# A real notification server: dunst on the sandbox's bus, drawing on the
# private X server while the agent has none. Its context menu (the list of a
# notification's actions) goes to a program of the case's own instead of
# dmenu: it writes the menu to $out/menu.txt and picks the line of the action
# key that $out/choice holds, if any (a line: "#Title (summary) [id,key]").
start_dunst() {  # X display
  cat >"$out/pick" <<'PICK'
#!/bin/sh
out=$(dirname "$0")
menu=$(cat)
printf '%s\n--\n' "$menu" >>"$out/menu.txt"
choice=$(cat "$out/choice" 2>/dev/null)
[ -z "$choice" ] || printf '%s\n' "$menu" | grep -m1 -F -- ",$choice]"
PICK
  chmod +x "$out/pick"
  cat >"$out/dunstrc" <<RC
[global]
    font = Liberation Sans 10
    width = 380
    origin = top-right
    offset = 10x10
    markup = full
    format = "<b>%s</b>\n%b"
    show_indicators = yes
    dmenu = $out/pick
RC
  DISPLAY=$1 dunst -config "$out/dunstrc" >"$out/dunst.log" 2>&1 &
  dunst_pid=$!
  wait_for 10 dunstctl is-paused >/dev/null 2>&1 || fail "dunst did not start (see $out/dunst.log)"
}
stop_dunst() { [ -z "${dunst_pid:-}" ] || kill "$dunst_pid" 2>/dev/null || true; }
dunst_count() { dunstctl count "$1"; }
dunst_shows() { [ "$(dunst_count displayed)" -eq "$1" ]; }
menus_read() {
  local count
  count=$(grep -c '^--$' "$out/menu.txt" 2>/dev/null)
  printf '%s' "${count:-0}"
}
more_menus_read_than() { [ "$(menus_read)" -gt "$1" ]; }
# Opens dunst's menu of the shown notification's actions and picks the action
# key $1 (or nothing), then waits until the menu was read.
dunst_menu() {  # action key, dunstctl command…
  local before
  before=$(menus_read)
  printf '%s' "$1" >"$out/choice"
  dunstctl "${@:2}"
  wait_for 10 more_menus_read_than "$before" || fail "dunst opened no menu"
}

case_desktop_notification_on_dunst() {
  local x_display=$DISPLAY
  start_bus --no-service
  trap 'stop_agent; stop_dunst; stop_bus' EXIT
  start_dunst "$x_display"
  start_session
  app "Real Notes" com.example.RealNotes
  gtrash "Real Notes"
  wait_for 15 dunst_shows 1 || fail "dunst shows no notification (see $out/agent.log)"
  sleep 2.5  # the sizes arrive and replace its text
  [ "$(dunst_count displayed)" -eq 1 ] && [ "$(dunst_count waiting)" -eq 0 ] &&
    [ "$(dunst_count history)" -eq 0 ] || fail "not one notification updated in place: $(dunstctl count)"
  [ "$(grep -c 'showing as a desktop notification' "$out/agent.log")" -eq 1 ] || fail "shown more than once"
  DISPLAY=$x_display import -window root "$out/dunst.png"
  # What dunst does for a middle click on the body: with no default action it
  # only offers the actions, and choosing none hands nothing over.
  dunst_menu "" action 0
  grep -q '^#Complete Uninstall (Sweepwell - Complete Uninstallation) \[[0-9]*,complete-uninstall\]$' "$out/menu.txt" &&
    grep -q '^#Close (Sweepwell - Complete Uninstallation) \[[0-9]*,close\]$' "$out/menu.txt" ||
    fail "dunst lists other actions: $(cat "$out/menu.txt")"
  ! grep -q ',default\]' "$out/menu.txt" || fail "a default action: $(cat "$out/menu.txt")"
  sleep 2
  [ ! -s "$received" ] || fail "the body handed the list over"
  [ "$(dunst_count displayed)" -eq 1 ] || fail "the notification went without an answer"
  dunst_menu complete-uninstall context
  wait_for 15 test -s "$received" || fail "the Main application received nothing"
  expect_listed "$(desktop_trash)/files/Real Notes.app" "$HOME/Library/Caches/com.example.RealNotes"
  wait_for 5 dunst_shows 0 || fail "the notification stayed after the hand-over"

  # Closing it hands nothing over.
  : >"$received"
  app "Closed Notes" com.example.ClosedNotes
  gtrash "Closed Notes"
  wait_for 15 dunst_shows 1 || fail "no second notification"
  dunstctl close
  sleep 3
  [ ! -s "$received" ] || fail "closing handed the list over"
  [ "$(dunst_count displayed)" -eq 0 ] || fail "closed, yet shown"
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

# Run by tests/package/check: the agent of the package dpkg installed under
# $SWEEPWELL_INSTALLED runs while dpkg installs $SWEEPWELL_UPGRADE over it.
case_package_upgrade_hands_over() {
  local installed=${SWEEPWELL_INSTALLED:?the folder the package was installed into}
  local upgrade=${SWEEPWELL_UPGRADE:?the upgrade package}
  local bundle="$installed/usr/lib/sweepwell/Sweepwell Helper.app"
  local exe="$bundle/Contents/MacOS/SweepwellHelper"
  start_agent "$bundle" "$out/agent.log" || fail "the installed agent did not start"
  local old=$agent_pid
  dpkg --root="$installed" --force-depends -i "$upgrade" >"$out/dpkg.log" 2>&1 || fail "dpkg could not upgrade"
  step "upgraded to $(dpkg-query --admindir="$installed/var/lib/dpkg" -W -f '${Version}' sweepwell-helper)"
  expect_handed_over "$old" "$exe"
  "$installed/usr/lib/sweepwell/Sweepwell.app/Contents/MacOS/Sweepwell" --clear ||
    fail "the upgraded agent did not take a command"
  step "one agent, on the upgraded file, takes commands"
}
