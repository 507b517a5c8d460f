#!/usr/bin/env bash
# consumer.sh SOURCE_DIR BUILD_DIR [CMAKE-OPTION...]: what `cmake --install` puts in place serves a
# project outside the tree, which builds with CMake and with pkg-config and makes a call; the installed
# programs run. The compilers are CXX and, where there is one, OTHER_CXX; a build without programs is
# helped out by SANDBOX and QUARNET. The options name another processor's tools to CMake.
set -euo pipefail

source_dir=$1
build_dir=$2
options=("${@:3}")
folder=$(mktemp -d)
source "$source_dir/scripts/lib/sandbox.sh"
trap 'stop_sandbox; rm -rf "$folder"' EXIT
prefix=$folder/prefix
sandbox=${SANDBOX:-$prefix/bin/quarnet-sandbox}
quarnet=${QUARNET:-$prefix/bin/quarnet}
consumer=$source_dir/examples/consumer
unset "${!QUARNET_@}"
export CXX=${CXX:-c++}
compilers=("$CXX" ${OTHER_CXX:+"$OTHER_CXX"})
readonly strict=(-Wall -Wextra -Wpedantic -Wconversion -Wshadow -Wold-style-cast -Werror)

cmake --install "$build_dir" --prefix "$prefix" >"$folder/install.log"
# Where the library is when its folder's name is absolute, too.
library=$(sed -n 's|/pkgconfig/quarnet\.pc$||p' "$build_dir/install_manifest.txt")
export PKG_CONFIG_PATH=$library/pkgconfig
[[ -e "$prefix/share/doc/quarnet/LICENSE" ]]
headers=$(realpath "$(pkg-config --variable=includedir quarnet)")

echo "-- the installed headers are complete, and internal ones stay behind"
(cd "$headers" && find quarnet -name '*.h') | sed 's/.*/#include "&"/' >"$folder/all.cpp"
grep -q 'quarnet/quarnet.h' "$folder/all.cpp"
[[ ! -e "$headers/quarnet/core/Json.h" ]]
for compiler in "${compilers[@]}"; do
  $compiler -std=c++20 "${strict[@]}" -fsyntax-only -I"$headers" "$folder/all.cpp" "$consumer/main.cpp"
done
if $CXX -std=c++17 -fsyntax-only -I"$headers" "$folder/all.cpp" 2>"$folder/older"; then exit 1; fi
grep -m 1 error "$folder/older" | grep -q 'needs C++20'

echo "-- they have no type that is of another size where dates or files are counted in 64 bits"
if grep -rnwE 'time_t|off_t|ino_t|timespec|timeval|stat' "$headers/quarnet"; then exit 1; fi

echo "-- with CMake"
cmake -S "$consumer" -B "$folder/cmake" -DCMAKE_PREFIX_PATH="$library/.." "${options[@]}" \
  >"$folder/cmake.log"
cmake --build "$folder/cmake" >>"$folder/cmake.log"
echo "-- with pkg-config"
cp -r "$consumer" "$folder/make"
make -s -C "$folder/make"

echo "-- with every further library that was built, and what tests of applications use"
mkdir "$folder/toolkits"
mapfile -t components < <(sed -nE 's/^add_library\(quarnet::([a-z]+) .*/\1/p' \
  "$library/cmake/quarnet/quarnet-targets.cmake")
cat >"$folder/toolkits/CMakeLists.txt" <<CMAKE
cmake_minimum_required(VERSION 3.25)
project(toolkits LANGUAGES CXX)
find_package(quarnet REQUIRED COMPONENTS ${components[*]})
add_executable(toolkits main.cpp)
target_link_libraries(toolkits PRIVATE ${components[*]/#/quarnet::})
CMAKE
{
  (cd "$headers" && find quarnet -name '*Toolkit.h' -o -name HeadlessLibrary.h \
    -o -name SecretServiceDefaults.h) | sed 's/.*/#include <&>/'
  echo 'int main() { quarnet::platform::HeadlessLibrary().signIn(); }'
} >"$folder/toolkits/main.cpp"
cmake -S "$folder/toolkits" -B "$folder/toolkits/build" -DCMAKE_PREFIX_PATH="$library/.." \
  "${options[@]}" >"$folder/cmake.log"
cmake --build "$folder/toolkits/build" >>"$folder/cmake.log"
LD_LIBRARY_PATH=$library "$folder/toolkits/build/toolkits"

echo "-- the same with pkg-config"
linkage=
if [[ ! -e "$library/libquarnet.so" ]]; then linkage=--static; fi
mapfile -t packages < <(cd "$library/pkgconfig" && basename -s .pc -- *.pc)
read -ra flags < <(pkg-config $linkage --cflags --libs "${packages[@]}")
for compiler in "${compilers[@]}"; do
  $compiler -std=c++20 "${strict[@]}" -o "$folder/toolkits/made" "$folder/toolkits/main.cpp" "${flags[@]}"
  LD_LIBRARY_PATH=$library "$folder/toolkits/made"
done
programs=("$folder"/{cmake/consumer,make/consumer,toolkits/{made,build/toolkits}})
if [[ -n "$linkage" ]] && readelf -d "${programs[@]}" | grep 'NEEDED.*quarnet'; then exit 1; fi

echo "-- what was not built is named"
sed -i 's/COMPONENTS/& holograms/' "$folder/toolkits/CMakeLists.txt"
if cmake -S "$folder/toolkits" -B "$folder/none" -DCMAKE_PREFIX_PATH="$library/.." "${options[@]}" \
  >"$folder/cmake.log" 2>"$folder/none.log"; then exit 1; fi
grep -q 'no component "holograms"' "$folder/none.log"

echo "-- it makes a call"
start_sandbox "$sandbox"
"$quarnet" token import "$folder/token.json"
for program in "$folder/cmake/consumer" "$folder/make/consumer"; do
  LD_LIBRARY_PATH=$library "$program" "https://$QUARNET_API_HOST/v1/places" | tee "$folder/answer"
  grep -q '"keyword":"서울"' "$folder/answer"
done

if [[ "$quarnet" != "$prefix/bin/quarnet" ]]; then exit; fi
echo "-- the login window's program is found, and finds its libraries"
said=$(env -u DISPLAY -u WAYLAND_DISPLAY "$quarnet" login 2>&1) || true
[[ "$said" == *"takes a display"* || (! -e "$prefix/libexec" && "$said" == *"built without GTK"*) ]] || {
  echo "$said" >&2
  exit 1
}
