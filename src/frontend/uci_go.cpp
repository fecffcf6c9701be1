#include "frontend/uci_go.h"

#include <algorithm>
#include <cctype>
#include <optional>
#include <string>

#include "base/output.h"
#include "base/text.h"
#include "board/notation.h"

namespace {

constexpr int MOVES_PER_PERIOD = 40;
constexpr int MOST_MOVES_TO_GO = 10000;
constexpr std::int64_t MOST_NODES = std::int64_t{1} << 50;
constexpr int LONGEST_MATE = 50;  // moves; the longest that is told from a tablebase win

constexpr std::string_view LIMIT_WORDS[] = {"wtime", "btime", "movestogo", "depth", "nodes", "movetime", "infinite"};
constexpr std::string_view OTHER_WORDS[] = {"winc", "binc", "ponder", "searchmoves", "mate", "perft"};

template <std::size_t N>
bool is_one_of(std::string_view word, const std::string_view (&words)[N]) {
    return std::find(std::begin(words), std::end(words), word) != std::end(words);
}

double milliseconds(std::string_view value) { return static_cast<double>(leading_integer(value)) / 1000.0; }

// --- The default: keywords anywhere ---

// First word after a keyword that stands anywhere in the text; false when the keyword does not.
bool find_parameter(std::string_view text, std::string_view keyword, std::string_view &value) {
    const std::size_t at = text.find(keyword);
    if (at == std::string_view::npos) return false;
    value = text.substr(std::min(at + keyword.size() + 1, text.size()));
    value = next_word(value);
    return true;
}

// The limit, give or take up to 4 percent, so that games with fixed nodes differ.
std::int64_t jittered_nodes(std::int64_t nodes, RandomGenerator &random) {
    constexpr int SPREAD = 80;  // thousandths
    nodes = std::clamp<std::int64_t>(nodes, 0, MOST_NODES);
    return nodes + (SPREAD / 2 - random.next() % SPREAD) * nodes / 1000;
}

// The limits that a `go` names; the others stay as they are.
void read_limits(FrontEnd &front, std::string_view rest) {
    SearchLimits &limits = front.limits;
    const bool white = front.engine.game.position.side == WHITE;
    std::string_view value;
    limits.literal = false;
    limits.tc_mode = 0;
    if (find_parameter(rest, "wtime", value)) limits.clock[WHITE] = std::max(milliseconds(value), 0.0);
    if (find_parameter(rest, "btime", value)) limits.clock[BLACK] = std::max(milliseconds(value), 0.0);
    if (find_parameter(rest, "winc", value) && white) limits.increment = milliseconds(value);
    if (find_parameter(rest, "binc", value) && !white) limits.increment = milliseconds(value);
    if (find_parameter(rest, "movestogo", value)) {
        limits.tc_mode = MOVES_PER_PERIOD;
        limits.max_depth = MAX_DEPTH;
        limits.moves_to_go = clamped_integer(value, 0, MOST_MOVES_TO_GO);
        limits.node_limit = 0;
    }
    if (find_parameter(rest, "depth", value)) {
        limits.fix_time(UNLIMITED_TIME);
        limits.max_depth = clamped_integer(value, 0, MAX_DEPTH);
    }
    if (find_parameter(rest, "nodes", value)) {
        limits.fix_time(UNLIMITED_TIME);
        limits.node_limit = jittered_nodes(leading_integer(value), front.engine.random);
    }
    if (find_parameter(rest, "movetime", value)) {
        limits.fix_time(milliseconds(value));
        limits.increment = 0.0;
    }
    if (find_parameter(rest, "infinite", value)) {
        limits.fix_time(UNLIMITED_TIME);
        limits.max_depth = MAX_DEPTH;
        limits.node_limit = 0;
        limits.increment = 0.0;
    }
}

// --- Word by word ---

bool has_word(std::string_view text, std::string_view keyword) {
    for (std::string_view word = next_word(text); !word.empty(); word = next_word(text))
        if (word == keyword) return true;
    return false;
}

// The number behind a word; nothing when either is missing.
std::optional<std::int64_t> number_behind(std::string_view text, std::string_view keyword) {
    for (std::string_view word = next_word(text); !word.empty(); word = next_word(text)) {
        if (word != keyword) continue;
        const std::string_view value = next_word(text);
        const std::string_view digits = value.substr(value.starts_with('-') || value.starts_with('+') ? 1 : 0);
        if (digits.empty() || std::isdigit(static_cast<unsigned char>(digits[0])) == 0) return {};
        return leading_integer(value);
    }
    return {};
}

bool names_a_limit(std::string_view text) {
    return std::any_of(std::begin(LIMIT_WORDS), std::end(LIMIT_WORDS),
                       [text](std::string_view word) { return has_word(text, word); });
}

// The clock of the side to move, or a time for this move; without either the time that the limits have.
void read_time_strictly(SearchLimits &limits, Colour side, std::string_view rest) {
    const auto seconds = [rest](std::string_view keyword) -> std::optional<double> {
        const std::optional<std::int64_t> value = number_behind(rest, keyword);
        if (!value.has_value()) return {};
        return std::max(static_cast<double>(*value) / 1000.0, 0.0);
    };
    const std::optional<double> clocks[2] = {seconds("wtime"), seconds("btime")};
    for (const Colour c : {WHITE, BLACK}) limits.clock[c] = clocks[c].value_or(limits.clock[c]);
    limits.increment = seconds(side == WHITE ? "winc" : "binc").value_or(0.0);
    limits.moves_to_go =
        static_cast<int>(std::clamp<std::int64_t>(number_behind(rest, "movestogo").value_or(0), 0, MOST_MOVES_TO_GO));
    const bool infinite = has_word(rest, "infinite");
    const std::optional<double> time = seconds("movetime");
    if (!infinite && time.has_value())
        limits.fix_time(*time);
    else if (!infinite && clocks[side].has_value())
        limits.tc_mode = limits.moves_to_go > 0 ? MOVES_PER_PERIOD : 0;
    else if (infinite || number_behind(rest, "depth").has_value() || number_behind(rest, "nodes").has_value())
        limits.fix_time(UNLIMITED_TIME);
}

void read_limits_strictly(FrontEnd &front, std::string_view rest) {
    SearchLimits &limits = front.limits;
    const Settings &settings = front.engine.settings;
    limits = front.start_limits;
    limits.literal = true;
    if (has_word(rest, "infinite")) {
        limits.max_depth = MAX_DEPTH;
        limits.node_limit = 0;
    }
    if (const auto depth = number_behind(rest, "depth"); depth.has_value())
        limits.max_depth = static_cast<int>(std::clamp<std::int64_t>(*depth, 1, MAX_DEPTH));
    // The nodes of all threads together; a thread ends when it has passed its limit.
    if (const auto nodes = number_behind(rest, "nodes"); nodes.has_value())
        limits.node_limit =
            std::max<std::int64_t>(std::clamp<std::int64_t>(*nodes, 1, MOST_NODES) / settings.Threads - 1, 1);
    read_time_strictly(limits, front.engine.game.position.side, rest);
}

// --- Additions ---

// The words behind "searchmoves" up to the next keyword that are legal moves. A line names the others; where there are
// only others the default takes the word for one that it does not know.
std::vector<Move> read_search_moves(const FrontEnd &front, std::string_view rest) {
    const Position &pos = front.engine.game.position;
    std::vector<Move> moves;
    std::string refused;
    bool listed = false;
    for (std::string_view word = next_word(rest); !word.empty(); word = next_word(rest)) {
        if (is_one_of(word, LIMIT_WORDS) || is_one_of(word, OTHER_WORDS)) {
            listed = word == "searchmoves";
        } else if (listed) {
            const Move m = parse_coordinates(pos, word);
            if (m != NO_MOVE)
                moves.push_back(m);
            else
                refused += " " + std::string(word);
        }
    }
    if (!refused.empty() && (!moves.empty() || front.strict))
        print_line("info string searchmoves: not legal here:" + refused +
                   (moves.empty() ? "; all moves are searched" : ""));
    return moves;
}

void read_additions(FrontEnd &front, std::string_view rest) {
    SearchLimits &limits = front.limits;
    limits.root_moves = read_search_moves(front, rest);
    const std::optional<std::int64_t> mate = number_behind(rest, "mate");
    if (!mate.has_value()) return;
    limits.mate_in = static_cast<int>(std::clamp<std::int64_t>(*mate, 1, LONGEST_MATE));
    limits.mate_alone = !names_a_limit(rest);
}

}  // namespace

GoRequest read_go(FrontEnd &front, std::string_view rest) {
    const bool strict = front.strict;
    std::string_view value;
    if (strict)
        read_limits_strictly(front, rest);
    else
        read_limits(front, rest);
    read_additions(front, rest);
    const bool ponder = strict ? has_word(rest, "ponder") : find_parameter(rest, "ponder", value);
    return {ponder, strict && has_word(rest, "infinite")};
}

int perft_depth(std::string_view rest) {
    constexpr int DEEPEST = 20;
    if (!has_word(rest, "perft")) return -1;
    return static_cast<int>(std::clamp<std::int64_t>(number_behind(rest, "perft").value_or(0), 0, DEEPEST));
}
