#!/bin/sh
# The library's bulk-text table: builds bench_micro in Release in build-bench/
# (as bench/run.sh does) and prints, for each library row of the
# microbenchmarks (in-place and copying replace, case-insensitive helpers,
# UTF-8 converters, matrix copies), its median CPU time beside the median
# of its anchor (the row of the same name with ...Anchor, the C or C++
# library code a user would write instead) and the ratio of the two. Rows
# without an anchor (A2T_dup) print its place empty.
#
#   bench/lib_speed.sh [repetitions]     default 5
#
# Build folder: FYNDLE_BENCH_BUILD (default build-bench).
set -eu

here=$(cd "$(dirname "$0")" && pwd)
root=$(dirname "$here")
build=${FYNDLE_BENCH_BUILD:-$root/build-bench}
repetitions=${1:-5}

cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DFYNDLE_BENCH=ON -DFYNDLE_TESTS=OFF >/dev/null
cmake --build "$build" -j2 --target bench_micro >/dev/null

echo "# $(date -u '+%Y-%m-%d %H:%M UTC'); load: $(cut -d' ' -f1-3 /proc/loadavg); $repetitions repetitions, medians"
"$build/bench/bench_micro" --benchmark_filter='StrRep|TcsRep|NoCase|EndsWith|DHex|UTF8_|A2T_dup|MatCpy|MatCopyVecc|VeccCopyMat' \
  --benchmark_repetitions="$repetitions" --benchmark_report_aggregates_only=true --benchmark_format=csv 2>/dev/null |
  awk -F, '
    NR > 1 && $1 !~ /_(mean|stddev|cv)"$/ {
      name = $1; gsub(/"/, "", name); sub(/_median$/, "", name)
      size = "-"
      if (split(name, part, "/") == 2) { name = part[1]; size = part[2] }
      if (name ~ /Anchor$/) {
        sub(/_[A-Za-z]+Anchor$/, "", name)
        anchor[name SUBSEP size] = $4
      } else {
        order[++rows] = name SUBSEP size
        own[name SUBSEP size] = $4
      }
    }
    END {
      printf "| %-28s | %8s | %14s | %14s | %6s |\n", "row", "bytes", "ns (library)", "ns (anchor)", "ratio"
      printf "|%s|%s|%s|%s|%s|\n", "------------------------------", "----------", "----------------", "----------------", "--------"
      for (k = 1; k <= rows; ++k) {
        split(order[k], key, SUBSEP)
        a = anchor[order[k]]
        printf "| %-28s | %8s | %14.0f | %14s | %6s |\n", substr(key[1], 4), key[2], own[order[k]],
               a == "" ? "" : sprintf("%.0f", a), a == "" ? "" : sprintf("%.2f", own[order[k]] / a)
      }
    }'
