#!/usr/bin/env bash
# bench/run.sh: builds fyndle in Release and measures it side by side with
# two read floors and two other search tools, on one folder tree.
#
#   bench/run.sh [--quick] [--no-big] [--micro] [--shapes] [--threads]
#
#   --quick   3 runs per command instead of 10 (a rough look, not for docs)
#   --no-big  skip the 1 GiB file (its memory and time rows)
#   --micro   also run the microbenchmarks (bench_micro) at the end
#   --shapes  only the -r pattern shapes on one core (tree and one-line files)
#   --threads only the thread rows (warm and cold) and the peak memory
#
# Environment (all optional):
#   FYNDLE_BENCH_BUILD     build folder        (default: <repo>/build-bench)
#   FYNDLE_BENCH_TREE      tree searched       (default: /usr/include)
#   FYNDLE_BENCH_RUNS      timed runs/command  (default: 10)
#   FYNDLE_BENCH_MAX_LOAD  wait until the 1-minute load is below this...
#   FYNDLE_BENCH_WAIT      ...for at most this many seconds (default: 1.0, 600)
#   TMPDIR                 where the 1 GiB file is made (default: /tmp)
#
# The first table's and the thread rows' commands write their output to a
# file (not to /dev/null, which some tools detect and use to stop early);
# the pattern shapes' goes to /dev/null, where rg was checked to do its
# whole search, as when their targets were set (one shape prints 214 MB,
# and writing that into a file costs more than reading the tree). The
# thread rows and the shapes take their commands in rounds (in_rounds).
# Results go to <build>/bench-results:
# table.txt (the table printed at the end), times.csv and times.json
# (hyperfine's exports), memory.txt, and out/ with one output file per
# command from a first, untimed pass.
set -euo pipefail

here=$(cd "$(dirname "$0")" && pwd)
root=$(dirname "$here")
build=${FYNDLE_BENCH_BUILD:-$root/build-bench}
tree=${FYNDLE_BENCH_TREE:-/usr/include}
runs=${FYNDLE_BENCH_RUNS:-10}
max_load=${FYNDLE_BENCH_MAX_LOAD:-1.0}
max_wait=${FYNDLE_BENCH_WAIT:-600}
big=1
micro=0
shapes_only=0
only_threads=0
for arg in "$@"; do
  case "$arg" in
    --quick) runs=3 ;;
    --threads) only_threads=1 ;;
    --no-big) big=0 ;;
    --micro) micro=1 ;;
    --shapes) shapes_only=1 ;;
    -h|--help) sed -n '2,25p' "$0" | sed 's/^# \{0,1\}//'; exit 0 ;;
    *) echo "unknown argument: $arg (see --help)"; exit 2 ;;
  esac
done

# --- tools and build ------------------------------------------------------
"$root/scripts/bootstrap" hyperfine ripgrep time libbenchmark-dev
cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release \
      -DFYNDLE_BENCH=ON -DFYNDLE_TESTS=OFF >/dev/null
cmake --build "$build" -j2 --target fyndle read_floor_5k read_floor_256k bench_micro

fyndle=$build/fyndle
# fyndle runs pinned to one core, so that it is measured as one thread
# against rg -j1 and the floors; the thread rows at the end run it free.
one="taskset -c 0"
floor5k=$build/bench/read_floor_5k
floor256k=$build/bench/read_floor_256k
results=$build/bench-results
rm -rf "$results"
mkdir -p "$results/out"

# --- wait for a quiet machine ---------------------------------------------
load1() { cut -d' ' -f1 /proc/loadavg; }
waited=0
while awk -v l="$(load1)" -v m="$max_load" 'BEGIN { exit !(l >= m) }' && [ "$waited" -lt "$max_wait" ]; do
  [ "$waited" -eq 0 ] && echo "waiting for the 1-minute load ($(load1)) to fall below $max_load (at most ${max_wait}s)..."
  sleep 15
  waited=$((waited + 15))
done

{
  echo "date:    $(date -u '+%Y-%m-%d %H:%M UTC')"
  echo "machine: $(nproc) CPUs, $(grep -m1 'model name' /proc/cpuinfo | cut -d: -f2- | sed 's/^ *//'), $(awk '/^MemTotal:/ { printf "%.1f GiB memory", $2 / 1048576 }' /proc/meminfo)"
  echo "kernel:  $(uname -r)"
  echo "tools:   $(hyperfine --version), $(rg --version | head -1), $(grep --version | head -1)"
  echo "tree:    $tree ($("$floor5k" "$tree"))"
  echo "runs:    $runs timed runs a command (warm cache): the first table after 2 warm-up runs, each command's runs together; the shape and thread rows in $runs rounds of one run a command, after one warm-up round"
  echo "load before: $(cut -d' ' -f1-3 /proc/loadavg) (1, 5, 15 minutes)"
} | tee "$results/conditions.txt"

if [ "$shapes_only" = 0 ] && [ "$only_threads" = 0 ]; then
# --- the commands -----------------------------------------------------------
# Each entry: search name, tool, command line (split like a shell would).
rg="rg -j1 --no-ignore"
commands=(
  "read floor"           "5120-byte reads"  "$floor5k $tree"
  "read floor"           "256 KiB reads"    "$floor256k $tree"

  "rare literal"         fyndle  "$one $fyndle -s pthread_mutex $tree"
  "rare literal"         rg      "$rg -n -i -F pthread_mutex $tree"
  "rare literal"         grep    "grep -r -n -i -F pthread_mutex $tree"

  "frequent literal"     fyndle  "$one $fyndle -s struct $tree"
  "frequent literal"     rg      "$rg -n -i -F struct $tree"
  "frequent literal"     grep    "grep -r -n -i -F struct $tree"

  "struct -c"          fyndle  "$one $fyndle -s -c struct $tree"
  "struct -c"          rg      "$rg -n -s -F struct $tree"
  "struct -c"          grep    "grep -r -n -F struct $tree"

  "struct -w"          fyndle  "$one $fyndle -s -w struct $tree"
  "struct -w"          rg      "$rg -n -i -w -F struct $tree"
  "struct -w"          grep    "grep -r -n -i -w -F struct $tree"

  "struct -b"          fyndle  "$one $fyndle -s -b struct $tree"
  "struct -b"          rg      "$rg -i -F -b -o struct $tree"
  "struct -b"          grep    "grep -r -i -F -b -o struct $tree"

  "struct -f"          fyndle  "$one $fyndle -s -f struct $tree"
  "struct -f"          rg      "$rg -c -i -F struct $tree"
  "struct -f"          grep    "grep -r -c -i -F struct $tree"

  "lines -l"           fyndle  "$one $fyndle -s -l $tree"
  "lines -l"           rg      "$rg -c '' $tree"
  "lines -l"           grep    "grep -r -c '' $tree"

  "regex s[a-z]*_t"     fyndle  "$one $fyndle -s -r 's[a-z]*_t' $tree"
  "regex s[a-z]*_t"     rg      "$rg -n -i -e 's[a-z]*_t' $tree"
  "regex s[a-z]*_t"     grep    "grep -r -n -i -e 's[a-z]*_t' $tree"

  "regex [sS]truct"     fyndle  "$one $fyndle -s -r '[sS]truct' $tree"
  "regex [sS]truct"     rg      "$rg -n -i -e '[sS]truct' $tree"
  "regex [sS]truct"     grep    "grep -r -n -i -e '[sS]truct' $tree"
)

echo "command,lines" >"$results/outlines.csv"
# One untimed pass: every command's output in its own file, to check that
# the tools did comparable work (the line counts go into the table).
hyperfine_args=()
for ((i = 0; i < ${#commands[@]}; i += 3)); do
  search=${commands[i]} tool=${commands[i + 1]} cmd=${commands[i + 2]}
  file="$results/out/$(echo "$search-$tool" | tr -c 'A-Za-z0-9\n' '_').txt"
  eval "$cmd" >"$file" 2>&1 || true
  echo "$search~$tool,$(wc -l <"$file")" >>"$results/outlines.csv"
  hyperfine_args+=(-n "$search~$tool" "$cmd")
done

# The timed runs, side by side in one hyperfine run. -N: no shell, so the
# patterns reach the tools as written and no shell start-up is timed.
hyperfine -N -i --warmup 2 --runs "$runs" --style basic \
  --output "$results/hyperfine-output.txt" \
  --export-csv "$results/times.csv" --export-json "$results/times.json" \
  "${hyperfine_args[@]}" | tee "$results/hyperfine.log" | grep -E '^(Benchmark|  Time)' || true

echo "load after:  $(cut -d' ' -f1-3 /proc/loadavg)" | tee -a "$results/conditions.txt"

# --- the table ---------------------------------------------------------------
# Medians; each row's ratio to the 5120-byte read floor and to rg -j1 of the
# same search; and, for fyndle, whether its target is met.
awk -F, '
  FNR == 1 { next }
  FILENAME ~ /outlines/ { lines[$1] = $2; next }
  {
    split($1, key, "~"); s = key[1]; t = key[2]
    median[s, t] = $4 * 1000
    if (!(s in seen)) { seen[s] = 1; order[++n] = s }
    tools[s] = tools[s] (tools[s] == "" ? "" : "~") t
  }
  END {
    base = median["read floor", "5120-byte reads"]
    printf "%-20s %-16s %10s %9s %8s %11s  %s\n", "search", "tool", "median ms", "x floor", "x rg", "out lines", "target"
    for (i = 1; i <= n; i++) {
      s = order[i]
      m = split(tools[s], list, "~")
      for (j = 1; j <= m; j++) {
        t = list[j]; v = median[s, t]
        rgv = ((s, "rg") in median) ? median[s, "rg"] : 0
        xrg = rgv > 0 ? sprintf("%.2f", v / rgv) : "-"
        target = ""
        if (t == "fyndle") {
          if (s == "rare literal")
            target = (v <= 1.15 * base && v < rgv) ? "met (<=1.15x floor, < rg)" : "MISSED (<=1.15x floor, < rg)"
          else if (s == "frequent literal")
            target = (v < rgv) ? "met (< rg)" : "MISSED (< rg)"
          else
            target = (v <= 2 * base) ? "met (<=2x floor)" : "MISSED (<=2x floor)"
        }
        printf "%-20s %-16s %10.1f %9.2f %8s %11s  %s\n", (j == 1 ? s : ""), t, v, v / base, xrg, lines[s "~" t], target
      }
    }
  }' "$results/outlines.csv" "$results/times.csv" | tee "$results/table.txt"

# --- memory ------------------------------------------------------------------
peak_kib() {  # peak resident set of a command, in KiB; its output goes to $1
  local out=$1; shift
  /usr/bin/time -v "$@" 2>"$results/time-v.txt" >"$out" || true
  awk -F': ' '/Maximum resident set size/ { print $2 }' "$results/time-v.txt"
}
{
  echo
  echo "peak memory (maximum resident set size, /usr/bin/time -v):"
  printf '  %-44s %8s KiB\n' "fyndle -s struct $tree" "$(peak_kib "$results/out/mem-frequent.txt" "$fyndle" -s struct "$tree")"
  printf '  %-44s %8s KiB\n' "read_floor_5k $tree" "$(peak_kib "$results/out/mem-floor.txt" "$floor5k" "$tree")"
} | tee "$results/memory.txt"

if [ "$big" = 1 ]; then
  work=$(mktemp -d "${TMPDIR:-/tmp}/fyndle-bench.XXXXXX")
  trap 'rm -rf "$work"' EXIT
  mkdir "$work/small" "$work/big"
  # Header text, 64 MiB of it, repeated up to exactly 1 GiB.
  find "$tree" -type f -name '*.h' -print0 | xargs -0 cat | head -c 64M >"$work/chunk" || true
  : >"$work/big/big.txt"
  while [ "$(stat -c %s "$work/big/big.txt")" -lt 1073741824 ]; do cat "$work/chunk" >>"$work/big/big.txt"; done
  truncate -s 1G "$work/big/big.txt"
  head -c 1M "$work/chunk" >"$work/small/small.txt"
  rm "$work/chunk"
  {
    printf '  %-44s %8s KiB\n' "fyndle pthread_mutex <1 MiB file>" "$(peak_kib "$results/out/mem-small.txt" "$fyndle" pthread_mutex "$work/small/small.txt")"
    printf '  %-44s %8s KiB\n' "fyndle pthread_mutex <1 GiB file>" "$(peak_kib "$results/out/mem-big.txt" "$fyndle" pthread_mutex "$work/big/big.txt")"
    printf '  %-44s %8s KiB\n' "fyndle -b struct <1 GiB file>" "$(peak_kib "$results/out/mem-big-b.txt" "$fyndle" -b struct "$work/big/big.txt")"
  } | tee -a "$results/memory.txt"

  echo
  echo "one 1 GiB file (medians of 5 runs after 1 warm-up):"
  hyperfine -N -i --warmup 1 --runs 5 --style basic \
    --output "$results/hyperfine-output-big.txt" --export-csv "$results/times-big.csv" \
    -n "5120-byte reads" "$floor5k $work/big" \
    -n "256 KiB reads" "$floor256k $work/big" \
    -n "fyndle" "$fyndle -s pthread_mutex $work/big" \
    -n "rg" "$rg -n -i -F pthread_mutex $work/big" >"$results/hyperfine-big.log" || true
  awk -F, 'FNR == 1 { next } { m[++n] = $4 * 1000; name[n] = $1 }
    END { for (i = 1; i <= n; i++) printf "  %-18s %10.1f ms %6.2f x floor\n", name[i], m[i], m[i] / m[1] }' \
    "$results/times-big.csv" | tee "$results/table-big.txt"
fi

fi # not --shapes or --threads only

# Times commands (hyperfine's -n label command pairs) in rounds: each
# round runs every command once, in turn, so that the machine's speed
# drifting during a group (its page cache is trimmed and refilled as it
# goes) moves them all alike. Writes times-NAME.csv with each command's
# median over the rounds, in hyperfine's columns; the log goes to
# hyperfine-NAME.log. OUTPUT is a file for the commands' output, or null.
in_rounds() {  # name warm-up-runs prepare-command-or-empty output pairs...
  local name=$1 warmup=$2 prepare=$3 output=$4; shift 4
  local options=(-N --output "$output")
  [ -n "$prepare" ] && options=(--prepare "$prepare" --output "$output")
  : >"$results/hyperfine-$name.log"
  [ "$warmup" -gt 0 ] && hyperfine -i "${options[@]}" --warmup "$warmup" --runs 1 --style basic \
    "$@" >>"$results/hyperfine-$name.log" 2>&1
  for ((round = 1; round <= runs; round++)); do
    hyperfine -i "${options[@]}" --runs 1 --style basic --export-csv "$results/times-$name-round-$round.csv" "$@" >>"$results/hyperfine-$name.log" 2>&1 || true
  done
  awk -F, 'FNR == 1 { next }
    { if (!($1 in seen)) { seen[$1] = 1; order[++n] = $1 } t[$1, ++k[$1]] = $4 }
    END {
      print "command,mean,stddev,median"
      for (i = 1; i <= n; i++) {
        c = order[i]; m = k[c]
        for (a = 1; a <= m; a++) v[a] = t[c, a]
        for (a = 2; a <= m; a++) for (b = a; b > 1 && v[b - 1] > v[b]; b--) { x = v[b]; v[b] = v[b - 1]; v[b - 1] = x }
        printf "%s,,,%.9f\n", c, m % 2 ? v[(m + 1) / 2] : (v[m / 2] + v[m / 2 + 1]) / 2
      }
    }' "$results/times-$name-round-"*.csv >"$results/times-$name.csv"
}

if [ "$only_threads" = 0 ]; then
# --- pattern shapes on one core ---------------------------------------------
# Over the tree: each -r shape of fyndle beside rg -j1 -i on the same regex,
# both pinned to one CPU, against the 256 KiB read floor: fyndle at most 2 x
# the floor and at most 0.8 x rg. Over one-line files of 10 MiB
# (bench/make-long-lines.sh): -r shapes whose attempts run long, against a
# rare literal over the same file, at most 5 x.
shape_group() {  # name factor base-label base-command (label command)...
  local name=$1 factor=$2; shift 2
  local args=() labels=()
  while [ $# -gt 0 ]; do args+=(-n "$1" "$2"); labels+=("$1"); shift 2; done
  in_rounds "$name" 1 "" null "${args[@]}"
  awk -F, -v factor="$factor" 'FNR == 1 { next }
    { if ($1 ~ /^"/) { $1 = substr($1, 2, length($1) - 2); gsub(/""/, "\"", $1) }
      m[++n] = $4 * 1000; label[n] = $1 }
    END {
      printf "%-28s %10s %8s  %s\n", "fyndle -r (one core)", "median ms", "x base", "target"
      for (i = 1; i <= n; i++) {
        target = i == 1 ? "(base)" : (m[i] <= factor * m[1] ? "met" : "MISSED") sprintf(" (<=%gx)", factor)
        printf "%-28s %10.1f %8.2f  %s\n", label[i], m[i], m[i] / m[1], target
      }
    }' "$results/times-$name.csv" | tee "$results/table-$name.txt"
}

echo
echo "pattern shapes over $tree, one core, beside rg -j1 -i:"
# The bench's own shapes, then shapes of the kinds that were slow: a
# frequent first element with a rarer literal after it, a run that ends
# at a line end, bracketed runs with many reports, patterns that never
# match (a '+' past the first element fails at the first byte it refuses),
# a star that refuses two bytes (walked back over in blocks, not by the
# one-byte search) and a run of four ranges once folded (a byte loop).
shapes=('[^ ]*_t ' '[A-Z_]*MAX' '[a-z]+_lock' 'str[^;]*;' '[sS][a-z]*_t' '#[ ]*define' 'return[ ]*-1;$'
        '"[^"]*\.h"' '\~ [a-z]*_t;$' 'p[a-z_]*mutex_[lt]' '\#[ ]*include[ ]*<'
        '[st]truct[ ]*[a-z]*' 'const[ ]*char' ';[ ]*$' '[ ]*\\$' '[a-z][^;]*;' '/[^/]*/' 'int[ ]+main'
        '[a-z][^ ;]*;' 's[a-z0-9.]*_t')
args=(-n "256 KiB reads" "$floor256k $tree")
for shape in "${shapes[@]}"; do
  args+=(-n "$shape|fyndle" "$one $fyndle -s -r '$shape' $tree" -n "$shape|rg" "$one rg -j1 --no-ignore -n -i -e '$shape' $tree")
done
in_rounds shapes 1 "" null "${args[@]}"
# Labels hold shapes: a CSV field in quotes when a shape has one.
awk -F, 'FNR == 1 { next }
  { if ($1 ~ /^"/) { $1 = substr($1, 2, length($1) - 2); gsub(/""/, "\"", $1) }
    m[++n] = $4 * 1000; label[n] = $1 }
  END {
    floor = m[1]
    printf "%-24s %11s %11s %8s %8s  %s\n", "shape (one core)", "fyndle ms", "rg ms", "x floor", "x rg", "target"
    for (i = 2; i + 1 <= n; i += 2) {
      split(label[i], key, "|")
      ok = m[i] <= 2 * floor && m[i] <= 0.8 * m[i + 1]
      printf "%-24s %11.1f %11.1f %8.2f %8.2f  %s\n", key[1], m[i], m[i + 1], m[i] / floor, m[i] / m[i + 1],
        (ok ? "met" : "MISSED") " (<=2x floor, <=0.8x rg)"
    }
    printf "%-24s %11.1f\n", "(256 KiB read floor)", floor
  }' "$results/times-shapes.csv" | tee "$results/table-shapes.txt"

lines=$build/long-lines
[ -s "$lines/sparse/sparse.txt" ] || { "$here/make-long-lines.sh" "$lines/tmp"; for file in letters words sparse; do
  mkdir -p "$lines/$file"; mv "$lines/tmp/$file.txt" "$lines/$file/"; done; rmdir "$lines/tmp"; }
for file in letters words sparse; do
  echo
  echo "one line of 10 MiB ($file.txt), one core:"
  group=("rare literal zqxjkv" "$one $fyndle zqxjkv $lines/$file $file.txt")
  for shape in '[a-z]*_q' '[a-z]+x' '[^"]*"q' 'x[a-z]*_q' 'q[^;]*;' '[^ ]*_t ' 'k[a-z]*[^a-z]' '[qx][a-z]*_' \
               '[st]truct[ ]*[a-z]*' '[ ]*$' '[a-z][^;]*;' '/[^/]*/' 'x[a-z]*_[a-z]*;'; do
    group+=("$shape" "$one $fyndle -r '$shape' $lines/$file $file.txt")
  done
  shape_group "$file" 5 "${group[@]}"
done
fi # not --threads only

if [ "$shapes_only" = 0 ]; then
# fyndle on every CPU against rg as it starts (its own threads), warm and,
# where the page cache can be dropped (root), cold; and fyndle pinned to one
# CPU. The runs of these rows are taken in rounds (see thread_group). Targets on the literals: fyndle at most 0.8 times rg warm (and at
# least 1.6 times faster than itself on one CPU), at most 0.6 times rg cold.
# One row runs under an open-file limit of 24, where each thread's share
# of the descriptors cuts the files a claim takes; as root, one runs as an
# unprivileged user allowed one process, where no second thread can start;
# one starts at a relative path of about 4.9 KB, opened piece by piece.
# These are timed, with no target.
deep=$results/deep
deep_path=$(printf "d%.0s" {1..199})
deep_path=$(for i in $(seq 10 33); do printf '%s%s/' "$deep_path" "$i"; done)
mkdir -p "$deep/$deep_path"
# cp takes the path whole, and whole it is past the kernel's path limit: go half way down first.
[ -d "$tree/linux" ] && (cd "$deep/${deep_path:0:2424}" && cp -r "$tree/linux" "${deep_path:2424}")
no_thread=()
[ "$(id -u)" = 0 ] && no_thread=(-n "frequent literal~fyndle 1 process"
  "setpriv --reuid=65534 --regid=65534 --clear-groups prlimit --nproc=1 $fyndle -s struct $tree")
thread_group() {  # name rg-factor warm|cold
  local name=$1 factor=$2 mode=$3
  local rgt="rg --no-ignore"
  local commands=(
    -n "rare literal~fyndle" "$fyndle -s pthread_mutex $tree" -n "rare literal~rg" "$rgt -n -i -F pthread_mutex $tree"
    -n "rare literal~fyndle 1 CPU" "taskset -c 0 $fyndle -s pthread_mutex $tree"
    -n "frequent literal~fyndle" "$fyndle -s struct $tree" -n "frequent literal~rg" "$rgt -n -i -F struct $tree"
    -n "frequent literal~fyndle 1 CPU" "taskset -c 0 $fyndle -s struct $tree"
    -n "frequent literal~fyndle 24 files" "sh -c 'ulimit -n 24; exec $fyndle -s struct $tree'" "${no_thread[@]}"
    -n "long start path~fyndle" "sh -c 'cd $deep && exec $fyndle -s struct $deep_path'"
    -n "regex s[a-z]*_t~fyndle" "$fyndle -s -r 's[a-z]*_t' $tree" -n "regex s[a-z]*_t~rg" "$rgt -n -i -e 's[a-z]*_t' $tree")
  local prepare=""
  [ "$mode" = cold ] && prepare='sync; echo 3 > /proc/sys/vm/drop_caches'
  in_rounds "$name" "$([ "$mode" = warm ] && echo 2 || echo 0)" "$prepare" "$results/hyperfine-output-$name.txt" \
    "${commands[@]}"
  awk -F, -v factor="$factor" -v warm="$([ "$name" = threads-warm ] && echo 1 || echo 0)" 'FNR == 1 { next }
    { split($1, key, "~"); m[$1] = $4 * 1000; row[++n] = $1 }
    END {
      printf "%-20s %-16s %10s %8s %8s  %s\n", "search", "tool", "median ms", "x rg", "x 1 CPU", "target"
      for (i = 1; i <= n; i++) {
        split(row[i], key, "~"); rgv = m[key[1] "~rg"]; one = m[key[1] "~fyndle 1 CPU"]
        target = ""
        if (key[2] == "fyndle" && key[1] ~ /literal/) {
          met = m[row[i]] <= factor * rgv && (!warm || 1.6 * m[row[i]] <= one)
          target = sprintf("%s (<=%gx rg%s)", met ? "met" : "MISSED", factor, warm ? ", 1.6x faster than 1 CPU" : "")
        }
        ratio = (one > 0 && key[2] == "fyndle") ? sprintf("%.2f", m[row[i]] / one) : "-"
        torg = rgv > 0 ? sprintf("%.2f", m[row[i]] / rgv) : "-"
        printf "%-20s %-16s %10.1f %8s %8s  %s\n", key[1], key[2], m[row[i]], torg, ratio, target
      }
    }' "$results/times-$name.csv" | tee "$results/table-$name.txt"
}

echo
echo "threads, warm cache (load $(cut -d' ' -f1 /proc/loadavg)):"
thread_group threads-warm 0.8 warm
echo
if [ "$(id -u)" = 0 ] && [ -w /proc/sys/vm/drop_caches ]; then
  echo "threads, cold cache, page cache, dentries and inodes dropped before every run (load $(cut -d' ' -f1 /proc/loadavg)):"
  thread_group threads-cold 0.6 cold
else
  echo "threads, cold cache: skipped (dropping the page cache needs root and /proc/sys/vm/drop_caches)"
fi

if [ "$only_threads" = 1 ]; then
  echo
  echo "peak memory on every CPU (maximum resident set size, /usr/bin/time -v):"
  for search in "-s struct" "-s -b struct" "-s -v -l"; do
    # shellcheck disable=SC2086 # the options are split on purpose
    /usr/bin/time -v "$fyndle" $search "$tree" 2>"$results/time-v.txt" >/dev/null || true
    printf '  %-44s %8s KiB\n' "fyndle $search $tree" "$(awk -F': ' '/Maximum resident/ { print $2 }' "$results/time-v.txt")"
  done | tee "$results/memory-threads.txt"
fi
fi # not --shapes only
echo "load at end: $(cut -d' ' -f1-3 /proc/loadavg)" | tee -a "$results/conditions.txt"

if [ "$micro" = 1 ]; then
  "$build/bench/bench_micro" --benchmark_repetitions=5 --benchmark_report_aggregates_only=true \
    | tee "$results/micro.txt"
fi
echo "results in $results"
