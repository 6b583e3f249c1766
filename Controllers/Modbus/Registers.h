#pragma once

#include "Address.h"
#include "modbus_result.h"

#include "RavikSrvExtApi.h"

#include <cstdint>
#include <span>

namespace Modbus
{

/// Puts `value` into the `address.count()` cells that the address takes up in its device; `cells` has exactly that
/// many. A cell of a table of bits is 0 or 1; one bit of a register stands at its place in an otherwise empty cell.
///
/// Each register holds its high byte first on the wire, which is a frame's concern; of several registers the
/// highest comes first, the other way round where the address is swapped. A text has its first byte in the high byte of
/// its first register and is filled up with zeros.
///
/// Numbers are converted where nothing is lost (3.0 is a valid int16, 3.7 is not; true and false are 1 and 0), but for
/// a double that becomes a real32, which takes the nearest one. Texts are no numbers, nor the reverse. Nothing else is
/// accepted: `TYPE_MISMATCH` for a value of another type or with a fraction, `OUT_OF_RANGE` for one that the type can't
/// hold. `cells` is undefined then.
///
/// Pure, as `decode` is; neither allocates but for texts.
Outcome encode(Address const& address, RavikSrv::Value const& value, std::span<std::uint16_t> cells);

/// The value in the cells, as `encode` puts it there: a bool, a double or a text by the address's type; a whole number
/// is an int where it fits into 32 bits and an int64 else, as whoever reads JSON gets it. A real32 becomes the double
/// with the shortest decimal text that still means the same real32, so that 1.8 is 1.8 again. A text ends at its first
/// zero.
///
/// `OUT_OF_RANGE` for a uint64 beyond the largest int64 and for a text that is not valid UTF-8; `value` stays as it is.
Outcome decode(Address const& address, std::span<std::uint16_t const> cells, RavikSrv::Value& value);

} // namespace Modbus
