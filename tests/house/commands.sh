#!/usr/bin/env bash
# The shell behind ./run and ./test: sums what the runners say, and lets no silence pass.
set -uo pipefail
cd "$(dirname "$(readlink -f "$0")")/../.." || exit
# shellcheck source=scripts/common.sh
source scripts/common.sh
# shellcheck source=scripts/steps.sh
source scripts/steps.sh

logs=$(mktemp -d)
trap 'rm -rf "$logs"' EXIT
wrong=0

# expect WHAT EXPECTED FOUND
expect() {
    [[ $2 == "$3" ]] && return
    echo "$1: expected \"$2\", found \"$3\""
    wrong=1
}

# countOf STATUS [LINE...]: what ./test counts when a runner ends with this status and these lines.
countOf() {
    passed=0 failed=0
    printf '%s\n' "${@:2}" >"$logs/runner.log"
    count runner "$1" >/dev/null
    echo "$passed passed, $failed failed"
}

closing="tests passed, 2 tests failed out of 40"
expect "all passed" "7 passed, 0 failed" "$(countOf 0 '100% tests passed, 0 tests failed out of 7')"
expect "some failed" "38 passed, 2 failed" "$(countOf 8 "95% $closing" 'Errors while running CTest')"
expect "a status without a count" "7 passed, 1 failed" \
    "$(countOf 8 '100% tests passed, 0 tests failed out of 7')"
expect "a crash before the closing line" "0 passed, 1 failed" "$(countOf 139 'Test project')"
expect "no test" "0 passed, 1 failed" "$(countOf 8 'No tests were found!!!')"
expect "no output" "0 passed, 1 failed" "$(countOf 0)"

expect "a step that fails" "1" "$(step broken false >/dev/null; echo $?)"
expect "its log" "why" "$(step broken bash -c 'echo why; false' | sed -n 2p)"
expect "the sum of nothing" "1" "$(passed=0 failed=0; conclude >/dev/null; echo $?)"
expect "the sum with a failure" "1" "$(passed=9 failed=1; conclude >/dev/null; echo $?)"
expect "the last line" "9 passed, 0 failed" "$(passed=9 failed=0; conclude | tail -n 1)"

expect "what is missing" "no-such-package" "$(missingPackages bash no-such-package)"
expect "what is there" "" "$(missingPackages bash coreutils)"
exit $wrong
