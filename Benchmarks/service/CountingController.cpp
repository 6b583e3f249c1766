// A controller for load: its symbols change with each poll, or it does not answer at all.
//
// Configuration: {} or {"hangsMs": N}. Mappings: "reads", how many requests it was asked; anything else, when the
// request was carried out, in microseconds of the monotonic clock, so that whoever receives the value knows how old it
// is. With "hangsMs" each request fails after that long, as with a device that is dead.

#include "ControllerExtension.h"
#include "ControllerOutcome.h"
#include "RavikSrvExtApi.h"
#include "extension_frame.h"

#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <string_view>
#include <thread>

namespace
{

using RavikSrv::Value;
using std::chrono::duration_cast;

enum class CountingResult : std::uint32_t
{
    SUCCESS,
    NO_ANSWER,
    INTERNAL_ERROR,
};
constexpr std::array result_names = {"SUCCESS", "NO_ANSWER", "INTERNAL_ERROR"};

class CountingController : public RavikSrv::ControllerExtension
{
public:
    explicit CountingController(RavikSrv::IRavikSrvExtHost* host) noexcept
        : ControllerExtension(host, {result_names, static_cast<std::uint32_t>(CountingResult::INTERNAL_ERROR)})
    {
    }

private:
    RavikSrv::ResultPair check(Value const& /*configuration*/) const override { return {}; }

    RavikSrv::ResultPair load(Value const& configuration) override
    {
        m_hangs = std::chrono::milliseconds(configuration["hangsMs"].get_int32());
        return {};
    }

    void execute(RavikSrv::Context const& /*context*/, RavikSrv::CommandGroup& group) override
    {
        if (m_hangs.count() > 0)
        {
            std::this_thread::sleep_for(m_hangs);
            for (auto& command : RavikSrv::Commands(group))
            {
                RavikSrv::fail(command, CountingResult::NO_ANSWER, "The device does not answer");
            }
            return;
        }
        Value const reads(++m_reads);
        auto const time = std::chrono::steady_clock::now().time_since_epoch();
        Value const now(static_cast<long>(duration_cast<std::chrono::microseconds>(time).count()));
        for (auto& command : RavikSrv::Commands(group))
        {
            command.set_read_value(std::string_view(command.mapping()) == "reads" ? reads : now);
            command.set_extension_result(0);
        }
    }

    std::chrono::milliseconds m_hangs{0};
    std::atomic<long> m_reads = 0;
};

} // namespace

extern "C" RAVIK_SRV_EXT_API int ext_interface(RavikSrv::IRavikSrvExtHost* host, RavikSrv::IRavikSrvExt** extension,
                                               double* version)
{
    return RavikSrv::enter_extension<CountingController>(host, extension, version);
}
