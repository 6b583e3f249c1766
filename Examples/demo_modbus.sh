#!/usr/bin/env bash
# Shows the bottling line of the other demonstration on two controllers that speak Modbus TCP: demo_modbus.sh RAVIK
# DEVICE, where RAVIK and DEVICE are the built programs `ravik` and `modbus_device`.
# Whatever does not go as announced ends the demo with a message and exit status 1.
set -euo pipefail

if (($# != 2)); then
    echo "usage: ${0##*/} PATH-OF-RAVIK PATH-OF-MODBUS-DEVICE" >&2
    exit 2
fi
ravik=$(realpath "$1")
device=$(realpath "$2")
examples=$(dirname "$(realpath "${BASH_SOURCE[0]}")")
project=$(mktemp -d "${TMPDIR:-/tmp}/ravik-demo.XXXXXX")

# shellcheck source=demo_functions.sh
source "$examples/demo_functions.sh"
# Whatever ends the demo ends the devices, too.
trap end_devices EXIT

heading "Two devices on free ports; the packer's refuses the registers of the sealed calibration"
start_device --live
filler=$port
start_device --live --refuse 900-903
packer=$port
echo "The filler listens on port $filler, the packer on port $packer."

make_modbus_project "$filler" "$packer"

heading "The line: its symbols and their addresses in the two devices; the one that the packer refuses can't be read"
expect 1 symbols
expect 0 import "$project/recipes.json"

heading "The line is set up for cola in 1.5 l bottles: one recipe that nests five others, over TCP"
expect 0 activate Products::Cola1500

heading "Read back, the devices hold what the recipe says, and the recipe is active"
expect 0 read Products::Cola1500
[[ $output != *differs* ]] || fail "no value should differ"
expect 0 active Products::Cola1500
[[ $output == *Products::Cola1500* ]] || fail "the recipe should be active"
expect 0 symbol get Filler.FillVolume Filler.ValveMode Filler.BatchNumber Capper.Torque Labeller.ArticleNumber \
    Palletiser.Pattern

heading "A device refuses one of three values, and says why"
expect 1 activate Service::Checkweigher1500
[[ $output == *ILLEGAL_DATA_ADDRESS* ]] || fail "the refusal should bear the name ILLEGAL_DATA_ADDRESS"
expect 0 symbol get Checkweigher.NominalWeight
[[ $output == *1541.5* ]] || fail "the other values should be in the device"

heading "A device is switched off"
kill "${devices[1]}"
wait "${devices[1]}" 2>/dev/null || true
devices=("${devices[0]}")
expect 1 activate Products::Cola1500
[[ $output == *CONNECTION_REFUSED* ]] || fail "the failure should bear the name CONNECTION_REFUSED"

heading "That was the demonstration; the project is kept in $project"
