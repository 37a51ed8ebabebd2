#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>

#include "platform/desktop.h"
#include "support/Soon.h"
#include "support/XDesktop.h"

/// A private desktop with a connection to it.
class OnDesktop : public testing::Test {
protected:
    OnDesktop() {
        std::string problem;
        desktop = Desktop::connect(problem);
        if (!desktop) throw std::runtime_error(problem);
    }

    /// Returns whether something comes true while the desktop's events are handled.
    template <typename Condition>
    bool eventually(Condition condition) {
        return soon(condition, std::chrono::seconds(40), [this] { desktop->processEvents(), restBriefly(); });
    }

    void clickAt(int32_t x, int32_t y, const std::string& button = "1") const {
        display->act("mousemove " + std::to_string(x) + " " + std::to_string(y) + " click " + button);
    }

    std::unique_ptr<XDesktop> display = std::make_unique<XDesktop>(XDesktop::Kind::managed);
    std::unique_ptr<Desktop> desktop;
};
