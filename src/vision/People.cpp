#include "vision/People.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <nlohmann/json.hpp>
#include <optional>

#include "foundation/Json.h"
#include "foundation/Text.h"
#include "vision/Embedding.h"

using nlohmann::json;

namespace {

std::optional<std::vector<float>> embeddingOf(const json& numbers) {
    if (!numbers.is_array()) return std::nullopt;
    std::vector<float> embedding;
    embedding.reserve(numbers.size());
    for (const json& number : numbers) {
        if (!number.is_number()) return std::nullopt;
        const auto value = static_cast<float>(number.get<double>());
        if (!std::isfinite(value)) return std::nullopt;  // an infinite value would match everybody
        embedding.push_back(value);
    }
    return embedding;
}

int32_t countOf(const json& element) {
    constexpr double most = std::numeric_limits<int32_t>::max();
    return static_cast<int32_t>(std::clamp(numberAt(element, "count").value_or(0), -most, most));
}

std::optional<Person> personOf(const json& element) {
    Person person;
    person.name = textAt(element, "name");
    person.count = countOf(element);
    for (const json& numbers : arrayAt(element, "embs")) {
        std::optional<std::vector<float>> embedding = embeddingOf(numbers);
        if (!embedding) return std::nullopt;
        person.embs.push_back(std::move(*embedding));
    }
    if (person.name.empty() || person.embs.empty()) return std::nullopt;
    return person;
}

}  // namespace

bool People::fromJson(const std::string& bytes, People& people, size_t& skipped) {
    people.list.clear();
    skipped = 0;
    const json array = parseJson(bytes);
    if (!array.is_array()) return false;
    for (const json& element : array) {
        if (std::optional<Person> person = personOf(element))
            people.list.push_back(std::move(*person));
        else
            ++skipped;
    }
    return true;
}

std::string People::toJson() const {
    json array = json::array();
    for (const Person& person : list)
        array.push_back({{"name", person.name}, {"count", person.count}, {"embs", person.embs}});
    return array.dump(-1, ' ', false, json::error_handler_t::replace);
}

People::Match People::mostLike(const std::vector<float>& embedding) {
    Match best;
    for (Person& person : list) {
        for (const std::vector<float>& known : person.embs) {
            const float likeness = similarity(known, embedding);
            if (likeness > best.similarity) best = {&person, likeness};
        }
    }
    return best;
}

Person* People::find(const std::string& name) {
    const std::string wanted = toLowerAscii(name);
    const auto found = std::find_if(
        list.begin(), list.end(), [&](const Person& person) { return toLowerAscii(person.name) == wanted; });
    return found == list.end() ? nullptr : &*found;
}
