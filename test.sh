#!/usr/bin/env bash
# Installs what is missing, builds everything and runs the whole suite.
# Exits non-zero when anything fails. Extra arguments go to ctest
# (e.g. ./test.sh -R Settings, ./test.sh -L zip).
set -euo pipefail
cd "$(dirname "$0")"
bash scripts/install-deps.sh
cmake -S . -B build/test -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build/test
cd build/test
ctest --output-on-failure --timeout 1800 -j"$(nproc)" "$@"
