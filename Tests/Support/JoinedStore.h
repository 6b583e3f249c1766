#pragma once

#include "Configuration/Configuration.h"
#include "Configuration/Store.h"

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace Ravik::Test
{

/// A store as if it had joined a library; it keeps nothing of what comes from there.
class JoinedStore : public Store
{
public:
    JoinedStore(std::unique_ptr<Store> store, LibraryCopy copy) : m_store(std::move(store)), m_copy(std::move(copy)) {}

    RavikSrv::Value load(std::string const& domain) override { return m_store->load(domain); }
    void begin() override { m_store->begin(); }
    void commit() override { m_store->commit(); }
    void rollback() noexcept override { m_store->rollback(); }
    void put(std::string const& domain, std::string const& path, RavikSrv::Value const* value) override
    {
        m_store->put(domain, path, value);
    }
    void erase(std::string const& domain, std::string const& path) override { m_store->erase(domain, path); }
    void erase_below(std::string const& domain, std::string const& path) override
    {
        m_store->erase_below(domain, path);
    }
    std::int64_t add_record(StoredRecord record, RecordBounds const& bounds) override
    {
        return m_store->add_record(std::move(record), bounds);
    }
    bool replace_record(StoredRecord const& record) override { return m_store->replace_record(record); }
    std::optional<StoredRecord> record(std::int64_t id) override { return m_store->record(id); }
    std::vector<StoredRecord> records_before(std::int64_t before, std::size_t most) override
    {
        return m_store->records_before(before, most);
    }
    std::optional<StoredRecord> record_of_edit(std::string const& edit) override
    {
        return m_store->record_of_edit(edit);
    }

    std::optional<LibraryCopy> library() const override { return m_copy; }
    std::optional<LibraryRow> shared_row(std::string const& /*path*/) override { return {}; }
    std::vector<LibraryRow> shared_rows_below(std::string const& /*path*/) override { return {}; }
    void apply_shared(std::vector<LibraryRow> const& /*rows*/, bool /*is_whole*/,
                      LibraryPosition const& position) override
    {
        m_copy.position = position;
    }
    std::uint64_t shared_sum() const override { return 0; }
    void join_library(LibraryCopy const& copy) override { m_copy = copy; }
    void leave_library() override {}
    std::vector<LibraryRow> recipe_rows() override { return {}; }

private:
    std::unique_ptr<Store> m_store;
    LibraryCopy m_copy;
};

/// The way to a library where everybody has a turn at once and every edit arrives.
class OpenGate : public Configuration::Gate
{
public:
    std::string enter() override { return {}; }
    std::string catch_up() override { return {}; }
    LibraryHead head() const override { return {}; }
    Outcome commit(LibraryDraft const& /*draft*/, std::vector<StoredRecord>& /*records*/) override
    {
        return {.position = LibraryPosition{.revision = ++m_revision, .edit = "e"}, .failure = {}, .unknown_edit = {}};
    }
    void put_back() noexcept override {}
    void leave() noexcept override {}

private:
    std::int64_t m_revision = 0;
};

} // namespace Ravik::Test
