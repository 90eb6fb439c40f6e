# Helpers shared by the desktop tests: each failed check is reported and
# counted, and the script ends with a summary and its exit code.
failures=0
fail() { echo "FAIL: $*" >&2; failures=$((failures + 1)); }
check() {
    local what=$1; shift
    if "$@"; then echo "ok: $what"; else fail "$what"; fi
}
finish() {
    if [ "$failures" -ne 0 ]; then
        echo "$failures check(s) failed" >&2
        exit 1
    fi
    echo "all checks passed"
}
# skip_without TOOL PACKAGE: the test cannot run here; scripts/install-deps.sh
# installs PACKAGE for the test group.
skip_without() {
    if ! command -v "$1" >/dev/null; then
        echo "SKIP: $1 is missing (Debian package $2)"
        exit 77
    fi
}
