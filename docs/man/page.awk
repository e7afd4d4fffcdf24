# page.awk: a page of the manual (Markdown) as a man page (mdoc), so that there is one text of each.
#   awk -v name=zepasign.properties -v section=5 -v about="..." -v date="January 31, 2026" -v also="zepasign 1" \
#     -f page.awk ../properties.md
# Knows what the manual uses: headings, paragraphs, "- " lists, tables, fenced code, `code`, **strong** and links. The
# first column of a table becomes the tag of a list, and the other columns its text, with their headings when there are
# more than two.

# plain: the text of a line in mdoc.
function plain(text) {
  gsub(/\\/, "\\e", text)
  while (match(text, /\[[^]]*\]\([^)]*\)/)) {
    link = substr(text, RSTART, RLENGTH)
    label = substr(link, 2, index(link, "](") - 2)
    text = substr(text, 1, RSTART - 1) label substr(text, RSTART + RLENGTH)
  }
  gsub(/`/, "", text)
  while (match(text, /\*\*[^*]+\*\*/)) {
    text = substr(text, 1, RSTART - 1) "\\fB" substr(text, RSTART + 2, RLENGTH - 4) "\\fR" substr(text, RSTART + RLENGTH)
  }
  gsub(/[.] /, ".\n", text) # a sentence per line, so that man pages space them alike
  gsub(/\n[.]/, "\n\\\\\\&.", text)
  return text ~ /^[.']/ ? "\\&" text : text
}

function startParagraph() {
  if (needsBreak) print ".Pp"
  needsBreak = 0
}

function endList() {
  if (list) print ".El"
  list = ""
}

function startList(kind) {
  if (list == kind) return
  endList()
  print kind == "bullet" ? ".Bl -bullet -compact" : ".Bl -tag -width indent"
  list = kind
  needsBreak = 0
}

function heading(macro, text) {
  endList()
  print macro " " plain(text)
  needsBreak = 0
  isFirst = 1
}

# cells: splits the row of a table into cell[1] to cell[count].
function cells(row) {
  gsub(/^\| *| *\|$/, "", row)
  return split(row, cell, / *\| */)
}

function tableRow(row) {
  count = cells(row)
  if (!inTable) {
    inTable = 1
    split("", title)
    for (i = 1; i <= count; ++i) title[i] = cell[i]
    return
  }
  if (row ~ /^[|:-]+$/) return
  startList("tag")
  print ".It " (cell[1] == "" ? "\\&" : oneLine(plain(cell[1])))
  for (i = 2; i <= count; ++i) {
    if (cell[i] == "") continue
    print plain(count > 2 && title[i] != "" ? title[i] ": " cell[i] : cell[i])
    if (i < count && cell[i + 1] != "") print ".br"
  }
}

function oneLine(text) {
  gsub(/\n/, " ", text)
  return text
}

BEGIN {
  print ".Dd " date
  print ".Dt " toupper(name) " " section
  print ".Os"
  print ".Sh NAME"
  print ".Nm " name
  print ".Nd " about
  print ".Sh DESCRIPTION"
  isFirst = 1
}

/^```/ && inCode { print ".Ed"; inCode = 0; needsBreak = 1; next }
/^```/ { endList(); needsBreak = 0; print ".Bd -literal -offset indent"; inCode = 1; next }
inCode { gsub(/\\/, "\\e"); print /^[.']/ ? "\\&" $0 : $0; next }
/^<!--/ || /^# / { next }
/^### / { heading(".Ss", substr($0, 5)); next }
/^## / { heading(".Sh", toupper(substr($0, 4))); next }
/^\|/ { tableRow($0); next }
{ inTable = 0 }
/^$/ { needsBreak = !list && !isFirst; next }
{ isFirst = 0 }
/^- / { startList("bullet"); print ".It"; print plain(substr($0, 3)); next }
/^  / && list == "bullet" { sub(/^ +/, ""); print plain($0); next }
{
  if (list) { endList(); needsBreak = 1 }
  startParagraph()
  print plain($0)
}

END {
  endList()
  print ".Sh SEE ALSO"
  count = split(also, page, /, */)
  for (i = 1; i <= count; ++i) print ".Xr " page[i] (i < count ? " ," : "")
}
