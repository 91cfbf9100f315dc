#!/usr/bin/env bash
# headers.sh COMPILER: every installed header compiles by itself, without a warning; all together
# also in the compiler's own dialect, whose macros are more.
# shellcheck source=tests/library/installed.sh
source "$(dirname "$0")/installed.sh"
headers=("$installed"/include/vellomir/*/*.h)
options=(-fsyntax-only -Wall -Wextra -Wpedantic -Werror -Wconversion -Wsign-conversion -Wshadow
    -Wold-style-cast -Wnon-virtual-dtor -Woverloaded-virtual -I "$installed/include/vellomir")

for header in "${headers[@]}"; do
    name=${header#"$installed/include/vellomir/"}
    echo "#include \"$name\"" | tee -a "$folder/all.cpp" >"$folder/alone.cpp"
    "$1" -std=c++20 "${options[@]}" "$folder/alone.cpp" || {
        echo "$name does not compile by itself."
        exit 1
    }
done
"$1" -std=gnu++20 "${options[@]}" "$folder/all.cpp"
echo "${#headers[@]} headers"
