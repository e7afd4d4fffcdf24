#!/usr/bin/env bash
# test.sh: the whole examination. Builds with GCC and runs every test, then once more with Clang under the address,
# undefined-behaviour and leak sanitizers; in both a warning is an error. Ends with CTest's count of tests passed.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh clang cmake g++ libclang-rt-14-dev libgtest-dev libssl-dev llvm ninja-build openssl parallel

# examine PRESET: configures, builds and tests.
examine() {
  echo "== $1"
  cmake --preset "$1" --log-level=WARNING
  cmake --build --preset "$1"
  ctest --preset "$1"
}
examine dev
examine asan
