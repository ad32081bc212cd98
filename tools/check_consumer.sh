#!/usr/bin/env bash
# Builds examples/consumer as a host project would and runs it (it checks
# that the library answers with the version of the headers it was built with):
#   tools/check_consumer.sh installed PRESET
#       against `cmake --install build/PRESET`, found with find_package(moxh5);
#       a mingw preset builds with its toolchain and runs under Wine
#   tools/check_consumer.sh subproject
#       with add_subdirectory() of this repository (Linux), which must build
#       the library alone: no tests, no tools
# Works in build/consumer-*/; the presets must be built first.
set -euo pipefail
ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$ROOT"

fail() { printf 'check_consumer: %s\n' "$*" >&2; exit 1; }
# The consumer is configured as with a compiler whose default is C++14 and a
# project that asks for no standard: the library's target must raise it to
# the C++17 its headers need.
configure_and_build() {
  local dir=$1
  shift
  rm -rf "$dir"
  cmake -G Ninja -S examples/consumer -B "$dir" -DCMAKE_BUILD_TYPE=Release \
    -DCMAKE_CXX_FLAGS=-std=c++14 "$@" >"$dir.log" 2>&1 ||
    { tail -n 30 "$dir.log" >&2; fail "configuring $dir failed (log: $dir.log)"; }
  nice cmake --build "$dir" -j2 >>"$dir.log" 2>&1 ||
    { tail -n 30 "$dir.log" >&2; fail "building $dir failed (log: $dir.log)"; }
}

case "${1:-}" in
  installed)
    preset=${2:?preset}
    [ -d "build/$preset" ] || fail "build/$preset does not exist: build the preset first"
    prefix="$ROOT/build/consumer-$preset/prefix"
    dir="$ROOT/build/consumer-$preset/consumer"
    rm -rf "$prefix"
    cmake --install "build/$preset" --prefix "$prefix" >/dev/null
    toolchain=$(sed -n 's/^CMAKE_TOOLCHAIN_FILE:[A-Z]*=//p' "build/$preset/CMakeCache.txt")
    if [ -n "$toolchain" ]; then
      # The cross toolchains look for packages only below their roots: name
      # the package folder itself.
      configure_and_build "$dir" -DCMAKE_TOOLCHAIN_FILE="$toolchain" \
        -Dmoxh5_DIR="$prefix/lib/cmake/moxh5"
      # A Windows host ships the DLLs beside its program.
      cp "$prefix"/bin/*.dll "$dir/"
      "$ROOT/cmake/toolchains/wine-run.sh" "$dir/moxh5_consumer.exe"
    else
      configure_and_build "$dir" -DCMAKE_PREFIX_PATH="$prefix"
      "$dir/moxh5_consumer"
    fi
    ;;
  subproject)
    dir="$ROOT/build/consumer-subproject"
    mkdir -p "$ROOT/build"
    configure_and_build "$dir" -DMOXH5_SOURCE_DIR="$ROOT"
    for target in moxh5-play moxh5_unit_tests; do
      if cmake --build "$dir" --target help | grep -q "^$target:"; then
        fail "$target is built in a subproject build"
      fi
    done
    "$dir/moxh5_consumer"
    ;;
  *)
    fail "usage: tools/check_consumer.sh installed PRESET | subproject"
    ;;
esac
