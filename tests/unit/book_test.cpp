// Opening books: the format, drawing a move, and building a book from games.
#include <map>

#include "base/text.h"
#include "book/build.h"
#include "book/format.h"
#include "book/move_table.h"
#include "book/probe.h"
#include "book/random64.h"
#include "test_support.h"

namespace {

// Moves as "e2e4 100", "e7e8=4 7": squares as the book has them, the promotion's code, and the weight.
std::string entry_text(const BookEntry &entry) {
    const int promotion = entry.move >> 12;
    return book_squares(entry.move) + (promotion != 0 ? "=" + std::to_string(promotion) : "") + ' ' +
           std::to_string(entry.weight);
}

class BookTest : public testing::Test {
protected:
    ~BookTest() override { std::filesystem::remove_all(path_); }

    // The given moves of one position, and another one after it.
    void write_book(const Position &pos, std::string_view moves) const {
        std::ofstream file(path_, std::ios::binary);
        const std::uint64_t key = polyglot_key(pos);
        const auto add = [&file](const BookEntry &entry) {
            const auto bytes = book_entry_bytes(entry);
            file.write(bytes.data(), bytes.size());
        };
        for (std::string_view m = next_word(moves); !m.empty(); m = next_word(moves)) {
            const int code = m.size() > 4 ? m[5] - '0' : 0;
            const int squares = (m[1] - '1') << 9 | (m[0] - 'a') << 6 | (m[3] - '1') << 3 | (m[2] - 'a');
            add({key, static_cast<std::uint16_t>(code << 12 | squares),
                 static_cast<std::uint16_t>(leading_integer(next_word(moves))), 0});
        }
        add({key + 1, 1, 500, 0});
    }

    std::filesystem::path path_ = std::filesystem::temp_directory_path() / ("dral-book-" + std::to_string(getpid()));
};

TEST(BookFormat, HasThePublishedKeysAndNumbers) {
    std::size_t i = 0;
    for (const auto &row : data_rows("polyglot/random64.txt"))
        EXPECT_EQ(random64[i++], std::stoull(row[0], nullptr, 16));
    EXPECT_EQ(i, random64.size());
    for (const auto &row : data_rows("polyglot/keys.txt"))
        EXPECT_EQ(polyglot_key(make_test_position(row[0].substr(17))->pos), std::stoull(row[0], nullptr, 16)) << row[0];
}

// Choices with their shares, and how often each move is drawn in a thousand times, with one seed for all.
TEST_F(BookTest, DrawsByWeightAndVariety) {
    check_rows("book/draws.tsv", 3, [this](const auto &row) {
        const auto board = make_test_position(row[0]);
        const bool real = row[1].ends_with(".bin");
        if (!real) write_book(board->pos, row[1]);
        const std::string file = real ? test_data(row[1]) : path_.string();
        RandomGenerator random(4711);
        std::map<std::string, int> drawn;
        for (int i = 0; i < (real ? 50 : 1000); ++i)
            ++drawn[coordinates(probe_book(board->pos, {file, std::stoi(row[2])}, random).move)];
        const BookDraw draw = probe_book(board->pos, {file, std::stoi(row[2])}, random);
        std::string choices, counts;
        std::int64_t sum = 0;
        for (const BookChoice &choice : draw.choices) {
            choices += entry_text({0, choice.move, choice.weight, 0}) + ' ' + std::to_string(choice.share) + ' ';
            sum += choice.share;
        }
        EXPECT_EQ(draw.total_share, sum);
        for (const auto &[move, count] : drawn) counts += ' ' + move + ' ' + std::to_string(count);
        return fields(draw.total_weight, choices + ':' + counts);
    });
}

TEST_F(BookTest, FilesThatAreNoBooksHaveNoMoves) {
    const auto board = make_test_position();
    RandomGenerator random;
    const auto choices = [&](std::string_view file) {
        return probe_book(board->pos, {file, 25}, random).choices.size();
    };
    const std::string name = path_.string();
    EXPECT_EQ(choices(""), 0U);
    EXPECT_EQ(choices(name), 0U) << "missing";
    std::ofstream(name) << "15 bytes, no mo";
    EXPECT_EQ(choices(name), 0U);
    std::filesystem::resize_file(path_, (std::uint64_t{2} << 30) + 7);
    EXPECT_EQ(choices(name), 0U) << "2 GB of nothing";
    std::filesystem::remove(path_);
    std::filesystem::create_directory(path_);
    EXPECT_EQ(choices(name), 0U) << "a folder";
}

// Games as "3 1-0 e4 e5 &": how many, with what result, and their text, in which '\' ends a line.
TEST_F(BookTest, BuiltFromGames) {
    make_test_position();
    const auto built = [this](std::string_view games) {
        BookBuilder builder;
        for (std::size_t end = 0; !games.empty(); games.remove_prefix(std::min(end + 1, games.size()))) {
            end = std::min(games.find('&'), games.size());
            std::string_view text = games.substr(0, end);
            const std::int64_t count = leading_integer(next_word(text));
            const std::string tag = "[Result \"" + std::string(next_word(text)) + "\"]";
            for (int i = 0; i < count; ++i) {
                builder.read_line(tag);
                std::istringstream lines{std::string(text)};
                for (std::string line; std::getline(lines, line, '\\');) builder.read_line(line);
            }
        }
        const std::string found = fields(builder.games(), builder.moves(), builder.ambiguous_moves());
        EXPECT_TRUE(builder.write(path_.string().c_str()));
        return found;
    };
    check_rows("book/games.tsv", 2, [&](const auto &row) {
        const std::string found = built(row[1]);
        std::ifstream book(path_, std::ios::binary);
        std::map<std::uint64_t, std::string> moves;
        std::uint64_t last = 0;
        for (BookEntry entry{}; read_book_entry(book, entry); last = entry.key) {
            EXPECT_GE(entry.key, last);
            moves[entry.key] += (moves[entry.key].empty() ? "" : " ") + entry_text(entry);
        }
        std::string all;
        for (const auto &[key, texts] : moves) all += (all.empty() ? "" : " / ") + texts;
        return fields(found, all);
    });
    std::filesystem::remove(path_);
    std::filesystem::create_directories(path_ / "in use");
    EXPECT_FALSE(BookBuilder().write(path_.string().c_str()));
}

}  // namespace

// More moves than the table begins with room for: all are found again, and come by key.
TEST(MoveTable, Grows) {
    constexpr std::uint64_t STEP = 0x9E3779B97F4A7C15;
    constexpr std::uint64_t MANY = 70'000;
    MoveTable table;
    for (int round = 1; round <= 2; ++round)
        for (std::uint64_t i = 0; i < MANY; ++i)
            table.count(i / 2 * STEP, static_cast<Move>(1 + i % 2), &MoveRecord::wins);
    EXPECT_EQ(table.size(), MANY);
    const std::vector<MoveRecord> records =
        table.take_sorted([](const MoveRecord &record) { return record.wins == 2; });
    EXPECT_TRUE(std::is_sorted(records.begin(), records.end(),
                               [](const MoveRecord &a, const MoveRecord &b) { return a.key < b.key; }));
    EXPECT_EQ(records.size(), MANY);
    for (std::size_t i = 0; i < records.size(); ++i)
        ASSERT_EQ(records[i].move, static_cast<Move>(1 + i % 2));  // in the order first seen
}
