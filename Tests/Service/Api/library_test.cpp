#include "Service/Client/ScriptedProject.h"

#include "Api/edits.h"

#include <gtest/gtest.h>

namespace Ravik::Test
{
namespace
{

using RavikSrv::ErrorValue;

TEST(Library, that_is_missing_is_no_store_that_failed)
{
    struct Case
    {
        ErrorValue error;
        bool is_writable;
        char const* unknown_edit;
        unsigned status;
        bool is_tried_again;
    };
    for (auto const& each : {
             Case{ErrorValue::STORAGE, true, "", 503, true},
             Case{ErrorValue::STORAGE, true, "e1", 503, false},
             Case{ErrorValue::STORAGE, false, "", 507, false},
             Case{ErrorValue::STORAGE_STORE, false, "", 507, false},
         })
    {
        ScriptedProject project;
        project.is_writable = each.is_writable;
        EditReport report;
        report.error = each.error;
        report.unknown_edit = each.unknown_edit;
        auto const problem = Service::problem_of(project, report);
        EXPECT_EQ(problem.status, each.status);
        EXPECT_EQ(problem.fields == (Service::Fields{{"Retry-After", "1"}}), each.is_tried_again);
        auto const answer = Service::answer_of(problem);
        EXPECT_EQ(answer.body->find(R"("edit":"e1")") != std::string::npos, *each.unknown_edit != '\0');
    }
}

} // namespace
} // namespace Ravik::Test
