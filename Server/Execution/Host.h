#pragma once

#include "Execution/ConfigurationWriter.h"
#include "Execution/Executor.h"
#include "Execution/Extensions.h"
#include "Execution/SessionModes.h"
#include "Execution/SymbolTable.h"
#include "RavikSrvExtApi.h"
#include "Schema/Validator.h"

namespace Ravik
{

/// What extensions see of this server. It only takes their calls to the parts that do the work, behind one guard: no
/// exception reaches an extension. Sessions may be served in a mode of their own, see `SessionMode`.
class Host final : public RavikSrv::IRavikSrvExtHost, public RavikSrv::IInternalHost
{
public:
    Host(Configuration const& configuration, ConfigurationWriter& writer, Executor& executor,
         Extensions const& extensions, SymbolTable const& symbols, Validator& validator, SessionModes const& modes)
        : m_configuration(configuration), m_writer(writer), m_executor(executor), m_extensions(extensions),
          m_symbols(symbols), m_validator(validator), m_modes(modes)
    {
    }

    RavikSrv::ErrorValue execute_command_group(RavikSrv::Context const& context,
                                               RavikSrv::CommandGroup* group) override;
    RavikSrv::ErrorValue execute_command(RavikSrv::Context const& context, RavikSrv::Command* command) override;
    void register_listener(RavikSrv::Context const& context, RavikSrv::IRavikSrvListener* listener) override;
    void register_listener(RavikSrv::Context const& context, RavikSrv::IRavikSrvListener* listener,
                           RavikSrv::Value const& settings) override;
    RavikSrv::ErrorValue set_config_value(RavikSrv::Context const& context, char const* path,
                                          RavikSrv::Value const* value) override;
    RavikSrv::Value get_config_value(RavikSrv::Context const& context, char const* path) override;

    RavikSrv::ResultPair validate_symbol_value(char const* symbol, RavikSrv::Value const& value) override;
    RavikSrv::ResultPair validate(RavikSrv::Value const& schema, RavikSrv::Value const& value,
                                  char const* path) override;
    RavikSrv::String get_extension_error_string(char const* domain, unsigned code) override;

private:
    RavikSrv::ErrorValue execute_in(SessionMode const& mode, RavikSrv::Context const& context,
                                    RavikSrv::CommandGroup& group);

    Configuration const& m_configuration;
    ConfigurationWriter& m_writer;
    Executor& m_executor;
    Extensions const& m_extensions;
    SymbolTable const& m_symbols;
    Validator& m_validator;
    SessionModes const& m_modes;
};

} // namespace Ravik
