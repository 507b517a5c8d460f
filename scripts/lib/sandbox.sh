# Functions for scripts that need a running sandbox; to be sourced.
# A script sets `folder` to a folder of its own for the sandbox's files.

# start_sandbox PROGRAM [OPTION...]: starts a sandbox on a free port and exports what `quarnet` and
# other clients read: QUARNET_API_HOST, QUARNET_CA_FILE and so on. Its log is $folder/sandbox.log, a
# token answer lies in $folder/token.json.
start_sandbox() {
  local program=$1
  shift
  : >"$folder/sandbox.log" # nothing of an earlier one may look like this one's
  "$program" --port 0 --ca-out "$folder/ca.pem" --token-out "$folder/token.json" "$@" \
    >>"$folder/sandbox.log" 2>&1 &
  sandbox_pid=$!
  local tries
  for ((tries = 0; tries < 100; ++tries)); do
    # The last of the lines that it prints at its start.
    grep -q '^export QUARNET_CA_FILE=' "$folder/sandbox.log" && break
    if ! kill -0 "$sandbox_pid" 2>/dev/null; then break; fi
    sleep 0.1
  done
  local host
  host=$(sed -n 's/^export QUARNET_API_HOST=//p' "$folder/sandbox.log")
  if [[ -z "$host" ]]; then
    echo "the sandbox did not start:" >&2
    cat "$folder/sandbox.log" >&2
    return 1
  fi
  # A proxy of the system's is for other hosts.
  export no_proxy=127.0.0.1,localhost
  export QUARNET_API_HOST=$host QUARNET_MOBILE_HOST=$host QUARNET_PORTAL_HOST=$host
  export QUARNET_CA_FILE="$folder/ca.pem" QUARNET_STORE="$folder/store.sqlite"
  export QUARNET_CLIENT_ID=demo-client QUARNET_CLIENT_SECRET=demo-secret
}

stop_sandbox() {
  [[ -n "${sandbox_pid:-}" ]] || return 0
  kill "$sandbox_pid" 2>/dev/null || true
  wait "$sandbox_pid" 2>/dev/null || true
  sandbox_pid=
}
