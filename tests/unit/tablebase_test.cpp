// Endgame tables: values against a reference, what the root and the search make of them, path lists, damaged files.

#include <thread>

#include "eval/kpk.h"
#include "tablebase/index.h"
#include "tablebase/probe.h"
#include "tablebase/registry.h"
#include "test_support.h"

namespace {

namespace fs = std::filesystem;

class EndgameTables : public testing::Test {
protected:
    void SetUp() override {
        make_test_position();
        ASSERT_GE(tb_setup(tables, directory).tables, 35U);
    }

    // What tb_wdl or tb_dtz answers, or "failed".
    std::string ask(decltype(tb_wdl) &question, const Position &pos) {
        TbSuccess success = TB_EXACT;
        const int value = question(tables, tb_position(pos, 0), success);
        return success == TB_FAILED ? "failed" : std::to_string(value);
    }

    const std::string directory = fs::path(test_data("syzygy/expected.csv")).parent_path().string();
    Tablebases tables;
};

std::vector<std::array<std::string, 3>> reference_rows() {
    std::vector<std::array<std::string, 3>> rows;
    std::ifstream in(test_data("syzygy/expected.csv"));
    std::string line;
    std::getline(in, line);
    while (std::getline(in, line)) {
        std::istringstream row(line);
        auto &[fen, wdl, dtz] = rows.emplace_back();
        std::getline(std::getline(std::getline(row, fen, ','), wdl, ','), dtz);
    }
    return rows;
}

TEST_F(EndgameTables, HaveTheValuesOfTheReference) {
    const auto rows = reference_rows();
    ASSERT_GE(rows.size(), 3218U);
    for (const auto &[fen, win, distance] : rows) {
        const auto board = make_test_position(fen);
        EXPECT_EQ(fields(ask(tb_wdl, board->pos), ask(tb_dtz, board->pos)), fields(win, distance)) << fen;
    }
}

TEST_F(EndgameTables, AreProbedAtTheRootWithTheClock) {
    check_rows("tablebase/probes.tsv", 3, [this](const auto &row) {
        const auto board = make_test_position(row[1]);
        board->pos.fifty = static_cast<std::uint8_t>(std::stoi(row[2]));
        const TbRoot root = tb_probe_root(tables, board->pos);
        const bool valid = tb_is_valid(tb_position(board->pos, 0));
        return fields(valid ? ask(tb_wdl, board->pos) : "not valid", valid ? ask(tb_dtz, board->pos) : "not valid",
                      root.result, coordinates(root.move));
    });
}

TEST_F(EndgameTables, AgreeWithTheBitbaseOfKingAndPawn) {
    build_kpk();
    int differences = 0;
    for (Square pawn = A2; pawn <= H7; ++pawn) {
        for (int i = 0; i < 64 * 64 * 2; ++i) {
            const Square strong = square_at(i / 128);
            const Square weak = square_at(i / 2 % 64);
            const Colour side = i % 2 == 0 ? WHITE : BLACK;
            const Bitboard kings = bit(strong) | bit(weak);
            const TbPosition probed{
                bit(pawn) | bit(strong), bit(weak), kings, 0, 0, 0, 0, bit(pawn), 0, NO_SQUARE, side};
            if (popcount(kings | bit(pawn)) < 3 || !tb_is_valid(probed)) continue;
            TbSuccess success = TB_FAILED;
            const bool won = tb_wdl(tables, probed, success) == (side == WHITE ? 2 : -2);
            differences += won != kpk_is_won(WHITE, pawn, strong, weak, side);
        }
    }
    EXPECT_EQ(differences, 0);
}

TEST_F(EndgameTables, AreSearchedOnTheirConditions) {
    const auto probe = [this](const char *fen, int depth, TbProbeDepths depths) {
        return tb_probe_search(tables, make_test_position(fen)->pos, depth, depths);
    };
    constexpr const char *LOST = "8/8/8/8/8/5K2/4QR2/7k b - -";
    EXPECT_EQ(probe(LOST, 2, {3, 2}), NO_TB_RESULT);
    EXPECT_EQ(probe(LOST, 3, {3, 2}), TB_LOSS);
    EXPECT_EQ(probe("4k3/8/8/8/8/8/8/4K2R w K -", 9, {}), NO_TB_RESULT);
    EXPECT_EQ(probe("4k3/8/8/8/8/8/8/4K2R w - -", 0, {}), TB_WIN);
    EXPECT_EQ(probe("8/8/8/4k3/8/8/4N3/4K3 b - -", 0, {}), TB_DRAW);
    EXPECT_EQ(probe("4k3/8/8/8/8/8/4QQ2/4K2R w - -", 9, {}), NO_TB_RESULT);  // no table has five pieces
    tb_setup(tables, {});
    EXPECT_EQ(probe(LOST, 9, {}), NO_TB_RESULT);
}

TEST_F(EndgameTables, FirstProbesFromManyThreadsAgree) {
    const auto rows = reference_rows();
    std::vector<std::thread> threads;
    std::array<int, 8> differences{};
    for (int &own : differences)
        threads.emplace_back([&] {
            for (std::size_t i = 0; i < 60; ++i) own += ask(tb_wdl, make_test_position(rows[i][0])->pos) != rows[i][1];
        });
    for (std::thread &thread : threads) thread.join();
    EXPECT_EQ(differences, (std::array<int, 8>{}));
}

// Folders A and B with some of the tables, or with other things under their names.
class EndgameFiles : public EndgameTables {
protected:
    EndgameFiles() {
        fs::create_directories(folder_ / "A");
        fs::create_directories(folder_ / "B");
    }
    ~EndgameFiles() override {
        tb_setup(tables, {});  // files in use cannot be removed everywhere
        fs::remove_all(folder_);
    }
    void copy(const std::string &from, const std::string &to) {
        tb_setup(tables, {});
        fs::remove(folder_ / to);
        fs::copy_file(fs::path(directory) / from, folder_ / to);
    }
    void write(const std::string &name, const std::string &content) const { std::ofstream(folder_ / name) << content; }
    // Paths in which "@" stands for the place of the folders.
    std::string paths(std::string text) const {
        for (std::size_t at = 0; (at = text.find('@', at)) != std::string::npos;)
            text.replace(at, 1, folder_.string() + "/");
        return text;
    }

    fs::path folder_ = fs::temp_directory_path() / ("dral-tables-" + std::to_string(getpid()));
};

TEST_F(EndgameFiles, PathListsAreSplit) {
    copy("KQvK.rtbw", "A/KQvK.rtbw");
    for (const std::string name :
         {"KQvK", "KRvK", "KPvK", "KBNvK", "KQQvKQ", "KQQQvK", "KQQvKQQ", "KQQQvKQ", "KPPPPvK"})
        copy("KQvK.rtbw", "B/" + name + ".rtbw");
    check_rows("tablebase/paths.tsv", 1, [this](const auto &row) {
        const TbSetup setup = tb_setup(tables, paths(row[0]));
        return fields(setup.searched, setup.tables, tables.largest);
    });
    // A path of 259 characters is searched; one that is longer ends the search.
    const std::string slashes(259 - paths("@B/KPPPPvK.rtbw").size(), '/');
    EXPECT_EQ(tb_setup(tables, paths("@A;@B" + slashes)).tables, 9U);
    EXPECT_EQ(tb_setup(tables, paths("@B" + slashes + "/;@B")).tables, 6U);
}

TEST_F(EndgameFiles, FilesThatCannotBeUsedAreReportedOnce) {
    write("A/KQvK.rtbw", "");
    write("A/KRvK.rtbw", "hello");
    copy("KPvK.rtbw", "A/KPvK.rtbw");
    copy("KBNvK.rtbw", "A/KBNvK.rtbw");
    copy("KPvK.rtbw", "A/KNvK.rtbw");
    fs::create_directory(folder_ / "A" / "KBvK.rtbw");
    std::string told;
    const auto tell = [](void *context, std::string_view text) { *static_cast<std::string *>(context) += text; };
    tables.report = {&told, tell, tell};
    EXPECT_EQ(tb_setup(tables, paths("@A")).tables, 5U);
    fs::remove(folder_ / "A" / "KBNvK.rtbw");
    check_rows("tablebase/reports.tsv", 1, [&](const auto &row) {
        const auto board = make_test_position(row[0]);
        told.clear();
        const std::string first = ask(tb_wdl, board->pos);
        EXPECT_EQ(ask(tb_wdl, board->pos), first);
        const int root = tb_probe_root(tables, board->pos).result;
        EXPECT_EQ(tb_probe_root(tables, board->pos).result, root);
        std::replace(told.begin(), told.end(), '\n', '/');
        return fields(first, root, told);
    });
}

// Files with the flags of values in plies, which small tables have no use for: a byte of a table is changed.
TEST_F(EndgameFiles, DistancesAreInPliesOrMoves) {
    check_rows("tablebase/plies.tsv", 4, [this](const auto &row) {
        copy(row[0] + ".rtbw", "A/" + row[0] + ".rtbw");
        copy(row[0] + ".rtbz", "A/" + row[0] + ".rtbz");
        std::fstream(folder_ / "A" / (row[0] + ".rtbz")).seekp(std::stoi(row[1]))
            << static_cast<char>(std::stoi(row[2]));
        tb_setup(tables, paths("@A"));
        return ask(tb_dtz, make_test_position(row[3])->pos);
    });
}

// A table with one byte changed, or cut at that place, is refused or not, and nothing that it says leads out of it.
TEST_F(EndgameTables, DamagedFilesAreRefused) {
    check_rows("tablebase/damaged.tsv", 3, [this](const auto &row) {
        std::ifstream in(fs::path(directory) / row[0], std::ios::binary);
        std::vector<std::uint8_t> bytes(std::istreambuf_iterator<char>(in), {});
        const auto place = static_cast<std::size_t>(std::stoi(row[1]));
        if (row[2] == "cut")
            bytes.resize(place);
        else
            bytes[place] = static_cast<std::uint8_t>(std::stoi(row[2]));
        const TbKind kind = row[0].ends_with("w") ? TbKind::WDL : TbKind::DTZ;
        const TbMaterial material = tb_material(tb_counts(row[0].substr(0, row[0].find('.'))));
        return fields(parse_tb_file(bytes.data(), bytes.size(), material, kind) != nullptr ? "accepted" : "refused");
    });
}

}  // namespace
