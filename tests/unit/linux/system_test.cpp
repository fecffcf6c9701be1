// What Linux decides: a terminal, a pipe with a name, the processors that threads may run on.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <poll.h>
#include <sched.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include "base/progress.h"
#include "book/probe.h"
#include "engine_fixture.h"
#include "platform/clock.h"
#include "platform/topology.h"

// What a person sees of long work. Standard error is a terminal of its own here.
TEST(Progress, RewritesItsLineAtATerminal) {
    const int screen = posix_openpt(O_RDWR | O_NOCTTY);
    ASSERT_TRUE(screen >= 0 && grantpt(screen) == 0 && unlockpt(screen) == 0);
    const int terminal = open(ptsname(screen), O_RDWR | O_NOCTTY);
    const int usual = dup(STDERR_FILENO);
    ASSERT_TRUE(terminal >= 0 && usual >= 0);
    dup2(terminal, STDERR_FILENO);
    {
        Progress progress("games");
        progress.update(5, 1, 4);  // too early
        progress.finish();
        sleep_ms(500);
        progress.update(10, 25, 100);
        progress.update(20, 50, 100);  // too early again
        sleep_ms(260);
        progress.update(30, 0, 100);
    }
    dup2(usual, STDERR_FILENO);
    std::string seen;
    char piece[1000];
    for (pollfd watched{screen, POLLIN, 0}; poll(&watched, 1, 200) == 1;)
        seen.append(piece, static_cast<std::size_t>(std::max<ssize_t>(read(screen, piece, sizeof piece), 0)));
    for (const int file : {screen, terminal, usual}) close(file);
    // Ten in half a second or, on a busy machine, in up to two; then three times that long is left.
    EXPECT_THAT(seen, testing::MatchesRegex("\r10 games, (20|1[0-9]|[5-9])/s, 25%, [2-6] s left\x1b\\[K"
                                            "\r30 games, [1-3][0-9]/s\x1b\\[K\r\x1b\\[K"));
}

// Reading it would block.
TEST(Book, PipeHasNoMoves) {
    const auto path = std::filesystem::temp_directory_path() / ("dral-pipe-" + std::to_string(getpid()));
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    RandomGenerator random;
    EXPECT_TRUE(probe_book(make_test_position()->pos, {path.c_str(), 25}, random).choices.empty());
    std::filesystem::remove(path);
}

// Up to 32 threads run where they have been started; of more of them, as many as there are places are bound to nodes.
TEST_F(EngineTest, ManyThreadsAreBoundToNodes) {
    const Topology topology = read_topology();
    cpu_set_t usual, one;
    ASSERT_EQ(sched_getaffinity(0, sizeof usual, &usual), 0);
    if (topology.nodes == 0 || CPU_COUNT(&usual) < 2) GTEST_SKIP() << "no nodes, or nothing to choose from";
    EXPECT_EQ(topology.logical, sysconf(_SC_NPROCESSORS_ONLN));
    const int places = static_cast<int>(placement_list(topology).size());
    const auto tasks_with_a_choice = [] {  // this thread, and what a sanitizer may have started
        int count = 0;
        for (const auto &task : std::filesystem::directory_iterator("/proc/self/task")) {
            cpu_set_t set;
            if (sched_getaffinity(std::stoi(task.path().filename()), sizeof set, &set) == 0)
                count += CPU_COUNT(&set) > 1;
        }
        return count;
    };
    apply_option(engine, "Threads", "1");
    const int unbound = tasks_with_a_choice() - 1;  // the pool of one thread goes
    CPU_ZERO(&one);
    for (std::size_t cpu = 0; CPU_COUNT(&one) == 0; ++cpu)
        if (CPU_ISSET(cpu, &usual)) CPU_SET(cpu, &one);
    for (const int threads : {32, 33}) {
        ASSERT_EQ(sched_setaffinity(0, sizeof one, &one), 0);
        apply_option(engine, "Threads", std::to_string(threads));
        ASSERT_EQ(sched_setaffinity(0, sizeof usual, &usual), 0);
        EXPECT_EQ(tasks_with_a_choice() - unbound, threads > 32 ? std::min(places, threads) : 0);
    }
}
