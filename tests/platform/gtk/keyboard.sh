#!/usr/bin/env bash
# keyboard.sh SOURCE_DIR SANDBOX DEMO: the demo application's login by keyboard alone, with what a
# screen reader sees at each step. Runs under with-display, with QUARNET_A11Y=atspi.
set -euo pipefail

here=$1/tests/platform/gtk
if ! /usr/bin/python3 -c 'import pyatspi' 2>/dev/null; then
  echo "skipped: python3-pyatspi is not installed" >&2
  exit 77
fi
folder=$(mktemp -d)
source "$1/scripts/lib/sandbox.sh"
source "$1/scripts/lib/screen.sh"
demo_pid=
trap 'stop_demo; stop_sandbox; rm -rf "$folder"' EXIT
unset "${!QUARNET_@}"
export LANGUAGE=ko # as the login screen; without gettext, the application is in English

good() { echo "   $1"; }
fail() {
  echo "FAILED: $1" >&2
  cat "$folder/tree" "$folder/sandbox.log" "$folder/demo.log" >&2
  exit 1
}
stop_demo() {
  if [[ -n "$demo_pid" ]]; then kill "$demo_pid" 2>/dev/null || true; fi
}

look() { /usr/bin/python3 "$here/tree.py" "$demo_pid" >"$folder/tree"; }
has() { look && grep -qE "^$1\$" "$folder/tree"; }
has_focus() { has "$1 focused sensitive"; }
# focus WHAT NODE: waits until the node has the focus.
focus() {
  until_true "$1" has_focus "$2"
  good "$1"
}
# never WHAT NODE: the node is not among those that were seen last.
never() {
  if grep -qE "^$2" "$folder/tree"; then fail "$1"; fi
  good "$1"
}

readonly sign_in="push button '(로그인|Sign In)[^']*'" close="push button '닫기'"
readonly page="document text '로그인[^']*'" retry="push button '다시 시도'"

: >"$folder/demo.log" >"$folder/tree"
start_sandbox "$2"
"$3" >"$folder/demo.log" 2>&1 &
demo_pid=$!
has_window() { xdotool search --onlyvisible --pid "$demo_pid" >/dev/null; }
until_true "the window opens" has_window
xdotool mousemove 200 300 # without a window manager, keys go to the window under the pointer
focus "the application's button has the focus" "$sign_in"

key --delay 20 Return Return space alt+s
served "the login opens, whatever else is pressed" '^GET /oauth/authorize'
focus "the page has the focus" "$page"
key alt+s
has "$close sensitive" || fail "the button can be pressed"
has "label '로그인' sensitive" || fail "the screen has a title"
never "what is covered is not to be seen" "$sign_in"

key Tab Tab Tab Tab
focus "Tab leaves the page for the button" "$close"
key Tab
focus "and goes back to it" "$page"
key shift+Tab shift+Tab shift+Tab shift+Tab shift+Tab
focus "Shift+Tab leaves it, too" "$close"
key shift+Tab
focus "and goes back to it from there" "$page"
key Tab
enter_password
served "name and password arrive where they belong" '^POST /oauth/authorize'
served "the consent page comes" '^GET /oauth/consent'
key Escape
focus "Escape gives the application back" "$sign_in"

stop_sandbox
key Return
focus "the page that did not load can be tried again" "$retry"
has "label '페이지를 열 수 없습니다' sensitive" || fail "it says that it did not load"
never "what is beneath is not to be seen" document
key Tab
focus "Tab goes on to the button" "$close"
key Tab
focus "and back" "$retry"
key Return
focus "tried again without success" "$retry"
key Escape
focus "Escape closes it all the same" "$sign_in"
if grep -i critical "$folder/demo.log"; then fail "no message of GTK"; fi
