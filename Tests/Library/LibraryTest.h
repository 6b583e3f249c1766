#pragma once

#include "Support/PostgresServer.h"

#include "Configuration/Library.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Ravik::Test
{

/// A row with its checksum; without a text it is a folder.
LibraryRow row(std::string const& path, std::int64_t rank, std::optional<std::string> const& text);
/// The row as it is after its removal.
LibraryRow removed(LibraryRow row);
std::uint64_t sum_of(std::vector<LibraryRow> const& rows);

/// A library in a database of its own; the server is the same for all tests.
class LibraryTest : public ::testing::Test
{
protected:
    using Kind = Library::Kind;

    static PostgresServer& server();

    LibraryTest();

    /// Enters the server with a store of its own and connects it.
    std::unique_ptr<Library> join(std::string const& name, Kind kind, std::string const& process = "");
    std::unique_ptr<Library> connect(std::string const& name, Kind kind, std::string const& process = "") const;
    static Library::Caller caller(std::string const& name, std::string const& process = "");
    /// Makes an edit of the rows, with a record; returns its position.
    static LibraryPosition edit(Library& library, std::vector<LibraryRow> const& rows);
    /// The edit after the head, with a record, not made yet.
    static LibraryEdit draft(LibraryHead const& head, std::vector<LibraryRow> const& rows);
    /// Runs SQL in the library's database.
    std::string run(std::string const& sql) const { return server().run(sql, database); }
    /// Waits until the SQL gives this.
    void await(std::string const& sql, std::string const& result) const;

    std::string database;
    LibrarySettings settings;
};

/// What a failure of the library was.
struct Failure
{
    LibraryError::Kind kind;
    std::string text;
};
/// Nothing where it did not fail.
std::optional<Failure> failure_of(std::function<void()> const& act);

} // namespace Ravik::Test
