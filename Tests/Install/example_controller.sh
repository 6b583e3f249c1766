#!/usr/bin/env bash
# example_controller.sh PREFIX FOLDER CMAKE-ARGUMENT…: builds the example controller in the new FOLDER against the copy
# that is installed in PREFIX, as somebody would who has nothing else, and sets up a recipe on that controller. The
# arguments go to CMake's configuration of the example.
set -euo pipefail

prefix=$1 folder=$2
shift 2
# shellcheck source=expect.sh
source "$(dirname "$(realpath "${BASH_SOURCE[0]}")")/expect.sh"

cp -r "$prefix/share/ravik/Examples/controller" "$folder"
cd "$folder"
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
