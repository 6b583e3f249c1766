#pragma once

#include "Configuration/Configuration.h"
#include "Configuration/expectation.h"
#include "Editing/EditOptions.h"
#include "Editing/EntrySchemas.h"
#include "Editing/Refusal.h"
#include "Editing/SetPlan.h"
#include "Editing/findings.h"
#include "Execution/Core.h"
#include "History/History.h"

#include <map>
#include <string>
#include <vector>

namespace Ravik
{

class Import;
class Reversal;

/// What became of an edit.
struct [[nodiscard]] EditOutcome
{
    /// Set where the edit was refused, and nothing changed; or where it was made and the extension could not carry it
    /// through (`made` tells which).
    Refusal refusal;
    /// All refusals of an import that only checks, or of a revert.
    std::vector<Refusal> refusals;
    bool made = false;
    /// Set where it was refused since its condition does not hold; then `value` is what stands there, null for nothing,
    /// and of an import the configuration's revision.
    bool condition_failed = false;
    RavikSrv::Value value;
    /// Of an edit of recipe types: the stored values that do not fit any more.
    std::vector<Finding> warnings;
    /// What changed besides the edited place; for a dry run what would.
    std::vector<Touched> cascade;
    /// Where it is not known whether the library has the edit: its id there.
    std::string unknown_edit;
};

/// The edits that clients make: each is checked, put to the extension of the domain, stored, and the extension
/// notified; all in one turn, with everything that the extension writes in its course. A delete or rename comes out
/// with every reference carried along exactly, whatever the extension makes of it. Thread-safe.
class Editor
{
public:
    /// `schemas` by domain; all parts outlive the editor.
    Editor(Core& core, History const& history, SymbolTable const& symbols, Validator& validator,
           std::map<std::string, EntrySchemas> const& schemas)
        : m_core(core), m_history(history), m_symbols(symbols), m_validator(validator), m_schemas(schemas)
    {
    }

    /// Puts `value` at `path`, making the folders that are missing. Refused where an entry would disappear with it.
    EditOutcome set(std::string const& domain, std::string const& path, RavikSrv::Value const& value,
                    SetOptions const& options);
    /// Puts what stands at `path`, a recipe or recipe type, also at the full path `new_path`, which must be free.
    EditOutcome copy(std::string const& domain, std::string const& path, std::string const& new_path,
                     SetOptions const& options);
    EditOutcome remove(std::string const& domain, std::string const& path, MoveOptions const& options);
    /// Gives the entry at `path` the full path `new_path`, which must be free.
    EditOutcome rename(std::string const& domain, std::string const& path, std::string const& new_path,
                       MoveOptions const& options);
    /// Takes in `data`, an object with "recipeTypeList" or "recipeList" or both. Folders merge, an entry takes the
    /// place of the one that stands there as a whole.
    EditOutcome import(std::string const& domain, RavikSrv::Value const& data, ImportOptions const& options);

    /// Takes back, place by place, what an edit changed. Refused, with every place at fault, where one has changed
    /// since or another entry would be wrong afterwards. `asked` is what a record of it says.
    EditOutcome revert(std::vector<PlaceChange> const& places, std::string const& asked, RevertOptions const& options);

    /// Why the recipe at the path is not edited on this line of a library; none for others. See `line_objection`.
    Refusal check_line(std::string const& recipe) const;
    /// Where the turn, which a function of an extension wrote in, changed what this line of a library can't edit: takes
    /// it back, starts the extension anew and returns why. See `line_objection`.
    Refusal keep_to_line(Configuration::Turn& turn);

    /// What is wrong in the domain's configuration as it stands; what is found clean an import takes. Asks the
    /// extension about every entry.
    std::vector<Finding> check(std::string const& domain) const;

private:
    /// The domain of an edit with what belongs to it.
    struct Site
    {
        std::string domain;
        Extension* extension = nullptr;
        EntrySchemas const* schemas = nullptr;
        RavikSrv::Context context;
    };

    Site site(std::string const& domain) const;
    Refusal check_domain(Site const& site, std::string const& path) const;
    Refusal check_turn(Configuration::Turn const& turn, Site const& site, std::string const& path) const;
    Refusal check_place(Site const& site, std::string const& path) const;
    EditOutcome unmet(Site const& site, std::string const& path, Condition const& condition) const;
    EditOutcome set(Site const& site, std::string const& path, RavikSrv::Value const& value, Deed const& deed,
                    Configuration::Turn& turn);
    bool is_line() const { return m_core.configuration.shared().has_value(); }
    Refusal check_line(TreePair const& trees, std::vector<Touched> const& touched) const;
    Refusal check_line(Import const& import, RavikSrv::Value const& before) const;
    Refusal check_line(Site const& site, Move const& move, TreePair const& trees,
                       std::vector<Touched> const& cascade) const;
    Refusal keep_to_line(Configuration::Turn& turn, std::vector<Touched> const& touched);
    Refusal ask_change(Site const& site, std::string const& path, RavikSrv::Value const& tree) const;
    EditOutcome tell_set(Site const& site, std::string const& path, SetPlan const& plan, Deed const& deed,
                         Configuration::Turn& turn);
    EditOutcome move(Site const& site, Move const& move, MoveOptions const& options);
    Refusal ask_move(Site const& site, Move const& move, RavikSrv::Value const& before) const;
    Refusal ask_delete(Site const& site, std::string const& path, RavikSrv::Value const& tree) const;
    Refusal make_move(Site const& site, Move const& move, RavikSrv::Value const& before,
                      Configuration::Turn& turn) const;
    Refusal put_right(Site const& site, std::string const& path, RavikSrv::Value const& expected,
                      Configuration::Turn& turn) const;
    Refusal stored(Configuration::Turn& turn, Deed deed, EditOutcome const& outcome) const;
    std::vector<Refusal> check_reversal(Site const& site, Reversal const& reversal) const;
    std::vector<Refusal> new_faults(Reversal const& reversal) const;
    Refusal make_reversal(Site const& site, Reversal const& reversal, Configuration::Turn& turn) const;
    Refusal restart(Site const& site);

    Refusal ask_entry(Site const& site, std::string const& path, RavikSrv::Value entry, EntryKind kind,
                      RavikSrv::Value const& lists) const;
    std::vector<Finding> new_misfits(RavikSrv::Value const& before, RavikSrv::Value const& after,
                                     std::vector<std::string> const& types) const;

    Core& m_core;
    History const& m_history;
    SymbolTable const& m_symbols;
    Validator& m_validator;
    std::map<std::string, EntrySchemas> const& m_schemas;
};

} // namespace Ravik
