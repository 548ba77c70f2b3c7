#!/usr/bin/env bash
# Builds and runs the suite under a sanitizer; any report fails the run.
#   scripts/sanitize.sh address [ctest arguments]   ASan + UBSan, all but Slow/ (build/asan)
#   scripts/sanitize.sh thread  [ctest arguments]   TSan, the threaded tests   (build/tsan)
# Extra arguments go to ctest (e.g. -R Placement).
set -euo pipefail
cd "$(dirname "$0")/.."
kind=${1:?address or thread}
shift
root=$PWD
supp=$root/scripts/sanitizers

case $kind in
  address)
    build=build/asan
    targets=(all)
    # The rows past 4 GiB (Slow/) move gigabytes through system libraries
    # that are not instrumented: minutes under ASan for nothing it can see.
    # The plain suite runs them.
    # The held-key rows time a real compositor's key events against the
    # application's start, which ASan slows several-fold; the plain suite runs them.
    tests=(-E 'Slow/|WaylandHeldKey')
    export ASAN_OPTIONS=halt_on_error=1:detect_leaks=1:detect_stack_use_after_return=1
    export UBSAN_OPTIONS=halt_on_error=1:print_stacktrace=1
    ;;
  thread)
    build=build/tsan
    # The threaded front ends, placement and runners; the rest of the suite
    # starts no threads of its own, and the 4 GiB and peer rows add time, not threads.
    # The task-bar row talks to a bus through QtDBus, whose own connection
    # thread hands objects over inside Qt where TSan cannot see it.
    targets=(test_zip test_archive test_unarchive)
    tests=(-L 'zip|archive|unarchive' -E 'Slow/|PeerArchive|WrittenArchive|TaskBar')
    # The peers the tests start are forked from threaded processes.
    export TSAN_OPTIONS=halt_on_error=1:second_deadlock_stack=1:die_after_fork=0:suppressions=$supp/tsan.supp
    ;;
  *)
    echo "usage: $0 address|thread [ctest arguments]" >&2
    exit 2
    ;;
esac

# -O1 and line tables only: what sanitizer reports need, and a cold build
# (CI) compiles markedly faster than with -O2 and full debug information.
cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DMOKUZA_SANITIZE="$kind" \
  "-DCMAKE_CXX_FLAGS_RELWITHDEBINFO=-O1 -g1 -DNDEBUG" "-DCMAKE_C_FLAGS_RELWITHDEBINFO=-O1 -g1 -DNDEBUG" >/dev/null
cmake --build "$build" --target "${targets[@]}"
cd "$build"
ctest --output-on-failure --timeout 1800 -j"$(nproc)" "${tests[@]}" "$@"
