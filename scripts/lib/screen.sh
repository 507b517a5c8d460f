# Functions for scripts that drive a window under tests/platform/gtk/with-display against a sandbox;
# to be sourced, after sandbox.sh. The script sets `folder` to a folder of its own and has two
# functions: `good WHAT` tells of a step, `fail WHAT` ends the script.

# until_true WHAT COMMAND...: runs the command until it succeeds, for ten seconds at most.
until_true() {
  local end=$((SECONDS + 10)) what=$1
  shift
  until "$@"; do
    ((SECONDS < end)) || fail "$what"
    sleep 0.05
  done
}

# What the server saw

declare -A counted=()
count() { grep -cE -- "$1" "$folder/sandbox.log" || true; }
served_more() { (($(count "$1") > ${counted[$1]:-0})); }
# served WHAT PATTERN: waits until the server has served one request more that matches.
served() {
  until_true "$1" served_more "$2"
  counted[$2]=$((${counted[$2]:-0} + 1))
  (($(count "$2") == counted[$2])) || fail "$1: more than once"
  good "$1"
}

# What the screen shows

# The buttons of the sandbox's pages have a colour that nothing else has.
readonly page_button='#2457C5'

capture() { import -window root -depth 8 "ppm:$folder/$1.ppm"; }
# area COLOUR CAPTURE: how many points have that colour.
area() {
  convert "$folder/$2.ppm" -format %c histogram:info:- |
    sed -n "s/^ *\([0-9]*\): .*$1 .*/\1/p;\$a 0" | head -n 1
}
# alike CAPTURE CAPTURE: whether two captures are the same; a cursor may blink.
alike() {
  local differing
  differing=$(compare -metric AE "$folder/$1.ppm" "$folder/$2.ppm" null: 2>&1) || true
  (($(printf %.0f "$differing") < 300))
}
# at_rest COLOUR: whether the screen shows something else than in $folder/last.ppm, has come to rest
# and has a button of that colour.
at_rest() {
  capture before
  sleep 0.1
  capture now
  alike before now && ! alike last now && { [[ -z "$1" ]] || (($(area "$1" now) > 1000)); }
}
# next_view WHAT [COLOUR]: waits for the next view, with a button of that colour.
next_view() {
  until_true "the screen never showed $1" at_rest "${2:-}"
  cp "$folder/now.ppm" "$folder/last.ppm"
}

# What the user does

key() { xdotool key --delay 60 "$@"; }
# text TEXT: a letter that the display's keyboard does not have is entered by its number: a Wayland
# compositor knows none of the keys that it gets later, and on X11 an application that is busy when
# it gets one takes it for the one before.
text() {
  local i letter
  for ((i = 0; i < ${#1}; ++i)); do
    letter=${1:i:1}
    if [[ "$letter" == [[:ascii:]] ]]; then
      xdotool type "$letter"
    else
      # shellcheck disable=SC2046
      xdotool key --delay 30 ctrl+shift+u $(printf %x "'$letter" | sed 's/./& /g') space
    fi
  done
}
# click_on COLOUR: on the button that the last view shows in that colour.
click_on() {
  local place
  place=$(convert "$folder/last.ppm" -fill black +opaque "$1" -trim \
    -format '%[fx:int(page.x+w/2)] %[fx:int(page.y+h/2)]' info:)
  xdotool mousemove ${place% *} ${place#* } click 1
}
# enter_password: on the sign-in page, whose first field has the focus.
enter_password() {
  text demo
  key Tab
  text demo
  key Return
}
