#!/usr/bin/env bash
# own_controller.sh BUILD-FOLDER CMAKE-ARGUMENT…: installs the build into a temporary folder and builds the example
# controller against it. The arguments go to CMake's configuration of the example.
set -euo pipefail

build=$1
shift
here=$(dirname "$(realpath "${BASH_SOURCE[0]}")")
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
prefix=$folder/prefix
# shellcheck source=expect.sh
source "$here/expect.sh"

expect 0 "" cmake --install "$build" --prefix "$prefix"
expect 0 "" "$here/run_paths.sh" "$prefix"
expect 1 "" grep -ri boost "$prefix/include" "$prefix/lib/cmake"
expect 0 ravik ls "$prefix/include"
"$here/example_controller.sh" "$prefix" "$folder/oven" "$@"
