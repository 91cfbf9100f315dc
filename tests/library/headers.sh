#!/usr/bin/env bash
# headers.sh COMPILER [--each]: all installed headers together compile without a warning in a source
# that has a global "struct archive", in both dialects. The "unix" macro of the compiler's own dialect is
# the same before and after. With --each, every header also compiles by itself; one compiler is enough
# for that, as both have the same standard library.
# shellcheck source=tests/library/installed.sh
source "$(dirname "$0")/installed.sh"
headers=("$installed"/include/vellomir/*/*.h)
options=(-fsyntax-only -Wall -Wextra -Wpedantic -Werror -Wconversion -Wsign-conversion -Wshadow
    -Wold-style-cast -Wnon-virtual-dtor -Woverloaded-virtual -I "$installed/include/vellomir")

cat >"$folder/all.cpp" <<'END'
struct archive {
    int value;
};
#ifdef unix
constexpr int unixBefore = unix;
#define HAD_UNIX
#endif
END
for header in "${headers[@]}"; do
    name=${header#"$installed/include/vellomir/"}
    echo "#include \"$name\"" | tee -a "$folder/all.cpp" >"$folder/alone.cpp"
    [[ ${2:-} != --each ]] || "$1" -std=c++20 "${options[@]}" "$folder/alone.cpp" || {
        echo "$name does not compile by itself."
        exit 1
    }
done
cat >>"$folder/all.cpp" <<'END'
int valueOf(const struct archive &archive);
int valueOf(const struct archive &archive) {
    return archive.value;
}
#ifdef HAD_UNIX
static_assert(unix == unixBefore, "the macro is as it was");
#elif defined unix
#error "The headers define the macro unix."
#endif
END
"$1" -std=c++20 "${options[@]}" "$folder/all.cpp"
"$1" -std=gnu++20 "${options[@]}" "$folder/all.cpp"
# The check above is of a dialect that has the macro.
"$1" -std=gnu++20 -dM -E -x c++ /dev/null | grep '^#define unix ' >/dev/null
echo "${#headers[@]} headers"
