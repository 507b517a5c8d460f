#!/usr/bin/env bash
# hardening.sh BUILD_DIR PROCESSOR COMPILER: each program and library that was built carries the protections of
# cmake/Hardening.cmake. They are looked for in the files themselves; what leaves no trace in a file
# is looked for in the commands that compiled it.
set -euo pipefail

build_dir=$1
processor=$2
compiler=$3
# The first instruction of a function, where the processor checks that a jump may end there.
case $processor in
  x86_64) landing='endbr64' ;;
  aarch64) landing='paciasp|bti' ;;
esac

failed=0
complain() {
  echo "   $1" >&2
  failed=1
}
# expect WORDS PATTERN: a line of the input matches the pattern. refuse WORDS PATTERN: none does.
expect() { grep -E -- "$2" >/dev/null || complain "$1"; }
refuse() { ! grep -E -- "$2" || complain "$1"; }

# entries FILE: the first instruction of each C++ function that other files may call, and of main.
entries() {
  nm -D --defined-only "$1" | sed -nE 's/^[0-9a-f]+ [TW] (_Z[^@]*).*/<\1>:/p' |
    grep -A 1 -F -f - -e '<main>:' <("${OBJDUMP:-objdump}" -d --no-show-raw-insn "$1") | awk '/^ / { print $2 }'
}

mapfile -t files < <(find "$build_dir" \( -name CMakeFiles -o -name tests -o -name fuzz \) -prune -o \
  -type f -perm /100 -print)
((${#files[@]} > 0))
checked=
for file in "${files[@]}"; do
  echo "$file"
  readelf -hW "$file" | expect "may be loaded at one address only" 'Type: *DYN'
  readelf -lW "$file" | expect "its relocations stay writable" GNU_RELRO
  readelf -dW "$file" | expect "binds its functions late" 'FLAGS.*NOW'
  called=$(nm -D --undefined-only "$file" | sed -E 's/^ *[Uw] //; s/@.*//')
  expect "has no stack protector" '^__stack_chk_fail$' <<<"$called"
  # The C library gives these a checked form in C++ with GCC only; others have one with either compiler,
  # which is taken where the compiler knows the size.
  if [[ "$compiler" == GNU ]]; then
    refuse "prints without a check of the size" '^(f|s|sn)printf$' <<<"$called"
  fi
  checked+=$(grep -E '^__.*_chk$' <<<"$called" || true)
  others=$(entries "$file" | grep -vcxE "${landing:-.*}" || true)
  ((others == 0)) || complain "has $others functions at which no checked jump may end"
done

[[ -n "$checked" ]] || complain "no function that checks a size is called"
commands=$(grep '"command":' "$build_dir/compile_commands.json")
for option in -D_FORTIFY_SOURCE=3 -fstack-protector-strong; do
  missing=$(grep -vc -e " $option " <<<"$commands" || true)
  ((missing == 0)) || complain "$missing files were compiled without $option"
done
probed=$(grep -c -e ' -fstack-clash-protection ' <<<"$commands" || true)
[[ "$processor" != x86_64 || "$probed" == "$(wc -l <<<"$commands")" ]] || complain "large frames are not probed"
exit $failed
