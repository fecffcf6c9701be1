#include "platform/process.h"

#include "platform/windows/system.h"

#include <cstdio>
#include <cstdlib>

#include <fcntl.h>
#include <io.h>
#include <shellapi.h>

namespace {

UINT usual_code_page = 0;  // of the console

void restore_code_page() { SetConsoleOutputCP(usual_code_page); }

}  // namespace

std::vector<std::string> begin_process(int, char **) {
    _fmode = _O_BINARY;
    for (std::FILE *stream : {stdin, stdout, stderr})
        if (_fileno(stream) >= 0) _setmode(_fileno(stream), _O_BINARY);  // none where it was not given one
    // Every text is flushed. Without a buffer, as on a console, its bytes would be written one by one, letters of several too.
    std::setvbuf(stdout, nullptr, _IOFBF, 65536);
    std::setvbuf(stderr, nullptr, _IONBF, 0);
    usual_code_page = GetConsoleOutputCP();
    if (usual_code_page != 0 && SetConsoleOutputCP(CP_UTF8) != 0) std::atexit(restore_code_page);

    int count = 0;
    std::vector<std::string> arguments;
    wchar_t **const words = CommandLineToArgvW(GetCommandLineW(), &count);
    for (int i = 1; words != nullptr && i < count; ++i) arguments.push_back(to_utf8(words[i]));
    LocalFree(words);
    return arguments;
}

int end_process(int status) { return status; }

std::filesystem::path program_path() {
    constexpr std::size_t LONGEST = 32768;  // characters of any path
    std::wstring path(LONGEST, L'\0');
    path.resize(GetModuleFileNameW(nullptr, path.data(), LONGEST));
    return path;
}

const char *system_name() { return "Windows"; }
