#include "Execution/ConfigurationWriter.h"

#include "Configuration/Entry.h"
#include "Execution/line_check.h"
#include "api_helper.h"
#include "Json/Json.h"

namespace Ravik
{

using RavikSrv::Context;
using RavikSrv::ErrorValue;
using RavikSrv::ResultPair;
using RavikSrv::Value;

Context context_for(Context const& origin, std::string const& domain)
{
    auto context = origin;
    context.set_domain(domain.c_str());
    return context;
}

ErrorValue ConfigurationWriter::write(std::string const& domain, std::string const& path, Value const& value,
                                      Tree::WriteMode mode)
{
    if (!Json::obstacle(value).empty() || !Json::obstacle(Value(path.c_str())).empty())
    {
        return ErrorValue::ENCODE;
    }
    Configuration::Turn turn(m_configuration, domain);
    auto const result = turn.write(domain, path, value, mode);
    return result == ErrorValue::SUCCESS ? committed(turn, domain) : result;
}

ErrorValue ConfigurationWriter::remove(std::string const& domain, std::string const& path)
{
    Configuration::Turn turn(m_configuration, domain);
    auto const result = turn.remove(domain, path);
    return result == ErrorValue::SUCCESS ? committed(turn, domain) : result;
}

/// Ends the turn. What is part of an edit is held to this line at the edit's end.
ErrorValue ConfigurationWriter::committed(Configuration::Turn& turn, std::string const& domain) const
{
    auto const copy = turn.is_outermost() ? m_configuration.shared() : std::nullopt;
    return copy && line_objection(copy->server.name, m_symbols, turn.trees(domain), turn.changes().touched())
               ? ErrorValue::SYMBOL_NOT_MAPPED
               : turn.commit();
}

ResultPair ConfigurationWriter::tell_changed(Context const& context, std::string const& domain,
                                             std::string const& path) const
{
    auto* const extension = m_extensions.find(domain);
    if (extension == nullptr)
    {
        return {};
    }
    auto const kind = locate(path, m_configuration.tree(domain)).kind;
    auto first = extension->on_change(context_for(context, domain), path, schema_type(kind));
    if (kind != EntryKind::Folder && !path.empty())
    {
        return first;
    }
    auto const entries = tell_entries(context, domain, path);
    return first.result() == ErrorValue::SUCCESS ? entries : first;
}

ResultPair ConfigurationWriter::tell_entries(Context const& context, std::string const& domain,
                                             std::string const& path) const
{
    ResultPair first;
    auto* const extension = m_extensions.find(domain);
    auto const told = context_for(context, domain);
    for_each_entry(path, m_configuration.tree(domain),
                   [&](std::string const& entry, Value const& /*value*/, EntryKind kind)
                   {
                       auto const answer =
                           extension == nullptr ? ResultPair() : extension->on_change(told, entry, schema_type(kind));
                       first = first.result() == ErrorValue::SUCCESS ? answer : first;
                       return true;
                   });
    return first;
}

ResultPair ConfigurationWriter::tell_deleted(Context const& context, std::string const& domain, std::string const& path,
                                             Value const& value, char const* schema_type) const
{
    auto* const extension = m_extensions.find(domain);
    return extension == nullptr ? ResultPair()
                                : extension->on_delete(context_for(context, domain), path, value, schema_type);
}

ResultPair ConfigurationWriter::tell_moved(Context const& context, std::string const& domain, Move const& move,
                                           Value const& value, char const* schema_type) const
{
    auto* const extension = m_extensions.find(domain);
    if (extension == nullptr)
    {
        return {};
    }
    if (move.is_delete())
    {
        return tell_deleted(context, domain, move.path, value, schema_type);
    }
    return extension->on_rename(context_for(context, domain), move.path, move.new_path, schema_type);
}

} // namespace Ravik
