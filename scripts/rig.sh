# shellcheck shell=bash
# The Linux rig: a private Wine prefix, a display, and null modems that Wine takes for COM ports.
# To be sourced. Everything lives below build/, so checkouts do not disturb each other; what was
# started here ends with the script that started it.
#
# Several of them may stand side by side: ZO_SEAT numbers the seats, each with a prefix, a display and
# null modems of its own.
#
#   rig_up                     the prefix, made when it is missing; everything ends at exit
#   rig_display [own]          an X server with a window manager, unless there is one, and Wine up;
#                              "own": in any case
#   rig_cable [--pace BPS] N   N null modems: COM1 to COM101, COM2 to COM102, ...
#   rig_device COM1=/dev/...   a real serial device in place of a null modem
#   rig_sound                  a sound server; what is played can be heard in $ZO_RIG_DIR/sound.raw
#   rig_theming on|off         Wine's themes
#   rig_wine PROGRAM [ARG...]  runs a Windows program and waits for it
#   rig_start PROGRAM [ARG...] runs one in the background
#   rig_setting NAME TYPE DATA a setting of the first terminal
#   rig_seats N...             more seats, which end with this script; scripts/rig-run uses them

rig_root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
rig_build=$rig_root/build
rig_tools=$rig_build/native/simulator/cable
rig_version=1 # a prefix of another version is made again
rig_pids=()

rig_suffix=${ZO_SEAT:+-$ZO_SEAT} # the first has no number
export ZO_RIG_DIR=$rig_build/rig$rig_suffix
export WINEPREFIX=$rig_build/wine$rig_suffix
export WINEDEBUG=${WINEDEBUG:--all}
export WINEDLLOVERRIDES="mscoree=;mshtml=" # no offers to download anything
# Names of libraries that, as on Windows, are looked for beside a program first.
[[ -z ${ZO_NATIVE_LIBRARIES:-} ]] || WINEDLLOVERRIDES+=";$ZO_NATIVE_LIBRARIES=n,b"
export ZO_COM_PAIR=${ZO_COM_PAIR:-COM1,COM101}

rig_loader=/usr/lib/wine/wine64
rig_server=/usr/lib/wine/wineserver64
rig_settings='HKCU\Software\Zorbel\ZoConsole\Instance0'

# The preload library goes into Wine's processes only, its server among them. None of them gets
# the lock: Wine's services outlive a script that was killed, and would hold it for ever.
#
# Wine's loader stands below 2 GB. A heap at a random place behind it covers the page that Wine
# needs at 0x7ffe0000 once in some two thousand starts, and the program ends before it has begun.
rig_exec() {
  local steady=(setarch --addr-no-randomize)
  "${steady[@]}" true 2>/dev/null || steady=() # a container may forbid it
  [[ -z ${rig_lock:-} ]] || exec {rig_lock}>&-
  export LD_PRELOAD=$rig_tools/libmodemlines.so
  exec "${steady[@]}" "$rig_loader" "$@"
}

rig_wine() (
  rig_exec "$@"
)

# The same in the background; rig_pids[-1] is its process.
rig_start() {
  rig_exec "$@" &
  rig_remember
}

# The last background process ends with the rig, at the latest when the next one comes up.
rig_remember() {
  rig_pids+=($!)
  echo $! >>"$ZO_RIG_DIR/pids"
}

# Ends what a killed run left behind. A process is known by its environment, since its number may
# be another's by now.
rig_clean_up() {
  local pid
  rig_stop_wine
  [[ -f $ZO_RIG_DIR/pids ]] || return 0
  while read -r pid; do
    if grep -qzxF "ZO_RIG_DIR=$ZO_RIG_DIR" "/proc/$pid/environ" 2>/dev/null; then
      kill "$pid" 2>/dev/null || true
    fi
  done <"$ZO_RIG_DIR/pids"
  rm -f "$ZO_RIG_DIR/pids"
}

rig_registry() {
  rig_wine reg add "$@" /f >/dev/null 2>&1
}

rig_setting() {
  rig_registry "$rig_settings" /v "$1" /t "$2" /d "$3"
}

rig_theming() {
  local active=1
  [[ $1 == on ]] || active=0
  rig_registry 'HKCU\Software\Microsoft\Windows\CurrentVersion\ThemeManager' /v ThemeActive /d "$active"
}

# Wine reads its ports when its server starts, so the names are fixed: links that a null modem or
# a device stands behind. Fonts that Windows has and Debian has not are replaced by their likes.
rig_make_prefix() {
  rm -rf "$WINEPREFIX"
  mkdir -p "$WINEPREFIX"
  rig_wine wineboot -i >/dev/null 2>&1
  local n ports=$WINEPREFIX/ports.reg
  {
    printf 'REGEDIT4\n\n[HKEY_LOCAL_MACHINE\\Software\\Wine\\Ports]\n'
    for n in $(seq 1 20) $(seq 101 120); do
      printf '"COM%d"="%s/COM%d"\n' "$n" "$ZO_RIG_DIR" "$n"
    done
    printf '\n[HKEY_CURRENT_USER\\Software\\Wine\\Fonts\\Replacements]\n'
    printf '"Courier New"="Liberation Mono"\n"Arial"="Liberation Sans"\n'
    printf '"Times New Roman"="Liberation Serif"\n'
  } >"$ports"
  rig_wine regedit "$ports" >/dev/null 2>&1
  rig_stop_wine
  echo "$rig_version" >"$WINEPREFIX/.rig-version"
}

# The first seat's prefix with other ports. Its files are the same ones: Wine replaces those that
# it changes.
rig_copy_prefix() {
  rm -rf "$WINEPREFIX"
  cp -al "$rig_build/wine" "$WINEPREFIX"
  rm -f "$WINEPREFIX"/dosdevices/com*
  sed -i "s|$rig_build/rig/COM|$ZO_RIG_DIR/COM|" "$WINEPREFIX/system.reg"
}

rig_has_prefix() {
  [[ $(cat "$1/.rig-version" 2>/dev/null) == "$rig_version" ]]
}

# True while a script holds the lock.
rig_is_up() {
  [[ -f $WINEPREFIX/.rig-version ]] && ! flock -n "$ZO_RIG_DIR.lock" true
}

rig_stop_wine() {
  "$rig_server" -k >/dev/null 2>&1 || true # fails when none runs
  "$rig_server" -w >/dev/null 2>&1 || true
}

rig_up() {
  local tool
  for tool in nullmodem libmodemlines.so; do
    if [[ ! -f $rig_tools/$tool ]]; then
      echo "rig: $tool is missing; build the preset \"native\" first" >&2
      return 1
    fi
  done
  mkdir -p "$ZO_RIG_DIR"
  exec {rig_lock}>"$ZO_RIG_DIR.lock"
  if ! flock -n "$rig_lock"; then
    echo "rig: another run uses this seat of the checkout, waiting for it" >&2
    flock "$rig_lock"
  fi
  trap rig_down EXIT
  trap 'exit 130' INT TERM
  rig_clean_up
  if ! rig_has_prefix "$WINEPREFIX"; then
    echo "rig: making $WINEPREFIX"
    if [[ -n $rig_suffix ]] && rig_has_prefix "$rig_build/wine"; then
      rig_copy_prefix
    else
      rig_make_prefix
    fi
  fi
  # The server stays for the whole run, and keeps its parting words to itself.
  LD_PRELOAD=$rig_tools/libmodemlines.so "$rig_server" -p >/dev/null 2>&1 {rig_lock}>&-
}

# Ends what runs here, last first.
rig_down() {
  local i
  [[ $(cat "$WINEPREFIX/.rig-version" 2>/dev/null) ]] && rig_stop_wine
  for ((i = ${#rig_pids[@]} - 1; i >= 0; i--)); do
    kill "${rig_pids[i]}" 2>/dev/null || true
    wait "${rig_pids[i]}" 2>/dev/null || true
  done
  rig_pids=()
  rm -f "$ZO_RIG_DIR/pids"
}

# rig_until SECONDS COMMAND...: waits until the command succeeds.
rig_until() {
  local end=$((SECONDS + $1))
  shift
  until "$@" >/dev/null 2>&1; do
    if ((SECONDS >= end)); then
      echo "rig: waited in vain for: $*" >&2
      return 1
    fi
    sleep 0.05
  done
}

rig_display() {
  [[ -n ${DISPLAY:-} && -z ${1:-} ]] || rig_start_display
  # Wine's own processes start here, once, and hold no pipe of a later caller. The desktop's would
  # end a second after the last program and be started again by the next, with that one's pipes: a
  # command prompt that waits for ever for its input keeps it.
  [[ -p $ZO_RIG_DIR/silence ]] || mkfifo "$ZO_RIG_DIR/silence"
  rig_exec cmd.exe <>"$ZO_RIG_DIR/silence" >/dev/null 2>&1 &
  rig_remember
  rig_wine wineboot >/dev/null 2>&1
}

rig_start_display() {
  local number=$ZO_RIG_DIR/display
  : >"$number"
  Xvfb -displayfd 3 -screen 0 1280x900x24 -nolisten tcp 3>"$number" >/dev/null 2>&1 {rig_lock}>&- &
  rig_remember
  rig_until 20 grep -q . "$number"
  DISPLAY=:$(cat "$number")
  export DISPLAY
  openbox >/dev/null 2>&1 {rig_lock}>&- &
  rig_remember
  rig_until 20 xprop -root _NET_SUPPORTING_WM_CHECK
}

rig_cable() {
  local options=() pairs=() n said=$ZO_RIG_DIR/nullmodem.out
  if [[ $1 == --pace ]]; then
    options=(--pace "$2")
    shift 2
  fi
  ZO_COM_PAIR=
  for n in $(seq 1 "$1"); do
    pairs+=("COM$n=COM$((n + 100))")
    ZO_COM_PAIR+="COM$n,COM$((n + 100)) "
  done
  rm -f "$ZO_RIG_DIR"/cut-*
  : >"$said"
  "$rig_tools/nullmodem" --dir "$ZO_RIG_DIR" "${options[@]}" "${pairs[@]}" >"$said" {rig_lock}>&- &
  rig_remember
  rig_until 20 grep -q ready "$said"
}

# A sound server without a loudspeaker, and a recorder of what it plays: 16-bit mono, 8000 samples
# a second.
rig_sound() {
  local dir=$ZO_RIG_DIR/sound heard=$ZO_RIG_DIR/sound.raw
  rm -rf "$dir"
  mkdir -p "$dir"
  : >"$heard"
  export PULSE_SERVER=unix:$dir/server PULSE_COOKIE=$dir/cookie
  PULSE_RUNTIME_PATH=$dir PULSE_STATE_PATH=$dir pulseaudio -n --daemonize=no --use-pid-file=no \
    --exit-idle-time=-1 -L "module-null-sink sink_name=rig" \
    -L "module-native-protocol-unix auth-anonymous=1 auth-cookie-enabled=0 socket=$dir/server" \
    >/dev/null 2>&1 {rig_lock}>&- &
  rig_remember
  rig_until 20 pactl info
  parec --device=rig.monitor --raw --format=s16le --rate=8000 --channels=1 --latency-msec=50 \
    >"$heard" 2>/dev/null {rig_lock}>&- &
  rig_remember
  rig_until 20 test -s "$heard"
}

# A seat is there when the file says what its programs find in their environment.
rig_seats() {
  local n
  for n in "$@"; do
    rm -f "$rig_build/rig-$n/seat"
    ZO_SEAT=$n "$rig_root/scripts/rig-seat" {rig_lock}>&- &
    rig_remember
  done
  for n in "$@"; do rig_until 120 test -s "$rig_build/rig-$n/seat"; done
}

rig_device() {
  ln -sfn "${1#*=}" "$ZO_RIG_DIR/${1%%=*}"
}
