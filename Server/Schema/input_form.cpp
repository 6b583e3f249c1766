#include "Schema/input_form.h"

#include "Schema/CompiledSchema.h"
#include "Schema/SchemaNode.h"
#include "Schema/numbers.h"

#include <algorithm>
#include <array>
#include <compare>
#include <cstdint>
#include <deque>
#include <iterator>
#include <limits>
#include <memory>
#include <string_view>

namespace Ravik::Schema
{

using RavikSrv::ErrorValue;
using RavikSrv::Value;
using RavikSrv::ValueType;

namespace
{

using Compiled = std::shared_ptr<CompiledSchema const>;

struct InputType
{
    std::string_view name;
    /// All that a value of the type may be.
    unsigned bits;
};

/// The first one that has all of a value's bits is its type.
constexpr std::array input_types{
    InputType{"boolean", TYPE_BOOLEAN},
    InputType{"integer", TYPE_INTEGER},
    InputType{"number", TYPE_INTEGER | TYPE_NUMBER},
    InputType{"string", TYPE_STRING},
    InputType{"other", TYPE_ALL},
};

class InputForm
{
public:
    /// The schema has to be one that can be used.
    void add(Compiled const& schema)
    {
        m_schemas.push_back(schema);
        auto const& nodes = schema->nodes()->nodes;
        std::vector<bool> is_known(nodes.size());
        // The outer ones first.
        std::deque<NodeId> open;
        auto const enter = [&](NodeId id)
        {
            if (id != no_node && !is_known[id])
            {
                is_known[id] = true;
                open.push_back(id);
            }
        };
        enter(0);
        while (!open.empty())
        {
            auto const& node = nodes[open.front()];
            open.pop_front();
            add(node);
            if (node.combination)
            {
                enter(node.combination->reference);
                std::for_each(node.combination->all.begin(), node.combination->all.end(), enter);
            }
        }
    }

    Value value() const
    {
        auto const choices = fitting_choices();
        auto const type = m_has_choices && !choices.empty() ? type_of(choices) : type_of(m_types);
        Value form(ValueType::Map);
        form.insert("type", Value(type));
        if (type == "number" || type == "integer")
        {
            add_bounds(form, type == "integer");
        }
        if (m_has_choices)
        {
            Value list(ValueType::Vector);
            std::for_each(choices.begin(), choices.end(), [&list](Value const& choice) { list << choice; });
            form.insert("choices", list);
        }
        if (type == "string" && m_length < std::size_t{std::numeric_limits<std::int64_t>::max()})
        {
            form.insert("maxLength", Value(static_cast<std::int64_t>(m_length)));
        }
        if (!m_unit.empty())
        {
            form.insert("unit", Value(m_unit));
        }
        return form;
    }

private:
    /// The tightest bound on one side.
    struct Bound
    {
        Value number{};
        bool is_exclusive = false;
    };

    void add(Node const& node)
    {
        // Every integer is a number.
        m_types &= node.types | ((node.types & TYPE_NUMBER) != 0 ? TYPE_INTEGER : 0U) | TYPE_NULL;
        auto const* const values = node.constant ? node.constant.get() : node.enumeration.get();
        if (values != nullptr && !m_has_choices)
        {
            m_has_choices = true;
            m_choices = values->values();
        }
        if (node.number)
        {
            tighten(m_minimum, node.number->minimum, false, std::partial_ordering::greater);
            tighten(m_minimum, node.number->exclusive_minimum, true, std::partial_ordering::greater);
            tighten(m_maximum, node.number->maximum, false, std::partial_ordering::less);
            tighten(m_maximum, node.number->exclusive_maximum, true, std::partial_ordering::less);
        }
        if (node.text)
        {
            m_length = std::min(m_length, node.text->length.maximum);
        }
        if (m_unit.empty() && node.unit)
        {
            m_unit = *node.unit;
        }
    }

    static void tighten(Bound& bound, Value const& number, bool is_exclusive, std::partial_ordering tighter)
    {
        if (!number.isset())
        {
            return;
        }
        auto const order =
            bound.number.isset() ? compare_numbers(number, bound.number) : std::partial_ordering(tighter);
        if (order == tighter || (std::is_eq(order) && is_exclusive))
        {
            bound = {number, is_exclusive};
        }
    }

    std::vector<Value> fitting_choices() const
    {
        std::vector<Value> fitting;
        std::copy_if(m_choices.begin(), m_choices.end(), std::back_inserter(fitting),
                     [this](Value const& choice)
                     {
                         return choice.isset() &&
                                std::all_of(m_schemas.begin(), m_schemas.end(),
                                            [&choice](Compiled const& schema)
                                            { return schema->validate(choice, {}).result() == ErrorValue::SUCCESS; });
                     });
        return fitting;
    }

    static std::string_view type_of(unsigned bits)
    {
        auto const content = bits & ~unsigned{TYPE_NULL};
        return std::find_if(input_types.begin(), input_types.end(),
                            [content](InputType const& type) { return (content & ~type.bits) == 0; })
            ->name;
    }

    static std::string_view type_of(std::vector<Value> const& choices)
    {
        auto const fits = [&choices](InputType const& type)
        {
            return std::all_of(choices.begin(), choices.end(),
                               [&type](Value const& choice) { return (type_bits(choice) & type.bits) != 0; });
        };
        return std::find_if(input_types.begin(), input_types.end(), fits)->name;
    }

    void add_bounds(Value& form, bool is_integer) const
    {
        if (m_minimum.number.isset())
        {
            form.insert("minimum", is_integer ? next_integer(m_minimum, 1) : m_minimum.number);
        }
        if (m_maximum.number.isset())
        {
            form.insert("maximum", is_integer ? next_integer(m_maximum, -1) : m_maximum.number);
        }
    }

    /// The first integer that fits; `inwards` leads away from the bound.
    static Value next_integer(Bound const& bound, int inwards)
    {
        auto const exact = exact_integer(bound.number);
        auto const end =
            inwards > 0 ? std::numeric_limits<std::int64_t>::max() : std::numeric_limits<std::int64_t>::min();
        return exact && bound.is_exclusive && *exact != end ? Value(*exact + inwards) : bound.number;
    }

    std::vector<Compiled> m_schemas;
    unsigned m_types = TYPE_ALL;
    bool m_has_choices = false;
    std::vector<Value> m_choices;
    Bound m_minimum;
    Bound m_maximum;
    std::size_t m_length = std::numeric_limits<std::size_t>::max();
    std::string m_unit;
};

} // namespace

Value input_form(std::vector<Value> const& schemas)
{
    InputForm form;
    for (auto const& schema : schemas)
    {
        auto const compiled = schema.isset() ? CompiledSchema::compile(schema) : nullptr;
        if (compiled && compiled->nodes() != nullptr)
        {
            form.add(compiled);
        }
    }
    return form.value();
}

} // namespace Ravik::Schema
