#!/usr/bin/env bash
# Shows a bottling line being set up for a product: demo.sh RAVIK, where RAVIK is the built program.
# Whatever does not go as announced ends the demo with a message and exit status 1.
set -euo pipefail

if (($# != 1)); then
    echo "usage: ${0##*/} PATH-OF-RAVIK" >&2
    exit 2
fi
ravik=$(realpath "$1")
plant=$(dirname "$(realpath "${BASH_SOURCE[0]}")")/plant
project=$(mktemp -d "${TMPDIR:-/tmp}/ravik-demo.XXXXXX")

# shellcheck source=demo_functions.sh
source "${plant%/*}/demo_functions.sh"

# Insists that the symbol has the value, which is a pattern for its JSON text.
expect_value()
{
    local symbol=$1 value=$2 answer
    answer=$("$ravik" --project "$project" --json symbol get "$symbol") || fail "the symbol $symbol can't be read"
    grep -Eq "\"value\": *$value *[,}]" <<<"$answer" || fail "the symbol $symbol should be $value: $answer"
}

cp "$plant/ravik.json" "$plant/recipes.json" "$project"

heading "A bottling line: its symbols, served by two controllers (Filler and Packer) and by the server itself"
expect 0 symbols

heading "Its recipe types and recipes are taken in"
expect 0 import "$project/recipes.json"

heading "Cola in 1.5 l bottles: one recipe that nests five others; what would it change on the line?"
expect 0 activate --dry-run Products::Cola1500
[[ $output == *"Nothing was written."* ]] || fail "a plan should write nothing"

heading "The line is set up for it, and asked whether it holds every value"
expect 0 activate --note "order 4711" Products::Cola1500
[[ $output == *"33 verified."* ]] || fail "every value should be verified"
expect_value Filler.FillVolume '1500(\.0)?'
expect_value Palletiser.Pattern '"Brick"'
expect_value Line.ActiveProduct '"Cola 1\.5 l PET"'

heading "Read back, the controllers hold what the recipe says, and the recipe is active"
expect 0 read Products::Cola1500
[[ $output != *differs* ]] || fail "no value should differ"
expect 0 active
[[ $output == *Products::Cola1500* ]] || fail "the recipe should be active"

heading "Somebody turns the filler down behind the recipe's back: it is no longer active"
expect 0 symbol set Filler.Speed 200
expect 0 active Products::Cola1500 Capping::Pco28
[[ $output != *Products::Cola1500* && $output == *Capping::Pco28* ]] || fail "only the capping should be active"
expect 0 read Filling::Cola1500
[[ $output == *differs* ]] || fail "the speed should differ"

heading "The type loses a member; its recipes are brought into line, and one is set up again"
expect 0 delete recipeTypeList::Filling::Carbonated::members::SnifterTime
expect 0 update Filling::Lemonade330
expect 0 update Filling::Cola1500
[[ $output == *SnifterTime*Deleted* ]] || fail "the value of the lost member should be dropped"
expect 0 activate Filling::Cola1500
expect 0 active Products::Cola1500
[[ $output == *Products::Cola1500* ]] || fail "the recipe should be active again"

heading "A recipe is renamed, and the recipe that names it follows"
expect 0 rename recipeList::Capping::Pco28 recipeList::Capping::Pco1881
expect 0 check

heading "A recipe that fails partly: the calibration of the checkweigher is sealed, so one of three values is refused"
expect 1 activate Service::Checkweigher1500
[[ $output == *WRITE_PROTECTED* ]] || fail "the refusal should bear the name WRITE_PROTECTED"
expect_value Checkweigher.NominalWeight '1541\.5'
expect_value Checkweigher.Calibration '1\.00042'
echo "That was to be expected: the other two values are in the controller, the calibration is what it was."

heading "A valve sticks: the filler takes a new speed without a word and keeps the old one. The activation finds it out"
sed -i '0,/"variables": {/s//"stuck": ["FillerSpeed"], &/' "$project/ravik.json"
expect 1 activate Products::Spring500
[[ $output == *Filler.Speed*differs* ]] || fail "the speed should be found out"
[[ $output =~ record\ ([0-9]+)\ of\ the\ history ]] || fail "the activation should be remembered"
record=${BASH_REMATCH[1]}
expect 0 diff Products::Spring500
[[ $output == *Filler.Speed* ]] || fail "the speed should differ"
sed -i 's/"stuck": \["FillerSpeed"\], //' "$project/ravik.json"

heading "The way back: the history tells what was done, and the activation is taken back"
expect 0 history --limit 5
expect 0 revert "$record"
expect 0 active
[[ $output == *Products::Cola1500* ]] || fail "the recipe before should be active again"

heading "What stands in the controllers now"
expect 0 symbol get Line.ActiveProduct Filler.FillVolume Filler.Speed Filler.Carbonation Filler.BatchNumber \
    Capper.CapType Capper.Torque Labeller.Design Labeller.ArticleNumber Packer.BottlesPerPack Palletiser.Pattern \
    Checkweigher.NominalWeight Checkweigher.Calibration

heading "The project is kept in $project"
cat <<TEXT
Try there:
  cd $project
  $ravik activate Products::Spring500
  $ravik symbol set Filler.Speed 450
  $ravik get recipeList::Products::Cola1500
TEXT
