// Endgame tables: values against a reference, damaged files, path lists, and play with them.

#include <array>
#include <fstream>
#include <sstream>
#include <thread>

#include "engine_fixture.h"
#include "eval/kpk.h"
#include "tablebase/index.h"
#include "tablebase/probe.h"

namespace {

namespace fs = std::filesystem;

constexpr TbProbeDepths ALWAYS = {-5, -5};

fs::path table_directory() { return test_data_directory() / "syzygy"; }

// The engine with the tables of the test data; skips where they are missing.
class EndgameTables : public EngineTest {
protected:
    void SetUp() override {
        EngineTest::SetUp();
        if (!fs::exists(table_directory())) GTEST_SKIP() << "no test data: " << table_directory();
        tb_setup(tables, table_directory().string());
    }

    int wdl(const std::string &fen) {
        const auto board = make_test_position(fen);
        TbSuccess success = TB_FAILED;
        const int value = tb_wdl(tables, tb_position(board->pos, 0), success);
        EXPECT_NE(success, TB_FAILED) << fen;
        return value;
    }

    Tablebases tables;

    // A legal position with the given pieces ("KBNk"), White to move.
    static std::string random_fen(std::string_view pieces, Random &random) {
        while (true) {
            std::array<char, 64> board;
            board.fill('1');
            for (const char piece : pieces) {
                int square = random.below(64);
                while (board[square] != '1') square = random.below(64);
                board[square] = piece;
            }
            std::string fen;
            for (int rank = 7; rank >= 0; --rank)
                fen += std::string(board.data() + 8 * rank, 8) + (rank > 0 ? "/" : " w - -");
            if (unsearchable_reason(make_test_position(fen)->pos).empty()) return fen;
        }
    }
};

TEST_F(EndgameTables, EveryReferenceRowAgrees) {
    std::ifstream in(table_directory() / "expected.csv");
    std::string line;
    std::getline(in, line);
    int rows = 0;
    while (std::getline(in, line)) {
        std::istringstream fields(line);
        std::string fen, wdl_text, dtz_text;
        std::getline(fields, fen, ',');
        std::getline(fields, wdl_text, ',');
        std::getline(fields, dtz_text, ',');
        const auto board = make_test_position(fen);
        const TbPosition probed = tb_position(board->pos, 0);
        TbSuccess success = TB_FAILED;
        EXPECT_EQ(wdl(fen), std::stoi(wdl_text)) << fen;
        EXPECT_EQ(tb_dtz(tables, probed, success), std::stoi(dtz_text)) << fen;
        EXPECT_NE(success, TB_FAILED) << fen;
        ++rows;
    }
    EXPECT_EQ(rows, 4000);
}

TEST_F(EndgameTables, AgreesWithTheBitbaseOnKingAndPawnAgainstKing) {
    int positions = 0;
    int differences = 0;
    for (Square pawn = A2; pawn <= H7; ++pawn) {
        for (const Square strong : ALL_SQUARES) {
            for (const Square weak : ALL_SQUARES) {
                if (strong == weak || strong == pawn || weak == pawn) continue;
                for (const Colour side : {WHITE, BLACK}) {
                    const TbPosition probed{bit(pawn) | bit(strong),
                                            bit(weak),
                                            bit(strong) | bit(weak),
                                            0,
                                            0,
                                            0,
                                            0,
                                            bit(pawn),
                                            0,
                                            NO_SQUARE,
                                            side};
                    if (!tb_is_valid(probed)) continue;
                    TbSuccess success = TB_FAILED;
                    const int value = tb_wdl(tables, probed, success);
                    differences += success == TB_FAILED || (side == WHITE ? value == 2 : value == -2) !=
                                                               kpk_is_won(WHITE, pawn, strong, weak, side);
                    ++positions;
                }
            }
        }
    }
    EXPECT_EQ(differences, 0);
    EXPECT_EQ(positions, 331'352);
}

TEST_F(EndgameTables, SpecialPositions) {
    const struct {
        const char *fen;
        int value;
    } CASES[] = {
        {"8/8/4k3/8/8/4K3/8/8 w - -", 0},                                       // bare kings
        {"4k3/8/8/8/8/8/4q3/4K3 w - -", 0},                                     // takes the queen
        {"8/8/8/8/8/5K2/4Q3/7k w - -", 2},                                      // mates
        {"8/8/8/8/8/5k2/4q3/7K b - -", 2},                                      // the same with the colours exchanged
        {"8/8/8/8/8/5K2/4Q3/7k b - -", -2}, {"7k/5Q2/6K1/8/8/8/8/8 b - -", 0},  // stalemate
    };
    for (const auto &c : CASES) EXPECT_EQ(wdl(c.fen), c.value) << c.fen;
}

TEST_F(EndgameTables, SearchProbesKeepTheirConditions) {
    const auto probe = [this](const char *fen, int depth, TbProbeDepths depths) {
        return tb_probe_search(tables, make_test_position(fen)->pos, depth, depths);
    };
    constexpr const char *WON = "8/8/8/8/8/5K2/4QR2/7k b - -";
    EXPECT_EQ(probe(WON, 2, {3, 2}), NO_TB_RESULT);
    EXPECT_EQ(probe(WON, 3, {3, 2}), TB_LOSS);
    EXPECT_EQ(probe("4k3/8/8/8/8/8/8/4K2R w K -", 9, ALWAYS), NO_TB_RESULT);
    EXPECT_EQ(probe("4k3/8/8/8/8/8/8/4K2R w - -", 9, ALWAYS), TB_WIN);
    EXPECT_EQ(probe("4k3/8/8/8/8/8/4QQ2/4K2R w - -", 9, ALWAYS), NO_TB_RESULT);  // no table has five pieces
    tb_setup(tables, {});
    EXPECT_EQ(probe(WON, 9, ALWAYS), NO_TB_RESULT);
}

TEST_F(EndgameTables, RootProbeCountsTheClock) {
    const auto probe = [this](const char *fen, int clock) {
        const auto board = make_test_position(fen);
        board->pos.fifty = static_cast<std::uint8_t>(clock);
        return tb_probe_root(tables, board->pos);
    };
    constexpr const char *ROOK = "8/8/8/8/4k3/8/8/R3K3 w - -";
    TbSuccess success = TB_FAILED;
    const int dtz = tb_dtz(tables, tb_position(make_test_position(ROOK)->pos, 0), success);
    EXPECT_EQ(success, TB_EXACT);
    EXPECT_EQ(probe(ROOK, 0).result, TB_WIN);
    EXPECT_EQ(probe(ROOK, 100 - dtz).result, TB_WIN);
    EXPECT_EQ(probe(ROOK, 101 - dtz).result, TB_WIN - 1);
    EXPECT_EQ(probe("8/8/8/8/4k3/8/8/R3K3 b - -", 99).result, TB_LOSS + 1);
    EXPECT_EQ(tb_dtz(tables, tb_position(make_test_position("8/8/8/8/8/5K2/4Q3/7k w - -")->pos, 0), success), 1);
    EXPECT_EQ(probe("7k/5Q2/6K1/8/8/8/8/8 b - -", 0).result, NO_TB_RESULT);  // stalemate
    EXPECT_EQ(probe("7k/6Q1/6K1/8/8/8/8/8 b - -", 0).result, NO_TB_RESULT);  // mate
    const TbRoot draw = probe("8/8/4k3/8/8/4K3/8/8 w - -", 0);
    EXPECT_EQ(draw.result, TB_DRAW);
    EXPECT_EQ(draw.move, probe("8/8/4k3/8/8/4K3/8/8 w - -", 7).move);
}

// Won positions are won with the clock running, against the longest resistance, before fifty moves have passed.
TEST_F(EndgameTables, WinsWhatIsWonWithinTheClock) {
    Tablebases &tablebases = engine.shared.tablebases;
    tb_setup(tablebases, table_directory().string());
    Random random(11);
    const int games = short_run() ? 1 : 10;
    for (const char *pieces : {"KBNk", "KQkr", "KRPk", "KPkp"}) {
        for (int won = 0; won < games;) {
            const std::string fen = random_fen(pieces, random);
            set_fen(pos, fen);
            pos.fifty = 10;
            if (tb_probe_root(tablebases, pos).result != TB_WIN) continue;
            ++won;
            int plies = 0;
            while (!no_legal_moves(pos) && pos.fifty < 100 && plies < 400) {
                const bool late = pos.fifty >= 10;
                if (pos.side == WHITE) {
                    search_to_depth(8);
                    EXPECT_EQ(result.depth, late ? 99 : result.depth) << get_fen(pos);
                    make_move(pos, result.best);
                } else {
                    make_move(pos, tb_probe_root(tablebases, pos).move);
                }
                ++plies;
            }
            EXPECT_TRUE(no_legal_moves(pos)) << fen << " -> " << get_fen(pos);
            EXPECT_TRUE(square_attacked(pos, pos.king_square[BLACK], WHITE)) << fen;
            EXPECT_EQ(pos.side, BLACK) << fen;
        }
    }
}

TEST_F(EndgameTables, FirstProbesFromManyThreadsAgree) {
    std::vector<std::string> fens;
    Random random(5);
    for (const char *pieces : {"KQk", "KRk", "KPk", "KBNk", "KQkr", "KRkp", "KPkp", "KNNk", "KPPk", "KQkn"})
        for (int i = 0; i < 3; ++i) fens.push_back(random_fen(pieces, random));
    std::array<std::vector<int>, 8> values;
    std::vector<std::thread> threads;
    for (auto &own : values)
        threads.emplace_back([&] {
            for (const std::string &fen : fens) own.push_back(wdl(fen));
        });
    for (std::thread &thread : threads) thread.join();
    for (const auto &own : values) EXPECT_EQ(own, values[0]);
}

// A directory with some of the tables, or with other things under their names.
class EndgameFiles : public EndgameTables {
protected:
    void SetUp() override {
        EndgameTables::SetUp();
        directory_ = fs::temp_directory_path() / ("dral-tables-" + std::to_string(getpid()));
        for (const char *name : {"a", "b"}) fs::create_directories(directory_ / name);
    }
    void TearDown() override {
        fs::remove_all(directory_);
        EndgameTables::TearDown();
    }
    void link(const char *folder, const char *name) const {
        fs::create_symlink(fs::absolute(table_directory() / name), directory_ / folder / name);
    }
    void write(const char *name, const std::string &content) const {
        std::ofstream(directory_ / "a" / name, std::ios::binary) << content;
    }
    std::string a() const { return (directory_ / "a").string(); }
    std::string b() const { return (directory_ / "b").string(); }

    fs::path directory_;
};

TEST_F(EndgameFiles, PathListsAreSplit) {
    link("a", "KQvK.rtbw");
    link("b", "KRvK.rtbw");
    link("b", "KPvK.rtbw");
    link("b", "KBNvK.rtbw");
    link("b", "KQvK.rtbw");
    std::string too_long(10000, 'x');
    too_long += ";" + b();
    const struct {
        std::string paths;
        std::size_t found;
    } CASES[] = {
        {a(), 1},
        {b(), 4},
        {a() + ";" + b(), 4},
        {b() + ":" + a() + ":", 4},
        {";;" + a() + ";missing;" + a() + "/KQvK.rtbw", 1},
        {"C:\\Chess\\Syzygy;C:" + a() + ";c:\\x:" + b(), 4},
        {too_long, 0},  // a path that is too long ends the search
    };
    for (const auto &c : CASES) {
        const TbSetup setup = tb_setup(tables, c.paths);
        EXPECT_TRUE(setup.searched);
        EXPECT_EQ(setup.tables, c.found) << c.paths;
        EXPECT_EQ(setup.error, "");
    }
    tb_setup(tables, b());
    EXPECT_EQ(tables.largest, 4);
    EXPECT_FALSE(tb_setup(tables, "<empty>").searched);
    EXPECT_EQ(tables.largest, 0);
}

TEST_F(EndgameFiles, FilesThatCannotBeUsedAreReportedOnce) {
    write("KQvK.rtbw", "");
    write("KRvK.rtbw", "hello");
    link("a", "KPvK.rtbw");
    link("a", "KBNvK.rtbw");
    fs::copy_file(table_directory() / "KPvK.rtbw", directory_ / "a" / "KNvK.rtbw");
    fs::create_directory(directory_ / "a" / "KBvK.rtbw");
    std::string told;
    const auto tell = [](void *context, std::string_view text) { *static_cast<std::string *>(context) += text; };
    tables.report = {&told, tell, tell};
    tb_setup(tables, a());
    const auto probe = [this](const char *fen) {
        TbSuccess success = TB_EXACT;
        const auto board = make_test_position(fen);
        tb_wdl(tables, tb_position(board->pos, 0), success);
        return success;
    };
    for (const char *fen : {"8/8/8/8/8/5K2/4Q3/7k b - -", "8/8/8/8/8/5K2/4R3/7k b - -", "8/8/8/8/8/5K2/4N3/7k b - -"}) {
        told.clear();
        EXPECT_EQ(probe(fen), TB_FAILED) << fen;
        EXPECT_EQ(probe(fen), TB_FAILED) << fen;
        EXPECT_EQ(told, "Corrupted table.\n") << fen;
    }
    told.clear();
    EXPECT_EQ(probe("8/8/8/8/8/5K2/4P3/7k b - -"), TB_EXACT);
    EXPECT_EQ(told, "");

    // A file that has gone since it was found, and a missing DTZ file.
    fs::remove(directory_ / "a" / "KBNvK.rtbw");
    EXPECT_EQ(probe("8/8/8/8/8/5K2/4BN2/7k b - -"), TB_FAILED);
    const auto pawn = make_test_position("8/8/8/8/8/5K2/4P3/7k w - -");
    EXPECT_EQ(tb_probe_root(tables, pawn->pos).result, NO_TB_RESULT);
    EXPECT_EQ(tb_probe_search(tables, pawn->pos, 1, ALWAYS), TB_WIN);
    EXPECT_EQ(told, "Could not find KBNvK.rtbw\nCould not find KPvK.rtbz\n");
}

// The bytes of a file and the zeros that follow a mapped one.
struct FileBytes {
    TbMaterial material;
    TbKind kind;
    std::size_t size;
    std::vector<std::uint8_t> bytes;
};

FileBytes read_table(const fs::path &path) {
    std::ifstream in(path, std::ios::binary);
    FileBytes file{
        tb_material(tb_counts(path.stem().string())), path.extension() == ".rtbw" ? TbKind::WDL : TbKind::DTZ, 0, {}};
    file.bytes.assign(std::istreambuf_iterator<char>(in), {});
    file.size = file.bytes.size();
    file.bytes.resize(file.size + MAPPING_MARGIN);
    return file;
}

// Decodes values all over a file that was accepted.
void read_values(const FileBytes &file, const TbLayout &layout, Random &random) {
    for (std::size_t f = 0; f < (file.material.pawn_table ? 4U : 1U); ++f) {
        for (std::size_t s = 0; s < (layout.split ? 2U : 1U); ++s) {
            const TbSide &side = layout.sides[f][s];
            for (int i = 0; i < 20; ++i) {
                std::array<Square, TB_PIECES> squares{};
                Bitboard used = 0;
                for (int p = 0; p < file.material.num; ++p) {
                    const bool pawn = type_of(side.piece_order[p]) == PAWN;
                    const auto place = [&] { return pawn ? A2 + random.below(48) : square_at(random.below(64)); };
                    Square square = place();
                    while ((used & bit(square)) != 0) square = place();
                    used |= bit(square);
                    squares[p] = square;
                }
                if (file.material.pawn_table && tb_leading_file(file.material, squares) != static_cast<int>(f))
                    continue;
                const std::int64_t index = tb_index(file.material, side, squares);
                if (index < 0) continue;  // the kings touch
                EXPECT_LE(tb_decode(side.pairs, static_cast<std::uint64_t>(index)), 255);
            }
        }
    }
}

// Whatever a file holds, it is refused or can be read without leaving its bytes and margin (which the address sanitizer
// watches). DRAL_TEST_DAMAGED_FILES sets how many are tried.
TEST_F(EndgameTables, DamagedFilesAreRefusedOrRead) {
    std::vector<FileBytes> files;
    for (const auto &entry : fs::directory_iterator(table_directory()))
        if (entry.path().extension().string().starts_with(".rtb")) files.push_back(read_table(entry.path()));
    ASSERT_EQ(files.size(), 70U);
    Random random(2024);
    for (FileBytes &file : files) {
        const auto layout = parse_tb_file(file.bytes.data(), file.size, file.material, file.kind);
        ASSERT_NE(layout, nullptr);
        read_values(file, *layout, random);
    }
    const char *wanted = std::getenv("DRAL_TEST_DAMAGED_FILES");
    const int rounds = wanted != nullptr ? std::atoi(wanted) : short_run() ? 1500 : 5000;
    int refused = 0;
    for (int round = 0; round < rounds; ++round) {
        FileBytes &file = files[random.below(static_cast<int>(files.size()))];
        std::vector<std::pair<std::size_t, std::uint8_t>> saved;
        const std::size_t size =
            random.below(8) == 0 ? static_cast<std::size_t>(random.below(static_cast<int>(file.size) + 1)) : file.size;
        for (int change = random.below(6); change >= 0; --change) {
            const int reach =
                random.below(3) == 0 ? static_cast<int>(file.size) : std::min<int>(static_cast<int>(file.size), 300);
            const auto at = static_cast<std::size_t>(random.below(reach));
            saved.emplace_back(at, file.bytes[at]);
            file.bytes[at] = static_cast<std::uint8_t>(random.below(2) == 0 ? random.below(256)
                                                                            : file.bytes[at] ^ 1 << random.below(8));
        }
        if (const auto layout = parse_tb_file(file.bytes.data(), size, file.material, file.kind); layout != nullptr)
            read_values(file, *layout, random);
        else
            ++refused;
        for (auto it = saved.rbegin(); it != saved.rend(); ++it) file.bytes[it->first] = it->second;
    }
    EXPECT_GT(refused, rounds / 10);
    EXPECT_LT(refused, rounds);
}

}  // namespace
