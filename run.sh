#!/usr/bin/env bash
# Installs what is missing, builds MOKUZA-FULL (Release) and starts it.
# With paths, the application starts to open them (compress or extract).
set -euo pipefail
# Paths are the caller's: make them absolute before leaving the caller's folder.
args=()
for arg in "$@"; do
  case "$arg" in
    /*) args+=("$arg") ;;
    *) args+=("$PWD/$arg") ;;
  esac
done
cd "$(dirname "$0")"
bash scripts/install-deps.sh
cmake -S . -B build/release -G Ninja -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build build/release --target mokuza-full
exec ./build/release/mokuza-full "${args[@]}"
