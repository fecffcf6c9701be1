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

// What stands in the folder of a file that holds "old" after "new" was written to `name`: the file's text, and how many
// entries there are.
std::string after_writing(const std::string &name, bool commits, bool succeeds) {
    const fs::path folder = fs::current_path() / "whole-file-test";
    fs::remove_all(folder);
    fs::create_directories(folder / "sub");
    std::ofstream(folder / "file") << "old";
    fs::permissions(folder / "file", fs::perms::owner_read | fs::perms::owner_write);
    std::error_code error;
    fs::create_symlink(folder / "file", folder / "sub" / "link", error);
    {
        WholeFile file((folder / name).string());
        file.write("new");
        EXPECT_EQ(content(folder / "file"), "old");
        EXPECT_EQ(commits && file.commit(), succeeds) << name;
    }
    const bool kept = (fs::status(folder / "file").permissions() & fs::perms::others_read) == fs::perms::none;
    const auto entries = std::distance(fs::recursive_directory_iterator(folder), {});
    const std::string text = content(folder / "file");
    fs::remove_all(folder);
    return text + (kept ? " " : " opened ") + std::to_string(entries);
}

TEST(WholeFile, AppearsWholeOrNotAtAll) {
    EXPECT_EQ(after_writing("file", true, true), "new 3");
    EXPECT_EQ(after_writing("file", false, false), "old 3");
    EXPECT_EQ(after_writing("sub/link", true, true), "new 3");  // the link is left, and leads to it
    EXPECT_EQ(after_writing("other", true, true), "old 4");
    EXPECT_EQ(after_writing("sub", true, false), "old 3");
    EXPECT_EQ(after_writing("missing/file", true, false), "old 3");
}

}  // namespace
