#pragma once

#include "Configuration/Library.h"
#include "Configuration/Store.h"
#include "Project/ProjectFile.h"
#include "Project/library_membership.h"
#include "Project/merged_rows.h"

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Ravik
{

/// A transaction of a store, which ends with this: rolled back where it was not committed.
class Transaction
{
public:
    explicit Transaction(Store& store) : m_store(store) { store.begin(); }
    Transaction(Transaction const&) = delete;
    Transaction& operator=(Transaction const&) = delete;
    ~Transaction();

    void commit();

private:
    Store& m_store;
    bool m_done = false;
};

/// One attempt to join a project's store to a library.
class Joining
{
public:
    /// The file names a library. All parts outlive it.
    Joining(ProjectFile const& file, Store& store, JoinOptions const& options);
    ~Joining();
    Joining(Joining const&) = delete;
    Joining& operator=(Joining const&) = delete;

    /// Throws `LibraryError` and `StoreError`; then the store is as it was.
    JoinReport join();

private:
    void connect();
    void choose_server();
    void keep_or_change_identity(LibraryServer const& entered);
    std::string free_name(std::vector<LibraryServer> const& servers) const;
    void claim_name(std::vector<LibraryServer> const& servers);
    bool knows_copy();
    JoinReport join_again();
    JoinReport join_anew(LibraryHead const& head, bool is_diverged);
    std::optional<StoredRecord> send(MergedRows const& merged, std::vector<LibraryRow> const& library,
                                     LibraryPosition& position);
    std::filesystem::path keep_store();
    void take(MergedRows const& merged, LibraryPosition const& position, std::optional<StoredRecord> const& record);

    ProjectFile const& m_file;
    Store& m_store;
    JoinOptions const& m_options;
    std::optional<LibraryCopy> m_copy;
    std::string m_process;
    std::unique_ptr<Library> m_turns;
    std::unique_ptr<Library> m_following;
    /// The library's id.
    std::string m_library;
    LibraryServer m_server;
    /// Whether the server was entered for the sake of this.
    bool m_is_new = false;
    bool m_done = false;
};

} // namespace Ravik
