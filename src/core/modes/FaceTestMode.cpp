#include "core/modes/FaceTestMode.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <string_view>
#include <utility>

#include "core/modes/RunOutput.h"
#include "vision/Embedding.h"
#include "vision/Eyes.h"
#include "vision/PictureFile.h"

namespace {

/// Adds the words of a text between quotes, or before the first or behind the last, but those that touch one.
void addWords(std::string_view text, bool isBehindQuote, bool isBeforeQuote,
              std::vector<std::string>& paths) {
    size_t begin = 0;
    while (begin < text.size()) {
        const size_t end = std::min(text.find(' ', begin), text.size());
        const bool touches = (isBehindQuote && begin == 0) || (isBeforeQuote && end == text.size());
        if (end > begin && !touches) paths.emplace_back(text.substr(begin, end - begin));
        begin = end + 1;
    }
}

/// A coordinate without its fraction; a network may put a box anywhere.
int32_t whole(float value) {
    constexpr auto most = static_cast<double>(std::numeric_limits<int32_t>::max());
    return static_cast<int32_t>(std::clamp(static_cast<double>(value), -most, most));
}

std::string boxLine(const Face& face) {
    return "  box " + std::to_string(whole(face.x)) + "," + std::to_string(whole(face.y)) + " " +
           std::to_string(whole(face.w)) + "x" + std::to_string(whole(face.h)) + " score " +
           std::to_string(face.score) + "\n";
}

}  // namespace

std::vector<std::string> facePaths(const std::string& arguments) {
    std::vector<std::string> paths;
    const std::string_view text = arguments;
    size_t at = 0;
    while (true) {
        const size_t opening = text.find('"', at);
        const size_t closing = opening == std::string_view::npos ? opening : text.find('"', opening + 1);
        const bool isQuoted = closing != std::string_view::npos;
        addWords(text.substr(at, std::min(opening, text.size()) - at), at > 0, isQuoted, paths);
        if (!isQuoted) return paths;
        paths.emplace_back(text.substr(opening + 1, closing - opening - 1));
        at = closing + 1;
    }
}

std::string faceTestReport(Eyes& eyes, const std::vector<std::string>& paths) {
    std::string report;
    std::vector<std::vector<float>> embeddings;
    for (const std::string& path : paths) {
        PictureFile picture;
        if (!picture.read(path)) {
            report += "[error] cannot decode " + path + "\n";
            continue;
        }
        const std::vector<Face> faces = eyes.detect(picture.view());
        report += path + ": " + std::to_string(picture.width) + "x" + std::to_string(picture.height) + ", " +
                  std::to_string(faces.size()) + " face(s)\n";
        for (const Face& face : faces)
            report += boxLine(face);
        std::vector<float> embedding;
        if (!faces.empty() && eyes.embed(picture.view(), faces[0], embedding))
            embeddings.push_back(std::move(embedding));
    }
    for (size_t i = 0; i + 1 < embeddings.size(); ++i) {
        report += "cosine(" + std::to_string(i) + "," + std::to_string(i + 1) +
                  ") = " + std::to_string(similarity(embeddings[i], embeddings[i + 1])) + "\n";
    }
    return report;
}

int runFaceTestMode(Eyes& eyes, const std::string& models, const std::vector<std::string>& paths) {
    const bool isLoaded = eyes.loadModels(models);
    RunOutput::writeWhole(isLoaded ? faceTestReport(eyes, paths) : "[error] models\n");
    return isLoaded ? 0 : 1;
}
