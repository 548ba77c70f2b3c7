#!/usr/bin/env bash
# Times mokuza-engine against `zip -r -q -4` and `unzip -q` on the same data (and
# against `7z x` on an archive 7-Zip encrypted with AES-256) and prints the
# ratios, the archive sizes and the engine's peak memory.
#
#   bench/compare.sh                        20,000 small files, ~2 GB of large
#                                           files, 100,000 tiny files, one file
#                                           of 4.5 GiB (the large ones end to end)
#   MOKUZA_BENCH_QUICK=1 bench/compare.sh   a tenth of each corpus
#
# Environment:
#   MOKUZA_BENCH_DIR   where corpus and outputs live (default /dev/shm/mokuza-bench;
#                      the corpus is kept there for the next run)
#   MOKUZA_BENCH_WORK  where outputs go instead (default MOKUZA_BENCH_DIR/work): with
#                      the corpus on a disk, keep them on tmpfs (/dev/shm/...)
#   MOKUZA_BENCH_RUNS  timed runs of each tool per case (default 3; the median counts)
#   MOKUZA_ENGINE      a built mokuza-engine (default: built in build/bench)
#   MOKUZA_BENCH_BASELINE  an engine built from an earlier commit: the one-core
#                      cases then time it instead of zip (target: no slower)
#   MOKUZA_BENCH_CASES an extended regular expression; only cases whose label
#                      matches run (default: every case)
#
# Every case runs the two tools alternately (A B A B ...) after one untimed run
# of each, so the page cache is warm and slow phases of the machine hit both.
# Extraction goes to a new folder each time: creating many files right after
# deleting many is several times slower on ext4, and that must not land on one
# tool only. Ratios are engine / reference; the targets are in the last column.
# The "one core" cases pin both tools to the first processor (taskset -c 0):
# the engine's use of every core must not cost anything where there is one.
# Their target without MOKUZA_BENCH_BASELINE is the engine's ratio to zip
# measured before compression ran on several cores.
set -euo pipefail

here=$(cd "$(dirname "$0")" && pwd)
repo=$(dirname "$here")
quick=${MOKUZA_BENCH_QUICK:-0}
runs=${MOKUZA_BENCH_RUNS:-3}
base=${MOKUZA_BENCH_DIR:-/dev/shm/mokuza-bench}

if [ "$quick" != 0 ]; then
  scale=quick small_count=2000 large_mb=200 tiny_small=1000 tiny_large=10000 huge_mb=460 big_mb=460
else
  scale=full small_count=20000 large_mb=2048 tiny_small=10000 tiny_large=100000 huge_mb=4608 big_mb=4608
fi

for tool in zip unzip 7z python3 taskset /usr/bin/time; do
  command -v "$tool" >/dev/null || { echo "compare.sh: $tool is missing (scripts/install-deps.sh)" >&2; exit 2; }
done

cases=${MOKUZA_BENCH_CASES:-.}
baseline=${MOKUZA_BENCH_BASELINE:-}
engine=${MOKUZA_ENGINE:-}
if [ -z "$engine" ]; then
  cmake -S "$repo" -B "$repo/build/bench" -G Ninja -DCMAKE_BUILD_TYPE=Release >/dev/null
  cmake --build "$repo/build/bench" --target mokuza-engine >/dev/null
  engine="$repo/build/bench/bench/mokuza-engine"
fi

corpus="$base/corpus-$scale"
zips="$base/zips-$scale"
work=${MOKUZA_BENCH_WORK:-$base/work}
mkdir -p "$corpus" "$zips"
rm -rf "$work"
mkdir -p "$work"
trap 'rm -rf "$work"' EXIT

# --- corpus (deterministic; made once) --------------------------------------
# A corpus is made only when a selected case uses it.
uses() {
  case $1 in
    small | big) [[ "archive $1" =~ $cases || "archive $1 1 core" =~ $cases || "extract $1" =~ $cases ]] ;;
    large) [[ "archive $1" =~ $cases || "archive $1 1 core" =~ $cases || "extract $1" =~ $cases || "extract $1 aes" =~ $cases ]] ;;
    tiny-*) [[ "extract $1" =~ $cases ]] ;;
    huge) [[ memory =~ $cases ]] ;;
  esac
}
make_corpus() {
  local name=$1; shift
  uses "$name" || return 0
  if [ ! -e "$corpus/.$name.done" ]; then
    echo "making corpus $name ..." >&2
    rm -rf "${corpus:?}/$name"
    "$@"
    touch "$corpus/.$name.done"
  fi
}
make_corpus small python3 "$here/corpus.py" small "$corpus/small" "$small_count"
make_corpus large python3 "$here/corpus.py" large "$corpus/large" "$large_mb"
make_corpus tiny-small python3 "$here/corpus.py" tiny "$corpus/tiny-small" "$tiny_small"
make_corpus tiny-large python3 "$here/corpus.py" tiny "$corpus/tiny-large" "$tiny_large"
make_corpus big python3 "$here/corpus.py" single "$corpus/big" "$big_mb"
# One file of zeros without data blocks: only the engine's memory is of interest.
make_corpus huge bash -c "mkdir -p '$corpus/huge' && truncate -s ${huge_mb}M '$corpus/huge/huge.bin'"

for name in small large tiny-small tiny-large big; do
  if [ ! -e "$zips/$name.zip" ] && [[ "extract $name" =~ $cases ]]; then
    (cd "$corpus" && zip -r -q -4 "$zips/$name.zip.part" "$name" && mv "$zips/$name.zip.part" "$zips/$name.zip")
  fi
done

# The same large files as 7-Zip encrypts them when asked for AES (AE-2, deflate).
if [ ! -e "$zips/large-aes.zip" ] && [[ "extract large aes" =~ $cases ]]; then
  (cd "$corpus" && 7z a -tzip -bd -mem=AES256 -pmokuza "$zips/large-aes.zip.part" large >/dev/null \
     && mv "$zips/large-aes.zip.part" "$zips/large-aes.zip")
fi

# --- timing -------------------------------------------------------------------
# run_timed FILE CMD...: appends "seconds peak_kb" of one run to FILE.
run_timed() {
  local out=$1; shift
  /usr/bin/time -f '%e %M' -o "$work/time" "$@" >/dev/null 2>"$work/stderr" || {
    echo "compare.sh: failed: $*" >&2; cat "$work/stderr" >&2; exit 1; }
  cat "$work/time" >>"$out"
}

median() { sort -n | awk '{ v[NR] = $1 } END { print (NR % 2) ? v[(NR + 1) / 2] : (v[NR / 2] + v[NR / 2 + 1]) / 2 }'; }
peak_mb() { awk '{ if ($2 > m) m = $2 } END { printf "%.1f", m / 1024 }'; }

results="$work/results"
: >"$results"
counter=0

# compare LABEL TARGET KIND SOURCE [PIN]: KIND archive (SOURCE a corpus folder),
# extract (SOURCE a zip made by zip -4) or extract-aes (SOURCE a zip made by 7z
# with AES-256, the reference 7z x). PIN: run both tools on the first
# processor only, with the baseline engine as the reference when there is one.
compare() {
  local label=$1 target=$2 kind=$3 source=$4 pin=${5:-}
  [[ $label =~ $cases ]] || return 0
  local a="$work/a.times" b="$work/b.times" prefix=() reference=zip
  : >"$a"; : >"$b"
  if [ -n "$pin" ]; then
    prefix=(taskset -c 0)
    [ -n "$baseline" ] && reference=baseline
  fi
  for i in $(seq 0 "$runs"); do
    for tool in reference engine; do
      counter=$((counter + 1))
      local out="$work/out$counter" times=$a
      [ "$tool" = engine ] && times=$b
      [ "$i" = 0 ] && times="$work/warmup"
      if [ "$kind" = archive ]; then
        if [ "$tool" = engine ]; then
          run_timed "$times" "${prefix[@]}" "$engine" archive "$out.zip" --level 4 "$source"
          stat -c %s "$out.zip" >"$work/engine.size"
        elif [ "$reference" = baseline ]; then
          run_timed "$times" "${prefix[@]}" "$baseline" archive "$out.zip" --level 4 "$source"
          stat -c %s "$out.zip" >"$work/reference.size"
        else
          (cd "$(dirname "$source")" && run_timed "$times" "${prefix[@]}" zip -r -q -4 "$out.zip" "$(basename "$source")")
          stat -c %s "$out.zip" >"$work/reference.size"
        fi
        rm -f "$out.zip"
      elif [ "$kind" = extract-aes ]; then
        if [ "$tool" = reference ]; then
          run_timed "$times" "${prefix[@]}" 7z x -bd -y -pmokuza -o"$out" "$source"
        else
          run_timed "$times" "${prefix[@]}" "$engine" extract "$source" "$out" --password mokuza
        fi
        rm -rf "$out"
      else
        if [ "$tool" = reference ]; then
          run_timed "$times" "${prefix[@]}" unzip -q "$source" -d "$out"
        else
          run_timed "$times" "${prefix[@]}" "$engine" extract "$source" "$out"
        fi
        rm -rf "$out"
      fi
    done
  done
  local ref eng size=-
  ref=$(median <"$a"); eng=$(median <"$b")
  if [ "$kind" = archive ]; then
    size=$(awk -v e="$(cat "$work/engine.size")" -v r="$(cat "$work/reference.size")" 'BEGIN { printf "%.4f", e / r }')
  fi
  printf '%s\t%s\t%s\t%s\t%s\t%s\t%s\n' "$label" "$eng" "$ref" "$target" "$(peak_mb <"$b")" "$size" "$reference" >>"$results"
  cp "$b" "$work/$label.engine"
}

# One-core targets: the engine's ratios to zip measured on the code before
# deflate ran on several cores (or no slower than the baseline engine).
small_one_core=0.91 large_one_core=0.80
if [ -n "$baseline" ]; then
  small_one_core=1.00 large_one_core=1.00
fi

echo "timing ($scale corpus, $runs runs per tool) ..." >&2
compare "archive small" "0.70" archive "$corpus/small"
compare "archive large" "0.35" archive "$corpus/large"
compare "archive big" "0.40" archive "$corpus/big"
compare "archive small 1 core" "$small_one_core" archive "$corpus/small" pin
compare "archive large 1 core" "$large_one_core" archive "$corpus/large" pin
compare "extract small" "1.25" extract "$zips/small.zip"
compare "extract large" "1.25" extract "$zips/large.zip"
compare "extract large aes" "1.00" extract-aes "$zips/large-aes.zip"
compare "extract tiny-small" "1.25" extract "$zips/tiny-small.zip"
compare "extract tiny-large" "0.60" extract "$zips/tiny-large.zip"
compare "extract big" "0.25" extract "$zips/big.zip"

huge="$work/huge.times"
: >"$huge"
if [[ "memory" =~ $cases ]]; then
  for i in $(seq 1 "$runs"); do
    run_timed "$huge" "$engine" archive "$work/huge.zip" --level 4 "$corpus/huge/huge.bin"
    rm -f "$work/huge.zip"
  done
fi

# --- report --------------------------------------------------------------------
# size: the engine's archive over the reference's (target: within 1 %); the
# engine's peak memory must stay within 32 MB in every case.
echo
printf '%-22s %9s %12s %8s %8s %10s %8s\n' case engine_s reference_s ratio target engine_MB size
awk -F'\t' '{ ratio = $2 / $3; ok = ratio <= $4 && ($6 == "-" || $6 <= 1.01) && $5 <= 32
  printf "%-22s %9.2f %12.2f %8.3f %8s %10s %8s %s%s\n", $1, $2, $3, ratio, "<=" $4, $5, $6, (ok ? "ok" : "MISSED"), ($7 == "baseline" ? " (reference: baseline engine)" : "") }' "$results"
small_t=$(awk -F'\t' '$1 == "extract tiny-small" { print $2 }' "$results")
large_t=$(awk -F'\t' '$1 == "extract tiny-large" { print $2 }' "$results")
if [ -n "$small_t" ] && [ -n "$large_t" ]; then
  awk -v s="$small_t" -v l="$large_t" -v ns="$tiny_small" -v nl="$tiny_large" 'BEGIN {
    r = l / s; printf "%-22s %9.2f  (%d vs %d entries; target <= %d) %s\n", "scaling tiny", r, nl, ns, 1.1 * nl / ns, (r <= 1.1 * nl / ns ? "ok" : "MISSED") }'
fi
if [ -s "$huge" ]; then
  awk -v mb="$huge_mb" '{ if ($2 > m) m = $2; t = $1 } END {
    printf "%-22s %9.1f MB peak archiving a %d MB file (target < 64) %s\n", "memory", m / 1024, mb, (m / 1024 < 64 ? "ok" : "MISSED") }' "$huge"
fi
