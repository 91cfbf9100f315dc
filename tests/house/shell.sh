#!/usr/bin/env bash
# Shell scripts have no pitfalls that shellcheck knows.
# shellcheck source=tests/house/files.sh
source "$(dirname "$0")/files.sh"
trackedFiles run test bench package .ci/run '*.sh'
shellcheck -x "${files[@]}"
echo "${#files[@]} files"
