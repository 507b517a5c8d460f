#!/usr/bin/env bash
# terminal.sh SOURCE_DIR SANDBOX QUARNET: what `quarnet request` shows on a terminal while a call
# takes long, and what Ctrl-C does there.
set -euo pipefail

sandbox=$2 quarnet=$3
folder=$(mktemp -d)
source "$1/scripts/lib/sandbox.sh"
trap 'stop_sandbox; rm -rf "$folder"' EXIT
unset "${!QUARNET_@}"

fail() {
  echo "FAILED: $1" >&2
  cat -A "$folder/screen" "$folder/sandbox.log" >&2
  exit 1
}
# interrupt COMMAND: runs the command and interrupts it as soon as it does something about that.
interrupt() {
  local caught=0 status=0
  "$@" >"$folder/screen" 2>&1 &
  while ((!(0x$caught & 2))); do
    sleep 0.05
    caught=$(sed -n 's/^SigCgt:\t//p' "/proc/$!/status") || fail "it has ended"
  done
  sleep 0.3
  kill -INT $!
  wait $! || status=$?
  ((status == 130)) || fail "exit status $status instead of 130"
}
# on_terminal STATUS COMMAND: runs the command on a terminal with 60 columns, on which the standard
# input of this function is typed. What the terminal got is in $folder/screen, a line for each line
# that was written over another one.
on_terminal() {
  local status=0
  SHELL=/bin/sh script -qefc "stty cols 60; $2" "$folder/typescript" >/dev/null || status=$?
  sed '1d;$d' "$folder/typescript" | tr '\r' '\n' >"$folder/screen"
  ((status == $1)) || fail "exit status $status instead of $1"
}
shows() { grep -qxE -- "$1" "$folder/screen" || fail "it shows: $1"; }
shows_no() { ! grep -qE -- "$1" "$folder/screen" || fail "it does not show: $1"; }

json=$'{"text":"\e[31m한글\\"", "empty":[],"more":[{"a[b":1.5}, null]}'
start_sandbox "$sandbox" --misbehave "/v1/json.json=body:$json" --misbehave /v1/slow.json=delay:2500 --misbehave /v1/endless.json=endless \
  --misbehave /oauth/token=delay:1500
"$quarnet" token import "$folder/token.json"
api=https://$QUARNET_API_HOST
head -c 100000 /dev/zero >"$folder/file"
blanks=$(printf '%59s' '')

echo "-- an upload that takes long: a line, which is gone at the end"
on_terminal 0 "$quarnet request POST $api/v1/slow --upload $folder/file" </dev/null
shows 'sent 97.9 KiB, waiting for the answer {22}'
shows "$blanks"
[[ "$(grep -v '^$' "$folder/screen" | tail -n 1)" == '}' ]] || fail "the answer is last"

echo "-- a download that Ctrl-C ends"
{
  for ((tries = 0; tries < 600; ++tries)); do
    if grep -qs received "$folder/typescript"; then break; fi
    sleep 0.1
  done
  printf '\003'
  sleep 0.5
} | on_terminal 130 "$quarnet request GET $api/v1/endless"
shows 'received [0-9.]+ [KM]iB {30,}'
shows "$blanks"
shows 'quarnet: interrupted'

echo "-- many calls that are interrupted"
interrupt "$quarnet" request POST "$api/v1/endless" --async --repeat 2
shows 'finished 0, failed 0, 0 calls per second'
shows 'quarnet: interrupted'

echo "-- a reissue that is interrupted: what it brings is stored all the same"
interrupt "$quarnet" reissue
"$quarnet" reissue || fail "the refresh token is the one that the server knows"

echo "-- an answer of JSON: indented, and coloured where the user has nothing against it"
answer="$quarnet request POST $api/v1/json"
e=$'\e'
on_terminal 0 "TERM=xterm $answer" </dev/null
shows "  $e\[34m\"text\"$e\[0m: $e\[32m\" \[31m한글\\\\\"\"$e\[0m,"
shows "  $e\[34m\"empty\"$e\[0m: \[\],"
for variable in NO_COLOR=1 TERM=dumb TERM=; do
  on_terminal 0 "TERM=xterm; export $variable; $answer" </dev/null
  shows '  "text": " \[31m한글\\\"",'
done
[[ "$($answer)" == "$json" ]] || fail "a pipe gets it as it came"

echo "-- a call that is soon over, and one whose standard error is a file: no line"
start=${EPOCHREALTIME//[^0-9]/}
on_terminal 0 "$quarnet request POST $api/v1/soon --upload $folder/file" </dev/null
((${EPOCHREALTIME//[^0-9]/} - start > 1000000)) || shows_no 'sent [0-9]' # on a busy system it may take long
on_terminal 0 "$quarnet request POST $api/v1/slow --upload $folder/file 2>$folder/err" </dev/null
shows_no 'sent [0-9]'
[[ ! -s "$folder/err" ]] || fail "nothing goes to the file"
