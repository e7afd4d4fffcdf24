#!/usr/bin/env bash
# docs_posix_test.sh SOURCE-FOLDER TOOL-FOLDER: runs what the manual tells its readers to run, with the zepasign of the
# tool folder. The ```sh blocks of a page run in order in one shell, in an empty folder of their own. A block fails with
# its first command that fails; each line of a ```text block must stand in the output of the last ```sh block before it.
# A block behind <!-- not run: REASON --> is only read. And what the sources say must stand in the manual: messages, log
# texts and property keys.
set -euo pipefail
source=$(realpath "$1")
PATH=$(realpath "$2"):$PATH
export LC_ALL=C.UTF-8
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

# splitPage PAGE FOLDER: every block of the page becomes a file NUMBER.LANGUAGE.
splitPage() {
  awk -v folder="$2" '
    /^<!-- not run: / { skip = "not-run-" }
    /^```/ { inside = !inside }
    /^```/ && inside { file = sprintf("%s/%03d.%s%s", folder, ++count, skip, substr($0, 4)); skip = ""; next }
    inside { print > file }' "$1"
}

# runBlocks FOLDER: in a shell of its own, which ends with the first failure and then shows it.
runBlocks() (
  exec 3>&2 # a failing block takes its redirections into the trap
  trap '[ $? = 0 ] || { echo "$page fails:"; cat "$block"; echo "The last output:"; cat "$output"; } >&3' EXIT
  mkdir "$1/work" && cd "$1/work"
  for block in "$1"/*.*; do
    case $block in
      *.sh)
        output=$block.output
        # shellcheck source=/dev/null
        source "$block" </dev/null >"$output" 2>&1
        ;;
      *.text) while IFS= read -r line; do grep -qF -e "$line" "$output"; done <"$block" ;;
    esac
  done
)

cd "$source"
for page in README*.md CONTRIBUTING.md SECURITY.md docs/*.md; do
  folder=$scratch/$(basename "$page")
  mkdir "$folder"
  splitPage "$page" "$folder"
  runBlocks "$folder"
  echo "$page: $(find "$folder" -maxdepth 1 -name '*.output' | wc -l) blocks ran"
done

# mustStandIn FILE...: fails for the first line of the standard input that stands in none of the files.
mustStandIn() {
  while IFS= read -r text; do grep -qF -e "$text" "$@" || { echo "not in $*: $text" >&2 && return 1; }; done
}
logTexts() {
  grep -rhoP '"\K([^"\\]|\\.)+(?="_big5)|(log\w+|failed\w*)\((k\w+, )?"\K([^"\\]|\\.)+' api base pki --include='*.cpp' |
    sed -E 's/\\[tn]//g; s/\\"/"/g; s/^\|+--- //'
}
messages() { sed -nE 's/\\"/"/g; s/^ *\{([0-9]+), "(.*)"_big5\},$/| \1 | \2(\1) |/p' base/errors.cpp; }
keys() { grep -oP '"\K\w*(\.|crlFile)\w*(?=")' base/propertykeys.h; }
for manual in docs docs/zh-TW; do
  logTexts | mustStandIn "$manual/log.md" "$manual/error-codes.md"
  messages | mustStandIn "$manual/error-codes.md"
  keys | mustStandIn "$manual/properties.md"
done

# Both languages name the same commands and options; comments and the trailing blanks before them are translated.
commands() { awk '/^```/ { isCommand = !isCommand && /^```sh/; next } isCommand' "$1" | sed -E 's/ +# .*//'; }
options() { grep -oE 'Fl -?[a-z][a-z-]*|^\.Ss .*' "$1" | sort -u; }
for page in docs/zh-TW/*.md; do diff <(commands "docs/${page##*/}") <(commands "$page"); done
options tools/zepasign.1 | mustStandIn docs/man/zh_TW/zepasign.1

# Each function has its line in the man page of the library.
sed -nE '/^ZEPASIGN_API/ { s/^[^(]*\W(\w+)\((.*)\);$/.Fn \1 "\2"/; s/, /" "/g; s/"void"/void/; p }' api/ZEPASignDLL.h |
  mustStandIn docs/man/libzepasigndll.3
sed -nE 's/^\{"([^"]*)", k(.*)Level, \{"(([^"\\]|\\.)*)".*/| `\1` | \L\2\E | \3 |/; T; s/\\(["\\])/\1/g; p' \
  tools/commands/check_findings.inc | mustStandIn docs/check.md
grep -oP '^\| `\K[^`]+(?=` \| (good|warning|error) )' docs/check.md | mustStandIn tools/commands/check_findings.inc
