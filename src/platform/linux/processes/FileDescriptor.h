#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <utility>

/// An open file, pipe or process handle of the kernel's; closed with the object. -1 is none.
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

/// The same open file under a number that the three standard ones can't collide with. They are free for the
/// taking in a program that was started with its own closed. None when there is none to be had.
inline FileDescriptor aboveStandard(FileDescriptor file) {
    if (!file.isOpen() || file.number > STDERR_FILENO) {
        return file;
    }
    return FileDescriptor(fcntl(file.number, F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
}
