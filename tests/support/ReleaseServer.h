#pragma once

#include <mutex>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "support/LoopbackServer.h"

/// The hosts that an engine is installed from: releases, archives and a model. Threads: any.
class ReleaseServer {
public:
    /// Returns the listing of one release with assets of these names.
    Reply listing(const std::vector<std::string>& names) const {
        auto assets = nlohmann::json::array();
        for (const std::string& name : names)
            assets.push_back({{"name", name}, {"browser_download_url", server.url("/archive/" + name)}});
        return makeReply(200, nlohmann::json::array({{{"assets", assets}}}).dump());
    }

    /// From now on; a cancelled request may still be on its way through the server.
    void serve(const Reply& newListing, const Reply& newArchive) {
        const std::scoped_lock lock(mutex);
        listed = newListing;
        archive = newArchive;
    }
    void serveModel(const LoopbackServer::Handler& newModel) {
        const std::scoped_lock lock(mutex);
        model = newModel;
    }

private:
    std::mutex mutex;
    Reply listed;
    Reply archive;
    LoopbackServer::Handler model = [](const Received& received) {
        return rangeReply(std::string(1 << 20, 'w'), received);
    };

public:
    LoopbackServer server = LoopbackServer([this](const Received& received) {
        const std::scoped_lock lock(mutex);
        if (received.path.rfind("/repos/", 0) == 0) return listed;
        return received.path.rfind("/archive/", 0) == 0 ? archive : model(received);
    });
};

/// Returns a reply that breaks off `missing` bytes before its declared end.
inline Reply cutReply(const std::string& bytes, size_t missing) {
    Reply reply = makeReply(200, bytes);
    reply.declaredLength = bytes.size() + missing;
    reply.cut = true;
    return reply;
}
