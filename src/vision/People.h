#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

/// Someone whose face is known.
struct Person {
    std::string name;                      ///< as the user gave it
    std::vector<std::vector<float>> embs;  ///< embeddings of the face, of unit length, the oldest first
    uint64_t lastGreetTick = 0;            ///< of `tickCount`; 0: not since the program started
    int32_t count = 0;                     ///< kept for the file's sake
};

/// Those who are known, in the order in which they were introduced.
/// Threads: one at a time.
class People {
public:
    static constexpr size_t mostEmbeddings = 8;  ///< of one person

    /// Reads what `toJson` has written. Whatever isn't a person is left out and counted in `skipped`. False,
    /// with nobody, when it isn't a list at all.
    [[nodiscard]] static bool fromJson(const std::string& bytes, People& people, size_t& skipped);

    [[nodiscard]] std::string toJson() const;

    /// The person whose stored embedding is most like this one, and how much that is: a cosine. Null, with
    /// -1, when none can be compared.
    struct Match {
        Person* person = nullptr;
        float similarity = -1;
    };
    [[nodiscard]] Match mostLike(const std::vector<float>& embedding);

    /// The person of this name, whatever the case of its ASCII letters. Null when there is none.
    [[nodiscard]] Person* find(const std::string& name);

    std::vector<Person> list;
};
