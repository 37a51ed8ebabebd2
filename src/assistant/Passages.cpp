#include "assistant/Passages.h"

#include <algorithm>
#include <numeric>
#include <unordered_map>
#include <vector>

#include "foundation/Text.h"

namespace {

constexpr size_t longestLine = 600;
constexpr size_t shortestLine = 26;
constexpr size_t shortestKeyword = 4;
constexpr size_t leadingLines = 3;  // they tell what the page is about

/// The words of a question, indexed for a search in many lines. A repeated word counts each time.
class Keywords {
public:
    explicit Keywords(std::string_view question) {
        std::string word;
        const auto endWord = [&] {
            if (word.size() >= shortestKeyword) add(word);
            word.clear();
        };
        for (const char c : toLowerAscii(std::string(question))) {
            if ((c >= 'a' && c <= 'z') || (c >= '0' && c <= '9')) {
                word += c;
            } else {
                endWord();
            }
        }
        endWord();
    }

    /// Returns how many of the words the line, in lower case, holds anywhere.
    int countIn(const std::string& line) {
        ++lineNumber;
        int count = 0;
        // By their first letters, so that a long question doesn't cost a search of the line for each of its
        // words.
        for (size_t at = 0; at + shortestKeyword <= line.size(); ++at) {
            const auto candidates = byBeginning.find(line.substr(at, shortestKeyword));
            if (candidates == byBeginning.end()) continue;
            for (Keyword* keyword : candidates->second) {
                const bool isKnown = keyword->lastLine == lineNumber;
                if (isKnown || line.compare(at, keyword->word.size(), keyword->word) != 0) continue;
                keyword->lastLine = lineNumber;
                count += keyword->times;
            }
        }
        return count;
    }

private:
    struct Keyword {
        std::string word;
        int times = 0;
        size_t lastLine = 0;  ///< number of the last line that holds it
    };

    void add(const std::string& word) {
        const auto [entry, isNew] = words.try_emplace(word, Keyword{word});
        ++entry->second.times;
        if (isNew) byBeginning[word.substr(0, shortestKeyword)].push_back(&entry->second);
    }

    std::unordered_map<std::string, Keyword> words;
    std::unordered_map<std::string, std::vector<Keyword*>> byBeginning;
    size_t lineNumber = 0;
};

struct Line {
    std::string text;
    int score = 0;
    bool taken = false;
};

std::vector<Line> usefulLines(const std::string& text) {
    std::vector<Line> lines;
    for (size_t at = 0; at <= text.size();) {
        const size_t end = std::min(text.find('\n', at), text.size());
        if (end - at >= shortestLine) {
            std::string line = cutUtf8(text.substr(at, std::min(end - at, longestLine + 1)), longestLine);
            lines.push_back({std::move(line)});
        }
        at = end + 1;
    }
    return lines;
}

}  // namespace

std::string selectPassages(const std::string& text, std::string_view question, size_t budget) {
    if (text.size() <= budget) return text;
    Keywords keywords(question);
    std::vector<Line> lines = usefulLines(text);
    for (size_t i = 0; i < lines.size(); ++i) {
        lines[i].score = 2 * keywords.countIn(toLowerAscii(lines[i].text));
        if (i < leadingLines) ++lines[i].score;
    }

    std::vector<size_t> order(lines.size());
    std::iota(order.begin(), order.end(), 0);
    std::stable_sort(order.begin(), order.end(),
                     [&](size_t a, size_t b) { return lines[a].score > lines[b].score; });
    size_t used = 0;
    for (const size_t i : order) {
        const size_t length = lines[i].text.size();
        if (length + used > budget) continue;  // a shorter one further down may still fit
        lines[i].taken = true;
        used += length + 1;
    }
    std::string chosen;
    for (const Line& line : lines) {
        if (line.taken) chosen += line.text + "\n";
    }
    return chosen;
}
