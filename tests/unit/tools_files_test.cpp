// Files that tools write whole or not at all.
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "tools/output_file.h"

namespace {

namespace fs = std::filesystem;

std::string content(const fs::path &path) {
    std::ostringstream text;
    text << std::ifstream(path).rdbuf();
    return text.str();
}

// What a file that holds "old" holds after "new" was written to `name`, and how many files there are more than before.
std::string after_writing(const std::string &name, bool commits, bool succeeds) {
    const fs::path folder = fs::current_path() / "whole-file-test";
    const auto entries = [&folder] { return std::distance(fs::recursive_directory_iterator(folder), {}); };
    fs::remove_all(folder);
    fs::create_directories(folder / "sub");
    std::ofstream(folder / "file") << "old";
    fs::permissions(folder / "file", fs::perms::owner_read | fs::perms::owner_write);
    const fs::perms permissions = fs::status(folder / "file").permissions();
    std::error_code error;
    fs::create_symlink(folder / "file", folder / "sub" / "link", error);
    if (error && name == "sub/link") return "no links";
    const auto before = entries();
    {
        WholeFile file((folder / name).string());
        file.write("new");
        EXPECT_EQ(content(folder / "file"), "old");
        EXPECT_EQ(commits && file.commit(), succeeds) << name;
    }
    const bool kept = fs::status(folder / "file").permissions() == permissions;
    const std::string text = content(folder / "file") + (kept ? " " : " opened ") + std::to_string(entries() - before);
    fs::remove_all(folder);
    return text;
}

TEST(WholeFile, AppearsWholeOrNotAtAll) {
    EXPECT_EQ(after_writing("file", true, true), "new 0");
    EXPECT_EQ(after_writing("file", false, false), "old 0");
    const std::string linked = after_writing("sub/link", true, true);
    EXPECT_TRUE(linked == "new 0" || linked == "no links") << linked;  // the link is left, and leads to it
    EXPECT_EQ(after_writing("other", true, true), "old 1");
    EXPECT_EQ(after_writing("sub", true, false), "old 0");
    EXPECT_EQ(after_writing("missing/file", true, false), "old 0");
}

}  // namespace
