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
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>
#ifdef __linux__
#include <sys/prctl.h>
#endif

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace e2e {

using Milliseconds = std::chrono::milliseconds;
using Lines = std::vector<std::string>;
using LinePredicate = std::function<bool(std::string_view)>;

inline constexpr Milliseconds DEFAULT_TIMEOUT{20'000};

inline double timeout_scale() {
    const char *text = std::getenv("DRAL_TEST_TIMEOUT_SCALE");
    const double scale = text == nullptr ? 1.0 : std::atof(text);
    return scale > 0 ? scale : 1.0;
}

inline Milliseconds scaled(Milliseconds time) {
    return Milliseconds(static_cast<Milliseconds::rep>(static_cast<double>(time.count()) * timeout_scale()));
}

inline std::filesystem::path engine_binary() {
    if (const char *named = std::getenv("DRAL_BINARY"); named != nullptr && *named != '\0')
        return std::filesystem::absolute(named);
#ifdef DRAL_BINARY
    return std::filesystem::absolute(DRAL_BINARY);
#else
    throw std::runtime_error("DRAL_BINARY names no program to test");
#endif
}

class EngineFailure : public std::runtime_error {
public:
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
    int signal = 0;      // that signal, else 0
    std::string errors;  // everything it wrote to standard error
};

class EngineProcess {
public:
    // Starts the program. An empty `working_directory` stands for a fresh one, removed afterwards.
    explicit EngineProcess(const std::vector<std::string> &arguments = {},
                           const std::filesystem::path &working_directory = {})
        : EngineProcess(engine_binary(), arguments, working_directory) {}

    EngineProcess(const std::filesystem::path &program, const std::vector<std::string> &arguments,
                  const std::filesystem::path &working_directory) {
        signal(SIGPIPE, SIG_IGN);
        const std::filesystem::path directory = working_directory.empty() ? own_directory_.path() : working_directory;
        const auto in = make_pipe(), out = make_pipe(), err = make_pipe();

        std::vector<std::string> words = {program.string()};
        words.insert(words.end(), arguments.begin(), arguments.end());
        std::vector<char *> argv;
        for (std::string &word : words) argv.push_back(word.data());
        argv.push_back(nullptr);

        process_ = fork();
        if (process_ < 0) throw EngineFailure("cannot start a process");
        if (process_ == 0) {
#ifdef __linux__
            prctl(PR_SET_PDEATHSIG, SIGKILL);
#endif
            signal(SIGPIPE, SIG_DFL);
            dup2(in[0], STDIN_FILENO);
            dup2(out[1], STDOUT_FILENO);
            dup2(err[1], STDERR_FILENO);
            if (chdir(directory.c_str()) == 0) execv(argv[0], argv.data());
            perror("cannot run the program");
            _exit(127);
        }
        for (const int descriptor : {in[0], out[1], err[1]}) close(descriptor);
        input_ = in[1];
        output_ = out[0];
        errors_ = err[0];
        for (const int descriptor : {input_, output_, errors_})
            fcntl(descriptor, F_SETFL, fcntl(descriptor, F_GETFL) | O_NONBLOCK);
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
    void send_raw(std::string_view bytes, Milliseconds timeout = DEFAULT_TIMEOUT) {
        note("> ", bytes);
        const Deadline deadline(timeout);
        while (!bytes.empty()) {
            const ssize_t written = write(input_, bytes.data(), bytes.size());
            if (written > 0) {
                bytes.remove_prefix(static_cast<std::size_t>(written));
                continue;
            }
            if (written < 0 && errno != EAGAIN && errno != EINTR) fail("the program no longer reads its input");
            if (deadline.passed()) fail("the program did not read its input in time");
            wait_for_events(deadline, true);
        }
    }

    void close_input() {
        if (input_ >= 0) close(input_);
        input_ = -1;
    }

    // What Ctrl-C does.
    void interrupt() { ::kill(process_, SIGINT); }

    // The next line of output, without its end.
    std::string read_line(Milliseconds timeout = DEFAULT_TIMEOUT) { return next_line(Deadline(timeout)); }

    // The lines up to and including the first one that the predicate accepts.
    Lines expect_line(const LinePredicate &wanted, Milliseconds timeout = DEFAULT_TIMEOUT) {
        const Deadline deadline(timeout);
        Lines lines;
        do {
            lines.push_back(next_line(deadline));
        } while (!wanted(lines.back()));
        return lines;
    }

    // The lines up to and including the first one that begins with `prefix`.
    Lines expect_line(std::string_view prefix, Milliseconds timeout = DEFAULT_TIMEOUT) {
        waiting_for_ = "line beginning with '" + std::string(prefix) + "': ";
        Lines lines = expect_line([prefix](std::string_view line) { return line.starts_with(prefix); }, timeout);
        waiting_for_.clear();
        return lines;
    }

    // Waits for the end of the process, which must come by itself.
    ExitReport read_until_exit(Milliseconds timeout = DEFAULT_TIMEOUT) {
        const Deadline deadline(timeout);
        int state = 0;
        while (!output_ended_ || !errors_ended_ || waitpid(process_, &state, WNOHANG) == 0) {
            if (deadline.passed()) fail("the program did not end in time");
            if (output_ended_ && errors_ended_)
                poll(nullptr, 0, 1);
            else
                wait_for_events(deadline, false);
        }
        reaped_ = true;
        ExitReport report;
        report.lines.assign(lines_.begin(), lines_.end());
        lines_.clear();
        report.errors = error_text_;
        if (WIFEXITED(state)) report.status = WEXITSTATUS(state);
        if (WIFSIGNALED(state)) report.signal = WTERMSIG(state);
        return report;
    }

    // What was said so far, the newest lines, for the message of a failed expectation.
    std::string transcript() const {
        std::string text = "dialogue:\n";
        for (const std::string &line : transcript_) text += line + '\n';
        return text;
    }

private:
    using Clock = std::chrono::steady_clock;

    class Deadline {
    public:
        explicit Deadline(Milliseconds timeout) : end_(Clock::now() + scaled(timeout)) {}
        bool passed() const { return Clock::now() >= end_; }
        int milliseconds_left() const {
            return static_cast<int>(std::max<long>(std::chrono::ceil<Milliseconds>(end_ - Clock::now()).count(), 0));
        }

    private:
        Clock::time_point end_;
    };

    static std::array<int, 2> make_pipe() {
        std::array<int, 2> ends{};
        if (pipe2(ends.data(), O_CLOEXEC) != 0) throw EngineFailure("cannot make a pipe");
        return ends;
    }

    std::string next_line(const Deadline &deadline) {
        while (lines_.empty()) {
            if (output_ended_) fail("the program ended its output");
            if (deadline.passed()) fail("no line of output in time");
            wait_for_events(deadline, false);
        }
        std::string line = std::move(lines_.front());
        lines_.pop_front();
        return line;
    }

    // Waits until there is something to read (or, with `to_write`, room to write) and takes in all there is.
    void wait_for_events(const Deadline &deadline, bool to_write) {
        std::array<pollfd, 3> watched = {{
            {output_ended_ ? -1 : output_, POLLIN, 0},
            {errors_ended_ ? -1 : errors_, POLLIN, 0},
            {to_write ? input_ : -1, POLLOUT, 0},
        }};
        poll(watched.data(), watched.size(), deadline.milliseconds_left());
        if (watched[0].revents != 0) take_output();
        if (watched[1].revents != 0) take_errors();
    }

    void take_output() {
        output_ended_ = drain(output_, unfinished_);
        std::size_t start = 0;
        for (std::size_t end; (end = unfinished_.find('\n', start)) != std::string::npos; start = end + 1) {
            lines_.push_back(unfinished_.substr(start, end - start));
            note("< ", lines_.back());
        }
        unfinished_.erase(0, start);
        if (output_ended_ && !unfinished_.empty()) lines_.push_back(std::exchange(unfinished_, {}));
    }

    void take_errors() {
        const std::size_t known = error_text_.size();
        errors_ended_ = drain(errors_, error_text_);
        if (error_text_.size() > known) note("! ", std::string_view(error_text_).substr(known));
    }

    // Appends all that can be read. Whether the other side has closed the pipe.
    static bool drain(int descriptor, std::string &text) {
        std::array<char, 65536> block;
        ssize_t length;
        while ((length = read(descriptor, block.data(), block.size())) > 0)
            text.append(block.data(), static_cast<std::size_t>(length));
        return length == 0;
    }

    void note(const char *mark, std::string_view text) {
        constexpr std::size_t KEPT_LINES = 200;
        constexpr std::size_t KEPT_WIDTH = 300;
        if (text.ends_with('\n')) text.remove_suffix(1);
        transcript_.push_back(mark + std::string(text.substr(0, KEPT_WIDTH)));
        if (text.size() > KEPT_WIDTH) transcript_.back() += "... (" + std::to_string(text.size()) + " bytes)";
        if (transcript_.size() > KEPT_LINES) transcript_.pop_front();
    }

    [[noreturn]] void fail(const std::string &what) {
        std::string message = std::exchange(waiting_for_, {}) + what;
        // A process that has just died has its end reported a moment after its output closes.
        for (int i = 0, state = 0; output_ended_ && !reaped_ && i < 1000; ++i, poll(nullptr, 0, 1)) {
            if (waitpid(process_, &state, WNOHANG) != process_) continue;
            reaped_ = true;
            message += WIFSIGNALED(state) ? " (signal " + std::to_string(WTERMSIG(state)) + ")"
                                          : " (exit status " + std::to_string(WEXITSTATUS(state)) + ")";
        }
        if (!errors_ended_) take_errors();
        throw EngineFailure(message + '\n' + transcript());
    }

    TemporaryDirectory own_directory_;
    pid_t process_ = -1;
    int input_ = -1, output_ = -1, errors_ = -1;
    bool output_ended_ = false, errors_ended_ = false, reaped_ = false;
    std::string unfinished_, error_text_, waiting_for_;
    std::deque<std::string> lines_, transcript_;
};

}  // namespace e2e
