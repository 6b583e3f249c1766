#!/usr/bin/env bash
# own_controller.sh BUILD-FOLDER CMAKE-ARGUMENT…: installs the build into a temporary folder, builds the example
# controller against it as somebody would who has nothing else, and sets up a recipe on that controller. The arguments go
# to CMake's configuration of the example.
set -euo pipefail

build=$1
shift
here=$(dirname "$(realpath "${BASH_SOURCE[0]}")")
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
prefix=$folder/prefix

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

expect 0 "" cmake --install "$build" --prefix "$prefix"
expect 0 "" "$here/run_paths.sh" "$prefix"
expect 1 "" grep -ri boost "$prefix/include" "$prefix/lib/cmake"
expect 0 ravik ls "$prefix/include"

cp -r "$prefix/share/ravik/Examples/controller" "$folder/oven"
cd "$folder/oven"
echo '{ "type": "object", "required": ["file"] }' >TextFile.Schema.json
expect 0 "" cmake -B build -DCMAKE_PREFIX_PATH="$prefix" "$@"
expect 0 "" cmake --build build
expect 0 " T ext_interface" nm --dynamic --defined-only build/lib/libTextFile.so
expect 0 "" cmp TextFile.Schema.json build/lib/TextFile.Schema.json

PATH=$prefix/bin:$PATH
expect 0 "" ravik symbol set Oven.Temperature 90.5
expect 0 90.5 ravik symbol get Oven.Temperature
expect 0 temperature=90.5 cat oven.txt
expect 0 "" ravik import recipes.json
expect 0 "3 symbols written" ravik activate Bread
expect 0 Bread ravik active
expect 0 $'minutes=45\nproduct=Bread\ntemperature=232.5' cat oven.txt

# What is wrong is told, and what the file holds stays.
expect 1 "WRONG_VALUE: The variable product" ravik symbol set Oven.Product '"Rye\nbread"'
echo "oven door" >>oven.txt
expect 1 "FILE_ERROR: oven.txt:4: expected NAME=VALUE" ravik symbol set Oven.Minutes 50
expect 0 $'minutes=45\nproduct=Bread\ntemperature=232.5\noven door' cat oven.txt
echo "minutes=45" >oven.txt
expect 1 "1 of 3 symbols written" ravik activate Bread
rm oven.txt
expect 1 "FILE_ERROR: oven.txt: can't be read" ravik activate Bread
sed -i 's/"file": "oven.txt"/"file": 7/' ravik.json
expect 3 '"file": expected the name of a text file, found int' ravik symbols
