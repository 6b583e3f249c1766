#pragma once

#include "Activation/ActivationLog.h"
#include "History/History.h"

namespace Ravik
{

/// Remembers activations in the history.
class ActivationRecords : public ActivationLog
{
public:
    /// The history outlives it.
    explicit ActivationRecords(History& history) : m_history(history) {}

    std::int64_t begin(ActivationIntent const& intent) override;
    void complete(std::int64_t id, bool succeeded, std::string const& text, RavikSrv::Value const& body) override;

private:
    History& m_history;
};

} // namespace Ravik
