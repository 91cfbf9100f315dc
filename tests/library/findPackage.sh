#!/usr/bin/env bash
# findPackage.sh static|shared: builds and runs a CMake project that uses the installed library.
# shellcheck source=tests/library/installed.sh
source "$(dirname "$0")/installed.sh"
options=(-DFORM="$1" -DCMAKE_PREFIX_PATH="$installed" -DCMAKE_CXX_COMPILER="$CXX")

# The shared library's users need nothing of what the engine is built with.
[[ $1 == static ]] || options+=(-DCMAKE_DISABLE_FIND_PACKAGE_ZLIB=ON
    -DCMAKE_DISABLE_FIND_PACKAGE_PkgConfig=ON)

"$CMAKE" -G "$GENERATOR" -S "$folder/consumer" -B "$folder/build" "${options[@]}"
"$CMAKE" --build "$folder/build"
runConsumer "$folder/build/consumer" "$1"
