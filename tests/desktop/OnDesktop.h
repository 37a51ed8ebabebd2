#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "platform/desktop.h"
#include "support/Soon.h"
#include "support/XDesktop.h"

/// A private desktop with a connection to it.
class OnDesktop : public testing::Test {
protected:
    explicit OnDesktop(XDesktop::Kind kind = XDesktop::Kind::managed) { connect(kind); }

    void connect(XDesktop::Kind kind) {
        desktop.reset();
        display.reset();
        display = std::make_unique<XDesktop>(kind);
        std::string problem;
        desktop = Desktop::connect(problem);
        if (!desktop) throw std::runtime_error(problem);
    }

    /// Returns whether something comes true while the desktop's events are handled.
    template <typename Condition>
    bool eventually(Condition condition) {
        return soon(condition, std::chrono::seconds(40), [this] {
            desktop->processEvents();
            restBriefly();
        });
    }

    void clickAt(int32_t x, int32_t y, const std::string& button = "1") const {
        display->act("mousemove " + std::to_string(x) + " " + std::to_string(y) + " click " + button);
    }

    std::unique_ptr<XDesktop> display;
    std::unique_ptr<Desktop> desktop;
};
