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

# Wall and processor time (user + system) in milliseconds, "wall cpu".
timed() {
    /usr/bin/time -f '%e %U %S' -o "$work/time" "$@" >/dev/null
    awk '{ printf "%d %d\n", $1 * 1000, ($2 + $3) * 1000 }' "$work/time"
}
job_wall=(); job_cpu=(); zip_wall=(); zip_cpu=(); pair_ratios=()
for ((i = 1; i <= runs; i++)); do
    rm -f "$work/job/corpus.zip"
    read -r wall cpu < <(timed "$driver" "$work/corpus" "$work/job")
    job_wall+=("$wall"); job_cpu+=("$cpu")

    rm -f "$work/zip/corpus.zip"
    read -r wall cpu < <(cd "$work" && timed zip -r -q -4 "$work/zip/corpus.zip" corpus)
    zip_wall+=("$wall"); zip_cpu+=("$cpu")
    pair_ratios+=("$(awk -v j="${job_wall[-1]}" -v z="$wall" 'BEGIN { printf "%.3f", j / z }')")
    echo "run $i: job ${job_wall[-1]} ms (cpu ${job_cpu[-1]}), zip $wall ms (cpu $cpu), ratio ${pair_ratios[-1]}"
done

# Both archives must hold the same entries and pass a full test.
unzip -tqq "$work/job/corpus.zip"
diff <(zipinfo -1 "$work/job/corpus.zip" | sort) <(zipinfo -1 "$work/zip/corpus.zip" | sort) >/dev/null \
    || { echo "the two archives hold different entries" >&2; exit 1; }

median() { printf '%s\n' "$@" | sort -g | awk '{a[NR]=$1} END {print a[int((NR+1)/2)]}'; }
echo "archive sizes: job $(stat -c %s "$work/job/corpus.zip") bytes, zip $(stat -c %s "$work/zip/corpus.zip") bytes"
awk -v j="$(median "${job_wall[@]}")" -v z="$(median "${zip_wall[@]}")" \
    -v jc="$(median "${job_cpu[@]}")" -v zc="$(median "${zip_cpu[@]}")" -v r="$(median "${pair_ratios[@]}")" \
    'BEGIN { printf "median wall: job %d ms, zip -r -4 %d ms, ratio %.2f (median of run pairs %.2f)\n", j, z, j / z, r
             printf "median cpu:  job %d ms, zip -r -4 %d ms, ratio %.2f\n", jc, zc, jc / zc }'
