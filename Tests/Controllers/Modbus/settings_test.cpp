#include "Domain.h"

#include <gtest/gtest.h>

using namespace RavikSrv;
using namespace Ravik::Test;

namespace
{

TEST(ModbusSettings, are_refused_with_the_key_and_what_was_expected)
{
    struct Case
    {
        char const* key;
        Value setting;
        char const* refusal; // empty: accepted
    };
    std::vector<Case> const cases = {
        {"host", {}, "the device's name or IP address, found null"},
        {"host", "", "the device's name or IP address, found an empty text"},
        {"host", 5, "the device's name or IP address, found 5"},
        {"port", 0, "a whole number from 1 to 65535, found 0"},
        {"port", 65536, "a whole number from 1 to 65535, found 65536"},
        {"port", "502", "a whole number from 1 to 65535, found string"},
        {"unit", 248, "a whole number from 0 to 247, or 255, found 248"},
        {"unit", -1, "a whole number from 0 to 247, or 255, found -1"},
        {"unit", 255, ""},
        {"timeoutMs", 0, "a whole number from 1 to 600000, found 0"},
        {"timeoutMs", 1.5, "a whole number from 1 to 600000, found 1.5"},
        {"registersPerWrite", 124, "a whole number from 1 to 123, found 124"},
        {"registersPerRead", 126, "a whole number from 1 to 125, found 126"},
        {"registersPerRead", 9'000'000'000L, "a whole number from 1 to 125, found 9000000000"},
        {"singleWritesOnly", 1, "true or false, found 1"},
        {"readGap", -1, "a whole number from 0 to 65535, found -1"},
        {"readGap", 0, ""},
        {"somethingElse", true, ""},
    };
    for (auto const& [key, setting, refusal] : cases)
    {
        Domain const domain(502, map({{key, setting}}));
        auto const accepted = *refusal == '\0';
        auto const text = accepted ? "" : "\"" + std::string(key) + "\": expected " + refusal;
        EXPECT_EQ(domain.started.result(), accepted ? ErrorValue::SUCCESS : ErrorValue::EXTENSION_CONFIG);
        EXPECT_EQ(domain.started.text(), text);
        EXPECT_EQ(domain.host.listeners.size(), accepted ? 1U : 0U) << key;
        EXPECT_EQ(domain.error_name(4711), "");
    }
}

} // namespace
