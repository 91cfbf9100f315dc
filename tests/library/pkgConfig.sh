#!/usr/bin/env bash
# pkgConfig.sh static|shared: builds and runs a program with the flags that pkg-config knows.
# shellcheck source=tests/library/installed.sh
source "$(dirname "$0")/installed.sh"
package=vellomir-archive
if [[ $1 == static ]]; then
    package+=-static
    export PKG_CONFIG_PATH=$libraries/pkgconfig
else
    # This package alone: the shared library's users need nothing of what the engine is built with.
    export PKG_CONFIG_LIBDIR=$libraries/pkgconfig
    export LD_LIBRARY_PATH=$libraries
fi

flags=$(pkg-config --cflags --libs "$package >= 3")
echo "$flags"
read -ra flags <<<"$flags"
"$CXX" -std=c++20 -Wall -Wextra -Wpedantic -Werror -o "$folder/program" "$folder/consumer/main.cpp" \
    "${flags[@]}"
runConsumer "$folder/program" "$1"
