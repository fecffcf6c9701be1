// Runs the built program in a process of its own and speaks to it over pipes.
//
// The program is the one named by the environment variable DRAL_BINARY, else the one the build names. Whatever goes
// wrong (a line that does not come in time, a program that ends too early) is thrown as EngineFailure, whose text
// holds the dialogue so far; GoogleTest reports it as a failure of the running test. No process outlives its object.
//
// Every waiting time is multiplied by the environment variable DRAL_TEST_TIMEOUT_SCALE (default 1), so that builds
// with sanitizers and loaded machines can be given more time.
#pragma once

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <deque>
#include <filesystem>
#include <fstream>
#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace e2e {

using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::milliseconds;
using Lines = std::vector<std::string>;
using LinePredicate = std::function<bool(std::string_view)>;

inline constexpr Milliseconds DEFAULT_TIMEOUT{20'000};

inline Milliseconds scaled(Milliseconds time) {
    const char *text = std::getenv("DRAL_TEST_TIMEOUT_SCALE");
    const double scale = text == nullptr ? 1.0 : std::atof(text);
    return scale > 0 ? Milliseconds(static_cast<long>(static_cast<double>(time.count()) * scale)) : time;
}

inline std::filesystem::path engine_binary() {
    const char *named = std::getenv("DRAL_BINARY");
    return std::filesystem::absolute(named != nullptr && *named != '\0' ? named : DRAL_BINARY);
}

struct EngineFailure : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// An empty directory that is removed, with all it holds, at the end.
class TemporaryDirectory {
public:
    TemporaryDirectory() {
        std::string name = (std::filesystem::temp_directory_path() / "dral-e2e-XXXXXX").string();
        if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("cannot make a temporary directory");
        path_ = name;
    }
    ~TemporaryDirectory() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    TemporaryDirectory(const TemporaryDirectory &) = delete;
    TemporaryDirectory &operator=(const TemporaryDirectory &) = delete;

    const std::filesystem::path &path() const { return path_; }

    void write(const std::string &name, std::string_view content) const {
        std::ofstream(path_ / name, std::ios::binary) << content;
    }
    std::string read(const std::string &name) const {
        std::ifstream in(path_ / name, std::ios::binary);
        return {std::istreambuf_iterator<char>(in), {}};
    }

private:
    std::filesystem::path path_;
};

// How a process ended and what it printed that nobody had read before.
struct ExitReport {
    Lines lines;
    int status = -1;     // exit status, -1 when a signal ended the process
    std::string errors;  // everything it wrote to standard error
};

class EngineProcess {
public:
    // Starts the program. An empty `directory` stands for a fresh one, removed afterwards.
    explicit EngineProcess(Lines words = {}, const std::filesystem::path &directory = {},
                           const std::filesystem::path &program = engine_binary()) {
        signal(SIGPIPE, SIG_IGN);
        const std::filesystem::path folder = directory.empty() ? own_directory_.path() : directory;
        words.insert(words.begin(), program.string());
        std::vector<char *> argv;
        for (std::string &word : words) argv.push_back(word.data());
        argv.push_back(nullptr);
        std::array<int, 2> in{}, out{}, err{};
        for (auto *ends : {&in, &out, &err})
            if (pipe2(ends->data(), O_CLOEXEC) != 0) throw EngineFailure("cannot make a pipe");

        process_ = fork();
        if (process_ < 0) throw EngineFailure("cannot start a process");
        if (process_ == 0) {
            signal(SIGPIPE, SIG_DFL);
            dup2(in[0], STDIN_FILENO);
            dup2(out[1], STDOUT_FILENO);
            dup2(err[1], STDERR_FILENO);
            if (chdir(folder.c_str()) == 0) execv(argv[0], argv.data());
            _exit(127);
        }
        for (const int descriptor : {in[0], out[1], err[1]}) close(descriptor);
        for (const int descriptor : {input_ = in[1], output_ = out[0], errors_ = err[0]})
            fcntl(descriptor, F_SETFL, O_NONBLOCK);
    }

    ~EngineProcess() {
        close_input();
        if (!reaped_) {
            ::kill(process_, SIGKILL);
            waitpid(process_, nullptr, 0);
        }
        close(output_);
        close(errors_);
    }
    EngineProcess(const EngineProcess &) = delete;
    EngineProcess &operator=(const EngineProcess &) = delete;

    void send(std::string_view line) { send_raw(std::string(line) + '\n'); }

    // Writes the bytes as they are. Output that arrives meanwhile is collected, so neither side can block the other.
    void send_raw(std::string_view bytes) {
        note("> ", bytes);
        const Clock::time_point end = Clock::now() + scaled(DEFAULT_TIMEOUT);
        while (!bytes.empty()) {
            const ssize_t written = write(input_, bytes.data(), bytes.size());
            if (written > 0)
                bytes.remove_prefix(static_cast<std::size_t>(written));
            else if (errno != EAGAIN && errno != EINTR)
                fail("the program no longer reads its input");
            else
                wait_for_events(end, true);
        }
    }

    void close_input() {
        if (input_ >= 0) close(input_);
        input_ = -1;
    }

    // What Ctrl-C does.
    void interrupt() { ::kill(process_, SIGINT); }

    std::string read_line() {
        return expect_line([](std::string_view) { return true; }).front();
    }

    // The lines up to and including the first one that the predicate accepts.
    Lines expect_line(const LinePredicate &wanted, Milliseconds timeout = DEFAULT_TIMEOUT) {
        const Clock::time_point end = Clock::now() + scaled(timeout);
        Lines lines;
        do {
            while (lines_.empty()) {
                if (output_ended_) fail("the program ended its output");
                wait_for_events(end, false);
            }
            lines.push_back(std::move(lines_.front()));
            lines_.pop_front();
        } while (!wanted(lines.back()));
        return lines;
    }

    // The lines up to and including the first one that begins with `prefix`.
    Lines expect_line(std::string_view prefix, Milliseconds timeout = DEFAULT_TIMEOUT) {
        return expect_line([prefix](std::string_view line) { return line.starts_with(prefix); }, timeout);
    }

    // Waits for the end of the process, which must come by itself.
    ExitReport read_until_exit(Milliseconds timeout = DEFAULT_TIMEOUT) {
        const Clock::time_point end = Clock::now() + scaled(timeout);
        while (!output_ended_ || !errors_ended_) wait_for_events(end, false);
        int state = 0;
        for (; waitpid(process_, &state, WNOHANG) == 0; poll(nullptr, 0, 1))
            if (Clock::now() >= end) fail("the program did not end in time");
        reaped_ = true;
        return {{lines_.begin(), lines_.end()}, WIFEXITED(state) ? WEXITSTATUS(state) : -1, error_text_};
    }

    // What was said so far, the newest lines, for the message of a failed expectation.
    std::string transcript() const {
        std::string text = "dialogue:\n";
        for (const std::string &line : transcript_) text += line + '\n';
        return text;
    }

private:
    // Waits until there is something to read (or, with `to_write`, room to write) and takes in all there is.
    void wait_for_events(Clock::time_point end, bool to_write) {
        const auto left = std::chrono::ceil<Milliseconds>(end - Clock::now()).count();
        if (left <= 0) fail("nothing happened in time");
        std::array<pollfd, 3> watched = {{{output_ended_ ? -1 : output_, POLLIN, 0},
                                          {errors_ended_ ? -1 : errors_, POLLIN, 0},
                                          {to_write ? input_ : -1, POLLOUT, 0}}};
        poll(watched.data(), watched.size(), static_cast<int>(left));
        if (watched[0].revents != 0) take_output();
        if (watched[1].revents != 0) errors_ended_ = drain(errors_, error_text_);
    }

    void take_output() {
        output_ended_ = drain(output_, unfinished_);
        if (output_ended_ && !unfinished_.empty() && !unfinished_.ends_with('\n')) unfinished_ += '\n';
        std::size_t start = 0;
        for (std::size_t end; (end = unfinished_.find('\n', start)) != std::string::npos; start = end + 1) {
            lines_.push_back(unfinished_.substr(start, end - start));
            note("< ", lines_.back());
        }
        unfinished_.erase(0, start);
    }

    // Appends all that can be read. Whether the other side has closed the pipe.
    static bool drain(int descriptor, std::string &text) {
        std::array<char, 65536> block;
        ssize_t length;
        while ((length = read(descriptor, block.data(), block.size())) > 0)
            text.append(block.data(), static_cast<std::size_t>(length));
        return length == 0;
    }

    // The last 200 lines, cut at 300 characters.
    void note(const char *mark, std::string_view text) {
        transcript_.push_back(mark + std::string(text.substr(0, 300)));
        if (transcript_.size() > 200) transcript_.pop_front();
    }

    [[noreturn]] void fail(const std::string &what) const {
        throw EngineFailure(what + '\n' + transcript() + error_text_);
    }

    TemporaryDirectory own_directory_;
    pid_t process_ = -1;
    int input_ = -1, output_ = -1, errors_ = -1;
    bool output_ended_ = false, errors_ended_ = false, reaped_ = false;
    std::string unfinished_, error_text_;
    std::deque<std::string> lines_, transcript_;
};

}  // namespace e2e
