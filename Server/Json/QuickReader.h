#pragma once

#include "Json/Shapes.h"

#include "RavikSrvExt/Value.h"

#include <cstddef>
#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Ravik::Json
{

/// Reads JSON texts that are right, and fast where each resembles the one before: an object is expected to have the
/// names of the one that stood at its place last, and as long as it does, its names are compared as they stand in the
/// text, and neither scanned nor hashed nor kept. Not thread-safe.
class QuickReader
{
public:
    /// The text's value, the same that `read_exactly` gives; nothing where that finds something wrong.
    std::optional<RavikSrv::Value> read(std::string_view text);

private:
    using Values = std::vector<RavikSrv::Value>;
    struct Token;

    // Each reads what its name says and stands at the position, appends it to `to` and steps behind it. False where the
    // text is not right.
    bool read_value(Place& place, Values& to);
    bool read_text(Place& place, Values& to);
    bool read_number(Values& to);
    bool read_word(std::string_view word, RavikSrv::Value const& value, Values& to);
    bool read_odd_token(char const* begin, char const* end, Values& to);
    bool read_array(Place& place, Values& to);
    bool read_object(Place& place, Values& to);

    bool follow(Shape& shape, Values& values);
    bool read_entries(Values& values);
    bool read_name();
    void forget_names(std::size_t count);
    bool make_map(Place& place, std::size_t first_name, Values& values, Values& to);

    bool scan_text(Token& token);
    bool take(char punctuation) noexcept;
    void skip_blanks() noexcept;
    std::string_view rest() const noexcept { return {m_at, static_cast<std::size_t>(m_end - m_at)}; }
    char peek() const noexcept { return m_at == m_end ? '\0' : *m_at; }

    Shapes m_shapes;
    Place m_root;

    char const* m_at = nullptr;
    char const* m_end = nullptr;
    std::size_t m_depth = 0;
    /// The names so far of the objects that are open and not as expected.
    Shapes::Names m_names;
    /// Those of them that do not stand in the text as they are.
    std::deque<std::string> m_decoded;
};

} // namespace Ravik::Json
