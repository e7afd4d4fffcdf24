#!/usr/bin/env bash
# sweep.sh [STEP]: makes every memory allocation (or every STEP-th) of each kind of call fail once, and then all from
# there on. Takes a quarter of an hour on an idle processor; CTest takes larger steps.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh cmake g++ libcli11-dev libgtest-dev libssl-dev ninja-build nlohmann-json3-dev
cmake --preset dev --log-level=WARNING
cmake --build --preset dev --target zepasign_host_tests
ZEPASIGN_SWEEP_STEP=${1:-1} build/dev/tests/zepasign_host_tests --gtest_filter='Failures.OfAllocations*'
