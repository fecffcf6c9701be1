#include "frontend/input.h"

#include <gtest/gtest.h>

// What waits is counted, so that no more is read than can be kept, and taken words leave the others in order.
TEST(InputQueue, CountsWhatWaits) {
    static constexpr std::string_view URGENT[] = {"isready", "quit"};
    InputQueue queue;
    std::string line;
    queue.add("go infinite\nisready now\r\nstop\n\nqu");
    EXPECT_EQ(queue.queued_bytes(), 27U);
    EXPECT_TRUE(queue.take_first_of(URGENT, line));
    EXPECT_EQ(line, "isready now");
    EXPECT_EQ(queue.queued_bytes(), 15U);
    EXPECT_FALSE(queue.take_first_of(URGENT, line));
    EXPECT_EQ(queue.take(), "go infinite");
    EXPECT_EQ(queue.queued_bytes(), 4U);
    queue.add("it");
    EXPECT_FALSE(queue.at_end());
    queue.finish();
    EXPECT_TRUE(queue.at_end());
    EXPECT_TRUE(queue.take_first_of(URGENT, line));
    EXPECT_EQ(queue.take(), "stop");
    EXPECT_EQ(queue.queued_bytes(), 0U);
    EXPECT_TRUE(queue.empty());
}
