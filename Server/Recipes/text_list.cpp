#include "Recipes/text_list.h"

#include "algorithm_helper.h"

namespace Ravik
{

using RavikSrv::Value;

std::vector<std::string> texts_of(Value const& list)
{
    std::vector<std::string> texts;
    for (auto element = list.begin_vector(); element != list.end_vector(); ++element)
    {
        texts.push_back(RavikSrv::Algorithm::to_string(*element));
    }
    return texts;
}

Value text_values(std::vector<std::string> const& texts)
{
    Value list(RavikSrv::ValueType::Vector);
    for (auto const& text : texts)
    {
        list << Value(std::string_view(text));
    }
    return list;
}

} // namespace Ravik
