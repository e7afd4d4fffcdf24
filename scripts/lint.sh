#!/usr/bin/env bash
# lint.sh [--tidy]: fails unless every source is formatted as .clang-format says and cppcheck and GCC's analyzer have
# nothing to remark; with --tidy clang-tidy as well, which takes half an hour on two cores.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh clang clang-format clang-tidy cmake cppcheck g++ git libcli11-dev libgtest-dev libssl-dev \
  ninja-build nlohmann-json3-dev

mapfile -t sources < <(git ls-files '*.c' '*.cpp' '*.h')
clang-format --dry-run -Werror "${sources[@]}"

# readdirCalled: the C library's readdir keeps a state for each open directory, as POSIX requires since 2024.
# returnTempReference: cppcheck takes what a user-defined literal refers to for a temporary.
mapfile -t shipped < <(git ls-files '*.c' '*.cpp' ':!tests')
cppcheck -j"$(nproc)" --quiet --error-exitcode=1 --enable=warning,performance,portability --std=c++20 --library=posix \
  --inline-suppr --suppress=readdirCalled --suppress=returnTempReference -I. "${shipped[@]}"

# GCC's analyzer is made for C.
git ls-files 'examples/*.c' ':!*_windows.c' |
  xargs -P"$(nproc)" -I{} gcc -fanalyzer -Werror -O1 -Iapi -c -o /dev/null {}

# Only what the asan preset compiles: clang-tidy needs the compiler's command line, and it must be Clang's. Each source by
# itself: the analyzer passes over what is included.
tidy() {
  cmake --preset asan -B build/tidy -DCMAKE_UNITY_BUILD=OFF --log-level=WARNING
  cmake --build build/tidy --target zepasign_build_id
  grep -oP '"file": "\K[^"]*\.cpp' build/tidy/compile_commands.json | sort -u |
    xargs -P"$(nproc)" -n4 clang-tidy -p build/tidy --quiet
}
[ "${1-}" != --tidy ] || tidy
echo "lint: ${#sources[@]} files formatted, ${#shipped[@]} examined"
