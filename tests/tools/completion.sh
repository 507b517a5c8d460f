#!/usr/bin/env bash
# completion.sh QUARNET: Tab on a command line of `quarnet` in each of bash, zsh and fish that is
# there. A function in the place of the program keeps the words that it got.
set -euo pipefail

quarnet=$1
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cd "$folder"
mkdir -p home/fish/generated_completions && touch '사진 1.png' 'plain.json'
export HOME=$folder/home XDG_CONFIG_HOME=$folder/home XDG_DATA_HOME=$folder/home LC_ALL=C.UTF-8

fail() {
  echo "FAILED: $1" >&2
  cat -A "$folder/screen" "$folder/got" >&2
  exit 1
}

# What each shell reads at its start; `ready` is there when it has.
prepare_bash() {
  printf '%s\n' "quarnet() { printf '<%s>' \"\$@\" >>got; echo >>got; }" \
    "source <(\"$quarnet\" completion bash)" 'bind "set bell-style none"' 'set -u; touch ready' >rc
  start='bash --rcfile rc -i'
}
prepare_zsh() {
  printf '%s\n' 'autoload -Uz compinit && compinit -u' \
    "quarnet() { printf '<%s>' \"\$@\" >>got; echo >>got; }" \
    "source <(\"$quarnet\" completion zsh)" 'touch ready' >home/.zshrc
  start="env ZDOTDIR=$folder/home zsh -i"
}
prepare_fish() {
  printf '%s\n' "function quarnet; printf '<%s>' \$argv >>got; echo >>got; end" \
    "$quarnet completion fish | source" 'touch ready' >rc
  start='fish -C "source rc"'
}

# typed TEXT WORD...: what is typed, "\t" for Tab, and the words that the program is to get.
lines=() expected=()
typed() {
  lines+=("$1")
  shift
  expected+=("$(printf '<%s>' "$@")")
}
typed 'quarnet reques\tG\thttps://h:1/x -o pl\t' request GET https://h:1/x -o plain.json
typed 'quarnet request --upl\t' request --upload
typed 'quarnet request PUT https://h:1/x --upload 사\t' request PUT https://h:1/x --upload '사진 1.png'
typed 'quarnet request POST u --payload-file=사\t' request POST u '--payload-file=사진 1.png'
typed 'quarnet --log red\ttok\timp\tpl\t' --log redacted token import plain.json
typed 'quarnet request -p token GET u --response-type=x\t' request -p token GET u --response-type=xml
typed 'quarnet request GET u --api-h\t' request GET u --api-host
typed 'quarnet completion f\t' completion fish
typed 'quarnet help req\t' help request

for shell in bash zsh fish; do
  command -v "$shell" >/dev/null || continue
  echo "-- $shell"
  rm -f ready got && touch got
  "prepare_$shell"
  {
    for ((i = 0; i < 100; ++i)); do [[ -e ready ]] && break || sleep 0.1; done
    sleep 0.5
    for ((i = 0; i < ${#lines[@]}; ++i)); do
      IFS= read -r -d '' text < <(printf '%b\0' "${lines[i]}") || true
      while [[ -n $text ]]; do # a shell that completes drops what is typed meanwhile
        printf '%s' "${text%%$'\t'*}"
        [[ $text == *$'\t'* ]] || break
        printf '\t' && sleep 0.4
        text=${text#*$'\t'}
      done
      printf '\r'
      for ((j = 0; j < 50; ++j)); do (($(wc -l <got) > i)) && break || sleep 0.1; done
    done
    printf 'exit\r'
    sleep 0.3
  } | SHELL=/bin/sh timeout 60 script -qfec "stty rows 40 cols 200; $start" screen >/dev/null || true
  for ((i = 0; i < ${#lines[@]}; ++i)); do
    [[ "$(sed -n "$((i + 1))p" got)" == "${expected[i]}" ]] || fail "$shell: ${lines[i]}"
  done
done
