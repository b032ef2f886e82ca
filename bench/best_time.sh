# Sourced by the benchmark scripts.
# best COMMAND...: the best wall time in seconds of $runs runs of COMMAND, its
# output dropped. A shell function `prepare`, where the script defines one,
# runs before each run and is not timed.
best() {
  local best_time="" start end t
  for _ in $(seq "$runs"); do
    if declare -F prepare > /dev/null; then prepare; fi
    start=$(date +%s.%N)
    "$@" > /dev/null 2>&1
    end=$(date +%s.%N)
    t=$(awk -v a="$start" -v b="$end" 'BEGIN { printf "%.4f", b - a }')
    if [ -z "$best_time" ] || awk -v t="$t" -v b="$best_time" 'BEGIN { exit !(t < b) }'; then best_time=$t; fi
  done
  echo "$best_time"
}

# best_with_memory COMMAND...: "SECONDS KILOBYTES", the best wall time of $runs
# runs of COMMAND and the highest peak resident memory of those runs
# (GNU time's %M).
best_with_memory() {
  local best_time="" peak=0 start end t m out
  out=$(mktemp)
  for _ in $(seq "$runs"); do
    if declare -F prepare > /dev/null; then prepare; fi
    start=$(date +%s.%N)
    /usr/bin/time -f %M -o "$out" "$@" > /dev/null 2>&1
    end=$(date +%s.%N)
    t=$(awk -v a="$start" -v b="$end" 'BEGIN { printf "%.4f", b - a }')
    m=$(tail -n 1 "$out")
    [ "$m" -gt "$peak" ] && peak=$m
    if [ -z "$best_time" ] || awk -v t="$t" -v b="$best_time" 'BEGIN { exit !(t < b) }'; then best_time=$t; fi
  done
  rm -f "$out"
  echo "$best_time $peak"
}

# keep_best NAME SECONDS KILOBYTES: NAME_s becomes the lower of itself and
# SECONDS, NAME_kb the higher of itself and KILOBYTES; for benchmarks whose
# commands take turns, run by run, so that all meet the same load of the
# machine.
keep_best() {
  local time_var="${1}_s" peak_var="${1}_kb"
  if [ -z "${!time_var:-}" ] || awk -v t="$2" -v b="${!time_var}" 'BEGIN { exit !(t < b) }'; then
    printf -v "$time_var" '%s' "$2"
  fi
  if [ "$3" -gt "${!peak_var:-0}" ]; then printf -v "$peak_var" '%s' "$3"; fi
}

# work_folder NAME: $work, a new folder below BENCH_DIR (default /dev/shm,
# where a million small files come and go at the speed of memory; /tmp when
# that cannot be written), removed when the script ends; and $ini, a
# settings file there that holds the defaults.
work_folder() {
  local bench_dir=${BENCH_DIR:-/dev/shm}
  [ -d "$bench_dir" ] && [ -w "$bench_dir" ] || bench_dir=/tmp
  work=$(mktemp -d "$bench_dir/arcavera-$1-XXXXXX")
  trap 'rm -rf "$work"' EXIT
  ini="$work/bench.ini"
  : > "$ini"
}

# fingerprint FOLDER [FIND TESTS...]: "COUNT CHECKSUM" of the files below
# FOLDER that pass the tests: their relative names in order, then their
# contents in that order. Uses $work.
fingerprint() {
  local folder=$1
  shift
  (cd "$folder" && find . -type f "$@" | LC_ALL=C sort > "$work/names"
   { cat "$work/names"; xargs -d '\n' cat < "$work/names"; } | md5sum | cut -d' ' -f1 > "$work/sum"
   echo "$(wc -l < "$work/names") $(cat "$work/sum")")
}
