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
set -euo pipefail

here=$(cd "$(dirname "$0")" && pwd)
build=$(cd "${1:-$here/../../build}" && pwd)
runs=${2:-3}
driver="$build/bench/jobs/mokuza-unarchive-job"
[[ -x "$driver" ]] || { echo "missing $driver (build the target mokuza-unarchive-job)" >&2; exit 2; }
command -v zip >/dev/null && command -v unzip >/dev/null || { echo "zip and unzip are needed" >&2; exit 2; }

base=/dev/shm
[[ -d $base && -w $base ]] || base=${TMPDIR:-/tmp}
work=$(mktemp -d "$base/mokuza-unarchive-job.XXXXXX")
job_tmp=${CROSS_DEVICE_TMP:-$work/tmp}
mkdir -p "$job_tmp"
job_tmp=$(mktemp -d "$job_tmp/mokuza-unarchive-tmp.XXXXXX")
trap 'rm -rf "$work" "$job_tmp"' EXIT

python3 "$here/../corpus.py" small "$work/corpus" 20000
(cd "$work" && zip -r -q -4 "$work/corpus.zip" corpus)
rm -rf "$work/corpus"

now() { date +%s%N; }
job_times=()
unzip_times=()
for ((i = 1; i <= runs; i++)); do
    start=$(now)
    TMPDIR="$job_tmp" "$driver" "$work/corpus.zip" "$work/job$i" >/dev/null
    job_times+=($(( ($(now) - start) / 1000000 )))

    start=$(now)
    unzip -q "$work/corpus.zip" -d "$work/unzip$i"
    unzip_times+=($(( ($(now) - start) / 1000000 )))
    echo "run $i: job ${job_times[-1]} ms, unzip ${unzip_times[-1]} ms"

    # Both hold the same tree with the same bytes.
    diff -r "$work/job$i" "$work/unzip$i" >/dev/null || { echo "the two extractions differ" >&2; exit 1; }
    rm -rf "$work/job$i" "$work/unzip$i"
done

median() { printf '%s\n' "$@" | sort -n | awk '{a[NR]=$1} END {print a[int((NR+1)/2)]}'; }
job_median=$(median "${job_times[@]}")
unzip_median=$(median "${unzip_times[@]}")
awk -v j="$job_median" -v u="$unzip_median" \
    'BEGIN { printf "median: job %d ms, unzip -q %d ms, ratio %.2f\n", j, u, j / u }'
