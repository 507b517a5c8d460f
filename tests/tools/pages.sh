#!/usr/bin/env bash
# pages.sh FOLDER: man shows the manual pages without a warning, and those that they name are there.
set -euo pipefail

if ! command -v man >/dev/null; then
  echo "skipped: man is not installed" >&2
  exit 77
fi
cd "$1"
for page in *.1; do
  echo "-- $page"
  warnings=$(MANROFFSEQ='' man --warnings -E UTF-8 -l -Tutf8 -Z "$page" 2>&1 >/dev/null)
  [[ -z "$warnings" ]] || { echo "$warnings" >&2 && exit 1; }
  sed -n 's/^\.BR \(.*\) (1),\{0,1\}$/\1.1/p' "$page" | sed 's/\\-/-/g' | xargs -r ls >/dev/null
done
