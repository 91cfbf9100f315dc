#!/usr/bin/env bash
# No source grows beyond what one can hold in mind.
limit=400
# shellcheck source=tests/house/files.sh
source "$(dirname "$0")/files.sh"
trackedFiles '*.cpp' '*.h' '*.qml' '*.py' '*.sh' run test bench package
long=$(wc -l -- "${files[@]}" | awk -v limit=$limit '$2 != "total" && $1 > limit')
if [[ -n $long ]]; then
    echo "Longer than $limit lines:"
    echo "$long"
    exit 1
fi
echo "${#files[@]} files"
