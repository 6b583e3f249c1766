#include "Support/api_types.h"

#include <gtest/gtest.h>

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

} // namespace
} // namespace Ravik::Test
