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
        char const* text; // null: accepted
    };
    std::vector<Case> const cases = {
        {"host", Value(), "\"host\": expected the device's name or IP address, found null"},
        {"host", "", "\"host\": expected the device's name or IP address, found an empty text"},
        {"host", 5, "\"host\": expected the device's name or IP address, found 5"},
        {"port", 0, "\"port\": expected a whole number from 1 to 65535, found 0"},
        {"port", 65536, "\"port\": expected a whole number from 1 to 65535, found 65536"},
        {"port", "502", "\"port\": expected a whole number from 1 to 65535, found string"},
        {"unit", 248, "\"unit\": expected a whole number from 0 to 247, or 255, found 248"},
        {"unit", -1, "\"unit\": expected a whole number from 0 to 247, or 255, found -1"},
        {"unit", 255, nullptr},
        {"timeoutMs", 0, "\"timeoutMs\": expected a whole number from 1 to 600000, found 0"},
        {"timeoutMs", 1.5, "\"timeoutMs\": expected a whole number from 1 to 600000, found 1.5"},
        {"registersPerWrite", 124, "\"registersPerWrite\": expected a whole number from 1 to 123, found 124"},
        {"registersPerRead", 126, "\"registersPerRead\": expected a whole number from 1 to 125, found 126"},
        {"registersPerRead", 9'000'000'000L,
         "\"registersPerRead\": expected a whole number from 1 to 125, found 9000000000"},
        {"singleWritesOnly", 1, "\"singleWritesOnly\": expected true or false, found 1"},
        {"readGap", -1, "\"readGap\": expected a whole number from 0 to 65535, found -1"},
        {"readGap", 0, nullptr},
        {"somethingElse", true, nullptr},
    };
    for (auto const& [key, setting, text] : cases)
    {
        RecordingHost host;
        host.configuration["Plant"].insert("host", Value("device"));
        host.configuration["Plant"].insert_or_update(key, setting);
        Context context;
        context.set_domain("Plant");
        IRavikSrvExt* made = nullptr;
        double version = 0;
        LoadedExtension::entry(MODBUS_LIBRARY)(&host, &made, &version);
        std::unique_ptr<IRavikSrvExt> const extension(made);
        EXPECT_EQ(version, 19.0);
        auto const started = extension->init(context);
        EXPECT_EQ(started.result(), text == nullptr ? ErrorValue::SUCCESS : ErrorValue::EXTENSION_CONFIG);
        EXPECT_STREQ(started.text(), text == nullptr ? "" : text);
        EXPECT_EQ(host.listeners.size(), text == nullptr ? 1U : 0U) << key;
        EXPECT_STREQ(extension->error_string(12).name(), "READ_ONLY");
        EXPECT_STREQ(extension->error_string(4711).name(), "");
    }
}

} // namespace
