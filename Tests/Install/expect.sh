# For bash scripts, to be sourced.
# shellcheck shell=bash

# Runs a command and insists on its exit status and on a fragment of what it prints; an empty one stands for anything.
expect()
{
    local expected=$1 fragment=$2 status=0 output
    shift 2
    output=$("$@" 2>&1) || status=$?
    if ((status != expected)) || [[ $output != *"$fragment"* ]]; then
        printf 'expected status %s and "%s" of: %s\nstatus %s, and it printed:\n%s\n' \
            "$expected" "$fragment" "$*" "$status" "$output" >&2
        exit 1
    fi
}
