#!/usr/bin/env bash
# parent.sh SOURCE_DIR FOLDER PARTS [CMAKE-OPTION...]: a project that takes the library in with its
# sources builds it alone, and the static libraries that this gives, with the PARTS of the library that
# are switched on (-DQUARNET_GTK=ON and so on), serve another project once they are installed, in
# folders with absolute names. FOLDER keeps what was built for the next time; CXX, SANDBOX and QUARNET
# are as for consumer.sh.
set -euo pipefail

source_dir=$1
folder=$2
read -ra parts <<<"$3"
options=("${@:4}")

# configure NAME [OPTION...]: without what the library alone has no use for.
configure() {
  local missing
  missing=$(printf -- '-DCMAKE_DISABLE_FIND_PACKAGE_%s=ON ' Boost CLI11 GTest benchmark simdjson Qt5Core)
  # shellcheck disable=SC2086
  cmake --no-warn-unused-cli -G Ninja -S "$source_dir/tests/tools/parent" -B "$folder/$1" \
    -DPARENT_OF="$source_dir" $missing "${options[@]}" "${@:2}" >"$folder/$1.log"
}
build() {
  cmake --build "$folder/$1" --parallel 2 >>"$folder/$1.log" || {
    tail -n 40 "$folder/$1.log" >&2
    exit 1
  }
  echo "   $(ninja -C "$folder/$1" -t commands quarnet | wc -l) steps for quarnet::quarnet," \
    "$(ninja -C "$folder/$1" -t commands | wc -l) for all"
}
mkdir -p "$folder"

echo "-- by add_subdirectory"
configure added
build added

echo "-- by FetchContent"
tree=$folder/tree
rm -rf "$tree"
configure fetched -DPARENT_FETCHES=ON "${parts[@]}" -DCMAKE_INSTALL_PREFIX="$tree" \
  -DCMAKE_INSTALL_LIBDIR="$tree/lib" -DCMAKE_INSTALL_INCLUDEDIR="$tree/headers"
build fetched
"$source_dir/tests/tools/consumer.sh" "$source_dir" "$folder/fetched" "${options[@]}"
