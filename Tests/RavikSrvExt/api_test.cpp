#include "RavikSrvExtApi.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <utility>

namespace RavikSrv
{

namespace
{

TEST(Command, an_extension_result_and_its_cause_never_disagree)
{
    Command command("name");
    command.set_result(ErrorValue::TYPE_MISMATCH);
    command.set_extension_result(3);
    EXPECT_EQ(command.result(), ErrorValue::EXTENSION);
    EXPECT_EQ(command.extension_result(), 3U);
    command.set_extension_result(0);
    EXPECT_EQ(command.result(), ErrorValue::SUCCESS);
}

TEST(Command, options_combine)
{
    auto const both = CommandOption::REPLACE | CommandOption::REMOVE;
    EXPECT_EQ(static_cast<unsigned>(both), 128U + 2048U);
    EXPECT_TRUE(has_option(both, CommandOption::REMOVE));
    EXPECT_FALSE(has_option(CommandOption::REPLACE, both));
}

TEST(CommandGroup, holds_copies_in_the_order_of_insertion)
{
    CommandGroup group;
    EXPECT_TRUE(group.empty() && group.begin_vector() == group.end_vector());
    for (auto const* const name : {"a", "b", "c"})
    {
        EXPECT_EQ(group.insert(group.end_vector(), Command(name))->name(), std::string(name));
    }
    group.insert(group.begin_vector(), *(group.begin_vector() + 2));
    group.begin_vector()->write_value()["x"] = 1;
    auto copy = group;
    copy.begin_vector()->write_value()["x"] = 2;
    std::string names;
    for (auto command = std::as_const(group).begin_vector(); command != std::as_const(group).end_vector(); ++command)
    {
        names += command->name();
    }
    EXPECT_EQ(names, "cabc");
    EXPECT_EQ(group.begin_vector()->write_value()["x"], 1);
}

/// Finds its type by the API's own key functions, and lets every delete and rename pass.
class Listener : public RavikSrvConfigListener
{
public:
    ResultPair before_change(Context /*context*/, char const* /*path*/, Value& /*value*/, char const* /*type*/) override
    {
        return ErrorValue::FAIL;
    }
    ResultPair on_change(Context /*context*/, char const* /*path*/, char const* /*type*/) override { return {}; }
    ResultPair on_delete(Context /*context*/, char const* /*path*/, Value const& /*value*/,
                         char const* /*type*/) override
    {
        return {};
    }
    ResultPair on_rename(Context /*context*/, char const* /*path*/, char const* /*new_path*/,
                         char const* /*type*/) override
    {
        return {};
    }
};

TEST(RavikSrvConfigListener, lets_deletes_and_renames_pass)
{
    Listener listener;
    IRavikSrvListener* const known = &listener;
    EXPECT_EQ(known->type(), ListenerType::CONFIG);
    auto* const config = dynamic_cast<IRavikSrvConfigListener*>(known);
    ASSERT_NE(config, nullptr);
    EXPECT_EQ(config->before_delete({}, "a", {}, "").result(), ErrorValue::SUCCESS);
    EXPECT_EQ(config->before_rename({}, "a", "b", "").result(), ErrorValue::SUCCESS);
    EXPECT_EQ(dynamic_cast<IRavikSrvExportListener*>(known), nullptr);
}

TEST(Api, knows_the_host_that_it_was_given_last)
{
    std::max_align_t place{};
    auto* const any_host = reinterpret_cast<IRavikSrvExtHost*>(&place); // never called
    initialize_api(any_host);
    EXPECT_EQ(host(), any_host);
    initialize_api(nullptr);
    EXPECT_EQ(host(), nullptr);
}

} // namespace

} // namespace RavikSrv
