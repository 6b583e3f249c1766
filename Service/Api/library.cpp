#include "Api/Parts.h"
#include "Api/problem.h"
#include "Api/resources.h"

#include "Project/report_values.h"

namespace Ravik::Service
{

Response get_library(Call& call)
{
    return json_answer(value_of(call.parts.project.library_status(std::chrono::milliseconds(0))));
}

} // namespace Ravik::Service
