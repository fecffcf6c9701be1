#include "platform/mapping.h"

#include "platform/windows/system.h"

MappedFile::Result MappedFile::map(const std::string &path, int &error) {
    unmap();
    error = 0;
    const HANDLE file = CreateFileW(to_utf16(path).c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                    FILE_FLAG_RANDOM_ACCESS, nullptr);
    LARGE_INTEGER length{};
    if (file == INVALID_HANDLE_VALUE || GetFileType(file) != FILE_TYPE_DISK || GetFileSizeEx(file, &length) == 0) {
        error = file == INVALID_HANDLE_VALUE ? static_cast<int>(GetLastError()) : ERROR_INVALID_DATA;
        if (file != INVALID_HANDLE_VALUE) CloseHandle(file);
        return Result::CANNOT_OPEN;
    }
    if (length.QuadPart == 0) {  // has no view
        CloseHandle(file);
        return Result::MAPPED;
    }
    // The view keeps what it needs of the other two.
    const HANDLE mapping = CreateFileMappingW(file, nullptr, PAGE_READONLY, 0, 0, nullptr);
    const void *view = mapping != nullptr ? MapViewOfFile(mapping, FILE_MAP_READ, 0, 0, 0) : nullptr;
    if (view == nullptr) error = static_cast<int>(GetLastError());
    if (mapping != nullptr) CloseHandle(mapping);
    CloseHandle(file);
    if (view == nullptr) return Result::CANNOT_MAP;
    data_ = static_cast<const std::uint8_t *>(view);
    size_ = static_cast<std::size_t>(length.QuadPart);
    return Result::MAPPED;
}

int MappedFile::unmap() {
    if (data_ == nullptr) return 0;
    const bool done = UnmapViewOfFile(data_) != 0;
    data_ = nullptr;
    size_ = 0;
    return done ? 0 : static_cast<int>(GetLastError());
}
