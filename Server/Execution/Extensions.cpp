#include "Execution/Extensions.h"

#include "Configuration/configuration_keys.h"

#include <algorithm>

namespace Ravik
{

namespace
{

/// A combined code holds the domain's number, counted from 1, above the bits of the extension's own code.
constexpr unsigned code_bits = 16;
constexpr unsigned code_mask = (1U << code_bits) - 1;

} // namespace

void Extensions::add(std::unique_ptr<Extension> extension)
{
    m_domains.push_back(extension->domain());
    m_extensions.insert_or_assign(extension->domain(), std::move(extension));
}

void Extensions::stop() noexcept
{
    std::for_each(m_domains.rbegin(), m_domains.rend(),
                  [this](std::string const& domain) { m_extensions.at(domain)->stop(); });
}

Extension* Extensions::find(std::string const& domain) const
{
    auto const found = m_extensions.find(domain);
    return found == m_extensions.end() ? nullptr : found->second.get();
}

std::string Extensions::error_string(std::string const& domain, unsigned code) const
{
    if (domain == server_domain)
    {
        auto const number = code >> code_bits;
        return number == 0 || number > m_domains.size() ? std::string()
                                                        : error_string(m_domains[number - 1], code & code_mask);
    }
    auto* const extension = find(domain);
    return extension == nullptr ? std::string() : extension->error_string(code);
}

unsigned Extensions::combined_code(std::string const& domain, unsigned code) const
{
    auto const found = std::find(m_domains.begin(), m_domains.end(), domain);
    auto const number = static_cast<unsigned>(found - m_domains.begin()) + 1;
    return found == m_domains.end() || code > code_mask ? code : number << code_bits | code;
}

} // namespace Ravik
