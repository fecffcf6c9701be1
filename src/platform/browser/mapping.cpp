// A page maps no files: what would be mapped is read into memory whole.
#include "platform/mapping.h"

#include <cerrno>
#include <cstdlib>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// Whether all bytes of a file came.
bool read_whole(int file, std::uint8_t *bytes, std::size_t size) {
    for (std::size_t done = 0; done < size;) {
        const ssize_t got = read(file, bytes + done, size - done);
        if (got <= 0) return false;
        done += static_cast<std::size_t>(got);
    }
    return true;
}

}  // namespace

MappedFile::Result MappedFile::map(const std::string &path, int &error) {
    unmap();
    error = 0;
    const int file = open(path.c_str(), O_RDONLY);
    struct stat status {};
    if (file < 0 || fstat(file, &status) != 0 || !S_ISREG(status.st_mode)) {
        error = file < 0 ? errno : EINVAL;
        if (file >= 0) close(file);
        return Result::CANNOT_OPEN;
    }
    const auto length = static_cast<std::size_t>(status.st_size);
    std::uint8_t *bytes = nullptr;
    if (static_cast<std::uint64_t>(status.st_size) > PTRDIFF_MAX) {
        error = ENOMEM;
    } else if (length > 0) {
        bytes = static_cast<std::uint8_t *>(std::malloc(length));
        if (bytes == nullptr)
            error = ENOMEM;
        else if (!read_whole(file, bytes, length))
            error = EIO;
    }
    close(file);
    if (error != 0) {
        std::free(bytes);
        return Result::CANNOT_MAP;
    }
    data_ = bytes;
    size_ = length;
    return Result::MAPPED;
}

int MappedFile::unmap() {
    std::free(const_cast<std::uint8_t *>(data_));
    data_ = nullptr;
    size_ = 0;
    return 0;
}
