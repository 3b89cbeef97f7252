# What demo and working-day share, to be sourced with the tool's path as $1: runs the tool step by step in a directory of its
# own ($work) and stops at the first observation that is not as it must be.
set -uo pipefail

[ $# -eq 1 ] && [ -x "$1" ] || { echo "usage: $0 PATH/TO/mediadata" >&2; exit 2; }
tool=$(realpath "$1")
root=$(cd "$(dirname "$0")/.." && pwd)
sample=$root/samples/telephone.conf
work=$(mktemp -d "${TMPDIR:-/tmp}/mediadata-steps.XXXXXX")
trap 'rm -rf "$work"' EXIT
export MEDIADATA_DIR=$work/telephone
output=$work/output

step() { printf '\n== %s\n' "$*"; }
fail() {
    printf '\n%s FAILED: %s\n' "$(basename "$0")" "$*" >&2
    [ -s "$output" ] && sed 's/^/  | /' "$output" >&2
    exit 1
}

# run STATUS WORDS...: one process of the tool; its whole output is kept in $output.
run() {
    local wanted=$1 status=0
    shift
    printf '$ mediadata %s\n' "$*"
    "$tool" "$@" >"$output" 2>&1 || status=$?
    [ "$status" -eq "$wanted" ] || fail "mediadata $* ended with status $status instead of $wanted"
}
show() { sed 's/^/  /' "$output"; }
brief() { head -n "$1" "$output" | sed 's/^/  /'; echo "  ... $(wc -l <"$output") lines"; }
# Each line is a fixed text that a line of the output must hold.
expect() {
    local text
    for text in "$@"; do grep -qF -- "$text" "$output" || fail "the output does not say: $text"; done
}
# value ITEM VALUE: what the library answers for one item, secrets too.
value() {
    local got
    got=$("$tool" get --show-secrets "$1") || fail "cannot read $1"
    [ "$got" = "$2" ] || fail "$1 is '$got' instead of '$2'"
    printf '  %s is %s\n' "$1" "$2"
}
