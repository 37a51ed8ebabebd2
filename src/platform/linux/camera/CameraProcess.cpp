#include "platform/linux/camera/CameraProcess.h"

#include <sys/socket.h>

#include "platform/system.h"

bool CameraProcess::start(const std::vector<std::string>& arguments) {
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) return false;
    FileDescriptor ours = aboveStandard(FileDescriptor(ends[0]));
    const FileDescriptor its = aboveStandard(FileDescriptor(ends[1]));
    if (!ours.isOpen() || !its.isOpen()) return false;
    ProcessOptions options;
    options.executable = executableFolder() + "/velu-camera";
    options.arguments = arguments;
    options.standardInput = its.number;
    if (!program.start(options)) return false;
    channel = std::move(ours);
    return true;
}

void CameraProcess::end(int waitMs) {
    program.end(waitMs);
    channel.close();
}
