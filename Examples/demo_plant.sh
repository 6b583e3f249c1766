#!/usr/bin/env bash
# Shows three bottling lines that share one library of recipes, in a PostgreSQL database that it starts in a temporary
# folder: demo_plant.sh RAVIK, where RAVIK is the built program.
# Whatever does not go as announced ends the demo with a message and exit status 1; nothing stays behind.
set -euo pipefail

if (($# != 1)); then
    echo "usage: ${0##*/} PATH-OF-RAVIK" >&2
    exit 2
fi
ravik=$(realpath "$1")
examples=$(dirname "$(realpath "${BASH_SOURCE[0]}")")
postgresql=$(printf '%s\n' /usr/lib/postgresql/*/bin | sort --version-sort | tail -n 1)
folder=$(mktemp -d "${TMPDIR:-/tmp}/ravik-demo.XXXXXX")
project=
database=
declare -A services=()

# shellcheck source=demo_functions.sh
source "$examples/demo_functions.sh"

# Nothing is kept, so the logs are shown.
fail()
{
    printf '\ndemo: %s\n' "$*" >&2
    local log
    for log in "$folder"/*/*.log; do
        [[ ! -s $log ]] || printf '\n-- the end of %s\n%s\n' "${log#"$folder"/}" "$(tail -n 10 "$log")" >&2
    done
    exit 1
}

# Whatever ends the demo ends the lines and the database.
end_all()
{
    trap '' INT TERM
    local line
    for line in "${!services[@]}"; do
        end_line "$line"
    done
    end_database
    rm -rf "$folder"
}
trap end_all EXIT
trap 'exit 130' INT
trap 'exit 143' TERM

# Runs the command, which prints nothing, again and again until it succeeds, for 30 s at the most.
await()
{
    local what=$1 end=$((SECONDS + 30))
    shift
    until "$@" >/dev/null 2>&1; do
        ((SECONDS < end)) || fail "$what"
        sleep 0.1
    done
}

# Runs a program of PostgreSQL, which refuses to be run as root.
as_database_user()
{
    if ((EUID == 0)); then
        exec setpriv --reuid=nobody --regid=nogroup --clear-groups "$@"
    fi
    exec "$@"
}

random_password()
{
    od -An -N12 -tx1 /dev/urandom | tr -d ' \n'
}

# Makes a cluster that listens on a socket in its folder and nowhere else, with a database for the lines' user.
make_database()
{
    local admin_password password
    admin_password=$(random_password)
    password=$(random_password)
    # The user of the database has to get there, and nobody else needs to look around.
    chmod 711 "$folder"
    mkdir --mode=711 "$folder/database"
    install --mode=600 /dev/stdin "$folder/database/password" <<<"$admin_password"
    ((EUID != 0)) || chown nobody:nogroup "$folder/database" "$folder/database/password"
    (as_database_user "$postgresql/initdb" --pgdata "$folder/database/data" --username=postgres --encoding=UTF8 \
        --locale=C --auth=scram-sha-256 --pwfile="$folder/database/password" --no-sync --no-instructions) \
        >"$folder/database/initdb.log" 2>&1 || fail "the cluster can't be made"
    rm "$folder/database/password"
    start_database
    PGPASSWORD=$admin_password "$postgresql/psql" --quiet --no-psqlrc --set=ON_ERROR_STOP=1 \
        "host=$folder/database user=postgres dbname=postgres" <<SQL || fail "the database can't be made"
CREATE ROLE ravik LOGIN PASSWORD '$password';
CREATE DATABASE recipes OWNER ravik TEMPLATE template0 ENCODING 'UTF8' LC_COLLATE 'C' LC_CTYPE 'C';
SQL
    # Where libpq looks for the password; ravik.json has none.
    install --mode=600 /dev/stdin "$folder/pgpass" <<<"*:*:recipes:ravik:$password"
}

start_database()
{
    as_database_user "$postgresql/postgres" -D "$folder/database/data" -c listen_addresses= \
        -c unix_socket_directories="$folder/database" >>"$folder/database/postgresql.log" 2>&1 &
    database=$!
    await "the database does not start" "$postgresql/pg_isready" --host "$folder/database"
}

end_database()
{
    if [[ -n $database ]]; then
        kill -INT "$database" 2>/dev/null || true
        wait "$database" || true
        database=
    fi
}

# A project of its own, with controllers of its own.
make_line()
{
    mkdir "$folder/$1"
    cp "$examples/plant/recipes.json" "$folder/$1"
    local address="host=$folder/database dbname=recipes user=ravik passfile=$folder/pgpass"
    sed "0,/{/s|{|{\n  \"library\": { \"postgresql\": \"$address\", \"schema\": \"bottling\" },|" \
        "$examples/plant/ravik.json" >"$folder/$1/ravik.json"
}

start_line()
{
    local log=$folder/$1/service.log
    # What stands there is of the time before.
    rm -f "$log"
    "$ravik" --project "$folder/$1" serve --listen 127.0.0.1:0 2>"$log" &
    services[$1]=$!
    await "the service of $1 does not start" grep -Eq 'http://[0-9.:]+' "$log"
}

end_line()
{
    kill "${services[$1]}" 2>/dev/null || true
    wait "${services[$1]}" || true
    unset "services[$1]"
}

# The commands that follow are given at this line.
at()
{
    project=$folder/$1
    prompt=$1
}

# Activates a recipe, and insists that so many values are in the controllers.
activate()
{
    shown=2 expect 0 activate "$2"
    [[ $output == *" $1 verified."* ]] || fail "$1 values should be verified"
}

# Whether the line's answer to a command holds the words.
answers()
{
    local words=$1
    shift
    [[ $("$ravik" --project "$project" "$@" 2>&1 || true) == *"$words"* ]]
}

# Waits until a line's answer to a command holds the words, and shows it.
expect_soon()
{
    local words=$1
    shift
    await "'ravik $*' at $prompt does not come to hold '$words'" answers "$words" "$@"
    expect 0 "$@"
}

heading "A PostgreSQL database for the recipes, in $folder/database"
make_database
if ((EUID == 0)); then
    echo "It refuses to be run as root, so it is run as the user nobody."
fi

heading "Three lines, each with its own ravik.json, its own controllers and its own store; all name the same library"
for line in line-1 line-2 line-3; do
    make_line "$line"
done
grep '"library": {' "$folder/line-1/ravik.json"
printf '\n'

heading "The library's tables are made, once"
at line-1
expect 0 library init

heading "Each line joins it under a name of its own, and is served"
for line in line-1 line-2 line-3; do
    at "$line"
    expect 0 library join "$line"
    start_line "$line"
done

heading "Line 1 takes in the recipes; the others have them too"
at line-1
expect 0 import "$project/recipes.json"
for line in line-2 line-3; do
    at "$line"
    await "the recipes do not come to $line" answers "18 recipes" list
    expect 0 library status
done

heading "Each line is set up for its own product: the recipes are shared, the controllers are not"
at line-2
activate 33 Products::Cola1500
at line-3
activate 33 Products::Spring500
expect 0 active

heading "The filler of cola is to run slower: line 2 edits the recipe"
at line-2
expect 0 set --note "foams less" recipeList::Filling::Cola1500::values::FillerSpeed 230

heading "Line 3 sees it, and is set up for cola as well: written, read back, active"
at line-3
expect_soon 230 get recipeList::Filling::Cola1500::values::FillerSpeed
activate 33 Products::Cola1500
expect 0 active Products::Cola1500
[[ $output == *Products::Cola1500* ]] || fail "the recipe should be active"
expect 0 symbol get Filler.Speed
[[ $output == *230* ]] || fail "the controller should hold the new speed"

heading "At line 2 cola was set up before the edit: the recipe is no longer active there"
at line-2
expect 0 active Products::Cola1500
[[ $output != *Products::Cola1500* ]] || fail "the recipe should not be active"

heading "Line 1 renames a recipe, and the recipe that names it follows, at every line"
at line-1
expect 0 rename recipeList::Capping::Pco28 recipeList::Capping::Pco1881
at line-3
expect_soon Capping::Pco1881 get recipeList::Products::Cola1500::values::Capping
expect 0 check
expect 0 history

heading "The database is stopped: nothing is edited any more, and line 1 says since when and to whom there is no link"
end_database
at line-1
await "line 1 does not find out" answers "alone" library status
expect 1 library status
expect 1 set recipeList::Filling::Cola1500::values::FillerSpeed 250
[[ $output == *"$folder/database"* && $output =~ since\ [0-9]{4}-[0-9]{2}-[0-9]{2} ]] ||
    fail "the refusal should tell since when and to whom there is no link"
expect 0 get recipeList::Filling::Cola1500::values::FillerSpeed
[[ $output == *230* ]] || fail "nothing should have changed"

heading "Everything else goes on, also at line 2, which is started anew meanwhile"
activate 31 Products::Lemonade330
at line-2
end_line line-2
start_line line-2
activate 33 Products::Cola1500
expect 0 active Products::Cola1500
[[ $output == *Products::Cola1500* ]] || fail "the recipe should be active"

heading "The database is back: the lines catch up by themselves, and the edit is made"
start_database
for line in line-1 line-2 line-3; do
    at "$line"
    await "$line has no link again" answers "following" library status
done
at line-1
expect 0 set recipeList::Filling::Cola1500::values::FillerSpeed 250

heading "At the end all lines hold the same, byte for byte"
for line in line-1 line-2 line-3; do
    at "$line"
    expect_soon 250 get recipeList::Filling::Cola1500::values::FillerSpeed
    "$ravik" --project "$project" export "$folder/$line.json" >/dev/null || fail "$line does not export"
    cmp "$folder/line-1.json" "$folder/$line.json" || fail "line-1 and $line should hold the same"
done
(cd "$folder" && sha256sum line-?.json)
printf '\n'
await "line-1 is not connected" answers "line-1" library status
expect_soon line-2 library status

heading "That was the demonstration; the lines and the database are ended, and $folder is removed"
