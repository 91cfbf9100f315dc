#!/usr/bin/env bash
# Every source is laid out as clang-format lays it out.
# shellcheck source=tests/house/files.sh
source "$(dirname "$0")/files.sh"
trackedFiles '*.cpp' '*.h'
clang-format --dry-run -Werror "${files[@]}"
echo "${#files[@]} files"
