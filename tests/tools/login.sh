#!/usr/bin/env bash
# login.sh SOURCE_DIR SANDBOX QUARNET: `quarnet login` from its window's opening to its exit status,
# however the user ends it. Runs under tests/platform/gtk/with-display.
set -euo pipefail

sandbox=$2 quarnet=$3
for program in xdotool import openbox; do
  if ! command -v "$program" >/dev/null; then
    echo "skipped: $program is not installed" >&2
    exit 77
  fi
done
folder=$(mktemp -d)
source "$1/scripts/lib/sandbox.sh"
source "$1/scripts/lib/screen.sh"
login_pid= manager_pid=
trap 'stop_login; stop_manager; stop_sandbox; rm -rf "$folder"' EXIT
unset "${!QUARNET_@}"

good() { echo "   $1"; }
fail() {
  echo "FAILED: $1" >&2
  cat "$folder/sandbox.log" "$folder/out" "$folder/err" >&2
  exit 1
}
stop_login() {
  if [[ -n "$login_pid" ]]; then kill "$login_pid" 2>/dev/null || true; fi
}
stop_manager() {
  if [[ -n "$manager_pid" ]]; then kill "$manager_pid" 2>/dev/null || true; fi
  manager_pid=
}
start_login() {
  echo "-- $1"
  shift
  capture last
  "$quarnet" login "$@" >"$folder/out" 2>"$folder/err" &
  login_pid=$!
}
has_ended() { ! kill -0 "$login_pid" 2>/dev/null; }
# ends STATUS TEXT: how the login ends and what it says.
ends() {
  local status=0
  until_true "the login ends" has_ended
  wait "$login_pid" || status=$?
  login_pid=
  ((status == $1)) || fail "exit status $status instead of $1"
  grep -qF -- "$2" "$folder/out" "$folder/err" || fail "it says: $2"
}
sign_in_page() {
  served "the sign-in page is asked for" '^GET /oauth/authorize'
  next_view "the sign-in page" "$page_button"
}
consent_page() {
  sign_in_page
  enter_password
  served "the consent page is asked for" '^GET /oauth/consent'
  next_view "the consent page" "$page_button"
}

: >"$folder/out" >"$folder/err"
start_sandbox "$sandbox"
# Without a window manager, keys go to the window under the pointer, which is there for alerts too.
xdotool mousemove 100 100

start_login "closed by the user"
sign_in_page
key Escape
ends 3 "the window was closed before the end"

openbox --sm-disable >"$folder/openbox.log" 2>&1 &
manager_pid=$!
start_login "closed with its window"
sign_in_page
key alt+F4
ends 3 "the window was closed before the end"
stop_manager

start_login "interrupted"
sign_in_page
kill -INT "$login_pid"
ends 130 "interrupted"

start_login "refused by the user"
consent_page
key Tab Return
served "the refusal is sent" '^POST /oauth/consent'
next_view "the alert"
key Return
ends 4 "refused: access_denied: User denied the request."
[[ "$("$quarnet" token)" == *access_token*none* ]] || fail "nothing is stored"

start_login "signed in with the mouse"
consent_page
click_on "$page_button"
ends 0 "Signed in: the tokens are stored."
[[ "$("$quarnet" token)" == *access_token*\*\*\** ]] || fail "a token is stored"

pages=$(count '^GET /oauth/authorize')
start_login "signed in already"
ends 0 "Signed in already"
(($(count '^GET /oauth/authorize') == pages)) || fail "no page is asked for"

start_login "with a secret that the server does not know" --client-secret wrong
consent_page
grep -q "not reissued" "$folder/err" || fail "it says why the window opens"
key Return
ends 5 "the code was not exchanged: invalid_client: The client or its secret is wrong."
[[ "$("$quarnet" token)" == *access_token*\*\*\** ]] || fail "the tokens stay stored"

stop_sandbox
start_login "signed in already, with no server to say so"
ends 1 "not signed in: no connection: "
