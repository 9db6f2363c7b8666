# shellcheck shell=bash
# Uses the program's windows as a person does: keyboard, pictures. To be sourced after rig.sh.

desk_title='Zorbel Console Terminal$'

# Windows sees the files of this machine as drive Z.
desk_path() { printf 'Z:%s' "$(realpath -m "$1" | tr / "\\\\")"; }

# Waits for a window by its title; the terminal's without one.
desk_await() { rig_until "${2:-30}" xdotool search --onlyvisible --name "${1:-$desk_title}"; }

# Gives the terminal the keyboard.
desk_focus() { xdotool search --sync --onlyvisible --name "$desk_title" windowfocus --sync; }

# Leaves a moment to look on.
desk_moment=1.5
desk_look() { sleep "$desk_moment"; }

# Types a line into the terminal.
desk_line() {
  desk_focus
  xdotool type --delay 15 --args 1 "$1" key Return
  desk_look
}

# desk_menu LETTER...: a command of the terminal's menu, by its letters.
desk_menu() {
  local letter
  desk_focus
  xdotool key "alt+$1"
  shift
  for letter in "$@"; do
    sleep 0.4
    xdotool key "$letter"
  done
}

# desk_choose TITLE PATH: answers a file dialog.
desk_choose() {
  desk_await "$1"
  sleep 1
  xdotool type --delay 10 "$2"
  xdotool key Return
}

# desk_picture FILE [TITLE]: a window without its window manager's frame, or the whole screen.
desk_picture() {
  if [[ -z ${2:-} ]]; then
    import -window root "$1"
  else
    import -window "$(xdotool search --onlyvisible --name "$2" | tail -n 1)" "$1"
  fi
}
