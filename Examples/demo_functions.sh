# What the demonstrations share. They set `ravik`, the built program, and `project`, the folder it works in; the one with
# several projects also `prompt`, what stands before a command, those on devices `device`, the built program that plays one, and `examples`, the folder of the examples.
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

# Runs `ravik` in the project, shows the command and what it prints, or so many lines of the end as `shown` says, and
# insists on the exit status. What was printed is in `output` afterwards.
expect()
{
    local status=0 expected=$1
    shift
    printf '%s$ ravik' "${prompt:-}"
    printf ' %q' "$@"
    printf '\n'
    output=$("$ravik" --project "$project" "$@" 2>&1) || status=$?
    tail -n "${shown:-+1}" <<<"$output"
    printf '\n'
    ((status == expected)) || fail "'ravik $*' ended with exit status $status instead of $expected"
}

# The processes of the devices that run.
devices=()

# Starts a device with the given options and waits until it listens; its port is in `port` afterwards.
start_device()
{
    local pipe=$project/device
    mkfifo "$pipe"
    "$device" --port 0 "$@" >"$pipe" &
    devices+=($!)
    read -r port <"$pipe" || fail "the device does not start"
    rm "$pipe"
}

end_devices()
{
    ((${#devices[@]} == 0)) || kill "${devices[@]}" 2>/dev/null || true
}

# Makes the plant's project on the devices that listen on these ports.
make_modbus_project()
{
    local filler=$1 packer=$2
    cp "$examples/plant/recipes.json" "$project"
    sed "s/\"port\": 1502/\"port\": $filler/; s/\"port\": 1503/\"port\": $packer/" "$examples/modbus/ravik.json" \
        >"$project/ravik.json"
}
