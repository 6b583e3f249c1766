#pragma once

#include "Configuration/Configuration.h"
#include "Editing/EditOptions.h"
#include "Editing/EntrySchemas.h"
#include "Editing/RefusalList.h"
#include "Execution/Extension.h"
#include "RavikSrvExtApi.h"

#include <string>
#include <vector>

namespace Ravik
{

/// What an import is held against.
struct ImportSite
{
    Extension& extension;
    EntrySchemas const& schemas;
    RavikSrv::Context context;
    /// The configuration as it stands.
    RavikSrv::Value tree;
};

/// One import: its pieces, the checks of each, and the writing.
class Import
{
public:
    /// The data are an object with "recipeTypeList" or "recipeList" or both.
    Import(ImportSite site, RavikSrv::Value data, ImportOptions const& options);

    /// Checks the names, that no entry takes the place of a folder or the reverse, the schema of each entry, and asks
    /// the extension about it. Returns the first refusal or, for a dry run, all of them, see `RefusalList`.
    std::vector<Refusal> check();

    /// Writes what has passed the check.
    Refusal write(Configuration::Turn& turn) const;
    /// The two lists as they will stand.
    RavikSrv::Value lists_afterwards() const;
    /// What it writes, nothing where it is none at all.
    std::vector<Touched> touched() const;
    /// Tells the extension of everything written, in the order of the import; answers its first failure.
    Refusal tell() const;
    /// The recipe types that it puts in the place of others.
    std::vector<std::string> replaced_types() const;
    /// Whether the new entries stand behind all others of their list in `tree`, the tree afterwards.
    bool keeps_order(RavikSrv::Value const& tree) const;

private:
    /// A folder or an entry, in the order of the data, folders before what they hold.
    struct Piece
    {
        std::string path;
        EntryKind kind = EntryKind::Folder;
        RavikSrv::Value value{};
        /// A folder that stands there already.
        bool merges = false;
        /// Its refusal stands in `m_refusals`.
        bool is_refused = false;
    };

    Refusal check_lists() const;
    void collect(std::string const& path, RavikSrv::Value const& node, std::size_t depth);
    void take(Piece piece, Refusal refusal);
    void show(std::size_t done) const;
    Refusal check_piece(Piece const& piece) const;
    Refusal check_kind(Piece const& piece) const;
    Refusal ask(Piece const& piece, RavikSrv::Value const& import_data) const;

    ImportSite m_site;
    RavikSrv::Value m_data;
    ImportOptions const& m_options;
    /// Those that are refused for themselves are no more than are told of, and the others are counted.
    std::vector<Piece> m_pieces;
    std::vector<Refusal> m_refusals;
    std::size_t m_more_refused = 0;
};

} // namespace Ravik
