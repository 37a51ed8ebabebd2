// Takes the place of NeuralNetwork.cpp where ONNX Runtime's header is missing.

#include <stdexcept>

#include "platform/neural_network.h"

// There is never a network, so all but the constructor is there for the linker alone.
struct NeuralNetwork::Parts {
    std::vector<int64_t> inputShape;
    std::vector<std::string> outputNames;
    std::vector<std::span<const float>> values;
};

NeuralNetwork::NeuralNetwork(const std::string&) {
    throw std::runtime_error("built without ONNX Runtime");
}

NeuralNetwork::~NeuralNetwork() = default;
NeuralNetwork::NeuralNetwork(NeuralNetwork&&) noexcept = default;
NeuralNetwork& NeuralNetwork::operator=(NeuralNetwork&&) noexcept = default;

const std::vector<int64_t>& NeuralNetwork::inputShape() const {
    return parts->inputShape;
}

const std::vector<std::string>& NeuralNetwork::outputNames() const {
    return parts->outputNames;
}

const std::vector<std::span<const float>>& NeuralNetwork::run(std::span<const float>,
                                                              const std::array<int64_t, 4>&) {
    return parts->values;
}
