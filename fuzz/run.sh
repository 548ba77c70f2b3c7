#!/usr/bin/env bash
# Fuzzes the zip reader for SECONDS seconds (default 60) under ASan and UBSan.
#   fuzz/run.sh 60                 a minute, as CI does
#   fuzz/run.sh 1800 -fork=2       half an hour on two cores (one CPU-hour)
# Further arguments go to libFuzzer. The target is built into build/fuzz with
# clang first. Every input in fuzz/reproducers/zip-reader is run once before
# fuzzing starts, so that a fixed finding stays fixed. A finding stops the run
# with a non-zero exit and leaves its input in build/fuzz/findings/; once fixed,
# keep the input in fuzz/reproducers/zip-reader and add a row to the reading tests.
# Inputs that reach new code collect in build/fuzz/corpus; fuzz/corpus/zip-reader,
# the seed corpus (fuzz/make-corpus.py), and fuzz/corpus/zip-reader-found, what
# earlier long runs found (merged with -merge=1), are only read.
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-60}
shift || true

cmake -S . -B build/fuzz -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ -DMOKUZA_SANITIZE=fuzzer >/dev/null
cmake --build build/fuzz --target fuzz-zip-reader
fuzzer=build/fuzz/fuzz/fuzz-zip-reader

export ASAN_OPTIONS=halt_on_error=1:detect_leaks=1
export UBSAN_OPTIONS=halt_on_error=1:print_stacktrace=1
if command -v llvm-symbolizer >/dev/null; then
  export ASAN_SYMBOLIZER_PATH=$(command -v llvm-symbolizer)
fi
# Extracted files are written and removed for every input: memory, not disk.
if [ -d /dev/shm ] && [ -w /dev/shm ]; then
  export TMPDIR=/dev/shm
fi

# The target caps the size of every file the process writes (RLIMIT_FSIZE)
# and ignores the signal that the cap raises, so that an extracted file past
# it fails like one on a full disk: libFuzzer must not turn that signal into
# a failure of its own (-handle_xfsz=0). The cap would also silence the
# fuzzer's reports once a log file that stands for standard output or error
# (a CI log, say) is past it: its output goes through a pipe, to which the
# cap does not apply.
shopt -s nullglob
reproducers=(fuzz/reproducers/zip-reader/*)
if [ ${#reproducers[@]} -gt 0 ]; then
  "$fuzzer" -handle_xfsz=0 -rss_limit_mb=2048 -malloc_limit_mb=1024 "${reproducers[@]}" 2>&1 | cat
fi

mkdir -p build/fuzz/corpus build/fuzz/findings
"$fuzzer" -max_total_time="$seconds" -handle_xfsz=0 -rss_limit_mb=2048 -malloc_limit_mb=1024 -timeout=30 \
  -max_len=65536 -print_final_stats=1 -artifact_prefix=build/fuzz/findings/ "$@" \
  build/fuzz/corpus fuzz/corpus/zip-reader fuzz/corpus/zip-reader-found 2>&1 | cat
