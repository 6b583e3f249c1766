#pragma once

#include "Schema/CompiledSchema.h"

#include "Mutex.h"
#include "RavikSrvExtApi.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <unordered_map>

namespace Ravik
{

/// Checks values against schemas that come as values, and keeps what it compiled: a schema that comes again, be it
/// another copy of equal content, is only looked up. Keeps at least the `capacity` schemas used last and at most twice
/// as many. Thread-safe; its lock is held for a look-up only.
class Validator
{
public:
    explicit Validator(std::size_t capacity = 8192);

    /// Whether `value` fits `schema`; see `CompiledSchema`. `path`, a server path, leads the place in the text. A null
    /// value fits every schema, also a broken one; a null schema accepts everything.
    RavikSrv::ResultPair validate(RavikSrv::Value const& schema, RavikSrv::Value const& value, char const* path);

    /// Success, or why the schema can't be used.
    RavikSrv::ResultPair schema_error(RavikSrv::Value const& schema);

private:
    using Compiled = std::shared_ptr<CompiledSchema const>;
    struct Entry
    {
        RavikSrv::Value schema;
        Compiled compiled;
    };
    using Generation = std::unordered_map<std::uint64_t, Entry>;

    Compiled compiled(RavikSrv::Value const& schema);
    Compiled const* builtin(RavikSrv::Value const& schema) const;
    Compiled find(std::uint64_t hash, RavikSrv::Value const& schema);
    void keep(std::uint64_t hash, Entry entry);

    std::size_t m_capacity;
    /// The built-in definitions by the text of their reference, by far the most frequent schemas.
    std::map<std::string, Compiled, std::less<>> m_builtins;
    RavikSrv::Mutex m_mutex;
    /// Schemas by the hash of their content. A full generation becomes the old one, whose entries move back when used.
    Generation m_recent RAVIK_GUARDED_BY(m_mutex);
    Generation m_old RAVIK_GUARDED_BY(m_mutex);
};

} // namespace Ravik
