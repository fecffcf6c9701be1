#include "platform/mapping.h"

#include <cerrno>
#include <utility>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

MappedFile::MappedFile(MappedFile &&other) noexcept
    : data_(std::exchange(other.data_, nullptr)),
      size_(std::exchange(other.size_, 0)),
      reserved_(std::exchange(other.reserved_, 0)) {}

MappedFile &MappedFile::operator=(MappedFile &&other) noexcept {
    std::swap(data_, other.data_);
    std::swap(size_, other.size_);
    std::swap(reserved_, other.reserved_);
    return *this;
}

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
    // The file lies over the start of a reservation of zero pages, whose rest is the margin.
    const auto length = static_cast<std::size_t>(status.st_size);
    const std::size_t reserved = length + MAPPING_MARGIN;
    void *base = mmap(nullptr, reserved, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    void *view = base;
    if (base != MAP_FAILED && length > 0) view = mmap(base, length, PROT_READ, MAP_SHARED | MAP_FIXED, file, 0);
    error = errno;
    close(file);
    if (base == MAP_FAILED || view == MAP_FAILED) {
        if (base != MAP_FAILED) munmap(base, reserved);
        return Result::CANNOT_MAP;
    }
    error = 0;
    madvise(base, length, MADV_RANDOM);
    data_ = static_cast<const std::uint8_t *>(base);
    size_ = length;
    reserved_ = reserved;
    return Result::MAPPED;
}

int MappedFile::unmap() {
    if (data_ == nullptr) return 0;
    const int failed = munmap(const_cast<std::uint8_t *>(data_), reserved_);
    data_ = nullptr;
    size_ = reserved_ = 0;
    return failed != 0 ? errno : 0;
}
