#include "platform/mapping.h"

#include <cerrno>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

MappedFile::Result MappedFile::map(const std::string &path, int &error) {
    unmap();
    error = 0;
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    struct stat status {};
    if (file < 0 || fstat(file, &status) != 0 || !S_ISREG(status.st_mode)) {
        error = file < 0 ? errno : EINVAL;
        if (file >= 0) close(file);
        return Result::CANNOT_OPEN;
    }
    const auto length = static_cast<std::size_t>(status.st_size);
    void *view = nullptr;
    if (length > 0) view = mmap(nullptr, length, PROT_READ, MAP_SHARED, file, 0);
    if (view == MAP_FAILED) error = errno;
    close(file);
    if (view == MAP_FAILED) return Result::CANNOT_MAP;
    if (length > 0) madvise(view, length, MADV_RANDOM);
    data_ = static_cast<const std::uint8_t *>(view);
    size_ = length;
    return Result::MAPPED;
}

int MappedFile::unmap() {
    if (data_ == nullptr) return 0;
    const int failed = munmap(const_cast<std::uint8_t *>(data_), size_);
    data_ = nullptr;
    size_ = 0;
    return failed != 0 ? errno : 0;
}
