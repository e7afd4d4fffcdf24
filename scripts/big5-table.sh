#!/usr/bin/env bash
# Writes base/big5_table.inc: one row for every character beyond ASCII in the _big5 texts of the sources.
set -euo pipefail
cd "$(dirname "$0")/.."
export LC_ALL=C.UTF-8

characters=$(grep -rhoE '"([^"\\]|\\.)*"_big5' api base pki tools --include='*.cpp' --include='*.h' |
  grep -oP '[^\x00-\x7F]' | sort -u | tr -d '\n')
codes() { printf '%s' "$characters" | iconv -f UTF-8 -t "$1" | od -An -v -tx1 -w"$2" | tr -d ' ' | tr a-f A-F; }

paste <(codes UTF-16BE 2) <(codes BIG5 2) | sort |
  sed -E 's/^(....)\t(....)$/{0x\1, 0x\2},/' >base/big5_table.inc
echo "base/big5_table.inc: $(wc -l <base/big5_table.inc) characters"
