#include "commands.h"

#include <array>
#include <limits>

namespace Ravik::CommandLine
{

namespace
{

constexpr auto any_number = std::numeric_limits<std::size_t>::max();

constexpr std::array<CommandEntry, 41> command_table{{
    {.name = "init",
     .operands = "[DIR]",
     .least = 0,
     .most = 1,
     .summary = "Write a sample project",
     .description = R"(
Writes ravik.json (the extensions and symbols), recipes.json (recipes to import)
and a .gitignore for the store into DIR, which is made where it is missing.
Nothing is written where one of the files exists already.

Examples:
  ravik init plant
)",
     .options = {},
     .run = init},
    {.name = "activate",
     .operands = "RECIPE",
     .least = 1,
     .most = 1,
     .summary = "Write a recipe's values to the controllers",
     .description = R"(
RECIPE is the recipe's name, with its folders: Folder::Name. Reads the symbols,
writes them, reads them again and prints for each what became of it: "verified"
where the controller holds the value, "differs" where it holds something else.
Ends with 1 where a symbol does not hold what was to be written. Where a write
fails, the values written before it stay; where a value does not fit its symbol,
nothing is written at all. --dry-run shows what stands in the controllers beside
what would be written. With --json the value is {"id", "counts": {"written",
"verified", "differs", "failed", "not tried", "not written"}, "rows": [{"symbol",
"domain", "member", "before", "value", "after", "state", "text"}]}; of a dry run
the counts are {"differs", "same", "unread"}.

Examples:
  ravik activate Bread
  ravik activate --dry-run 'Shift 1::Bread'
  ravik activate --note 'order 4711' Bread
)",
     .options = {Option::dry_run, Option::no_verify, Option::note},
     .run = activate},
    {.name = "diff",
     .operands = "RECIPE [OTHER]",
     .least = 1,
     .most = 2,
     .summary = "Show where the controllers, or another recipe, differ from a recipe",
     .description = R"(
Compares what an activation of RECIPE would write, nested recipes and defaults
included, with what stands in the controllers or with what an activation of OTHER
would write, and prints only what differs or can't be read. With --json the value
is {"counts": {"differs", "same", "unread"}, "rows": [{"symbol", "domain",
"member", "stored", "live", "state", "text"}]}, with "other" in place of "live"
where two recipes are compared.

Examples:
  ravik diff Bread
  ravik diff Bread Pizza
)",
     .options = {},
     .run = diff},
    {.name = "read",
     .operands = "RECIPE",
     .least = 1,
     .most = 1,
     .summary = "Show a recipe's values beside those in the controllers",
     .description = R"(
Reads the symbols of the recipe and marks the values that differ from the stored
ones. Nothing is changed. With --json the value is {"counts": {"same", "differs",
"nested recipe", "no member"}, "rows": [{"symbol", "domain", "member", "stored",
"live", "state", "text"}]}; where symbols can't be read, the rows are these, each
"unread" with its reason.

Examples:
  ravik read Bread
)",
     .options = {},
     .run = read},
    {.name = "active",
     .operands = "[RECIPE…]",
     .least = 0,
     .most = any_number,
     .summary = "List the recipes that stand in the controllers now",
     .description = R"(
A recipe is active when the controllers hold all of its values. Without names all
recipes are examined; those that can't be read are named with the reason. With
--json the value is the list of names or, where not all could be read, {"active":
[…], "unread": [{"recipe", "text"}]}.

Examples:
  ravik active
  ravik active Bread Pizza
)",
     .options = {},
     .run = active},
    {.name = "recipes",
     .operands = "TYPE",
     .least = 1,
     .most = 1,
     .summary = "List the recipes of a recipe type",
     .description = R"(
Recipes of types that inherit from TYPE are listed too. A TYPE that does not exist
is an error.

Examples:
  ravik recipes Dough
)",
     .options = {},
     .run = recipes},
    {.name = "update",
     .operands = "[RECIPE…]",
     .least = 0,
     .most = any_number,
     .summary = "Bring recipes into line with their types",
     .description = R"(
Drops values whose member is gone, fills in members that are missing with their
defaults, and resets values that do not fit their symbol. Takes names of recipes,
--type TYPE or --all, and prints what changed in each. Each recipe is updated on
its own: one that fails does not keep the others from it. With --json the value is
{"counts": {"updated", "same", "failed"}, "rows": [{"recipe", "state", "text",
"info"}]}, where "info" is a list of what changed.

Examples:
  ravik update Bread
  ravik update --type Dough
  ravik update --all
)",
     .options = {Option::type, Option::all, Option::note},
     .run = update},
    {.name = "list",
     .operands = "[PATH]",
     .least = 0,
     .most = 1,
     .summary = "List folders, recipe types and recipes as a tree",
     .description = R"(
With a full PATH what stands at and below it. A folder tells how many entries it
holds, a recipe type how many recipes are of exactly this type. --type narrows the
list down to a recipe type, those that inherit from it, and their recipes; --match to
what has TEXT in its name or its folders' names, whatever the case. With --json the
value is {"rows": [{"path", "kind", "type", "count"}], "counts": {"recipeTypes",
"recipes"}}.

Examples:
  ravik list
  ravik list recipeList::Products
  ravik list --type Dough --match rye
)",
     .options = {Option::type, Option::match},
     .run = list},
    {.name = "save",
     .operands = "RECIPE",
     .least = 1,
     .most = 1,
     .summary = "Store the values of the controllers into a recipe",
     .description = R"(
Reads the symbols of the recipe and stores what stands there in the place of the
recipe's values; a value that agrees keeps its digits, and nested recipes stay as they
are. Where one symbol can't be read nothing is saved. --as makes a new recipe of the
same type instead; one that exists is replaced with --force only. With --json the
value is {"counts": {"saved", "same"}, "rows": [{"symbol", "domain", "member",
"stored", "live", "state", "text"}]}.

Examples:
  ravik save Bread
  ravik save Bread --as 'Shift 1::Bread'
)",
     .options = {Option::as, Option::force, Option::note},
     .run = save},
    {.name = "call",
     .operands = "FUNCTION [JSON]",
     .least = 1,
     .most = 2,
     .summary = "Call any function of a domain",
     .description = R"(
A JSON object is handed over as the function's parameters. Prints the value that
the function answers.

Examples:
  ravik call ActivateRecipe '{"path": "Bread"}'
  ravik call --domain Line SomeFunction 3
)",
     .options = {Option::domain},
     .run = call},
    {.name = "get",
     .operands = "[PATH]",
     .least = 0,
     .most = 1,
     .summary = "Print the configuration, or an entry of it, as JSON",
     .description = R"(
The parts of PATH are separated by "::"; an element of a list is named by its
index: name[0].

Examples:
  ravik get
  ravik get recipeList::Bread::values
  ravik --domain Mixer get variables
)",
     .options = {Option::domain},
     .run = get},
    {.name = "import",
     .operands = "FILE",
     .least = 1,
     .most = 1,
     .summary = "Take recipe types and recipes from a JSON file",
     .description = R"(
FILE, or standard input for "-", holds an object with "recipeTypeList" and
"recipeList". Folders are merged, an entry replaces the one of its name. One
entry that is refused refuses the whole file; --dry-run tells of every one.
With --replace the file becomes the whole configuration.
With --csv FILE is a table as 'export --csv' writes it. New recipes are made; a recipe
keeps the values of columns that are missing, and loses those of empty cells. Mistakes
are named by line and column.

Examples:
  ravik import recipes.json
  ravik import --dry-run recipes.json
  ravik --project old export - | ravik --project new import -
  ravik import --csv Dough doughs.csv
)",
     .options = {Option::domain, Option::dry_run, Option::replace, Option::csv, Option::note},
     .run = import},
    {.name = "export",
     .operands = "[FILE]",
     .least = 0,
     .most = 1,
     .summary = "Write recipe types and recipes as JSON",
     .description = R"(
Writes what 'import' reads into FILE, or to standard output without one and for
"-". An existing file is replaced with --force only.
With --csv the recipes of TYPE are written as a table: a row for each recipe, a column
for each member. --excel writes semicolons and a byte order mark.

Examples:
  ravik export
  ravik export --force backup.json
  ravik export --csv Dough --excel doughs.csv
)",
     .options = {Option::domain, Option::force, Option::csv, Option::excel},
     .run = export_lists},
    {.name = "set",
     .operands = "PATH JSON",
     .least = 2,
     .most = 2,
     .summary = "Write an entry of the configuration",
     .description = R"(
The value takes the place of what stands at PATH; folders that are missing are
made, and the index behind the last element of a list adds one. Entries never
disappear this way: they are deleted by their names.

Examples:
  ravik set recipeList::Bread::values::Speed 130.0
  ravik set 'recipeList::Shift 1' '{}'
)",
     .options = {Option::domain, Option::note},
     .run = set},
    {.name = "delete",
     .operands = "PATH",
     .least = 1,
     .most = 1,
     .summary = "Delete an entry of the configuration",
     .description = R"(
Everything that refers to the entry follows: recipes of a deleted type go with it,
members that nest it and its name where it is inherited are removed, and values
that name a deleted recipe are emptied. --dry-run shows all that would change.

Examples:
  ravik delete --dry-run recipeTypeList::Dough
  ravik delete recipeList::Pizza
)",
     .options = {Option::domain, Option::dry_run, Option::note},
     .run = remove},
    {.name = "rename",
     .operands = "PATH NEW_PATH",
     .least = 2,
     .most = 2,
     .summary = "Rename or move an entry of the configuration",
     .description = R"(
Both paths are full paths. Everything that refers to the entry is rewritten;
--dry-run shows all that would change.

Examples:
  ravik rename recipeTypeList::Dough recipeTypeList::Doughs::Wheat
  ravik rename recipeTypeList::Dough::members::Speed recipeTypeList::Dough::members::Pace
)",
     .options = {Option::domain, Option::dry_run, Option::note},
     .run = rename},
    {.name = "copy",
     .operands = "PATH NEW_PATH",
     .least = 2,
     .most = 2,
     .summary = "Copy a recipe or a recipe type",
     .description = R"(
Both paths are full paths in the same list; folders that are missing are made. What
stands at NEW_PATH is never replaced.

Examples:
  ravik copy recipeList::Bread recipeList::Rye
  ravik copy recipeTypeList::Dough recipeTypeList::Doughs::Rye
)",
     .options = {Option::domain, Option::note},
     .run = copy},
    {.name = "history",
     .operands = "",
     .least = 0,
     .most = 0,
     .summary = "List what was done, by whom and when",
     .description = R"(
Every edit, update and revert is a record of the store: its number, the time in
UTC, the account, what was asked, how it ended, and the text of --note. The newest
stand first. "history" in ravik.json says how many are kept. With --json the value
is {"counts": {…}, "rows": [{"id", "time", "who", "action", "asked", "outcome",
"text", "note"}]}.

Examples:
  ravik history
  ravik history --recipe 'Shift 1::Bread' --limit 5
  ravik history --since '2 days' --who anna
)",
     .options = {Option::recipe, Option::who, Option::since, Option::limit},
     .run = history},
    {.name = "history show",
     .operands = "ID",
     .least = 1,
     .most = 1,
     .summary = "Show a record of the history with all that it changed",
     .description = R"(
ID is the number of the record, or the id that an edit has in a library: of one whose
outcome was not known it tells whether it was made. Of an edit each place that changed
is shown with what stood there before and after. With --json the value is the record with its
"body": {"places": [{"domain", "path", "before", "after"}]}, where nothing stood or
stands without the one or the other.

Examples:
  ravik history show 17
)",
     .options = {},
     .run = history_show},
    {.name = "revert",
     .operands = "ID",
     .least = 1,
     .most = 1,
     .summary = "Take back what a record of the history tells",
     .description = R"(
ID is the number of the record. Each place that an edit changed gets back what stood
there; the order of entries is not restored. Where a place has changed since, or
another entry would be wrong afterwards, nothing is taken back and all of these
places are named. A revert is an edit of its own, with a record, and can be taken
back too. --dry-run shows what would change.

Examples:
  ravik revert --dry-run 17
  ravik revert 17 --note 'wrong file'
)",
     .options = {Option::dry_run, Option::force, Option::note},
     .run = revert},
    {.name = "check",
     .operands = "",
     .least = 0,
     .most = 0,
     .summary = "List what is wrong in the configuration",
     .description = R"(
References that lead nowhere, symbols that ravik.json does not map or that no
activation would write, schemas that can't be used, stored values that do not fit
their symbol or member, those of the server's own variables too: each with its path
and what to do. Exits with 1 where there is one. Notes, which change nothing of
that: values that no member stands for any more, members with neither value nor
default, nested members that name no recipe.

Examples:
  ravik check
)",
     .options = {Option::domain},
     .run = check},
    {.name = "symbols",
     .operands = "",
     .least = 0,
     .most = 0,
     .summary = "List the symbols with their live values",
     .description = R"(
Each symbol with its domain, its address there, its type, its value and whether
that could be read.

Examples:
  ravik symbols
  ravik --json symbols
)",
     .options = {},
     .run = symbols},
    {.name = "symbol get",
     .operands = "NAME…",
     .least = 1,
     .most = any_number,
     .summary = "Read symbols",
     .description = R"(
Prints the value of one symbol as JSON; several give an object of names and
values.

Examples:
  ravik symbol get Mixer.Speed
  ravik symbol get Mixer.Speed Mixer.Temperature
)",
     .options = {},
     .run = symbol_get},
    {.name = "symbol set",
     .operands = "NAME JSON",
     .least = 2,
     .most = 2,
     .summary = "Write a symbol",
     .description = R"(
The value must fit the symbol's schema. A text needs double quotes of its own.

Examples:
  ravik symbol set Mixer.Speed 120
  ravik symbol set Mixer.Temperature -5.5
  ravik symbol set Mixer.Product '"Rye"'
)",
     .options = {},
     .run = symbol_set},
    {.name = "store check",
     .operands = "",
     .least = 0,
     .most = 0,
     .summary = "Read the store through and list what is damaged",
     .description = R"(
Checks every row and page of the store, ravik.db, and changes nothing. Exits with
1 where something is damaged, and with 3 where the store can't be opened. While a
service has the project open, what is checked is a copy that it makes.

Examples:
  ravik store check
)",
     .options = {},
     .run = store_check},
    {.name = "store backup",
     .operands = "FILE",
     .least = 1,
     .most = 1,
     .summary = "Write a copy of the store",
     .description = R"(
FILE is a whole store afterwards, checked, and readable by its owner alone. A file
that stands there is replaced with --force only. Copies that are made by other
means miss what still stands in the store's log.

Examples:
  ravik store backup /var/backups/line.db
  ravik --project line store backup --force line.db
)",
     .options = {Option::force},
     .run = store_backup},
    {.name = "store restore",
     .operands = "FILE",
     .least = 1,
     .most = 1,
     .summary = "Put a backup in the store's place",
     .description = R"(
FILE has to be whole. A store that holds something else is replaced with --force
only; one that is damaged is kept beside the new one, as ravik.db.damaged-1.

Examples:
  ravik store restore /var/backups/line.db
)",
     .options = {Option::force},
     .run = store_restore},
    {.name = "store repair",
     .operands = "",
     .least = 0,
     .most = 0,
     .summary = "Keep what is whole of a damaged store",
     .description = R"(
Makes a store of every whole row that can be reached, and says what is lost. The
damaged store is kept beside it, as ravik.db.damaged-1. Restore a backup instead
where there is one that is new enough.

Examples:
  ravik store repair
)",
     .options = {},
     .run = store_repair},
    {.name = "library init",
     .operands = "",
     .least = 0,
     .most = 0,
     .summary = "Make the tables of the library in its database",
     .description = R"(
The library is the PostgreSQL database that "library" in ravik.json names; the
recipe types and recipes of several servers stand in it. Its schema is made where it
is missing. A library that is there already stays as it is; one of an earlier layout
is brought to the newest with --upgrade only, after which programs of an earlier
version follow it no more.

Examples:
  ravik library init
)",
     .options = {Option::upgrade},
     .run = library_init},
    {.name = "library status",
     .operands = "",
     .least = 0,
     .most = 0,
     .summary = "Tell how the project stands to its library",
     .description = R"(
Prints whether there is a link, the revision that the project's copy stands at, why
it is behind where it is, and which servers are connected. Exits with 1 where nothing
can be edited: "alone" is a server without a link, "stopped" one whose copy does not
follow until somebody does what is told. With --json the value is {"state",
"address", "schema", "server", "revision", "edit", "newest", "since", "why",
"copyFailure", "unknownEdits", "peers": [{"name", "address", "since"}]}; the state is
"none", "not joined", "connecting", "following", "alone" or "stopped".

Examples:
  ravik library status
)",
     .options = {},
     .run = library_status},
    {.name = "library join",
     .operands = "[NAME]",
     .least = 0,
     .most = 1,
     .summary = "Make the project's recipes and the library's one",
     .description = R"(
NAME is the server's name in the library and its history; the host's where none is
given. What only the one has goes to the other. Where both have something else at a
path nothing is changed, and the paths are listed: --ours or --theirs decides. Before
the store loses anything it is copied, to ravik.db.before-join-TIME. A project that
has joined gets another name. Where the library lacks edits that the copy has, as
after a restored backup, --theirs takes all of it, and --ours gives it all of the
copy. A store that was copied from another server's joins with a NAME of its own.
Nobody may have the project open meanwhile. With --json the value is {"server",
"revision", "sent", "come", "joinedBefore", "backup"} or {"clashes"}.

Examples:
  ravik library join
  ravik library join 'Line 3'
  ravik library join --theirs
)",
     .options = {Option::ours, Option::theirs},
     .run = library_join},
    {.name = "library leave",
     .operands = "",
     .least = 0,
     .most = 0,
     .summary = "Make the copy of the library the project's own recipes",
     .description = R"(
The library stays as it is. Without a link it still knows the server's name
afterwards. "library" in ravik.json may stay or go.

Examples:
  ravik library leave
)",
     .options = {},
     .run = library_leave},
    {.name = "serve",
     .operands = "",
     .least = 0,
     .most = 0,
     .summary = "Serve the project to programs, browsers and other commands",
     .description = R"(
Keeps the project open and serves it over HTTP, on 127.0.0.1:8420 where neither
--listen nor ravik.json says otherwise ("service": {"listen": […]}), and to every
command on this project, which goes through it by itself. Port 0 takes a free one.
Says where it listens on standard error, a line each. Without any user it prints a link to a
terminal that signs in whoever holds it; 'user add' makes the first user. To be
reached from other machines it needs TLS ("tls": {"certificate": …, "key": …}) and a
user. SIGTERM and Ctrl+C end it in order, SIGHUP has it read the certificate again.

Examples:
  ravik serve
  ravik serve --listen 127.0.0.1:0 --log json
  ravik serve --listen 0.0.0.0:8443 --listen '[::]:8443'
)",
     .options = {Option::listen, Option::log},
     .run = serve},
    {.name = "user add",
     .operands = "NAME",
     .least = 1,
     .most = 1,
     .summary = "Let somebody into the project's service",
     .description = R"(
Asks for the password twice, or takes it from the first line of standard input
where that is no terminal: 8 characters at least, 1024 bytes at most. --role says
what the user may: a viewer reads; an operator also activates recipes; an engineer
also edits; an admin also looks after users and tokens. The first user is an admin.
A service that runs knows the user within a second. With --json the value is
{"name", "role"}.

Examples:
  ravik user add anna --role admin
  ravik user add bert --role operator <password.txt
)",
     .options = {Option::role},
     .run = user_add},
    {.name = "user list",
     .operands = "",
     .least = 0,
     .most = 0,
     .summary = "List the users of the project's service",
     .description = R"(
With --json the value is {"counts": {"users"}, "rows": [{"name", "role",
"created"}]}.

Examples:
  ravik user list
)",
     .options = {},
     .run = user_list},
    {.name = "user remove",
     .operands = "NAME",
     .least = 1,
     .most = 1,
     .summary = "Let a user into the project's service no longer",
     .description = R"(
What the user has open in a service that runs ends within a second. The last admin
can't be removed. With --json the value is {"name"}.

Examples:
  ravik user remove bert
)",
     .options = {},
     .run = user_remove},
    {.name = "user password",
     .operands = "NAME",
     .least = 1,
     .most = 1,
     .summary = "Give a user another password",
     .description = R"(
Takes the password as 'user add' does. What the user has open in a service that
runs ends within a second. With --json the value is {"name"}.

Examples:
  ravik user password anna
)",
     .options = {},
     .run = user_password},
    {.name = "token add",
     .operands = "NAME",
     .least = 1,
     .most = 1,
     .summary = "Let a program or a panel into the project's service",
     .description = R"(
Makes a token and shows it this once: programs send it in the header
"Authorization: Bearer TOKEN", a panel signs in with it for good. --role says what
it may, as for users. With --json the value is {"name", "role", "token"}.

Examples:
  ravik token add planning --role operator --expires 365
  ravik --json token add panel-3 --role viewer
)",
     .options = {Option::role, Option::expires},
     .run = token_add},
    {.name = "token list",
     .operands = "",
     .least = 0,
     .most = 0,
     .summary = "List the tokens of the project's service",
     .description = R"(
The tokens themselves are kept nowhere. With --json the value is {"counts":
{"good", "expired"}, "rows": [{"name", "role", "created", "expires", "state"}]},
without "expires" where there is no end.

Examples:
  ravik token list
)",
     .options = {},
     .run = token_list},
    {.name = "token remove",
     .operands = "NAME",
     .least = 1,
     .most = 1,
     .summary = "Make a token worthless",
     .description = R"(
NAME is the token's name, not the token. What is open with it in a service that
runs ends within a second. With --json the value is {"name"}.

Examples:
  ravik token remove planning
)",
     .options = {},
     .run = token_remove},
    {.name = "completion",
     .operands = "bash|zsh [LINE]",
     .least = 1,
     .most = 2,
     .summary = "Print a script that completes command lines",
     .description = R"(
The script completes commands, options, and the project's own names: recipes, recipe
types, paths, symbols and the newest records of the history. With LINE, a command line as far as it is written, it prints
what may come next, a line each; so the script asks.

Examples:
  source <(ravik completion bash)
  ravik completion zsh >~/.zfunc/_ravik
)",
     .options = {},
     .run = completion},
}};

} // namespace

std::span<CommandEntry const> all_commands()
{
    return command_table;
}

} // namespace Ravik::CommandLine
