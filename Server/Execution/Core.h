#pragma once

#include "Configuration/Configuration.h"
#include "Execution/ConfigurationWriter.h"
#include "Execution/Executor.h"
#include "Execution/Extensions.h"
#include "Execution/Host.h"
#include "Execution/SessionModes.h"
#include "Execution/SymbolTable.h"
#include "Schema/Validator.h"

#include <memory>
#include <utility>

namespace Ravik
{

/// The parts of a running server, wired together: a configuration, the extensions that work on it, and the host that
/// they see. A project has one; the rehearsal of an edit has another, on copies. The symbols and the validator are
/// shared and outlive both.
struct Core
{
    /// `store` may be null: then nothing lasts.
    Core(SymbolTable const& symbols, Validator& validator, std::unique_ptr<Store> store)
        : configuration(std::move(store)), writer(configuration, extensions, symbols),
          executor(symbols, extensions, configuration, writer),
          host(configuration, writer, executor, extensions, symbols, validator, modes)
    {
    }

    Core(Core const&) = delete;
    Core& operator=(Core const&) = delete;

    /// Destroys the extensions while everything that they may call is still there.
    ~Core() { extensions.stop(); }

    Configuration configuration;
    Extensions extensions;
    ConfigurationWriter writer;
    Executor executor;
    SessionModes modes;
    Host host;
};

} // namespace Ravik
