// What a person at a terminal sees of long work. Standard error is a terminal of its own here.
#include "base/progress.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <stdlib.h>
#include <unistd.h>

#include "platform/clock.h"

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
