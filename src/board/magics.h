// Multipliers that map the blockers of a slider's lines to distinct indices (magic bitboards). Found by random search.
#pragma once

#include <array>
#include <cstdint>

extern const std::array<std::uint64_t, 64> rook_magics;
extern const std::array<std::uint64_t, 64> bishop_magics;
