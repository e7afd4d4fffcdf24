#!/usr/bin/env bash
# lint.sh: fails unless every source is formatted as .clang-format says and clang-tidy has nothing to remark.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh clang clang-format clang-tidy cmake g++ git libgtest-dev libssl-dev ninja-build

mapfile -t sources < <(git ls-files '*.c' '*.cpp' '*.h')
clang-format --dry-run -Werror "${sources[@]}"

# Only what the asan preset compiles: clang-tidy needs the compiler's command line, and it must be Clang's.
cmake --preset asan --log-level=WARNING
compiled=$(grep -oP '"file": "\K[^"]*\.cpp' build/asan/compile_commands.json | sort -u)
xargs -P2 -n4 clang-tidy -p build/asan --quiet <<<"$compiled"
echo "lint: ${#sources[@]} files formatted, $(wc -l <<<"$compiled") examined"
