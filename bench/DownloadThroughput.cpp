// Measures the speed of a model download, compared with the curl program on the same file from the same
// server, and the memory that it takes.

#include <signal.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include "Benchmark.h"
#include "Figures.h"
#include "Sockets.h"
#include "engines/ModelDownloader.h"
#include "foundation/Files.h"
#include "platform/process.h"
#include "platform/system.h"
#include "support/TemporaryFolder.h"

namespace {

constexpr uint64_t bytesInFile = 1 << 30;
constexpr int rounds = 11;
constexpr double mebibyte = 1 << 20;

/// Sends the file to one client after another until the process is killed.
[[noreturn]] void serveFile(int listener) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    const std::string block(1 << 20, 'v');
    for (;;) {
        const int connection = acceptConnection(listener);
        readRequest(connection);
        sendAll(connection, "HTTP/1.1 200 OK\r\nConnection: close\r\nContent-Length: " +
                                std::to_string(bytesInFile) + "\r\n\r\n");
        for (uint64_t sent = 0; sent < bytesInFile && sendAll(connection, block); sent += block.size()) {
        }
        close(connection);
    }
}

/// Returns the MiB per second of a download by Velu's code; 0 if it failed.
double downloadOurselves(const std::string& url, const std::string& path) {
    const std::atomic<bool> cancel = false;
    ModelDownload download;
    download.url = url;
    download.path = path;
    download.attempts = 1;
    uint64_t reports = 0;
    download.onProgress = [&](uint64_t, uint64_t) { ++reports; };
    const int64_t begin = nanoseconds();
    const DownloadResult result = downloadModel(download, &cancel);
    const double seconds = millisecondsBetween(begin, nanoseconds()) / 1000;
    const bool good = result == DownloadResult::complete && fileSize(path) == bytesInFile && reports > 0;
    removeFile(path);
    return good ? static_cast<double>(bytesInFile) / mebibyte / seconds : 0;
}

/// Returns the same for the curl program, by its own clock, which leaves out the start of its process.
double downloadWithCurl(const std::string& url, const std::string& path) {
    ProcessOptions options;
    options.executable = CURL_PROGRAM;
    options.arguments = {"-q", "-s", "--noproxy", "*", "-w", "%{time_total}", "-o", path, url};
    options.logFile = path + ".log";
    ChildProcess curl;
    const bool ended = curl.start(options) && curl.waitForExit(300000);
    const bool good = ended && fileSize(path) == bytesInFile;
    removeFile(path);
    std::string seconds;
    if (!good || !readWholeFile(options.logFile, seconds)) return 0;
    return static_cast<double>(bytesInFile) / mebibyte / std::strtod(seconds.c_str(), nullptr);
}

/// Returns a memory figure of this process ("VmRSS", "VmHWM") in MiB.
double memory(const std::string& name) {
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line)) {
        if (line.rfind(name + ":", 0) == 0)
            return std::strtod(line.c_str() + name.size() + 1, nullptr) / 1024;
    }
    return 0;
}

}  // namespace

int main() {
    const TemporaryFolder folder;
    const auto freeSpace = freeDiskSpace(folder.path);
    if (freeSpace && *freeSpace < bytesInFile + bytesInFile / 4) {
        std::printf("DownloadThroughput: not measured, for %s has less than 1.25 GiB free\n",
                    volumeName(folder.path).c_str());
        return 1;
    }
    int32_t port = 0;
    const int listener = listenOnLoopback(port);
    // The server is a separate process, so that its memory isn't counted. It is forked before any thread
    // starts.
    const pid_t server = fork();
    if (server == 0) serveFile(listener);
    setVariable("VELU_HOME", folder.path);
    const std::string url = "http://127.0.0.1:" + std::to_string(port) + "/model";
    const std::string path = joinPath(folder.path, "model");

    std::vector<double> ours;
    std::vector<double> curls;
    std::vector<double> ratios;
    double memoryBefore = 0;
    double memoryPeak = 0;
    for (int round = 0; round < rounds; ++round) {
        // They take turns in going first, so that the disk cache affects both alike.
        double curl = round % 2 == 0 ? downloadWithCurl(url, path) : 0;
        if (round == 0) memoryBefore = memory("VmRSS");
        const double own = downloadOurselves(url, path);
        memoryPeak = memory("VmHWM");
        if (round % 2 != 0) curl = downloadWithCurl(url, path);
        if (own == 0 || curl == 0) {
            std::printf("DownloadThroughput: not measured, for a download by %s failed\n",
                        own == 0 ? "us" : "curl");
            return 1;
        }
        ours.push_back(own);
        curls.push_back(curl);
        ratios.push_back(own / curl);
    }
    kill(server, SIGKILL);
    std::printf("DownloadThroughput: %.0f MiB/s, curl %.0f MiB/s: %.2f of curl's (target: at least 0.9)\n",
                quantile(ours, 0.5), quantile(curls, 0.5), quantile(ratios, 0.5));
    std::printf("  medians of %d rounds of 1 GiB; the ratio was between %.2f and %.2f\n", rounds,
                quantile(ratios, 0), quantile(ratios, 1));
    std::printf(
        "DownloadThroughput: resident memory grew by %.1f MiB, from %.1f to %.1f (target: less than 8 MiB)\n",
        memoryPeak - memoryBefore, memoryBefore, memoryPeak);
    return 0;
}
