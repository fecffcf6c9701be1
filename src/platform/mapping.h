// Read-only memory mapping of whole files.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

// A file's bytes, read from disk when they are touched, until this object ends. Any thread may read them. A file that
// shrinks while it is mapped cannot be read safely.
class MappedFile {
public:
    enum class Result { MAPPED, CANNOT_OPEN, CANNOT_MAP };

    MappedFile() = default;
    ~MappedFile() { unmap(); }
    MappedFile(MappedFile &&other) noexcept;
    MappedFile &operator=(MappedFile &&other) noexcept;

    // Maps a regular file; `error` is the system's error code when that fails. An empty file gives no bytes.
    Result map(const std::string &path, int &error);
    // Releases the mapping. 0, or the system's error code.
    int unmap();

    const std::uint8_t *data() const { return data_; }
    std::size_t size() const { return size_; }

private:
    const std::uint8_t *data_ = nullptr;
    std::size_t size_ = 0;
};
