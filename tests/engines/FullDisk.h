#pragma once

#include <sys/resource.h>

#include <csignal>

/// From now on this process can't write files longer than this, as if the disk were full then.
inline void fillDiskAt(rlim_t bytes) {
    std::signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{bytes, bytes};
    setrlimit(RLIMIT_FSIZE, &limit);
}
