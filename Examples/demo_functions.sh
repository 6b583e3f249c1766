# What the demonstrations share. They set `ravik`, the built program, and `project`, the folder it works in.
# shellcheck shell=bash disable=SC2154

heading()
{
    printf '\n== %s\n\n' "$*"
}

fail()
{
    printf '\ndemo: %s\ndemo: the project is kept in %s\n' "$*" "$project" >&2
    exit 1
}

# Runs `ravik` in the project, shows the command and what it prints, and insists on the exit status. What was printed
# is in `output` afterwards.
expect()
{
    local status=0 expected=$1
    shift
    printf '$ ravik'
    printf ' %q' "$@"
    printf '\n'
    output=$("$ravik" --project "$project" "$@" 2>&1) || status=$?
    printf '%s\n\n' "$output"
    ((status == expected)) || fail "'ravik $*' ended with exit status $status instead of $expected"
}
