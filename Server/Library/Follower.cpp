#include "Library/Follower.h"

#include "Configuration/Entry.h"
#include "Configuration/configuration_keys.h"
#include "Execution/start_anew.h"

#include <exception>
#include <string>

namespace Ravik
{

namespace
{

[[noreturn]] void refuse(std::string const& why)
{
    throw LibraryError(LibraryError::Kind::Refused, why);
}

} // namespace

void put_back_extension(Core& core) noexcept
{
    try
    {
        start_anew(core, std::string(recipe_domain));
    }
    catch (std::exception const&)
    {
        core.configuration.refuse_edits();
    }
}

void Follower::bring_forward(Library& library, LibraryHead const& head)
{
    check_library(head);
    auto copy = m_core.configuration.stored_copy();
    auto known = head;
    while (copy.position != known.position)
    {
        auto const news = library.news(copy.position);
        known = news.head;
        if (!news.is_known)
        {
            refuse("this server's copy of the library is of revision " + std::to_string(copy.position.revision) +
                   ", made by edit " + copy.position.edit +
                   ", which the library does not have: it was restored from a backup, or a standby took over that "
                   "lacked the newest edits; 'ravik library join --theirs' takes the library's recipes, "
                   "'ravik library join --ours' gives it this server's");
        }
        if (news.head.position != copy.position)
        {
            static_cast<void>(apply(news, copy.position));
        }
        copy = m_core.configuration.stored_copy();
    }
    if (copy.sum == known.sum)
    {
        return;
    }
    auto const everything = library.everything();
    copy = m_core.configuration.stored_copy();
    if (apply(everything, copy.position) && m_core.configuration.stored_copy().sum != everything.head.sum)
    {
        refuse("the rows of the library do not add up: some of them were changed past this program; restore the "
               "database, or find them among the rows of the table \"entries\"");
    }
}

void Follower::check_library(LibraryHead const& head) const
{
    auto const copy = m_core.configuration.shared();
    if (copy && copy->library != head.library)
    {
        refuse(
            "the library has become another one than this server has joined; 'ravik library leave' and 'ravik library "
            "join' take it for the new one");
    }
}

/// Returns false where the configuration has gone on from `since` meanwhile.
bool Follower::apply(LibraryNews const& news, LibraryPosition const& since)
{
    Configuration::Following following(m_core.configuration);
    if (m_core.configuration.stored_copy().position != since)
    {
        return false;
    }
    auto is_told = false;
    try
    {
        auto const told = following.take(news);
        is_told = true;
        tell(told);
        following.commit(news, m_history.bounds());
        return true;
    }
    catch (std::exception const& error)
    {
        following.take_back();
        if (is_told)
        {
            put_back_extension(m_core);
        }
        auto const* const refusal = dynamic_cast<LibraryError const*>(&error);
        refuse(refusal != nullptr ? error.what()
                                  : std::string("the copy of the library can't be written: ") + error.what());
    }
}

void Follower::tell(Configuration::Following::Told const& told)
{
    auto const domain = std::string(recipe_domain);
    if (told.has_moved)
    {
        start_anew(m_core, domain);
        return;
    }
    for (auto const& path : told.paths)
    {
        if (locate(path, m_core.configuration.tree(domain)).kind != EntryKind::Folder)
        {
            // Nobody asks it, and it is at work with them all the same, as with those that it is told of at its start.
            static_cast<void>(m_core.writer.tell_changed(RavikSrv::Context(), domain, path));
        }
    }
}

} // namespace Ravik
