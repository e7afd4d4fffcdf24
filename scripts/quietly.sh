# quietly COMMAND...: shows the command's output, its end, only when it fails. To be sourced.
quietly() {
  local output
  output=$("$@" 2>&1) || { printf '%s\n' "$output" | tail -n 40 >&2; return 1; }
}
