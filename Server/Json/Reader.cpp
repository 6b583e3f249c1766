#include "Json/Reader.h"

#include "Json/Json.h"
#include "Json/QuickReader.h"
#include "Json/exact_reading.h"

#include <utility>

namespace Ravik::Json
{

using RavikSrv::Value;

Reader::Reader() : m_quick(std::make_unique<QuickReader>())
{
}

Reader::Reader(Reader&&) noexcept = default;
Reader& Reader::operator=(Reader&&) noexcept = default;
Reader::~Reader() = default;

Value Reader::parse(std::string_view text)
{
    auto value = m_quick->read(text);
    return value ? std::move(*value) : read_exactly(text);
}

Value parse(std::string_view text)
{
    return Reader().parse(text);
}

} // namespace Ravik::Json
