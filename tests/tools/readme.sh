#!/usr/bin/env bash
# readme.sh SOURCE_DIR [BUILD_DIR]: runs the commands of the README in their order, in a home of their
# own: build/readme, with a clone of the last commit, which stays there. With BUILD_DIR, the tree as
# it is stands for the clone, and what was built there for the build, which makes it quick.
# scripts/demo and scripts/test are only looked for.
set -euo pipefail

source_dir=$(realpath "$1")
build_dir=${2:-}
if command -v ccache >/dev/null; then
  CCACHE_DIR=$(ccache --get-config cache_dir) # its place is in the home
  export CCACHE_DIR
fi
unset "${!QUARNET_@}"
export no_proxy=127.0.0.1,localhost

exec 4>&1
sandbox_pid=
leave() {
  if [[ -e "$HOME/output" ]]; then cat "$HOME/output" >&4; fi
  if [[ -n "$sandbox_pid" ]]; then kill "$sandbox_pid"; fi
  if [[ -n "$build_dir" ]]; then rm -rf "$HOME"; fi
}
trap leave EXIT

if [[ -n "$build_dir" ]]; then
  HOME=$(mktemp -d)
  git() {
    mkdir -p quarnet/build quarnet/scripts
    find "$source_dir" -mindepth 1 -maxdepth 1 ! -name build ! -name scripts -exec ln -s -t quarnet {} +
    ln -s "$build_dir" quarnet/build/release
    ln -s "$source_dir/scripts/demo" "$source_dir/scripts/test" quarnet/scripts
    # shellcheck disable=SC2016
    printf '#!/bin/sh\ntest "$1" = release\n' >quarnet/scripts/build
    chmod +x quarnet/scripts/build
  }
else
  HOME=$source_dir/build/readme
  rm -rf "$HOME"
  mkdir -p "$HOME"
fi
export HOME
cd "$HOME"

# In one terminal: the server, which runs on, at a free port.
start() {
  eval "exec $1 --port 0" >"$HOME/sandbox.log" 2>&1 &
  sandbox_pid=$!
  local tries
  for ((tries = 0; tries < 100; ++tries)); do
    if grep -q '^export QUARNET_CA_FILE=' "$HOME/sandbox.log"; then return; fi
    sleep 0.1
  done
  cat "$HOME/sandbox.log" >&2
  return 1
}

run() {
  printf '$ %s\n' "${1//$'\n'/$'\n$ '}"
  case $1 in
    *quarnet-sandbox*)
      start "$1"
      eval "$(grep '^export ' "$HOME/sandbox.log")" # as pasted
      ;;
    *) eval "$1" ;;
  esac
}

blocks=0
is_block=''
while IFS= read -r line <&3; do
  case $is_block$line in
    '```sh')
      is_block=yes
      block=''
      ;;
    'yes```')
      is_block=''
      blocks=$((blocks + 1))
      block=${block/<this repository>/\"\$source_dir\"}
      block=${block/scripts\/demo/test -x scripts\/demo}
      run "${block/scripts\/test/test -x scripts\/test}"
      ;;
    yes*) block+=${block:+$'\n'}$line ;;
  esac
done 3<"$source_dir/README.md" >"$HOME/output"

((blocks == 4))
grep -q '"keyword":"서울"' "$HOME/output"
grep -q '"keyword":"서울역"' "$HOME/output"
echo "readme: $blocks blocks of commands ran"
