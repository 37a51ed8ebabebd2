#include "ProcessCost.h"

#include <time.h>
#include <unistd.h>

#include <fstream>
#include <sstream>
#include <string>

#include "Figures.h"

double processorSeconds(pid_t pid) {
    std::ifstream file("/proc/" + std::to_string(pid) + "/stat");
    std::string line;
    std::getline(file, line);
    std::istringstream fields(line.substr(line.rfind(')') + 1));
    std::string skipped;
    for (int field = 3; field < 14; ++field)
        fields >> skipped;
    double user = 0;
    double system = 0;
    fields >> user >> system;
    return (user + system) / static_cast<double>(sysconf(_SC_CLK_TCK));
}

double ownProcessorMilliseconds() {
    timespec time = {};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}

double percentOfCore(const std::function<double()>& processorSeconds, const std::function<void()>& work) {
    const double before = processorSeconds();
    const int64_t begin = nanoseconds();
    work();
    return 100 * (processorSeconds() - before) / (millisecondsBetween(begin, nanoseconds()) / 1000);
}

double residentMemory(pid_t pid) {
    std::ifstream file("/proc/" + std::to_string(pid) + "/statm");
    double all = 0;
    double resident = 0;
    file >> all >> resident;
    return resident * static_cast<double>(sysconf(_SC_PAGESIZE)) / (1024 * 1024);
}
