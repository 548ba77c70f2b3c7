#!/usr/bin/env bash
# Builds MOKUZA-FULL (Release) and its Debian package; prints the package's
# path. Install it with: sudo apt install ./build/release/mokuza-full_*.deb
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh
cmake -S . -B build/release -G Ninja -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build build/release --target package >/dev/null
ls "$PWD"/build/release/mokuza-full_*.deb
