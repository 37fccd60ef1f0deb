#pragma once
// Integers of 128 bits for products of 64-bit totals. Not installed.

namespace quillon::measures {

__extension__ using Wide = __int128;

}  // namespace quillon::measures
