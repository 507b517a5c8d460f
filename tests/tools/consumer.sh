#!/usr/bin/env bash
# consumer.sh SOURCE_DIR BUILD_DIR [CMAKE-OPTION...]: what `cmake --install` puts in place serves a
# project outside the tree, which builds with CMake and with pkg-config and makes a call; the installed
# programs run. CXX is the compiler; the options name another processor's tools to CMake.
set -euo pipefail

source_dir=$1
build_dir=$2
options=("${@:3}")
folder=$(mktemp -d)
source "$source_dir/scripts/lib/sandbox.sh"
trap 'stop_sandbox; rm -rf "$folder"' EXIT
prefix=$folder/prefix
consumer=$source_dir/examples/consumer
unset "${!QUARNET_@}"

cmake --install "$build_dir" --prefix "$prefix" >"$folder/install.log"
library=$(dirname "$(find "$prefix" -name libquarnet.so)")

echo "-- the installed headers are complete, and internal ones stay behind"
(cd "$prefix/include" && find quarnet -name '*.h') |
  sed 's/.*/#include "&"/' >"$folder/all.cpp"
grep -q 'quarnet/quarnet.h' "$folder/all.cpp"
${CXX:-g++} -std=c++20 -Wall -Wextra -Werror -fsyntax-only -I"$prefix/include" "$folder/all.cpp"
[[ ! -e "$prefix/include/quarnet/core/Json.h" ]]
echo "-- they have no type that is of another size where dates or files are counted in 64 bits"
if grep -rnwE 'time_t|off_t|ino_t|timespec|timeval|stat' "$prefix/include"; then exit 1; fi

echo "-- with CMake"
cmake -S "$consumer" -B "$folder/cmake" -DCMAKE_PREFIX_PATH="$prefix" "${options[@]}" \
  >"$folder/cmake.log"
cmake --build "$folder/cmake" >>"$folder/cmake.log"
echo "-- with pkg-config"
cp -r "$consumer" "$folder/make"
PKG_CONFIG_PATH=$library/pkgconfig make -s -C "$folder/make"

echo "-- with every toolkit that was built, and what tests of applications use"
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
  (cd "$prefix/include" && find quarnet -name '*Toolkit.h' -o -name HeadlessLibrary.h) | sed 's/.*/#include <&>/'
  echo 'int main() { quarnet::platform::HeadlessLibrary().signIn(); }'
} >"$folder/toolkits/main.cpp"
cmake -S "$folder/toolkits" -B "$folder/toolkits/build" -DCMAKE_PREFIX_PATH="$prefix" "${options[@]}" \
  >"$folder/cmake.log"
cmake --build "$folder/toolkits/build" >>"$folder/cmake.log"
LD_LIBRARY_PATH=$library "$folder/toolkits/build/toolkits"

echo "-- it makes a call"
start_sandbox "$prefix/bin/quarnet-sandbox"
"$prefix/bin/quarnet" token import "$folder/token.json"
for program in "$folder/cmake/consumer" "$folder/make/consumer"; do
  LD_LIBRARY_PATH=$library "$program" "https://$QUARNET_API_HOST/v1/places" | tee "$folder/answer"
  grep -q '"keyword":"서울"' "$folder/answer"
done

echo "-- the login window's program is found, and finds its libraries"
said=$(env -u DISPLAY -u WAYLAND_DISPLAY "$prefix/bin/quarnet" login 2>&1) || true
[[ "$said" == *"takes a display"* || (! -e "$prefix/libexec" && "$said" == *"built without GTK"*) ]] || {
  echo "$said" >&2
  exit 1
}
