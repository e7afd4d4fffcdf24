#!/usr/bin/env bash
# lint.sh: fails unless every source is formatted as .clang-format says and clang-tidy, cppcheck and GCC's analyzer
# report nothing.
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

# Only what the asan preset compiles: clang-tidy needs the compiler's command line, and it must be Clang's.
cmake --preset asan --log-level=WARNING
compiled=$(grep -oP '"file": "\K[^"]*\.cpp' build/asan/compile_commands.json | sort -u)
xargs -P"$(nproc)" -n4 clang-tidy -p build/asan --quiet <<<"$compiled"
echo "lint: ${#sources[@]} files formatted, $(wc -l <<<"$compiled") examined"
