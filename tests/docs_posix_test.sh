#!/usr/bin/env bash
# docs_posix_test.sh SOURCE-DIRECTORY TOOL-DIRECTORY: runs what the manual tells its readers to run, with the zepasign of the
# tool directory. The ```sh blocks of a page run in order in one shell, in an empty directory of their own. A block fails with
# its first command that fails; each line of a ```text block must be in the output of the last ```sh block before it. A
# block after <!-- not run: REASON --> is not run. Messages, log texts, property keys, findings and functions of the
# sources must be in the manual, in both languages, and every link must lead to a heading.
set -euo pipefail
source=$(realpath "$1")
PATH=$(realpath "$2"):$PATH
export LC_ALL=C.UTF-8 no_proxy=127.0.0.1
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

# splitPage PAGE DIRECTORY: every block of the page becomes a file NUMBER.LANGUAGE.
splitPage() {
  awk -v directory="$2" '
    /^<!-- not run: / { skip = "not-run-" }
    /^```/ { inside = !inside }
    /^```/ && inside { file = sprintf("%s/%03d.%s%s", directory, ++count, skip, substr($0, 4)); skip = ""; next }
    inside { print > file }' "$1"
}

# runBlocks DIRECTORY: runs the blocks in a shell of its own, which ends with the first failure and then shows it.
runBlocks() (
  exec 3>&2 # a failing block takes its redirections into the trap
  trap '[ $? = 0 ] || { echo "$page fails:"; cat "$block"; echo "The last output:"; cat "$output"; } >&3' EXIT
  mkdir "$1/work" && cd "$1/work"
  cp "$scratch/authority/ca.pem" tsa.pem
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

# startAuthority DIRECTORY: a time-stamping authority for docs/proof.md, until this script ends. Sets tsa, its address;
# DIRECTORY/ca.pem is its CA's certificate.
startAuthority() {
  mkdir "$1" && cd "$1"
  # shellcheck source=/dev/null
  source "$source/scripts/certificate.sh"
  certificate ca 'basicConstraints=critical,CA:true\nkeyUsage=critical,keyCertSign,cRLSign'
  certificate tsa 'extendedKeyUsage=critical,timeStamping' -CA ca.pem -CAkey ca.key
  certificate server 'subjectAltName=IP:127.0.0.1' -CA ca.pem -CAkey ca.key
  mv tsa.pem tsa.crt
  mv server.pem server.crt
  exec {authority}> >(exec python3 "$source/tests/support/authority.py" .)
  for _ in $(seq 300); do [ -e urls ] || sleep 0.1; done
  tsa=$(head -n 1 urls)/good
  cd "$source"
}

cd "$source"
startAuthority "$scratch/authority"
for page in README*.md CONTRIBUTING.md SECURITY.md docs/*.md; do
  directory=$scratch/$(basename "$page")
  mkdir "$directory"
  splitPage "$page" "$directory"
  runBlocks "$directory"
  echo "$page: $(find "$directory" -maxdepth 1 -name '*.output' | wc -l) blocks ran"
done

# mustStandIn FILE...: fails for the first line of the standard input that is in none of the files.
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

# Both languages have the same pages, examples and options; comments and the blanks before them are translated.
examples() {
  awk '/^```/ { inside = !inside; isExample = inside && !/^```(text|log)/; next } isExample' "$1" | sed -E 's/ +(# |\/\*).*//'
}
options() { grep -oE 'Fl -?[a-z][a-z-]*|^\.Ss .*' "$1" | sort -u; }
for page in docs/*.md; do diff <(examples "$page") <(examples "docs/zh-TW/${page##*/}"); done
diff <(examples README.md) <(examples README.zh-TW.md)
options tools/zepasign.1 | mustStandIn docs/man/zh_TW/zepasign.1
literals() { sed -n '/^\.Bd/,/^\.Ed/p' "$1"; }
diff <(literals tools/zepasign.1) <(literals docs/man/zh_TW/zepasign.1)

# functions: as the man page of the library names them. findings LANGUAGE: as the manual lists them.
functions() {
  sed -nE '/^ZEPASIGN_API/ { s/^[^(]*\W(\w+)\((.*)\);$/.Fn \1 "\2"/; s/, /" "/g; s/"void"/void/; p }' api/ZEPASignDLL.h
}
findings() {
  sed -nE 's/^\{"([^"]*)", k(.*)Level, \{"(([^"\\]|\\.)*)", "(([^"\\]|\\.)*)"\}.*/| `\1` | \L\2\E | \'"$1"' |/; T
    s/\\(["\\])/\1/g; p' tools/commands/check_findings.inc
}
functions | mustStandIn docs/man/libzepasigndll.3
functions | mustStandIn docs/man/zh_TW/libzepasigndll.3
diff <(findings 3) <(grep -E '^\| `[a-z0-9-]+` \| (good|warning|error) ' docs/check.md)
diff <(findings 5) <(grep -E '^\| `[a-z0-9-]+` \| (good|warning|error) ' docs/zh-TW/check.md)

# links PAGE: the links of a page to others, as FILE and HEADING. headings PAGE: in the form that links have.
links() { { grep -oP '\]\(\K[^):]+(?=\))' "$1" || true; } | sed "s|^[^#]|$(dirname "$1")/&|; s|^#|$1#|"; }
headings() { sed -nE '/^```/,/^```/d; s/^#+ //; T; s/[^[:alnum:] _-]//g; s/ /-/g; s/.*/\L&/p' "$1"; }
for page in *.md examples/README.md docs/*.md docs/zh-TW/*.md; do
  links "$page" | while IFS='#' read -r file heading; do
    [ -e "$file" ] && { [ -z "$heading" ] || headings "$file" | grep -qxF -e "$heading"; } ||
      { echo "$page: leads nowhere: $file#$heading" >&2 && false; }
  done
done
