#include "frontend/input.h"

#include <gtest/gtest.h>

TEST(InputQueue, LinesArriveInAnyPieces) {
    InputQueue queue;
    for (const char c : std::string("uci\r\n\n\nis")) queue.add({&c, 1});
    queue.add("ready\nposition startpos\rjunk\nquit");
    EXPECT_EQ(queue.take(), "uci");
    EXPECT_EQ(queue.take(), "isready");
    EXPECT_EQ(queue.take(), "position startpos");
    EXPECT_TRUE(queue.empty());
    queue.finish();
    EXPECT_EQ(queue.take(), "quit");
    EXPECT_EQ(queue.queued_bytes(), 0U);
}

TEST(InputQueue, NulEndsALine) {
    InputQueue queue;
    queue.add(std::string_view("a\0b\n", 4));
    EXPECT_EQ(queue.take(), "a");
    EXPECT_EQ(queue.take(), "b");
}

TEST(InputQueue, OverlongLineIsCut) {
    InputQueue queue;
    const std::string piece(100'000, 'x');
    for (int i = 0; i < 20; ++i) queue.add(piece);
    queue.add("\nnext\n");
    EXPECT_EQ(queue.take().size(), InputQueue::LONGEST_LINE);
    EXPECT_EQ(queue.take(), "next");
}

TEST(InputQueue, UrgentWordsOvertakeTheOthers) {
    constexpr std::string_view URGENT[] = {"stop", "quit"};
    InputQueue queue;
    queue.add("position startpos\nstopper\nstop\r\nquit now\n");
    std::string line;
    ASSERT_TRUE(queue.take_first_of(URGENT, line));
    EXPECT_EQ(line, "stop");
    ASSERT_TRUE(queue.take_first_of(URGENT, line));
    EXPECT_EQ(line, "quit now");
    EXPECT_FALSE(queue.take_first_of(URGENT, line));
    EXPECT_EQ(queue.take(), "position startpos");
    EXPECT_EQ(queue.take(), "stopper");
}
