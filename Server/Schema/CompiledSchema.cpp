#include "Schema/CompiledSchema.h"

#include "Schema/Evaluation.h"
#include "Schema/SchemaCompiler.h"
#include "Schema/WorkBudget.h"
#include "Schema/messages.h"

namespace Ravik
{

using RavikSrv::ErrorValue;
using RavikSrv::ResultPair;
using RavikSrv::Value;

std::shared_ptr<CompiledSchema const> CompiledSchema::compile(Value const& document, std::string_view pointer,
                                                              SchemaDocuments const& documents)
{
    try
    {
        Schema::CompiledNodes nodes{Schema::SchemaCompiler(document, documents).compile(pointer)};
        return std::make_shared<CompiledSchema const>(std::make_unique<Schema::CompiledNodes const>(std::move(nodes)),
                                                      ResultPair());
    }
    catch (Schema::SchemaFailure const& failure)
    {
        return std::make_shared<CompiledSchema const>(nullptr, ResultPair(failure.result(), failure.what()));
    }
}

CompiledSchema::CompiledSchema(std::unique_ptr<Schema::CompiledNodes const> nodes, ResultPair error)
    : m_nodes(std::move(nodes)), m_error(std::move(error)),
      m_certain(m_nodes == nullptr ? Schema::CertainNumbers() : Schema::CertainNumbers(m_nodes->nodes))
{
}

CompiledSchema::~CompiledSchema() = default;

ResultPair CompiledSchema::validate(Value const& value, std::string_view path) const
{
    if (!value.isset() || m_certain.contain(value))
    {
        return {};
    }
    if (m_error.result() != ErrorValue::SUCCESS)
    {
        return {m_error.result(), Schema::with_location(path, m_error.text()).c_str()};
    }
    return Schema::Evaluation(m_nodes->nodes, path).run(value);
}

} // namespace Ravik
