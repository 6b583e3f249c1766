#include "Activation/ActivationRecords.h"

namespace Ravik
{

std::int64_t ActivationRecords::begin(ActivationIntent const& intent)
{
    return m_history.begin({.who = intent.who,
                            .action = intent.is_revert ? Action::revert : Action::activation,
                            .asked = intent.asked,
                            .outcome = Outcome::begun,
                            .note = intent.note,
                            .body = intent.body});
}

void ActivationRecords::complete(std::int64_t id, bool succeeded, std::string const& text, RavikSrv::Value const& body)
{
    // A record that went for room in the meantime has nothing to be told.
    static_cast<void>(m_history.complete(id, succeeded ? Outcome::done : Outcome::failed, text, body));
}

} // namespace Ravik
