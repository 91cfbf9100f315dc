#!/usr/bin/env bash
# The library configures alone, without what the job and the command line need.
set -euo pipefail
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
options=(-DVELLOMIR_ARCHIVE_ONLY=ON -DBUILD_TESTING=OFF -DCMAKE_CXX_COMPILER="$CXX")
for package in Qt6 CLI11 nlohmann_json GTest; do
    options+=("-DCMAKE_DISABLE_FIND_PACKAGE_$package=ON")
done

"$CMAKE" -G "$GENERATOR" -S "$SOURCES" -B "$folder/build" "${options[@]}"
if grep -i '^[^/]*expat' "$folder/build/CMakeCache.txt"; then
    echo "Expat was looked for."
    exit 1
fi
"$CMAKE" --build "$folder/build" --target help | grep -q vellomir-archive-shared
! "$CMAKE" --build "$folder/build" --target help | grep vellomir-job
