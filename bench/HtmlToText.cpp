// Measures how fast a page is converted to text, compared with command-line converters, and on the worst
// inputs.

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "Figures.h"
#include "assistant/Html.h"
#include "assistant/ResultPages.h"
#include "foundation/Files.h"
#include "support/TemporaryFolder.h"

namespace {

constexpr size_t pageBytes = 1 << 20;

std::string repeated(std::string_view piece, size_t bytes = pageBytes) {
    std::string text;
    while (text.size() < bytes)
        text += piece;
    text.resize(bytes);
    return text;
}

/// Returns the sample page with its body repeated until it fills a mebibyte.
std::string largePage(const std::string& sample) {
    const size_t body = std::min(sample.find("<body"), sample.size());
    const size_t bodyEnd = std::min(sample.find("</body"), sample.size());
    const std::string middle = sample.substr(body, bodyEnd - body);
    return sample.substr(0, body) + repeated(middle, pageBytes - sample.size() + middle.size()) +
           sample.substr(bodyEnd);
}

double medianOf(int rounds, const std::function<void()>& call) {
    return medianTimes(rounds, {call}).front();
}

/// Runs a program and discards its output. Returns false if it can't be run or fails.
bool run(std::vector<std::string> words) {
    std::fflush(stdout);  // otherwise the child writes it again
    std::vector<char*> argv;
    for (std::string& word : words)
        argv.push_back(word.data());
    argv.push_back(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        if (std::freopen("/dev/null", "w", stdout) == nullptr) _exit(126);
        execvp(argv[0], argv.data());
        _exit(127);
    }
    int status = 0;
    return waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

/// Returns a converter's time for the page minus its time for an empty page; 0 if it can't be run.
double converterTime(const std::vector<std::string>& command, const std::string& page,
                     const std::string& empty) {
    const auto with = [&](const std::string& file) {
        std::vector<std::string> words = command;
        words.push_back(file);
        return words;
    };
    if (!run(with(empty))) return 0;
    const double start = medianOf(5, [&] { run(with(empty)); });
    return medianOf(5, [&] { run(with(page)); }) - start;
}

double megabytesPerSecond(size_t bytes, double milliseconds) {
    return static_cast<double>(bytes) / 1048.576 / milliseconds;
}

void compareWithConverters(const std::string& page, double ours) {
    const TemporaryFolder folder;
    const std::string file = joinPath(folder.path, "page.html");
    const std::string empty = joinPath(folder.path, "empty.html");
    writeWholeFile(file, page);
    writeWholeFile(empty, "<html><body></body></html>");
    const std::vector<std::vector<std::string>> converters = {{"lynx", "-dump", "-nolist"}, {"w3m", "-dump"}};
    double fastest = 0;
    for (const auto& command : converters) {
        const double time = converterTime(command, file, empty);
        if (time <= 0) {
            std::printf("  %-12s can't be run here\n", command[0].c_str());
            continue;
        }
        std::printf("  %-12s %8.1f MB/s (without its start)\n", command[0].c_str(),
                    megabytesPerSecond(page.size(), time));
        fastest = fastest == 0 ? time : std::min(fastest, time);
    }
    if (fastest > 0)
        std::printf("  htmlToText is %.0f times as fast as the fastest (target: at least 10)\n",
                    fastest / ours);
}

void compareWorstInputs(double realistic) {
    struct Input {
        const char* name;
        std::string text;
    };
    const Input inputs[] = {
        {"\"&\"", repeated("&")},           {"\"&#1\"", repeated("&#1")},
        {"\"&amp;\"", repeated("&amp;")},   {"\"<\"", repeated("<")},
        {"\"<p>\"", repeated("<p>")},       {"\"</\"", repeated("</")},
        {"\"<b>\"", repeated("<b>")},       {"\"</b>\"", repeated("</b>")},
        {"\"<s>x\"", repeated("<s>x")},     {"\"&&&&&&&&&;\"", repeated("&&&&&&&&&;")},
        {"\"<!--\"", repeated("<!--")},     {"unclosed <script>", "<script>" + repeated("</scrip")},
        {"\"<nav><\"", repeated("<nav><")}, {"\"<nav></nav>\"", repeated("<nav></nav>")},
    };
    const auto show = [&](const char* what, const char* name, size_t bytes, double time) {
        const double ratio = time * static_cast<double>(pageBytes) / static_cast<double>(bytes) / realistic;
        std::printf("  %-16s %-24s %6.2f ms, %4.2f times the realistic page per byte (target: at most 3)\n",
                    what, name, time, ratio);
    };
    for (const Input& input : inputs) {
        show("htmlToText", input.name, input.text.size(),
             medianOf(11, [&] { (void)htmlToText(input.text); }));
    }
    const Input pages[] = {
        {"result markers", repeated("<a class=\"result__a\">t</a>")},
        {"markers without \">\"", repeated("class=\"result__a\" ")},
        {"adverts without snippets", repeated("<a class=\"result__a\" href=\"//duckduckgo.com/y.js\">t</a>")},
        {"empty blocks", repeated("<li class=\"b_algo\">")},
        {"blocks of ampersands", "<li class=\"b_algo\"><h2><a href=\"" + repeated("&amp;") + "\">t</a>"},
    };
    for (const Input& input : pages) {
        show("parseDuckDuckGo", input.name, input.text.size(),
             medianOf(11, [&] { (void)parseDuckDuckGo(input.text); }));
        show("parseBing", input.name, input.text.size(), medianOf(11, [&] { (void)parseBing(input.text); }));
    }
}

}  // namespace

int main() {
    std::string sample;
    if (!readWholeFile(SAMPLE_PAGE, sample)) {
        std::fprintf(stderr, "HtmlToText: the sample page can't be read\n");
        return 1;
    }
    const std::string page = largePage(sample);
    const double ours = medianOf(21, [&] { (void)htmlToText(page); });
    std::printf("HtmlToText: a page of %zu bytes gives %zu bytes of text\n", page.size(),
                htmlToText(page).size());
    std::printf("  %-12s %8.1f MB/s\n", "htmlToText", megabytesPerSecond(page.size(), ours));
    compareWithConverters(page, ours);
    compareWorstInputs(ours);
    return 0;
}
