// One page to look at what a tool has written: the viewer that is installed beside the program, with the file inside.
#include <array>
#include <string>

#include "base/line_reader.h"
#include "base/output.h"
#include "platform/files.h"
#include "platform/process.h"
#include "tools/output_file.h"
#include "tools/tools.h"

namespace {

constexpr const char *VIEWER = "report.html";
constexpr std::string_view PLACE = "id=\"report-data\">";  // in the viewer, behind which stands
constexpr std::string_view EMPTY = "null";

std::string plain_text(const std::filesystem::path &path) {
    const std::u8string name = path.u8string();
    return {name.begin(), name.end()};
}

// The viewer's path; empty when it is not installed.
std::string find_viewer() {
    const std::filesystem::path folder = program_path().parent_path();
    for (const std::filesystem::path &place : {folder / VIEWER, folder / ".." / "share" / "dral" / VIEWER}) {
        std::error_code error;
        if (std::filesystem::is_regular_file(place, error)) return plain_text(place);
    }
    return {};
}

bool read_file(const std::string &name, std::string &content) {
    std::FILE *file = open_file(name.c_str(), "rb");
    if (file == nullptr) return false;
    std::array<char, 65536> block;
    for (std::size_t read = 0; (read = std::fread(block.data(), 1, block.size(), file)) > 0;)
        content.append(block.data(), read);
    const bool whole = std::ferror(file) == 0;
    std::fclose(file);
    return whole;
}

// Text as it stands within the quotes of JSON, without any '<', which could mean something to a browser.
std::string json_text(std::string_view text) {
    std::string escaped;
    escaped.reserve(text.size() + text.size() / 8);
    for (const char c : text) {
        if (static_cast<unsigned char>(c) < ' ' || c == '"' || c == '\\' || c == '<')
            escaped += format_line("\\u%04x", static_cast<unsigned>(c));
        else
            escaped += c;
    }
    return escaped;
}

}  // namespace

void write_report(ToolRun &run, const char *file_name) {
    run.failed = true;
    const std::string viewer_name = find_viewer();
    std::string viewer;
    if (!viewer_name.empty()) read_file(viewer_name, viewer);
    const std::size_t place = viewer.find(PLACE);
    if (place == std::string::npos) {
        print_format("%s is missing, the viewer that is installed in ../share/dral beside the program's folder",
                     VIEWER);
        return;
    }
    std::string content;
    const std::filesystem::path path = file_path(file_name);
    std::error_code error;
    if (std::filesystem::is_directory(path, error) || !read_file(file_name, content)) {
        print_format("cannot read %s", file_name);
        return;
    }
    const std::string page_name = plain_text(path.stem()) + ".report.html";
    WholeFile page(page_name);
    page.write(std::string_view(viewer).substr(0, place + PLACE.size()));
    page.write("{\"name\": \"" + json_text(plain_text(path.filename())) + "\", \"text\": \"");
    page.write(json_text(content) + "\"}");
    page.write(std::string_view(viewer).substr(place + PLACE.size() + EMPTY.size()));
    if (!page.commit()) return;
    print_line("written: " + page_name);
    run.failed = false;
}
