#!/usr/bin/env bash
# Times the whole archive job (expansion, exclusion test, runner window on the
# offscreen platform, writer) against `zip -r -q -4` on a folder of 20,000
# files of 1-16 KiB. Runs alternate (job, zip, job, zip, …) so that both see
# the same machine state; the ratio of the medians is printed at the end.
#
#   bench/jobs/compare_archive_job.sh [BUILD_DIR] [RUNS]
#
# BUILD_DIR defaults to ./build (the driver is BUILD_DIR/bench/jobs/mokuza-archive-job),
# RUNS to 3. The corpus and the archives live under a private folder on
# /dev/shm (or $TMPDIR when /dev/shm is missing) that is removed afterwards.
set -euo pipefail

here=$(cd "$(dirname "$0")" && pwd)
build=$(cd "${1:-$here/../../build}" && pwd)
runs=${2:-3}
driver="$build/bench/jobs/mokuza-archive-job"
[[ -x "$driver" ]] || { echo "missing $driver (build the target mokuza-archive-job)" >&2; exit 2; }
command -v zip >/dev/null || { echo "zip is not installed" >&2; exit 2; }

base=/dev/shm
[[ -d $base && -w $base ]] || base=${TMPDIR:-/tmp}
work=$(mktemp -d "$base/mokuza-archive-job.XXXXXX")
trap 'rm -rf "$work"' EXIT

python3 "$here/../corpus.py" small "$work/corpus" 20000
mkdir -p "$work/job" "$work/zip"

now() { date +%s%N; }
job_times=()
zip_times=()
for ((i = 1; i <= runs; i++)); do
    rm -f "$work/job/corpus.zip"
    start=$(now)
    "$driver" "$work/corpus" "$work/job" >/dev/null
    job_times+=($(( ($(now) - start) / 1000000 )))

    rm -f "$work/zip/corpus.zip"
    start=$(now)
    (cd "$work" && zip -r -q -4 "$work/zip/corpus.zip" corpus)
    zip_times+=($(( ($(now) - start) / 1000000 )))
    echo "run $i: job ${job_times[-1]} ms, zip ${zip_times[-1]} ms"
done

# Both archives must hold the same entries and pass a full test.
unzip -tqq "$work/job/corpus.zip"
diff <(zipinfo -1 "$work/job/corpus.zip" | sort) <(zipinfo -1 "$work/zip/corpus.zip" | sort) >/dev/null \
    || { echo "the two archives hold different entries" >&2; exit 1; }

median() { printf '%s\n' "$@" | sort -n | awk '{a[NR]=$1} END {print a[int((NR+1)/2)]}'; }
job_median=$(median "${job_times[@]}")
zip_median=$(median "${zip_times[@]}")
echo "archive sizes: job $(stat -c %s "$work/job/corpus.zip") bytes, zip $(stat -c %s "$work/zip/corpus.zip") bytes"
awk -v j="$job_median" -v z="$zip_median" \
    'BEGIN { printf "median: job %d ms, zip -r -4 %d ms, ratio %.2f\n", j, z, j / z }'
