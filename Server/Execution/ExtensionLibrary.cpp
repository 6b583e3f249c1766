#include "Execution/ExtensionLibrary.h"

#include "Configuration/ProjectError.h"
#include "boundary_guard.h"
#include "Json/Json.h"

#include <cmath>
#include <dlfcn.h>
#include <fstream>
#include <iterator>
#include <system_error>

namespace Ravik
{

using RavikSrv::IRavikSrvExt;
using RavikSrv::Value;

namespace
{

constexpr char const* entry_name = "ext_interface";

/// Where the library of that name stands, as far as this program knows; otherwise the name for the system's loader.
std::filesystem::path find_library(std::string const& name)
{
    if (name.find('/') != std::string::npos)
    {
        return name;
    }
    std::error_code error;
    auto const program = std::filesystem::read_symlink("/proc/self/exe", error);
    auto const beside = program.parent_path().parent_path() / "lib" / name;
    return !error && std::filesystem::is_regular_file(beside, error) ? beside : std::filesystem::path(name);
}

/// The file behind a symbol of a loaded library.
std::filesystem::path file_of(void const* symbol)
{
    Dl_info info{};
    return dladdr(symbol, &info) != 0 && info.dli_fname != nullptr ? std::filesystem::absolute(info.dli_fname)
                                                                   : std::filesystem::path();
}

} // namespace

ExtensionLibrary::ExtensionLibrary(std::string const& name) : m_name(name)
{
    auto* const library = dlopen(find_library(name).c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
    if (library == nullptr)
    {
        throw ProjectError("can't load the extension \"" + name + "\": " + dlerror());
    }
    auto* const entry = dlsym(library, entry_name);
    if (entry == nullptr)
    {
        throw ProjectError("\"" + name + "\" is no extension: it does not export " + entry_name);
    }
    m_entry = reinterpret_cast<Entry>(entry);
    m_path = file_of(entry);
}

std::unique_ptr<IRavikSrvExt> ExtensionLibrary::create(RavikSrv::IRavikSrvExtHost& host) const
{
    IRavikSrvExt* created = nullptr;
    double version = 0.0;
    int result = 0;
    std::string failure;
    RavikSrv::guarded(
        "ext_interface", [&] { result = m_entry(&host, &created, &version); },
        [&](char const* text) { failure = text; });
    std::unique_ptr<IRavikSrvExt> extension(created);
    if (!failure.empty())
    {
        throw ProjectError("the extension \"" + m_name + "\" could not be created: " + failure);
    }
    if (result != 0 || extension == nullptr)
    {
        throw ProjectError("the extension \"" + m_name + "\" could not be created (its entry function answered " +
                           std::to_string(result) + ")");
    }
    if (std::floor(version) != interface_version)
    {
        throw ProjectError("the extension \"" + m_name + "\" is written for interface version " +
                           std::to_string(version) + "; this server offers " + std::to_string(interface_version));
    }
    return extension;
}

Value ExtensionLibrary::schema() const
{
    auto name = m_path.stem().string();
    if (name.starts_with("lib"))
    {
        name.erase(0, 3);
    }
    auto const file = m_path.parent_path() / (name + ".Schema.json");
    std::ifstream stream(file, std::ios::binary);
    if (!stream)
    {
        return {};
    }
    std::string const text((std::istreambuf_iterator<char>(stream)), std::istreambuf_iterator<char>());
    try
    {
        auto schema = Json::parse(text);
        if (schema.type() != RavikSrv::ValueType::Map)
        {
            throw ProjectError(file.string() + ": expected an object");
        }
        return schema;
    }
    catch (Json::ParseError const& error)
    {
        throw ProjectError(file, error.location(), error.what());
    }
}

} // namespace Ravik
