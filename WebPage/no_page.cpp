#include "embedded_page.h"

namespace Ravik::WebPage
{

std::span<EmbeddedFile const> embedded_page() noexcept
{
    return {};
}

} // namespace Ravik::WebPage
