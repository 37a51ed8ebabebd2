#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

/// A trained network that takes one tensor of floats and gives some, all of floats.
///
/// Threads: any; one call at a time for each network. What goes wrong is thrown as `std::runtime_error`, with
/// the runtime's own words; the network can be used again after it.
class NeuralNetwork {
public:
    /// Loads the network's file, for the first network the runtime too. Blocks for tens of milliseconds.
    /// Throws when there is no runtime, or the file is none that it knows, or its input isn't one tensor of
    /// floats, or not all outputs are such.
    explicit NeuralNetwork(const std::string& path);
    ~NeuralNetwork();
    NeuralNetwork(NeuralNetwork&&) noexcept;
    NeuralNetwork& operator=(NeuralNetwork&&) noexcept;

    /// The shape of its input, as many numbers as it has dimensions; one that is left open is negative.
    [[nodiscard]] const std::vector<int64_t>& inputShape() const;

    /// The names of its outputs, in its own order.
    [[nodiscard]] const std::vector<std::string>& outputNames() const;

    /// Feeds it a tensor of this shape; `values` must have as many as the shape says. Gives the values of all
    /// outputs, flat, in the order of their names; they are there until the next run. Throws when the shape
    /// isn't one that the network takes.
    [[nodiscard]] const std::vector<std::span<const float>>& run(std::span<const float> values,
                                                                 const std::array<int64_t, 4>& shape);

private:
    struct Parts;
    std::unique_ptr<Parts> parts;
};
