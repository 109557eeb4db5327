#!/usr/bin/env bash
# Whole-process comparison of our size walk with du(1) on a generated tree of
# about 200,000 files in 10,000 folders (bench/tools/MakeSizeTree.cpp says
# what it holds). Both are run as processes, start-up included, with a warm
# cache, in pairs whose order alternates; each pair gives a ratio ours/du and
# the median of the ratios is the figure. The bytes are checked as well: du
# also counts the folders' own blocks, so ours plus those must be du's total
# (the tree has no hard links; both would count one once). The walk shared
# over the walk threads is timed against du, and so is the walk on one thread
# (size_paths --sequential) beside it; each one's peak memory is measured too.
#
# Prints one "name: value" line per figure. The programs come from the build
# folder in SWEEPWELL_BUILD_DIR (default build/default); SIZING_PAIRS sets the
# number of timed pairs (default 7), SIZING_FOLDERS and SIZING_FILES the size
# of the tree (default 10000 and 200000).
set -euo pipefail
cd "$(dirname "$0")/.."

build=${SWEEPWELL_BUILD_DIR:-build/default}
tools=$build/bench/tools
pairs=${SIZING_PAIRS:-7}
for tool in make_size_tree size_paths time_process; do
  if [[ ! -x $tools/$tool ]]; then
    echo "sizing: error $tools/$tool is not built" >&2
    exit 1
  fi
done

work=$(mktemp -d "${TMPDIR:-/tmp}/sweepwell-sizing-XXXXXX")
trap 'rm -rf "$work"' EXIT
tree=$work/tree
mkdir "$tree"
summary=$("$tools/make_size_tree" "$tree" "${SIZING_FOLDERS:-10000}" "${SIZING_FILES:-200000}")
read -r folders files links written <<<"$summary"

# Runs a program as a whole process; prints its time in nanoseconds and
# leaves its output in $work/out.
timed() {
  "$tools/time_process" "$work/out" "$@"
}
ours=("$tools/size_paths" "$tree")
sequential=("$tools/size_paths" --sequential "$tree")
du=(du -s -B1 "$tree")

# The median of the numbers on standard input, one a line.
median() {
  sort -g | awk '{ v[NR] = $1 } END {
    if (NR == 0) exit 1
    if (NR % 2) print v[(NR + 1) / 2]; else print (v[NR / 2] + v[NR / 2 + 1]) / 2 }'
}

# Warm-up: brings the tree's inodes and folders into the cache, and the
# programs themselves.
for _ in 1 2; do
  timed "${ours[@]}" >/dev/null
  timed "${sequential[@]}" >/dev/null
  timed "${du[@]}" >/dev/null
done

: >"$work/pairs"
for ((pair = 0; pair < pairs; pair++)); do
  # Alternate which goes first, so that neither always follows the other.
  if ((pair % 2 == 0)); then
    ours_ns=$(timed "${ours[@]}")
    du_ns=$(timed "${du[@]}")
    sequential_ns=$(timed "${sequential[@]}")
  else
    sequential_ns=$(timed "${sequential[@]}")
    du_ns=$(timed "${du[@]}")
    ours_ns=$(timed "${ours[@]}")
  fi
  echo "$ours_ns $du_ns $sequential_ns" >>"$work/pairs"
done

# Start-up alone: each on an empty folder.
mkdir "$work/empty"
timed "$tools/size_paths" "$work/empty" >/dev/null
timed du -s -B1 "$work/empty" >/dev/null
: >"$work/startup"
for _ in 1 2 3 4 5 6 7; do
  echo "$(timed "$tools/size_paths" "$work/empty") $(timed du -s -B1 "$work/empty")" >>"$work/startup"
done

# The bytes, from one more run of each.
timed "${ours[@]}" >/dev/null
our_bytes=$(cut -f1 "$work/out")
timed "${du[@]}" >/dev/null
du_bytes=$(cut -f1 "$work/out")
folder_bytes=$(find "$tree" -type d -printf '%b\n' | awk '{ blocks += $1 } END { printf "%.0f", blocks * 512 }')

ms() { awk '{ printf "%.0f ms\n", $1 / 1e6 }'; }
echo "sizing tree: $folders folders, $files files, $links symbolic links, $written bytes written"
echo "sizing ours median: $(awk '{ print $1 }' "$work/pairs" | median | ms)"
echo "sizing du median: $(awk '{ print $2 }' "$work/pairs" | median | ms)"
echo "sizing ours/du median ratio: $(awk '{ print $1 / $2 }' "$work/pairs" | median | awk '{ printf "%.2f\n", $1 }')"
echo "sizing sequential ours/du median ratio: $(awk '{ print $3 / $2 }' "$work/pairs" | median | awk '{ printf "%.2f\n", $1 }')"
peak() { /usr/bin/time -f %M "$@" 2>&1 >/dev/null | tail -n1 | awk '{ printf "%.1f MiB\n", $1 / 1024 }'; }
echo "sizing parallel peak memory: $(peak "${ours[@]}")"
echo "sizing sequential peak memory: $(peak "${sequential[@]}")"
echo "sizing du peak memory: $(peak "${du[@]}")"
echo "sizing ours/du ratio range: $(awk '{ print $1 / $2 }' "$work/pairs" | sort -g |
  awk 'NR == 1 { low = $1 } { high = $1 } END { printf "%.2f to %.2f\n", low, high }')"
echo "sizing ours start-up median: $(awk '{ print $1 }' "$work/startup" | median | awk '{ printf "%.1f ms\n", $1 / 1e6 }')"
echo "sizing du start-up median: $(awk '{ print $2 }' "$work/startup" | median | awk '{ printf "%.1f ms\n", $1 / 1e6 }')"
if ((our_bytes + folder_bytes == du_bytes)); then
  echo "sizing same bytes for files: yes ($our_bytes bytes)"
else
  echo "sizing same bytes for files: no (ours $our_bytes + folders $folder_bytes, du $du_bytes)"
  exit 1
fi
