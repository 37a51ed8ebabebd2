#pragma once

#include <gtest/gtest.h>

#include <map>

#include "foundation/Endpoints.h"
#include "foundation/Files.h"
#include "foundation/Paths.h"
#include "support/LoopbackServer.h"

using Lines = std::vector<std::string>;

/// The web's services on one loopback server.
class WebFixture : public testing::Test {
protected:
    Reply answer(const Received& request) {
        if (cancelsOnRequest) cancel = true;
        for (const auto& [path, reply] : answers) {
            if (request.path.rfind(path, 0) == 0) return reply;
        }
        return makeReply(404, "");
    }

    /// The paths of the requests so far.
    Lines paths() const {
        Lines all;
        for (const Received& request : server.requests())
            all.push_back(request.path);
        return all;
    }

    /// The log's lines without their times.
    static Lines logged() {
        std::string bytes;
        Lines lines;
        if (!readWholeFile(joinPath(dataFolder(), "velu.log"), bytes)) return lines;
        for (size_t at = 0, end = 0; (end = bytes.find('\n', at)) != std::string::npos; at = end + 1)
            lines.push_back(bytes.substr(at + 9, end - at - 9));
        return lines;
    }

    /// An address on which nobody listens.
    static std::string nowhere() { return LoopbackServer(std::vector<Reply>{}).url(); }

    static Endpoints allAt(const std::string& url) { return {"", "", url, url, url, url, url}; }

    std::map<std::string, Reply> answers;  ///< by the beginning of the path
    std::atomic<bool> cancel = false;
    std::atomic<bool> cancelsOnRequest = false;
    LoopbackServer server{[this](const Received& request) { return answer(request); }};
    Endpoints endpoints = allAt(server.url());
};
