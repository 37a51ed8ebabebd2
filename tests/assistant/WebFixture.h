#pragma once

#include <gtest/gtest.h>

#include <map>
#include <nlohmann/json.hpp>

#include "foundation/Endpoints.h"
#include "foundation/Files.h"
#include "foundation/Paths.h"
#include "support/LoopbackServer.h"
#include "support/TestData.h"

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

    /// Runs the rows of a table of web-cases.json: the services' answers, which one is down, the result of
    /// `call`, the requested paths and the logged lines. A text that is a file's name stands for that file.
    template <typename Call>
    void expectCases(const char* table, Call call) {
        const auto whole = [](const std::string& text) {
            const bool isFile =
                text.find('.') != std::string::npos && text.find_first_of(" <{\"") == std::string::npos;
            return isFile ? readTestData(text) : text;
        };
        const std::map<std::string, std::string Endpoints::*> services = {
            {"duckDuckGo", &Endpoints::duckDuckGo},
            {"bing", &Endpoints::bing},
            {"geocoding", &Endpoints::geocoding},
            {"forecast", &Endpoints::forecast},
            {"ipLocation", &Endpoints::ipLocation}};
        const auto cases = nlohmann::json::parse(readTestData("web-cases.json"));
        for (const auto& row : cases.at(table)) {
            SCOPED_TRACE(row.dump());
            for (const auto& [path, reply] : row["answers"].items())
                answers[path] = makeReply(reply[0], whole(reply[1]));
            endpoints = allAt(server.url());
            if (row["down"] != "") endpoints.*services.at(row["down"]) = nowhere();
            const auto requested = static_cast<std::ptrdiff_t>(paths().size());
            const auto written = static_cast<std::ptrdiff_t>(logged().size());
            EXPECT_EQ(call(row), whole(row["result"]));
            const Lines allPaths = paths();
            const Lines log = logged();
            EXPECT_EQ(Lines(allPaths.begin() + requested, allPaths.end()), row["paths"]);
            EXPECT_EQ(Lines(log.begin() + written, log.end()), row["log"]);
        }
    }

    std::map<std::string, Reply> answers;  ///< by the beginning of the path
    std::atomic<bool> cancel = false;
    std::atomic<bool> cancelsOnRequest = false;
    LoopbackServer server{[this](const Received& request) { return answer(request); }};
    Endpoints endpoints = allAt(server.url());
};
