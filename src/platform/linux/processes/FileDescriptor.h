#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <utility>

/// Owns a file descriptor: an open file, pipe, socket or process handle. -1 is none.
class FileDescriptor {
public:
    FileDescriptor() = default;
    explicit FileDescriptor(int opened) : number(opened) {}
    ~FileDescriptor() { close(); }
    FileDescriptor(FileDescriptor&& other) noexcept : number(std::exchange(other.number, -1)) {}
    FileDescriptor& operator=(FileDescriptor&& other) noexcept {
        std::swap(number, other.number);
        return *this;
    }

    [[nodiscard]] bool isOpen() const { return number >= 0; }

    void close() {
        if (isOpen()) {
            ::close(std::exchange(number, -1));
        }
    }

    int number = -1;
};

/// Returns the same open file under a number above the three standard ones, which are unused in a program
/// that was started without them. Returns none on failure.
inline FileDescriptor aboveStandard(FileDescriptor file) {
    if (!file.isOpen() || file.number > STDERR_FILENO) {
        return file;
    }
    return FileDescriptor(fcntl(file.number, F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
}
