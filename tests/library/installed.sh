# shellcheck shell=bash disable=SC2034
# Sourced: installs the archive library below "folder", a temporary one, as "installed". It is moved
# once, as packages are, so nothing may remember where it was built or installed first.
set -euo pipefail
unset DESTDIR
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

for component in library development; do
    "$CMAKE" --install "$BUILD" --component $component --prefix "$folder/first" >"$folder/log" || {
        cat "$folder/log"
        exit 1
    }
done
mv "$folder/first" "$folder/installed"
installed=$folder/installed
libraries=$(dirname "$(find "$installed" -name libvellomir-archive.a)")
if grep -rIF -e "$SOURCES" -e "$folder/first" "$installed"; then
    echo "The lines above name a place that the library's users don't have."
    exit 1
fi

# expectLinked PROGRAM static|shared: whether the program asks for the shared library.
expectLinked() {
    local form=static
    ! readelf -d "$1" | grep -qF '[libvellomir-archive.so.' || form=shared
    [[ $form == "$2" ]] && return
    echo "The program is linked with the $form library."
    exit 1
}

# The project of somebody who uses the library, away from the library's sources.
cp -r "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/consumer" "$folder/consumer"

# runConsumer PROGRAM static|shared
runConsumer() {
    expectLinked "$1" "$2"
    (cd "$folder" && "$1")
}
