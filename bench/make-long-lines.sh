#!/usr/bin/env bash
# bench/make-long-lines.sh DIR: makes two 10 MiB files of one line each (no
# newline at all) in DIR, the same bytes on every run:
#   letters.txt  random lower-case letters
#   words.txt    random lower-case words between blanks, with a '_', ';' or
#                '"' now and then
#   sparse.txt   random lower-case letters with a '_' every 50 KiB, so that
#                a pattern's first byte often lies beyond the carried run
# Long-attempt patterns over them show whether the search stays linear when
# every window is one unfinished line.
set -euo pipefail
dir=${1:?usage: $0 DIR}
mkdir -p "$dir"
awk 'BEGIN {
  srand(13); n = 10 * 1048576; s = ""
  for (i = 0; i < n; i++) { s = s sprintf("%c", 97 + int(rand() * 26)); if (length(s) >= 65536) { printf "%s", s; s = "" } }
  printf "%s", s
}' >"$dir/letters.txt"
awk 'BEGIN {
  srand(17); n = 10 * 1048576; s = ""; punct = "_;\""
  for (i = 0; i < n; i++) {
    r = rand()
    if (r < 0.15) c = " "; else if (r < 0.16) c = substr(punct, 1 + int(rand() * 3), 1); else c = sprintf("%c", 97 + int(rand() * 26))
    s = s c
    if (length(s) >= 65536) { printf "%s", s; s = "" }
  }
  printf "%s", s
}' >"$dir/words.txt"
awk 'BEGIN {
  srand(19); n = 10 * 1048576; s = ""
  for (i = 1; i <= n; i++) { s = s (i % 51200 == 0 ? "_" : sprintf("%c", 97 + int(rand() * 26))); if (length(s) >= 65536) { printf "%s", s; s = "" } }
  printf "%s", s
}' >"$dir/sparse.txt"
