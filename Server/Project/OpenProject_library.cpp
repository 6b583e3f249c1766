// How the project stands to its library.

#include "Project/OpenProject.h"

#include "History/timestamp.h"

namespace Ravik
{

using RavikSrv::ErrorValue;

void OpenProject::reach_library()
{
    auto const has_joined = m_core.configuration.shared().has_value();
    if (m_library && has_joined)
    {
        m_link = std::make_unique<LibraryLink>(*m_library, m_core, m_history);
    }
    else if (has_joined)
    {
        m_stopped_since = timestamp(std::chrono::system_clock::now());
        m_warnings.emplace_back("the project has joined a library, and ravik.json names none: its types and recipes "
                                "are read and activated, and not edited; name the library again, or 'ravik library "
                                "leave' makes them the project's own");
    }
    else if (m_library)
    {
        m_warnings.emplace_back("ravik.json names a library that the project has not joined: its types and recipes are "
                                "its own until 'ravik library join'");
    }
}

LibraryStatus OpenProject::library_status(std::chrono::milliseconds wait)
{
    if (m_link != nullptr)
    {
        static_cast<void>(m_link->settle(wait));
        auto status = m_link->status();
        if (!takes_edits() && status.state == LibraryStatus::State::Following)
        {
            status.state = LibraryStatus::State::Stopped;
            status.why = "the copy goes along, but nothing is edited here until the next start, since an earlier edit "
                         "could not be stored";
        }
        return status;
    }
    LibraryStatus status;
    if (m_library)
    {
        status.state = LibraryStatus::State::NotJoined;
        status.address = m_library->postgresql;
        status.schema = m_library->schema;
    }
    else if (auto const copy = m_core.configuration.shared())
    {
        status.state = LibraryStatus::State::Stopped;
        status.server = copy->server.name;
        status.position = copy->position;
        status.newest = copy->position.revision;
        status.since = m_stopped_since;
        status.why = "ravik.json names no library; name it again, or 'ravik library leave' makes the types and recipes "
                     "the project's own";
    }
    return status;
}

/// An edit that the local history tells nothing of.
HistoryOutcome OpenProject::edit_in_library(std::string const& edit)
{
    HistoryOutcome outcome;
    outcome.error = ErrorValue::ENTRY_NOT_FOUND;
    if (!m_core.configuration.shared())
    {
        outcome.text = "the history has no record of the edit " + edit;
        return outcome;
    }
    try
    {
        if (m_link == nullptr)
        {
            throw LibraryError(LibraryError::Kind::Unreachable, "ravik.json names no library");
        }
        if (auto const found = m_link->find_edit(edit))
        {
            outcome.error = ErrorValue::SUCCESS;
            outcome.records.push_back(History::read(found->record));
            return outcome;
        }
        outcome.text = "the edit " + edit + " was not made";
    }
    catch (LibraryError const& error)
    {
        outcome.error = ErrorValue::STORAGE;
        outcome.text = "whether the edit " + edit + " was made is not known yet: " + error.what();
    }
    return outcome;
}

} // namespace Ravik
