# Counts the results of a test run and prints its closing line. To be sourced after common.sh.
passed=0
failed=0
skipped=0

# Adds the summary that GoogleTest left in a file: add_googletest FILE STATUS
add_googletest() {
    local file=$1 status=$2 failures
    count_of() { sed -nE "s/^\[  $1 +\] ([0-9]+) tests?[.,].*/\1/p" "$file" | tail -n 1; }
    failures=$(count_of FAILED)
    passed=$((passed + $(count_of PASSED || true) + 0))
    skipped=$((skipped + $(count_of SKIPPED || true) + 0))
    # A run that ends without a summary, or badly in spite of one, has failed as well.
    if [ "$status" -ne 0 ] && [ -z "$failures" ]; then
        echo "the test program ended with status $status" >&2
        failures=1
    fi
    failed=$((failed + ${failures:-0}))
}

# Runs one check of the whole: check_step NAME COMMAND...
check_step() {
    local name=$1
    shift
    if "$@"; then
        echo "[       OK ] $name"
        passed=$((passed + 1))
    else
        echo "[  FAILED  ] $name"
        failed=$((failed + 1))
    fi
}

# The last line of a run, kept for whoever runs several: closing_line NAME
closing_line() {
    mkdir -p build/results
    echo "$passed passed, $failed failed, $skipped skipped" | tee "build/results/$1"
    [ "$failed" -eq 0 ] && [ "$passed" -gt 0 ]
}
