#include "EditedProject.h"

#include "Configuration/Store.h"
#include "Project/OpenProject.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>

namespace Ravik::Test
{
namespace
{

/// A store whose n-th changing call fails, and does nothing.
class FailingStore : public Store
{
public:
    FailingStore(std::unique_ptr<Store> store, int& calls_left) : m_store(std::move(store)), m_calls_left(calls_left) {}

    Value load(std::string const& domain) override { return m_store->load(domain); }
    void begin() override { before_call(), m_store->begin(); }
    void put(std::string const& domain, std::string const& path, Value const* value) override
    {
        before_call(), m_store->put(domain, path, value);
    }
    void erase(std::string const& domain, std::string const& path) override
    {
        before_call(), m_store->erase(domain, path);
    }
    void erase_below(std::string const& domain, std::string const& path) override
    {
        before_call(), m_store->erase_below(domain, path);
    }
    void commit() override { before_call(), m_store->commit(); }
    void rollback() noexcept override { m_store->rollback(); }
    std::int64_t add_record(StoredRecord record, RecordBounds const& bounds) override
    {
        before_call();
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
    std::optional<LibraryCopy> library() const override { return m_store->library(); }
    std::optional<LibraryRow> shared_row(std::string const& path) override { return m_store->shared_row(path); }
    std::vector<LibraryRow> shared_rows_below(std::string const& path) override
    {
        return m_store->shared_rows_below(path);
    }
    void apply_shared(std::vector<LibraryRow> const& rows, bool is_whole, LibraryPosition const& position) override
    {
        before_call(), m_store->apply_shared(rows, is_whole, position);
    }
    std::uint64_t shared_sum() const override { return m_store->shared_sum(); }
    void join_library(LibraryCopy const& copy) override { before_call(), m_store->join_library(copy); }
    void leave_library() override { before_call(), m_store->leave_library(); }
    std::vector<LibraryRow> recipe_rows() override { return m_store->recipe_rows(); }

private:
    void before_call()
    {
        if (--m_calls_left == 0)
        {
            throw StoreError("the disk is out of order");
        }
    }

    std::unique_ptr<Store> m_store;
    int& m_calls_left;
};

/// Opens the project again and again with a store that fails a call later, until `work` succeeds: before, nothing of it
/// is there. `work(project)` returns why it failed, an empty text for success.
void expect_all_or_nothing(EditedProject& edited, std::function<std::string(OpenProject&)> const& work)
{
    auto const before = edited.state();
    edited.project.reset();
    auto calls = 1;
    for (auto is_made = false; !is_made && calls < 100; ++calls)
    {
        auto calls_left = calls;
        auto store = Store::open(edited.folder.path() / "ravik.db", std::chrono::seconds(0));
        auto const project =
            opened(edited.folder.path() / "ravik.json", std::make_unique<FailingStore>(std::move(store), calls_left));
        auto const failure = work(*project);
        is_made = failure.empty();
        EXPECT_EQ(dump(project->get(edited.domain, "").value) == before, !is_made) << calls;
        EXPECT_TRUE(is_made || failure.find("the disk is out of order") != std::string::npos) << failure;
    }
    EXPECT_GT(calls, 3);
    edited.reopen();
    EXPECT_NE(edited.state(), before);
}

TEST(StoreFailures, at_any_call_of_an_edit_leave_all_of_it_or_nothing)
{
    // Each rewrites more than the entry that it names.
    for (auto const* const text : {"T::A > T::C", "T::A >", "T::D::members::k > T::D::members::j", "R::R1 > R::F::R1",
                                   R"(R::F = {"R4":{"recipeTypeName":"A","values":{"m":3}}})", "+ E { } | R4:E { }"})
    {
        SCOPED_TRACE(text);
        EditedProject edited("A { m } B(A) { n } D { k>A } | R1:A { m=1 } R2:B { m=2 n=2 } R3:D { k=R1 }");
        expect_all_or_nothing(edited,
                              [text](OpenProject& project)
                              {
                                  auto const report = edit(project, text);
                                  EXPECT_EQ(report.made, report.succeeded());
                                  return report.succeeded() ? std::string() : "refused: " + report.text;
                              });
    }
}

TEST(StoreFailures, at_any_call_of_an_update_leave_all_of_it_or_nothing)
{
    EditedProject edited("A { k l m } | R1:A { k=1 l=2 m=3 }");
    ASSERT_TRUE(edited.edit("T::A::members::k >").succeeded() && edited.edit("T::A::members::l >").succeeded());
    expect_all_or_nothing(edited,
                          [&](OpenProject& project)
                          {
                              auto const outcome =
                                  project.call(edited.domain, "UpdateRecipe", parameters("path", "R1"));
                              return outcome.succeeded() ? std::string() : "failed: " + outcome.text;
                          });
}

} // namespace
} // namespace Ravik::Test
