#include "support/TestProgram.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <stdexcept>

#include "support/Soon.h"

TestProgram::TestProgram(std::vector<std::string> words, const std::string& log) {
    std::vector<char*> argv;
    argv.reserve(words.size() + 1);
    for (std::string& word : words)
        argv.push_back(word.data());
    argv.push_back(nullptr);
    const pid_t parent = getpid();
    pid = fork();
    if (pid < 0) throw std::runtime_error("no new process for " + words[0]);
    if (pid > 0) return;
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    const int output = open(log.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    // The parent may have died before the line above that would have told us.
    if (getppid() != parent || output < 0 || dup2(output, 1) < 0 || dup2(output, 2) < 0) _exit(126);
    ::signal(SIGPIPE, SIG_DFL);
    execvp(argv[0], argv.data());
    _exit(127);
}

TestProgram::~TestProgram() {
    signal(SIGTERM);
    if (soon([this] { return result().has_value(); }, std::chrono::seconds(5))) return;
    signal(SIGKILL);
    waitpid(pid, nullptr, 0);
}

void TestProgram::signal(int number) const {
    if (!ended) kill(pid, number);
}

std::optional<int> TestProgram::result() {
    int status = 0;
    if (!ended && waitpid(pid, &status, WNOHANG) == pid) {
        ended = WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
    }
    return ended;
}

std::optional<int> TestProgram::wait() {
    soon([this] { return result().has_value(); });
    return ended;
}
