#!/usr/bin/env bash
# exports.sh SOURCE_DIR LIBRARY...: each library exports only names that a header marks with
# QUARNET_EXPORT, each with the version that it came with, runs nothing of its own at load time, and
# carries its major version. NM and READELF name the programs that know the library's processor.
set -euo pipefail

source_dir=$1
shift
failed=0

complain() {
  echo "$1" >&2
  failed=1
}

marked=$(grep -rhE 'QUARNET_EXPORT' --include='*.h' "$source_dir/quarnet" |
  sed -nE -e 's/.*(class|struct) QUARNET_EXPORT ([A-Za-z0-9_]+).*/\2/p;t' \
    -e 's/.*QUARNET_EXPORT [^(]*[ &*]([A-Za-z0-9_]+)\(.*/\1/p;t' \
    -e 's/.*QUARNET_EXPORT .*[ &]([A-Za-z0-9_]+);.*/\1/p' | sort -u | paste -sd '|')

for library in "$@"; do
  echo "$library"
  symbols=$("${NM:-nm}" -D --defined-only "$library")
  names=$(grep -v ' A QUARNET_' <<<"$symbols" | cut -d' ' -f3- | sed 's/@@.*//' | c++filt |
    sed -E 's/^(vtable|typeinfo|typeinfo name|VTT) for //; s/\[abi:cxx11\]//g; s/\(.*//' | sort -u)
  [[ -n "$names" ]] || complain "exports nothing at all"
  inner=$(grep -vE "^quarnet::(platform::)?($marked)(::($marked))?(::(~?[A-Za-z0-9_]+|operator.*))?$" \
    <<<"$names" || true)
  [[ -z "$inner" ]] || complain "exports names that no header marks:"$'\n'"$inner"
  unversioned=$(grep -vE '(@@| A )QUARNET_[0-9]+\.[0-9]+$' <<<"$symbols" || true)
  [[ -z "$unversioned" ]] || complain "exports names without a version:"$'\n'"$unversioned"

  initialisers=$("${NM:-nm}" --demangle "$library" | grep -E '_GLOBAL__(sub_)?I' || true)
  [[ -z "$initialisers" ]] || complain "runs at load time:"$'\n'"$initialisers"
  # One entry belongs to the compiler's start-up code; on arm64 another one of it looks which atomic
  # instructions there are.
  allowed=$((1 + $("${NM:-nm}" "$library" | grep -c ' init_have_lse_atomics$' || true)))
  bits=$("${READELF:-readelf}" -h "$library" | sed -nE 's/.*Class: +ELF([0-9]+)/\1/p')
  size=$("${READELF:-readelf}" -SW "$library" |
    sed -nE 's/.* \.init_array +INIT_ARRAY +[0-9a-f]+ [0-9a-f]+ ([0-9a-f]+) .*/\1/p')
  ((16#$size <= allowed * bits / 8)) || complain "has more than $allowed entries in .init_array"

  "${READELF:-readelf}" -d "$library" | grep -qE "SONAME.*\[$(basename "$library")\.[0-9]+\]" ||
    complain "has no version in its SONAME"
done
exit $failed
