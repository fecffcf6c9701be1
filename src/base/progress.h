// Progress of long work for a person at a terminal.
#pragma once

#include <cstdint>
#include <string>

// One line on standard error that rewrites itself a few times a second: done, total, rate and time left. Silent when
// standard error is not a terminal. One thread.
class Progress {
public:
    // `unit`: what is counted, in the plural.
    explicit Progress(std::string unit);
    ~Progress() { finish(); }
    Progress(const Progress &) = delete;
    Progress &operator=(const Progress &) = delete;

    // `done` units so far. `part` and `whole` measure how far the work is, in any unit of their own (bytes of a file,
    // say); 0 for a whole that is not known.
    void update(std::int64_t done, std::int64_t part, std::int64_t whole);
    // Clears the line.
    void finish();

private:
    std::string unit_;
    bool shown_to_person_;
    bool on_screen_ = false;
    double start_;
    double next_;
};
