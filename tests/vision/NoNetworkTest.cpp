#include <gtest/gtest.h>

#include <stdexcept>

#include "platform/neural_network.h"

namespace {

TEST(NoNetwork, SaysWhyThereIsNone) {
    try {
        const NeuralNetwork network("any.onnx");
        FAIL() << "there is one";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "built without ONNX Runtime");
    }
}

}  // namespace
