#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

/// A person whose face is known.
struct Person {
    std::string name;                      ///< as the user gave it
    std::vector<std::vector<float>> embs;  ///< embeddings of the face, of unit length, the oldest first
    uint64_t lastGreetTick = 0;            ///< of `tickCount`; 0: not since the program started
    int32_t count = 0;                     ///< unused; kept in the file
};

/// The known people, in the order in which they were introduced.
///
/// Threads: one at a time.
class People {
public:
    static constexpr size_t mostEmbeddings = 8;  ///< of one person

    /// Reads the output of `toJson`. Invalid entries are left out and counted in `skipped`. Returns false,
    /// with an empty list, when `bytes` isn't a JSON array.
    [[nodiscard]] static bool fromJson(const std::string& bytes, People& people, size_t& skipped);

    [[nodiscard]] std::string toJson() const;

    /// The person with the most similar stored embedding, and its cosine. Null and -1 when there is no
    /// embedding of the same size.
    struct Match {
        Person* person = nullptr;
        float similarity = -1;
    };
    [[nodiscard]] Match mostLike(const std::vector<float>& embedding);

    /// Returns the person of this name, or null. The case of ASCII letters doesn't matter.
    [[nodiscard]] Person* find(const std::string& name);

    std::vector<Person> list;
};
