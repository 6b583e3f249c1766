#include "Support/api_types.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace Ravik::Test
{
namespace
{

constexpr auto both = CommandOption::REPLACE | CommandOption::REMOVE;
static_assert(static_cast<unsigned>(both) == 128U + 2048U);
static_assert(has_option(both, CommandOption::REMOVE) && !has_option(CommandOption::REPLACE, both));

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

TEST(CommandGroup, holds_copies_in_the_order_of_insertion)
{
    CommandGroup group;
    EXPECT_STREQ(group.insert(group.end_vector(), Command("a"))->name(), "a");
    EXPECT_STREQ(group.insert(group.end_vector(), Command("b"))->name(), "b");
    group.insert(group.begin_vector(), *(group.begin_vector() + 1));
    group.begin_vector()->write_value() = 1;
    auto copy = group;
    copy.begin_vector()->write_value() = 2;
    EXPECT_EQ(group.begin_vector()->write_value(), 1);
    std::string names;
    std::for_each(group.begin_vector(), group.end_vector(), [&](Command const& command) { names += command.name(); });
    EXPECT_EQ(names, "bab");
}

} // namespace
} // namespace Ravik::Test
