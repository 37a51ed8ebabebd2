// The fuzz targets: one function for each format that comes from outside. FUZZ_TARGET names the one to run.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <nlohmann/json.hpp>
#include <random>
#include <string_view>

#include "assistant/ChatMessage.h"
#include "assistant/Html.h"
#include "assistant/Memory.h"
#include "assistant/Passages.h"
#include "assistant/QuestionWords.h"
#include "assistant/SentenceStream.h"
#include "assistant/Weather.h"
#include "assistant/WebCoding.h"
#include "assistant/WebSearch.h"
#include "brain/ChatStream.h"
#include "engines/ReleaseListing.h"
#include "foundation/Image.h"
#include "foundation/Settings.h"
#include "foundation/Text.h"
#include "hearing/Recording.h"
#include "hearing/Transcription.h"
#include "hearing/WakeWord.h"
#include "platform/linux/recogniser/VoskJson.h"
#include "presence/HeadModel.h"
#include "vision/People.h"
#include "vision/PictureFile.h"

using nlohmann::json;

namespace {

using Texts = std::vector<std::string>;

/// Ends the process when a property that must hold for every input doesn't; the fuzzer then keeps the input.
void require(bool holds, const char* what) {
    if (holds) return;
    std::fprintf(stderr, "violated: %s\n", what);
    std::abort();
}

/// The JSON library refuses to serialise anything but UTF-8.
bool isUtf8(const std::string& text) {
    try {
        (void)json(text).dump();
        return true;
    } catch (const json::type_error&) {
        return false;
    }
}

/// A text cut into pieces at places that depend on the text.
std::vector<std::string_view> cut(std::string_view text) {
    std::minstd_rand random(static_cast<uint32_t>(std::hash<std::string_view>()(text)));
    std::vector<std::string_view> pieces;
    for (; !text.empty(); text.remove_prefix(pieces.back().size()))
        pieces.push_back(text.substr(0, 1 + random() % 64));
    return pieces;
}

void fuzzChatStream(std::string_view bytes) {
    Texts deltas[2];
    ChatStream whole([&](const std::string& delta) { deltas[0].push_back(delta); });
    ChatStream pieces([&](const std::string& delta) { deltas[1].push_back(delta); });
    whole.feed(bytes);
    for (const std::string_view piece : cut(bytes))
        pieces.feed(piece);
    require(deltas[0] == deltas[1] && whole.text == pieces.text, "the cuts don't change the text");
    const json calls = whole.toolCalls();
    require(calls == pieces.toolCalls() && calls.size() <= 64, "the cuts don't change the calls");
    for (const json& call : calls)
        require(call["id"] != "" && call["name"] != "" && call["arguments"].is_object(), "a call is whole");
    const json message = messageWithCalls(whole.text, calls);
    require(json::parse(message.dump()) == message, "the message survives its way to the server");
}

template <typename Vector>
void requireFinite(const Vector& vector) {
    for (int i = 0; i < Vector::length(); ++i)
        require(std::isfinite(vector[i]), "a number is finite");
}

/// An input that doesn't begin like a file is the JSON of one and, behind a zero byte, its binary part: with
/// correct lengths the fuzzer gets deeper.
std::string asModelFile(std::string_view input) {
    if (input.starts_with("glTF")) return std::string(input);
    const auto number = [](size_t value) {
        const auto little = static_cast<uint32_t>(value);
        return std::string(reinterpret_cast<const char*>(&little), sizeof little);
    };
    const auto chunk = [&](std::string_view type, std::string content, char padding) {
        content.resize((content.size() + 3) / 4 * 4, padding);
        return number(content.size()).append(type).append(content);
    };
    const size_t end = std::min(input.find('\0'), input.size());
    std::string chunks = chunk("JSON", std::string(input.substr(0, end)), ' ');
    if (end + 1 < input.size()) chunks += chunk({"BIN", 4}, std::string(input.substr(end + 1)), 0);
    return "glTF" + number(2) + number(12 + chunks.size()) + chunks;
}

void fuzzHeadModel(std::string_view bytes) {
    HeadModel model;
    require(parseHeadModel(asModelFile(bytes), model) == !model.parts.empty(), "a head has parts");
    requireFinite(model.center);
    require(std::isfinite(model.scale) && model.scale > 0, "the head has a size");
    for (const HeadPart& part : model.parts) {
        require(part.nodeIndex >= 0 && part.nodeIndex < std::ssize(model.nodes), "a part has its node");
        require(part.image >= -1 && part.image < std::ssize(model.images), "a part's image exists");
        require(!part.indices.empty() && part.indices.size() % 3 == 0, "a part is made of triangles");
        for (const uint32_t index : part.indices)
            require(index < part.vertices.size(), "every corner exists");
        for (const HeadVertex& vertex : part.vertices)
            requireFinite(vertex.position + vertex.normal);
        requireFinite(part.baseColor);
    }
    for (const HeadNode& node : model.nodes)
        requireFinite(node.world[0] + node.world[1] + node.world[2] + node.world[3]);
    for (const HeadImage& image : model.images)
        require(!image.pixels.empty() && image.pixels.size() == size_t{4} * image.width * image.height,
                "an image is whole");
}

void fuzzHtml(std::string_view bytes) {
    const std::string text = htmlToText(bytes);
    require(text.find("\n\n\n") == std::string::npos, "at most one empty line in a row");
    require(text.empty() || (text.back() != ' ' && text.back() != '\n'), "no white space at the end");
    const std::string input(bytes);
    require(!isUtf8(input) || isUtf8(decodeEntities(input)), "entities of good text give good text");
    const std::string page = repairUtf8(text);
    const size_t budget = bytes.size() / 2;
    const std::string excerpt = selectPassages(page, bytes.substr(0, 64), budget);
    require(isUtf8(excerpt), "an excerpt splits no character");
    require(page.size() <= budget ? excerpt == page : excerpt.size() <= budget + 1, "the budget holds");
}

/// What is loaded from a file can be saved and loaded again without a change.
void requireStable(std::string_view bytes, const std::function<std::string(const std::string&)>& reload) {
    const std::string saved = reload(std::string(bytes));
    require(isUtf8(saved) && reload(saved) == saved, "what was saved loads as the same");
}

void fuzzMemory(std::string_view bytes) {
    requireStable(bytes, [](const std::string& file) { return Memory::fromJson(file).toJson(); });
    Memory memory;
    for (const std::string_view piece : cut(bytes))
        memory.facts.emplace_back(piece);
    const Memory again = Memory::fromJson(memory.toJson());
    require(again.facts.size() == memory.facts.size(), "whatever is remembered can be saved");
}

void fuzzPeople(std::string_view bytes) {
    requireStable(bytes, [](const std::string& file) {
        size_t skipped = 0;
        People people;
        (void)People::fromJson(file, people, skipped);
        for (const Person& person : people.list)
            require(!std::isnan(people.mostLike(person.embs.at(0)).similarity), "a likeness is a number");
        return people.toJson();
    });
}

void fuzzSettings(std::string_view bytes) {
    requireStable(bytes, [](const std::string& file) {
        Settings settings;
        settings.fromJson(file);
        require(settings.modelIndex >= 0 && settings.modelIndex <= 2, "the model is one of three");
        require(json::accept(file) || settings.toJson() == Settings().toJson(),
                "a broken file changes nothing");
        return settings.toJson();
    });
}

void fuzzPicture(std::string_view bytes) {
    int32_t width = 0;
    int32_t height = 0;
    const bool hasSize = readImageSize(bytes, width, height);
    // Unpacking a large one takes longer than the fuzzer waits.
    if (hasSize && int64_t{width} * height > 1 << 16) return;
    PictureFile picture;
    require(picture.decode(bytes) == !picture.pixels.empty(), "there are pixels or nothing");
    require(hasSize || picture.pixels.empty(), "what can be decoded has a size");
    require(picture.pixels.size() == size_t{4} * picture.width * picture.height, "a picture is whole");
}

void fuzzRecogniserJson(std::string_view bytes) {
    (void)heardWakeWord(wordsOfVoskResult(bytes));
    const json result = {{"text", std::string(bytes) + " velu"}};
    const std::string text = result.dump(-1, ' ', false, json::error_handler_t::replace);
    require(heardWakeWord(wordsOfVoskResult(text)), "the name is heard");
}

void fuzzRecording(std::string_view bytes) {
    Recording recording;
    const RecordingError error = readRecording(std::string(bytes), recording);
    require((error == RecordingError::tooShort) == (bytes.size() < 44), "too short is too short");
    Recording again;
    require(readRecording(buildWav(recording.samples), again) == RecordingError::none &&
                again.samples == recording.samples,
            "what was written is read");
}

void fuzzReleaseListing(std::string_view bytes) {
    const auto isWanted = [](const std::string& name) {
        require(isUtf8(name), "a name is UTF-8");
        return name.starts_with("llama-") && name.find("x64") != std::string::npos;
    };
    const std::string url = chooseAsset(std::string(bytes), isWanted);
    require(url.empty() || json::parse(bytes).dump().find(json(url).dump()) != std::string::npos,
            "what is chosen stands in the listing");
}

void fuzzResultPages(std::string_view bytes) {
    std::vector<SearchHit> hits = parseDuckDuckGo(bytes);
    std::vector<SearchHit> more = parseBing(bytes);
    require(hits.size() <= 6 && more.size() <= 6, "a page gives at most six hits");
    mergeHits(hits, std::move(more));
    for (const SearchHit& hit : hits)
        require(isHttpUrl(hit.url) && !hit.title.empty(), "a hit has a title and leads to the web");
    (void)hitsText(hits);
    require(percentDecode(formEncode(bytes)) == bytes, "what is encoded can be decoded");
    (void)percentDecode(bytes);
    (void)base64UrlDecode(bytes);
}

void fuzzText(std::string_view bytes) {
    const std::string text = repairUtf8(std::string(bytes));
    require(isUtf8(text) && text.size() <= 3 * bytes.size(), "repaired text is UTF-8");
    const size_t limit = text.size() / 2;
    const std::string kept = cutUtf8(text, limit);
    require(kept.size() <= limit && kept.size() + 4 > limit && isUtf8(kept), "a cut splits no character");
    require(isUtf8(std::string(cutToUnits(text, limit))), "a cut by units splits no character");
    require(isUtf8(stripEmoji(text)), "symbols are stripped whole");
    Texts sentences[2];
    SentenceStream whole([&](const std::string& sentence) { sentences[0].push_back(sentence); });
    SentenceStream pieces([&](const std::string& sentence) { sentences[1].push_back(sentence); });
    whole.feed(std::string(bytes));
    for (const std::string_view piece : cut(bytes))
        pieces.feed(std::string(piece));
    require(sentences[0] == sentences[1], "the cuts don't change the sentences");
}

void fuzzTranscript(std::string_view bytes) {
    const std::string text = cleanTranscript(std::string(bytes));
    require(isUtf8(text) && trimmed(text) == text, "a sentence is trimmed UTF-8");
    require(cleanTranscript(json({{"text", text}}).dump()) == text, "a clean sentence stays as it is");
    std::string command;
    const bool isNamed = extractCommand(std::string(bytes), command);
    require(isNamed ? bytes.ends_with(command) : command.empty(), "a command is the text's end");
}

/// Values of a wrong type throw, which the caller handles.
void fuzzWeather(std::string_view bytes) {
    const std::string input(bytes);
    (void)weatherPlace(input);
    (void)searchQuery(input, 2026);
    require(linkedUrls(input).size() <= 2, "at most two addresses are read");
    Place found;
    try {
        (void)forecastText(input, "here");
        (void)choosePlace(input, "Dallas, Texas", found);
    } catch (const json::exception&) {
        require(json::accept(input), "only what is JSON has values of a wrong type");
    }
}

struct Target {
    std::string_view name;
    void (*run)(std::string_view bytes);
};
constexpr Target targets[] = {
    {"FuzzChatStream", fuzzChatStream},
    {"FuzzHeadModel", fuzzHeadModel},
    {"FuzzHtml", fuzzHtml},
    {"FuzzMemory", fuzzMemory},
    {"FuzzPeople", fuzzPeople},
    {"FuzzPicture", fuzzPicture},
    {"FuzzRecogniserJson", fuzzRecogniserJson},
    {"FuzzRecording", fuzzRecording},
    {"FuzzReleaseListing", fuzzReleaseListing},
    {"FuzzResultPages", fuzzResultPages},
    {"FuzzSettings", fuzzSettings},
    {"FuzzText", fuzzText},
    {"FuzzTranscript", fuzzTranscript},
    {"FuzzWeather", fuzzWeather},
};
const Target* chosen = nullptr;

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    const char* name = std::getenv("FUZZ_TARGET");
    for (const Target& target : targets) {
        if (name != nullptr && target.name == name) chosen = &target;
    }
    require(chosen != nullptr, "FUZZ_TARGET names a target");
    // What is logged must not fill the disk.
    return setenv("VELU_HOME", "/dev/null/none", 1);
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    chosen->run({reinterpret_cast<const char*>(data), size});
    return 0;
}
