#!/usr/bin/env bash
# windows-tool.sh I386-ROOT: fails unless zepasign.exe makes a demonstration, checks it, signs several files at once and
# verifies them, on x86-64 and on x86, in English and in Chinese.
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/quietly.sh
root=$1 work=$1/tool

# tool ARGUMENT...: with the processor and the locale in use.
tool() { LC_ALL=$locale scripts/windows-run.sh "$root" /tool "$processor" "$processor/zepasign.exe" "$@"; }

# useTool LOCALE EXPECTED: a text of its last output, in the language of the locale.
useTool() {
  local locale=$1 demo=$processor-$1 result
  quietly tool --version
  quietly tool init "$demo" --demo
  quietly tool check -c "$demo/app.properties"
  quietly tool sign -c "$demo/app.properties" --out-dir "$demo" --jobs 2 content other
  result=$(tool verify --ca "$demo/ca.pem" "$demo/content.p7s.b64" "$demo/other.p7s.b64" | iconv -f BIG5 -t UTF-8)
  [ "$(grep -c "$2" <<<"$result")" = 2 ] || { printf '%s\n' "$result" "not twice in it: $2" >&2; return 1; }
}

mkdir "$work"
echo content >"$work/content"
echo other >"$work/other"
for processor in x86_64 i686; do
  mkdir "$work/$processor"
  cp "build/windows-$processor"/{api/ZEPASignDLL.dll,tools/zepasign.exe} "$work/$processor"
  useTool C 'result: valid'
  useTool zh_TW.UTF-8 '結果: 有效'
done
echo "windows-tool.sh: zepasign.exe signs and verifies in both languages"
