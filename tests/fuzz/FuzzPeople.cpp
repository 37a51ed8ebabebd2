// The people file: whoever is read from it can be saved and read again without a change, and can be compared
// with a face.

#include "vision/People.h"

#include <cmath>

#include "fuzz/Require.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    size_t skipped = 0;
    People people;
    (void)People::fromJson(std::string(reinterpret_cast<const char*>(data), size), people, skipped);
    const std::string saved = people.toJson();
    require(isUtf8(saved), "what is saved is UTF-8");
    People again;
    require(
        People::fromJson(saved, again, skipped) && skipped == 0 && again.list.size() == people.list.size(),
        "nobody is lost");
    require(again.toJson() == saved, "what was saved loads as the same");
    for (const Person& person : people.list) {
        require(!person.name.empty() && !person.embs.empty(), "a person has a name and a face");
        require(people.find(person.name) != nullptr, "a person is found by name");
        const People::Match match = people.mostLike(person.embs.front());
        require(!std::isnan(match.similarity), "a likeness is a number");
    }
    return 0;
}
