#pragma once

#include "Mutex.h"
#include "RavikSrvExtApi.h"
#include "simulation_result.h"

#include <cstdint>
#include <limits>
#include <map>
#include <set>
#include <string>
#include <string_view>

namespace Simulation
{

/// The variables of a simulated controller and their present values. It calls nobody; all operations but `load` are
/// thread-safe.
///
/// A variable has the type of its value in the configuration's "variables", where a whole number that fits in 32 bits
/// is an int, a larger one an int64, and one with a point a double. A variable that is null there takes any value.
class Variables
{
public:
    /// Names of variables.
    using Names = std::set<std::string, std::less<>>;

    /// Takes over the configuration: "variables" (object, name to value), "writeProtected" (list of names of
    /// variables), "stuck" (list of names of variables, which take a write and keep what they hold), "clamped" (object,
    /// name to [lowest, highest], between which a written number is brought), "unreachable" (bool) and "values"
    /// (object, the values written in earlier runs; a value that no longer fits its variable's type is passed over).
    /// Every key may be missing. A failure names the key at fault and what was expected there.
    RavikSrv::ResultPair load(RavikSrv::Value const& configuration);

    /// Reads the present value into `value`.
    Outcome read(char const* name, RavikSrv::Value& value) const;
    /// Gives the variable the value, converted to the variable's type.
    Outcome write(char const* name, RavikSrv::Value const& value);

    /// The present values of some variables as a map, and a mark of the moment for `changed_since`.
    struct Snapshot
    {
        RavikSrv::Value values;
        std::uint64_t moment = 0;
    };
    Snapshot snapshot(Names const& names) const;
    /// Whether one of the variables was written after the snapshot of that moment.
    bool changed_since(std::uint64_t moment, Names const& names) const;

private:
    struct Variable
    {
        RavikSrv::ValueType type = RavikSrv::ValueType::Null;
        RavikSrv::Value value;
        bool write_protected = false;
        bool stuck = false;
        /// A written number stays between these.
        double lowest = -std::numeric_limits<double>::infinity();
        double highest = std::numeric_limits<double>::infinity();
        /// The number of the write that gave the value, 0 before the first.
        std::uint64_t written = 0;

        /// Takes the value as it converts. Returns false where it does not.
        [[nodiscard]] bool accept(RavikSrv::Value const& offered);
        /// Takes what is left of a written value by a variable that is stuck or clamped.
        [[nodiscard]] bool take(RavikSrv::Value const& offered);
    };

    RavikSrv::ResultPair load_variables(RavikSrv::Value const& variables) RAVIK_REQUIRES(m_mutex);
    RavikSrv::ResultPair load_write_protected(RavikSrv::Value const& names) RAVIK_REQUIRES(m_mutex);
    RavikSrv::ResultPair load_stuck(RavikSrv::Value const& names) RAVIK_REQUIRES(m_mutex);
    RavikSrv::ResultPair load_clamped(RavikSrv::Value const& ranges) RAVIK_REQUIRES(m_mutex);
    /// Sets a mark of the variables that a list names.
    RavikSrv::ResultPair mark(char const* key, RavikSrv::Value const& names, bool Variable::*flag)
        RAVIK_REQUIRES(m_mutex);
    /// The variable of that name; null, with the failure of the setting at `place`, where there is none.
    Variable* named(std::string const& place, std::string_view name, RavikSrv::ResultPair& failure)
        RAVIK_REQUIRES(m_mutex);
    RavikSrv::ResultPair load_unreachable(RavikSrv::Value const& flag) RAVIK_REQUIRES(m_mutex);
    RavikSrv::ResultPair load_values(RavikSrv::Value const& values) RAVIK_REQUIRES(m_mutex);
    /// What bars every access to the variable, whether it is to be read or written.
    Outcome barred(char const* name, bool known) const RAVIK_REQUIRES(m_mutex);

    mutable RavikSrv::Mutex m_mutex;
    std::map<std::string, Variable, std::less<>> m_variables RAVIK_GUARDED_BY(m_mutex);
    std::uint64_t m_writes RAVIK_GUARDED_BY(m_mutex) = 0;
    bool m_unreachable RAVIK_GUARDED_BY(m_mutex) = false;
};

} // namespace Simulation
