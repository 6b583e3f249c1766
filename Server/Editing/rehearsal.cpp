#include "Editing/rehearsal.h"

#include "Configuration/Entry.h"
#include "Configuration/ProjectError.h"
#include "Configuration/configuration_keys.h"
#include "algorithm_helper.h"
#include "api_helper.h"
#include "Json/Json.h"

#include <algorithm>

namespace Ravik
{

using RavikSrv::Context;
using RavikSrv::ErrorValue;
using RavikSrv::ResultPair;
using RavikSrv::Value;

namespace
{

/// So many places are named in a refusal; the rest is counted.
constexpr std::size_t named_places = 20;

/// Copies of all configurations with one extension of its own at work on them.
class Stage
{
public:
    Stage(Core const& core, SymbolTable const& symbols, Validator& validator, Extension const& extension)
        : m_copy(symbols, validator, nullptr), m_domain(extension.domain())
    {
        m_copy.configuration.add_copy(std::string(server_domain), core.configuration.tree(std::string(server_domain)));
        for (auto const& domain : core.extensions.domains())
        {
            m_copy.configuration.add_copy(domain, core.configuration.tree(domain));
        }
        m_copy.extensions.add(std::make_unique<Extension>(m_domain, extension.shared_object()));
        m_copy.extensions.find(m_domain)->start(m_copy.host);
        // What it says of an entry it has said to the one at work.
        static_cast<void>(m_copy.writer.tell_entries(Context(), m_domain, ""));
    }
    Stage(Stage const&) = delete;
    Stage& operator=(Stage const&) = delete;
    /// The extension on the stage made the copy's host the one that all extensions find.
    ~Stage() { RavikSrv::initialize_api(m_real_host); }

    /// Makes the move and tells the extension; answers what it says to it.
    ResultPair play(Move const& move, char const* schema_type, std::vector<Touched>& cascade)
    {
        Configuration::Turn turn(m_copy.configuration);
        auto const before = tree();
        auto const after = with_move(before, move);
        // A copy takes whatever the original held; without a store its turn has nothing to fail at.
        static_cast<void>(turn.write(m_domain, "", after, Tree::WriteMode::Replace));
        auto const own = turn.changes().size();
        auto const entry = *RavikSrv::node_path(move.path, before).node;
        auto answer = m_copy.writer.tell_moved(Context(), m_domain, move, entry, schema_type);
        cascade = turn.changes().touched(own);
        static_cast<void>(turn.commit());
        return answer;
    }

    Value tree() const { return m_copy.configuration.tree(m_domain); }

private:
    RavikSrv::IRavikSrvExtHost* m_real_host = RavikSrv::host();
    Core m_copy;
    std::string m_domain;
};

std::string shown(Value const& value)
{
    if (value.type() == RavikSrv::ValueType::Map)
    {
        return "an entry";
    }
    return value.isset() ? Json::write(value) : "nothing";
}

/// What came out wrong: `left` where the extension did nothing, `touched` where it did something else than it should.
struct Faults
{
    std::vector<std::string> left;
    std::vector<std::string> touched;
};

/// Whether every element of `elements` is one of `vector` too.
bool holds_all(Value const& vector, Value const& elements)
{
    std::vector<Value> all(vector.begin_vector(), vector.end_vector());
    std::vector<Value> wanted(elements.begin_vector(), elements.end_vector());
    std::sort(all.begin(), all.end());
    std::sort(wanted.begin(), wanted.end());
    return std::includes(all.begin(), all.end(), wanted.begin(), wanted.end());
}

/// Whether the place stands as it did, or is a list that has lost nothing but what it should.
bool is_left(Difference const& difference, Value const& untouched)
{
    auto const is_list = difference.expected.type() == RavikSrv::ValueType::Vector &&
                         difference.actual.type() == RavikSrv::ValueType::Vector;
    return difference.actual == untouched ||
           (is_list && holds_all(difference.actual, difference.expected) && holds_all(untouched, difference.actual));
}

Faults sort_out(std::vector<Difference> const& found, Value const& only_moved)
{
    Faults faults;
    for (auto const& difference : found)
    {
        auto const line =
            difference.path + " would hold " + shown(difference.actual) + " instead of " + shown(difference.expected);
        auto const* const untouched = RavikSrv::node_path(difference.path, only_moved).node;
        auto const left = is_left(difference, untouched == nullptr ? Value() : *untouched);
        (left ? faults.left : faults.touched).push_back(line);
    }
    return faults;
}

std::string listed(std::vector<std::string> const& lines)
{
    std::string text;
    for (std::size_t index = 0; index < lines.size() && index < named_places; ++index)
    {
        text += "\n  " + lines[index];
    }
    return lines.size() > named_places ? text + "\n  and " + std::to_string(lines.size() - named_places) + " more"
                                       : text;
}

Refusal refusal_for(Move const& move, Faults const& faults, ResultPair const& answer)
{
    std::string const verb = move.is_delete() ? "deleting" : "renaming";
    std::string const advice = "\n" + std::string(move.is_delete() ? "Delete" : "Rename") +
                               " the pieces one by one, or go ahead with --force.";
    if (!faults.touched.empty())
    {
        return {ErrorValue::MULTIPLE_MATCHES,
                verb + " it would also touch:" + listed(faults.touched) +
                    (faults.left.empty() ? "" : "\nand leave behind:" + listed(faults.left)) + advice,
                move.path};
    }
    if (!faults.left.empty())
    {
        return {ErrorValue::ENTRY_NOT_FOUND, verb + " it would leave behind:" + listed(faults.left) + advice,
                move.path};
    }
    if (answer.result() != ErrorValue::SUCCESS)
    {
        return {ErrorValue::ENTRY_NOT_FOUND,
                verb + " it would fail half-way: " + RavikSrv::get_error_string(answer.result()).name() + ", " +
                    answer.text() + advice,
                move.path};
    }
    return {};
}

Rehearsal run(Core const& core, SymbolTable const& symbols, Validator& validator, Extension const& extension,
              Move const& move, char const* schema_type)
{
    Rehearsal rehearsal;
    Stage stage(core, symbols, validator, extension);
    auto const before = stage.tree();
    auto const answer = stage.play(move, schema_type, rehearsal.cascade);
    rehearsal.tree = stage.tree();
    auto const found = differences(expected_after(before, move), rehearsal.tree);
    rehearsal.refusal = refusal_for(move, sort_out(found, with_move(before, move)), answer);
    return rehearsal;
}

} // namespace

Rehearsal rehearse(Core const& core, SymbolTable const& symbols, Validator& validator, Extension const& extension,
                   Move const& move, char const* schema_type)
{
    Rehearsal rehearsal;
    try
    {
        rehearsal = run(core, symbols, validator, extension, move, schema_type);
    }
    catch (ProjectError const& error)
    {
        rehearsal.refusal = {ErrorValue::EXTENSION, error.what(), move.path};
    }
    return rehearsal;
}

bool loses_paths(Value const& tree, Move const& move)
{
    // The extension leaves its paths alone where the old path speaks of members or values.
    if (locate(move.path, tree).kind == EntryKind::Inside)
    {
        return !RavikSrv::Algorithm::contains(move.path, Key::members) &&
               !RavikSrv::Algorithm::contains(move.path, Key::values) && !move.is_delete();
    }
    auto lost =
        RavikSrv::Algorithm::contains(move.path, Key::members) || RavikSrv::Algorithm::contains(move.path, Key::values);
    auto moves_entries = false;
    for_each_entry("", tree,
                   [&](std::string const& path, Value const& /*entry*/, EntryKind /*kind*/)
                   {
                       moves_entries = moves_entries || move.covers(path);
                       lost = lost || (!move.covers(path) && RavikSrv::Algorithm::contains(path, move.path));
                       return true;
                   });
    // The path of a renamed folder without entries would be taken for an entry's.
    return lost || (!moves_entries && !move.is_delete());
}

} // namespace Ravik
