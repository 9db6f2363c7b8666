# shellcheck shell=bash
# Says what a script is at. To be sourced.

# step TEXT...: with the minutes and seconds since the script began.
step() {
  printf '%s %d:%02d %s\n' "$(basename "$0")" $((SECONDS / 60)) $((SECONDS % 60)) "$*"
}
