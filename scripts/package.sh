#!/usr/bin/env bash
# Builds MOKUZA-FULL (Release) and its Debian package, and prints the
# package's path. Install it with: sudo apt install ./build/release/mokuza-full_*.deb
# (`cmake --build build/release --target package` does the same after
# building everything, tests included; this builds only what is installed.)
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh
cmake -S . -B build/release -G Ninja -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build build/release --target mokuza-full mokuza mokuza_desktop_files
(cd build/release && cpack -G DEB >/dev/null)
ls "$PWD"/build/release/mokuza-full_*.deb
