# shellcheck shell=bash
# The steps of ./test, and the sum of what their runners counted.

passed=0
failed=0
logs=${root:?}/build/logs
jobs=$(nproc)
summary=()

fail() {
    failed=$((failed + 1))
    summary+=("$1: FAILED")
    echo "FAILED: $1"
}

# step NAME COMMAND...: runs a command with its output in a log, which is shown when it fails.
step() {
    local name=$1 start=$SECONDS
    shift
    echo "== $name"
    if "$@" >"$logs/$name.log" 2>&1 </dev/null; then
        echo "   done in $((SECONDS - start)) s"
    else
        tail -n 200 "$logs/$name.log"
        fail "$name"
        return 1
    fi
}

# count NAME STATUS: adds what a ctest run said in its log. No closing line, no test, or a status
# that its counts don't explain is a failure of its own.
count() {
    local closing='^[0-9]+% tests passed, ([0-9]+) tests? failed out of ([0-9]+)$' line bad all
    line=$(grep -E "$closing" "$logs/$1.log" | tail -n 1)
    read -r bad all < <(sed -E "s/$closing/\1 \2/" <<<"$line")
    if [[ -z $line || $all == 0 ]]; then
        fail "$1, which ran no test (status $2)"
        return
    fi
    passed=$((passed + all - bad))
    failed=$((failed + bad))
    summary+=("$1: $line")
    [[ $2 == 0 || $bad != 0 ]] || fail "$1, which ended with status $2"
}

# runTests PRESET [OPTION...]: runs the tests of build/PRESET and counts them. The thread
# sanitizer needs memory where it expects it, so addresses are not randomised where that is allowed.
runTests() {
    local name=$1-tests wrapper=()
    setarch -R true 2>/dev/null && wrapper=(setarch -R)
    echo "== $name"
    "${wrapper[@]}" ctest --test-dir "$root/build/$1" --output-on-failure --no-tests=error \
        --parallel "$jobs" "${@:2}" 2>&1 </dev/null | tee "$logs/$name.log"
    count "$name" "${PIPESTATUS[0]}"
}

# conclude: says how every runner ended and, as the last line, the sum; fails when anything did.
conclude() {
    echo
    printf '%s\n' "${summary[@]}"
    echo "$passed passed, $failed failed"
    [[ $failed == 0 && $passed != 0 ]]
}
