// A table file; the first byte chooses its name. What is accepted must be readable all over.
#include <array>

#include "harness.h"
#include "tablebase/index.h"

namespace {

constexpr std::string_view NAMES[] = {"KQvK", "KRvKP", "KPvK", "KPPvK", "KPvKP", "KNNvK", "KQvKR", "KRvKR"};

void read_values(const TbMaterial &material, const TbLayout &layout, std::uint64_t random) {
    for (int i = 0; i < 100; ++i) {
        for (std::size_t s = 0; s < (layout.split ? 2U : 1U); ++s) {
            std::array<Square, TB_PIECES> squares{};
            Bitboard used = 0;
            for (int p = 0; p < material.num; ++p) {
                const bool pawn = type_of(layout.sides[0][s].piece_order[p]) == PAWN;
                do {
                    random = random * 6364136223846793005U + 1442695040888963407U;
                    const int drawn = static_cast<int>(random >> 33);
                    squares[p] = pawn ? A2 + drawn % 48 : square_at(drawn % 64);
                } while ((used & bit(squares[p])) != 0);
                used |= bit(squares[p]);
            }
            const int file = material.pawn_table ? tb_leading_file(material, squares) : 0;
            const TbSide &side = layout.sides[file][s];
            const std::int64_t index = tb_index(material, side, squares);
            if (index >= 0) tb_decode(side.pairs, static_cast<std::uint64_t>(index));
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    if (size < 1) return 0;
    const TbMaterial material = tb_material(tb_counts(NAMES[data[0] % std::size(NAMES)]));
    const std::vector<std::uint8_t> bytes(data + 1, data + size);
    for (const TbKind kind : {TbKind::WDL, TbKind::DTZ}) {
        const auto layout = parse_tb_file(bytes.data(), bytes.size(), material, kind);
        if (layout != nullptr) read_values(material, *layout, size);
    }
    return 0;
}
