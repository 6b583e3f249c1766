#!/usr/bin/env bash
# Serves the bottling line to a browser until Ctrl+C: demo_page.sh RAVIK DEVICE [PORT], where RAVIK and DEVICE are the
# built programs `ravik` and `modbus_device`. The service takes the port (8420) or the next that is free.
set -euo pipefail

if (($# < 2 || $# > 3)); then
    echo "usage: ${0##*/} PATH-OF-RAVIK PATH-OF-MODBUS-DEVICE [PORT]" >&2
    exit 2
fi
ravik=$(realpath "$1")
device=$(realpath "$2")
first_port=${3:-8420}
examples=$(dirname "$(realpath "${BASH_SOURCE[0]}")")
folder=$(mktemp -d "${TMPDIR:-/tmp}/ravik-demo.XXXXXX")
# The page calls a project by the name of its folder.
project=$folder/bottling-line
mkdir "$project"
service=

# shellcheck source=demo_functions.sh
source "$examples/demo_functions.sh"

# Whatever ends the demo ends the service and the devices; where it was told to end, the folder goes as well.
end_processes()
{
    if [[ -n $service ]]; then
        kill "$service" 2>/dev/null || true
        wait "$service" || true
    fi
    end_devices
}
end_in_order()
{
    trap '' INT TERM
    end_processes
    trap - EXIT
    rm -rf "$folder"
    printf '\nThe service has ended, and its folder is removed.\n'
    exit 0
}
trap end_processes EXIT
trap end_in_order INT TERM

is_free()
{
    ! (exec 3<>"/dev/tcp/127.0.0.1/$1") 2>/dev/null
}

start_service()
{
    local port=$first_port
    until ((port == 0)) || is_free "$port"; do
        ((++port))
    done
    "$ravik" --project "$project" serve --listen "127.0.0.1:$port" 2>"$project/service.log" &
    service=$!
    until address=$(grep -Eo -m 1 'http://[0-9.:]+' "$project/service.log"); do
        kill -0 "$service" 2>/dev/null || { cat "$project/service.log" >&2; fail "the service does not start"; }
        sleep 0.1
    done
}

# The people of the line, and a password that is good for this demonstration.
password=$(od -An -N5 -tx1 /dev/urandom | tr -d ' \n')
declare -A roles=([anna]=admin [erik]=engineer [olga]=operator [vera]=viewer)

add_people()
{
    local name
    for name in anna erik olga vera; do
        "$ravik" --project "$project" user add "$name" --role "${roles[$name]}" <<<"$password" >/dev/null
    done
}

# Sends a request as one of the people, with the further arguments of curl; the body of the answer is printed.
request()
{
    local name=$1 path=$2 cookies=$project/$1.cookies csrf=$project/$1.csrf
    shift 2
    if [[ ! -e $csrf ]]; then
        curl --silent --show-error --fail --cookie-jar "$cookies" --header "Content-Type: application/json" \
            --data "{\"user\": \"$name\", \"password\": \"$password\"}" "$address/api/v1/session" |
            sed 's/.*"csrf": *"\([^"]*\)".*/\1/' >"$csrf" || fail "$name can't sign in"
    fi
    curl --silent --show-error --cookie "$cookies" --header "X-CSRF-Token: $(cat "$csrf")" "$@" "$address/api/v1/$path"
}

# Changes values of a recipe as one of the people.
edit()
{
    local name=$1 recipe=$2 values=$3 tag=$project/tag
    request "$name" "recipe?name=$recipe" --etag-save "$tag" --output /dev/null
    request "$name" "recipe?name=$recipe" --fail --output /dev/null --request PATCH --header "If-Match: $(cat "$tag")" \
        --header "Content-Type: application/merge-patch+json" --data "{\"values\": $values}" ||
        fail "no edit of $recipe"
}

activate()
{
    local name=$1 recipe=$2 note=$3
    request "$name" activations --output /dev/null --header "Content-Type: application/json" \
        --header "Idempotency-Key: $recipe" --data "{\"recipe\": \"$recipe\", \"note\": \"$note\"}"
}

heading "Two devices with a machine at work; the packer's refuses the registers of the sealed calibration"
start_device --live
filler=$port
start_device --live --refuse 900-903
packer=$port
echo "The filler listens on port $filler, the packer on port $packer."
make_modbus_project "$filler" "$packer"
expect 0 import "$project/recipes.json"
add_people
start_service

heading "A morning on the line: a few edits, a recipe that a device refuses, and one that is active since"
edit erik Filling::Lemonade330 '{"FillerSpeed": 590, "DripTime": 130}'
edit anna Labelling::Spring500 '{"GlueTemperature": 151.5}'
edit erik Packing::Shrink12 '{"FilmTension": 16.5}'
request erik "recipe?name=Filling::Cola1500" |
    request erik "recipe?name=Filling::Trials::Cola1000" --fail --output /dev/null --request PUT \
        --header "If-None-Match: *" --header "Content-Type: application/json" --data @- || fail "no new recipe"
edit erik Filling::Trials::Cola1000 '{"FillVolume": 1000.0, "FillerSpeed": 300}'
activate olga Service::Checkweigher1500 "check of the morning"
activate olga Products::Cola1500 "order 4711"
expect 0 active Products::Cola1500
expect 0 history --limit 8

heading "The page is at $address/"
printf '  %-6s %-10s %s\n' name role password
for name in anna erik olga vera; do
    printf '  %-6s %-10s %s\n' "$name" "${roles[$name]}" "$password"
done
printf '\nThe project is %s, and its log is service.log there. Ctrl+C ends all of it.\n' "$project"
# A signal ends the waiting, and with it the demo.
status=0
wait "$service" || status=$?
service=
tail -n 3 "$project/service.log" >&2
fail "the service has ended by itself, with exit status $status"
