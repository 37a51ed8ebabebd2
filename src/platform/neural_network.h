#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

/// A trained network that takes one tensor of floats and returns one or more tensors of floats. Failures are
/// thrown as `std::runtime_error` with the runtime's message; the network can be used again afterwards.
///
/// Threads: any; one call at a time for each network.
class NeuralNetwork {
public:
    /// Loads the network's file, and with the first network the runtime. Throws when there is no runtime,
    /// when it can't read the file, or when input and outputs aren't tensors of floats. Blocks for tens of
    /// milliseconds.
    explicit NeuralNetwork(const std::string& path);
    ~NeuralNetwork();
    NeuralNetwork(NeuralNetwork&&) noexcept;
    NeuralNetwork& operator=(NeuralNetwork&&) noexcept;

    /// Returns the shape of the input, one number for each dimension; a dimension of any size is negative.
    [[nodiscard]] const std::vector<int64_t>& inputShape() const;

    /// Returns the names of the outputs, in the network's order.
    [[nodiscard]] const std::vector<std::string>& outputNames() const;

    /// Runs the network on a tensor of this shape; `values` must have as many numbers as the shape says.
    /// Returns the values of each output, flat, in the order of `outputNames`; they are valid until the next
    /// run. Throws when the network doesn't take the shape.
    [[nodiscard]] const std::vector<std::span<const float>>& run(std::span<const float> values,
                                                                 const std::array<int64_t, 4>& shape);

private:
    struct Parts;
    std::unique_ptr<Parts> parts;
};
