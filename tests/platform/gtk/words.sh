#!/usr/bin/env bash
# words.sh SOURCE_DIR: every text of the demo application's window is marked for translation, and every
# language has a translation of it that takes the same values.
# Exit code 77: gettext is not installed.
set -euo pipefail
cd "$1/examples/demo"

if ! command -v xgettext >/dev/null; then
  echo "skipped: gettext is not installed" >&2
  exit 77
fi
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
fail() {
  echo "FAILED: $1" >&2
  exit 1
}
# extract NAME [OPTION] FILE...: the texts of sources, into NAME.pot.
extract() { xgettext --from-code=UTF-8 --no-location --no-wrap --keyword=_ -o "$folder/$1.pot" "${@:2}"; }

extract marked ./*.cpp
for catalogue in po/*.po; do
  msgfmt --check -o /dev/null "$catalogue"
  msgcmp "$catalogue" "$folder/marked.pot" 2>"$folder/problems" || fail "$(cat "$folder/problems")"
  if [[ -s "$folder/problems" ]]; then fail "$(cat "$folder/problems")"; fi
done

# What begins like a sentence or a label, has words or is Korean is for people. Those of main.cpp and
# Options.cpp are the command line's, which is in English.
shopt -s extglob
extract all --extract-all ./!(main|Options).cpp 2>/dev/null
for texts in all marked; do
  sed -n 's/^\(msgid \)\?"/"/p' "$folder/$texts.pot" | sort -u >"$folder/$texts"
done
if comm -23 "$folder"/{all,marked} | LC_ALL=C.UTF-8 grep -P '^"(.*[^ -~…]|_?[A-Z]|.*\w \w)'; then
  fail "not marked for translation"
fi
