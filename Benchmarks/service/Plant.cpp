#include "Plant.h"

#include "Project/Project.h"
#include "Json/Json.h"

#include <cstdio>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509.h>
#include <stdexcept>

namespace Ravik::Benchmark
{

namespace
{

using RavikSrv::Value;
using RavikSrv::ValueType;

constexpr int dead_symbols = 4;
constexpr long day = 86'400;

Value extension(char const* domain, char const* library)
{
    Value extension(ValueType::Map);
    extension.insert("domain", Value(domain));
    extension.insert("library", Value(library));
    extension["configuration"].set_type(ValueType::Map);
    return extension;
}

void add_symbol(Value& symbols, std::string const& name, char const* domain, char const* mapping)
{
    auto& symbol = symbols[name.c_str()];
    symbol.insert("DOMAIN", Value(domain));
    symbol.insert("MAPPING", Value(mapping));
    symbol.insert("USEMAPPING", Value(true));
    symbol["SCHEMA"].insert("type", Value("number"));
}

std::string project_file(Encryption encryption)
{
    auto dead = extension("Dead", COUNTING_LIBRARY);
    dead["configuration"].insert("hangsMs", Value(static_cast<long>(Plant::hangs.count())));
    Value file(ValueType::Map);
    auto& extensions = file["extensions"];
    extensions.set_type(ValueType::Vector);
    extensions << extension("RavikRecipeManagement", RECIPE_MANAGEMENT_LIBRARY) << extension("Line", COUNTING_LIBRARY)
               << dead;
    auto& symbols = file["symbols"];
    for (int number = 0; number < Plant::values; ++number)
    {
        add_symbol(symbols, Plant::symbol(number), "Line", number == 0 ? "reads" : "time");
    }
    for (int number = 0; number < dead_symbols; ++number)
    {
        // Two symbols of one address would exclude one another.
        add_symbol(symbols, Plant::dead_symbol(number), "Dead", Plant::dead_symbol(number).c_str());
    }
    if (encryption == Encryption::tls)
    {
        file["service"]["tls"].insert("certificate", Value("certificate.pem"));
        file["service"]["tls"].insert("key", Value("key.pem"));
    }
    return Json::write(file);
}

Value lists()
{
    Value lists(ValueType::Map);
    auto& members = lists["recipeTypeList"]["Drink"]["members"];
    Value recipe(ValueType::Map);
    recipe.insert("recipeTypeName", Value("Drink"));
    for (int number = 0; number < Plant::values; ++number)
    {
        auto const member = "member" + std::to_string(number);
        members[member.c_str()].insert("symbol", Value(Plant::symbol(number).c_str()));
        recipe["values"].insert(member.c_str(), Value(number + 0.5));
    }
    for (int number = 0; number < Plant::recipes; ++number)
    {
        recipe["values"].insert_or_update("member0", Value(number));
        lists["recipeList"]["Drinks"].insert(("Recipe" + std::to_string(number)).c_str(), recipe);
    }
    for (int number = 0; number < dead_symbols; ++number)
    {
        auto const name = Plant::dead_recipe(number);
        auto& member = lists["recipeTypeList"][name.c_str()]["members"]["value"];
        member.insert("symbol", Value(Plant::dead_symbol(number).c_str()));
        member.insert("enabled", Value(true));
        lists["recipeList"][name.c_str()].insert("recipeTypeName", Value(name.c_str()));
        lists["recipeList"][name.c_str()]["values"].insert("value", Value(1.5));
    }
    return lists;
}

template <typename Content> void write(std::filesystem::path const& name, Content const& content)
{
    std::unique_ptr<std::FILE, decltype(&std::fclose)> const file(std::fopen(name.c_str(), "w"), std::fclose);
    content(file.get());
}

/// A key and a certificate of it that it signs itself.
void make_certificate(std::filesystem::path const& folder)
{
    std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)> const key(::EVP_EC_gen("P-256"), EVP_PKEY_free);
    std::unique_ptr<X509, decltype(&X509_free)> const certificate(::X509_new(), X509_free);
    ::X509_gmtime_adj(::X509_getm_notBefore(certificate.get()), 0);
    ::X509_gmtime_adj(::X509_getm_notAfter(certificate.get()), day);
    ::X509_set_pubkey(certificate.get(), key.get());
    ::X509_sign(certificate.get(), key.get(), ::EVP_sha256());
    write(folder / "certificate.pem", [&](std::FILE* file) { ::PEM_write_X509(file, certificate.get()); });
    write(folder / "key.pem",
          [&](std::FILE* file) { ::PEM_write_PrivateKey(file, key.get(), nullptr, nullptr, 0, nullptr, nullptr); });
}

void fill(std::filesystem::path const& folder)
{
    auto const project = Project::open(folder, {});
    auto const report = project->import(std::string(recipe_domain), lists(), {});
    if (!report.succeeded())
    {
        throw std::runtime_error(report.path + ": " + report.text);
    }
}

} // namespace

Plant::Plant(Encryption encryption, int tokens)
{
    m_folder.write("ravik.json", project_file(encryption));
    if (encryption == Encryption::tls)
    {
        make_certificate(path());
    }
    fill(path());
    for (int number = 0; number < tokens; ++number)
    {
        auto const answer = Json::parse(output_of(RAVIK_PROGRAM " token add load" + std::to_string(number) +
                                                  " --role engineer --json --project " + path().string()));
        m_tokens.emplace_back(answer["value"]["token"].get_text());
    }
    // With as few file descriptors to begin with as a shell may give it.
    m_server = std::make_unique<ServerProcess>(
        std::vector<std::string>{"/bin/sh", "-c", R"(ulimit -Sn 256 && exec "$0" "$@")", RAVIK_PROGRAM, "serve",
                                 "--listen", "127.0.0.1:0", "--project", path().string()},
        path() / "log");
}

std::string Plant::recipe(int number)
{
    return "Drinks::Recipe" + std::to_string(number);
}

std::string Plant::symbol(int number)
{
    return "Filler.Valve" + std::to_string(number) + ".Volume";
}

std::string Plant::dead_symbol(int number)
{
    return "Packer.Speed" + std::to_string(number);
}

std::string Plant::dead_recipe(int number)
{
    return "Pack" + std::to_string(number);
}

} // namespace Ravik::Benchmark
