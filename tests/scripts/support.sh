# shellcheck shell=bash
# What the tests of the scripts share. They start the launcher, so each runs through
# tests/support/contained, and refuses to run outside. Sets `root`, the folder of the
# project, `home`, the home directory that the user's record names in here, and `log`,
# the launcher's log in it.
#
# "a && b || c" means that either may fail, and the variables are for the tests.
# shellcheck disable=SC2015,SC2034

root=$(CDPATH='' cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd -P)

if [ "${CONTAINED_FROM:-}" = '' ] ||
    [ "$(readlink /proc/self/ns/pid)" = "$CONTAINED_FROM" ]; then
    echo "$0: what is tested here kills; run it through tests/support/contained" >&2
    exit 2
fi

home=$(mktemp -d)
log=$home/Library/Logs/Tamlin/voplog/launcher.log
awk -F: -v OFS=: -v id="$(id -u)" -v home="$home" \
    '$3 == id { $6 = home } { print }' /etc/passwd >"$home/passwd"
mount --bind "$home/passwd" /etc/passwd || exit 1

failures=0
passed=0

# Runs the function of that name, whose words make the sentence that it shows, with the
# arguments, and counts it as failed if it returns non-zero.
check() {
    if "$@"; then
        echo "passed: ${1//_/ }"
        passed=$((passed + 1))
    else
        echo "FAILED: ${1//_/ }"
        failures=$((failures + 1))
    fi
}

# Ends the test program.
finish() {
    echo "$passed passed, $failures failed"
    [ "$failures" -eq 0 ]
    exit
}

# Runs a command with its output in `output` and its exit code in `code`.
output=''
code=0
capture() {
    output=$(timeout 300 "$@" 2>&1 </dev/null)
    code=$?
}

expect_code() {
    [ "$code" -eq "$1" ] || complain "the exit code is $code, not $1"
}

# Expects a line that the extended regular expression matches as a whole.
expect_line() {
    grep -Eqx -- "$1" <<<"$output" || complain "there is no line $1"
}

# Expects the output to be one line, matched by the extended regular expression.
expect_only_line() {
    [ "$(wc -l <<<"$output")" -eq 1 ] || complain 'this is more than one line' || return
    expect_line "$1"
}

complain() {
    echo "  $1; the output is:"
    printf '%s\n' "$output" | tail -n 40 | sed 's/^/  | /'
    return 1
}

# Waits until the command succeeds; fails if that takes longer than a minute.
wait_until() {
    local attempt
    for attempt in {1..1200}; do
        if "$@"; then return 0; fi
        sleep 0.05
    done
    complain "after $attempt attempts this is not true: $*"
}
