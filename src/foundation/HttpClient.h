#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "foundation/Callbacks.h"

/// The part of a response that its headers tell.
struct HttpResponseHead {
    int32_t status = 0;
    std::optional<uint64_t> rangeStart;  ///< first byte that a Content-Range names
    std::optional<uint64_t> bodyBytes;   ///< size of the body, when declared; unknown for a compressed one
};

/// One request. Headers are sent in list order.
struct HttpRequest {
    std::string method = "GET";
    std::vector<std::pair<std::string, std::string>> headers;
    std::string body;  ///< empty: none is sent
    int32_t connectTimeoutMs =
        20000;  ///< for name resolution and connect together, and for each wait of the send
    int32_t receiveTimeoutMs = 60000;  ///< for each wait on the response, not for the whole of it
    uint64_t maxBodyBytes = 4194304;   ///< cap on `HttpResponse::body`; no effect when `onData` is set
    CancelFlag* cancel = nullptr;      ///< not owned; see `HttpClient::send`
    bool startsCancelled = true;       ///< whether a flag that is set already lets the request go out

    /// Receives the body chunk by chunk, in place of `HttpResponse::body`. False ends the call.
    std::function<bool(const char* bytes, size_t count)> onData;
    /// Called after every chunk with the bytes done and the bytes in all (0: not declared). On a 206 both
    /// count from the start of the whole resource.
    std::function<void(uint64_t done, uint64_t total)> onProgress;

    uint64_t rangeStart = 0;  ///< not 0: ask for the resource from this byte onward

    /// Called once, before the first chunk of the final response. False ends the call.
    std::function<bool(const HttpResponseHead&)> onHead;
};

struct HttpResponse {
    int32_t status = 0;  ///< 0 when no response came
    std::string body;    ///< decompressed, unless the caller set an Accept-Encoding of its own
    std::string error;   ///< empty when the exchange ran to its end
};

/// Sends HTTP requests. It keeps no state between calls, doesn't retry, doesn't log and throws nothing but
/// what a callback threw.
class HttpClient {
public:
    /// Blocks until the exchange has ended. Redirects are followed; an error status is no error here, and its
    /// body is delivered like any other. Proxies are those of the environment, but none for loopback.
    ///
    /// `error` is one of: "bad url"; "connect failed" (no memory for a connection); "request failed (N)" with
    /// libcurl's number when no response came; "read failed" when the response broke before its first byte;
    /// "cancelled"; "aborted" when a callback returned false. A response that breaks later is no
    /// error: a caller that must have all of it compares its size with the declared length.
    ///
    /// A cancel flag that turns true while the call waits ends it within 100 ms. One that was true from the
    /// start lets the request go out and is first checked when the response's headers have come, unless
    /// `startsCancelled` is false.
    ///
    /// Threads: any, any number at once. The callbacks run on the calling thread, inside the call: for each
    /// chunk `onData` (or the collection), then `onProgress`. Chunks are at most 65536 bytes and follow the
    /// network's own boundaries.
    static HttpResponse send(const std::string& url, const HttpRequest& request);
};
