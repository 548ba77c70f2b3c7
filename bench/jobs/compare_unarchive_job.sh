#!/usr/bin/env bash
# Times the whole unarchive job (extraction into the working folder, the
# runner window on the offscreen platform, placement of every item) against
# `unzip -q` on an archive of 20,000 files of 1-16 KiB. Runs alternate (job,
# unzip, job, unzip, …) into fresh folders on tmpfs, so neither sees the other's
# deleted inodes; the ratio of the medians is printed at the end.
#
#   bench/jobs/compare_unarchive_job.sh [BUILD_DIR] [RUNS]
#
# BUILD_DIR defaults to ./build (the driver is BUILD_DIR/bench/jobs/mokuza-unarchive-job),
# RUNS to 3. Everything lives under a private folder on /dev/shm (or $TMPDIR
# when /dev/shm is missing) that is removed afterwards; the job's working
# folder goes there too, as it does on systems whose /tmp is tmpfs. With
# CROSS_DEVICE_TMP=DIR the working folder goes to DIR instead, so every item
# is copied across file systems during placement.
#
# MOKUZA_JOB_ARCHIVE=ZIP times the job on that archive instead (say the one
# file of 4.5 GiB that bench/compare.sh makes); MOKUZA_JOB_REFERENCE=engine
# times the engine's own extraction (BUILD_DIR/bench/mokuza-engine extract)
# in place of unzip, which is what the job adds its working folder and
# placing to. With a given archive each output is removed right after its
# run (two of 4.5 GiB do not fit in memory at once) and the two are compared
# by their lists of paths and sizes; otherwise byte by byte.
set -euo pipefail

here=$(cd "$(dirname "$0")" && pwd)
build=$(cd "${1:-$here/../../build}" && pwd)
runs=${2:-3}
driver="$build/bench/jobs/mokuza-unarchive-job"
engine="$build/bench/mokuza-engine"
reference=${MOKUZA_JOB_REFERENCE:-unzip}
[[ -x "$driver" ]] || { echo "missing $driver (build the target mokuza-unarchive-job)" >&2; exit 2; }
[[ $reference != engine || -x "$engine" ]] || { echo "missing $engine (build the target mokuza-engine)" >&2; exit 2; }
command -v zip >/dev/null && command -v unzip >/dev/null || { echo "zip and unzip are needed" >&2; exit 2; }

base=/dev/shm
[[ -d $base && -w $base ]] || base=${TMPDIR:-/tmp}
work=$(mktemp -d "$base/mokuza-unarchive-job.XXXXXX")
job_tmp=${CROSS_DEVICE_TMP:-$work/tmp}
mkdir -p "$job_tmp"
job_tmp=$(mktemp -d "$job_tmp/mokuza-unarchive-tmp.XXXXXX")
trap 'rm -rf "$work" "$job_tmp"' EXIT

archive=${MOKUZA_JOB_ARCHIVE:-}
keep=0
if [[ -z $archive ]]; then
    keep=1
    python3 "$here/../corpus.py" small "$work/corpus" 20000
    (cd "$work" && zip -r -q -4 "$work/corpus.zip" corpus)
    rm -rf "$work/corpus"
    archive="$work/corpus.zip"
fi

now() { date +%s%N; }
listing() { (cd "$1" && find . -printf '%P %s %y\n' | sort); }
job_times=()
ref_times=()
for ((i = 1; i <= runs; i++)); do
    start=$(now)
    TMPDIR="$job_tmp" "$driver" "$archive" "$work/job$i" >/dev/null
    job_times+=($(( ($(now) - start) / 1000000 )))
    listing "$work/job$i" >"$work/job.list"
    [[ $keep == 1 ]] || rm -rf "$work/job$i"

    start=$(now)
    if [[ $reference == engine ]]; then
        "$engine" extract "$archive" "$work/ref$i" >/dev/null
    else
        unzip -q "$archive" -d "$work/ref$i"
    fi
    ref_times+=($(( ($(now) - start) / 1000000 )))
    listing "$work/ref$i" >"$work/ref.list"
    echo "run $i: job ${job_times[-1]} ms, $reference ${ref_times[-1]} ms"

    # Both hold the same tree with the same bytes (the same sizes).
    if [[ $keep == 1 ]]; then
        diff -r "$work/job$i" "$work/ref$i" >/dev/null || { echo "the two extractions differ" >&2; exit 1; }
    fi
    cmp -s "$work/job.list" "$work/ref.list" || { echo "the two extractions differ" >&2; exit 1; }
    rm -rf "$work/job$i" "$work/ref$i"
done

median() { printf '%s\n' "$@" | sort -n | awk '{a[NR]=$1} END {print a[int((NR+1)/2)]}'; }
job_median=$(median "${job_times[@]}")
ref_median=$(median "${ref_times[@]}")
awk -v j="$job_median" -v u="$ref_median" -v r="$reference" \
    'BEGIN { printf "median: job %d ms, %s %d ms, ratio %.2f\n", j, r, u, j / u }'
