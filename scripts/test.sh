#!/usr/bin/env bash
# test.sh: all tests. Builds with GCC and runs every test, then once more with Clang under the address,
# undefined-behaviour and leak sanitizers; in both a warning is an error. Ends with CTest's count of tests passed.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh clang cmake dpkg-dev file g++ libclang-rt-14-dev libgtest-dev libssl-dev llvm ninja-build openssl \
  libcli11-dev nlohmann-json3-dev parallel pkgconf
# Programs of other makers, which verify the signatures and make files that the library loads; the source of a locale; and
# what the commands of the manual use.
scripts/install-deps.sh curl gnutls-bin gpg-agent gpgsm libnss3-tools locales
# What the examples run on. Node.js is used only where it is: Debian's npm would bring hundreds of packages.
scripts/install-deps.sh default-jdk-headless libjna-java libmono-i18n-cjk4.0-cil mono-mcs mono-runtime python3 \
  python3-cryptography
if command -v npm >/dev/null; then npm install --prefix examples/node --silent --no-audit --no-fund || true; fi

# examine PRESET: configures, builds and tests.
examine() {
  echo "== $1"
  cmake --preset "$1" --log-level=WARNING
  cmake --build --preset "$1"
  ctest --preset "$1"
}
examine dev
examine asan
