#include "foundation/HttpClient.h"

#include <curl/curl.h>

#include <algorithm>
#include <charconv>
#include <exception>
#include <memory>
#include <string_view>

#include "foundation/Text.h"
#include "foundation/Ticks.h"

namespace {

constexpr const char* userAgent = "Mozilla/5.0 (Windows NT 10.0; Win64; x64) Velu/1.0";
constexpr int cancelSliceMs = 50;  // a cancel is promised within 100 ms
constexpr long bufferBytes = 65536;
constexpr long maxRedirects = 10;
constexpr size_t maxHostLength = 255;
constexpr size_t maxPathLength = 4095;
constexpr size_t maxQueryLength = 4095;

struct EasyCleanup {
    void operator()(CURL* easy) const { curl_easy_cleanup(easy); }
};
struct MultiCleanup {
    void operator()(CURLM* multi) const { curl_multi_cleanup(multi); }
};
struct UrlCleanup {
    void operator()(CURLU* url) const { curl_url_cleanup(url); }
};
struct ListCleanup {
    void operator()(curl_slist* list) const { curl_slist_free_all(list); }
};
using Easy = std::unique_ptr<CURL, EasyCleanup>;
using Multi = std::unique_ptr<CURLM, MultiCleanup>;
using Url = std::unique_ptr<CURLU, UrlCleanup>;
using List = std::unique_ptr<curl_slist, ListCleanup>;

/// Returns the named part of a parsed URL; empty when it has none.
std::string urlPart(CURLU* url, CURLUPart part) {
    char* text = nullptr;
    if (curl_url_get(url, part, &text, 0) != CURLUE_OK) return {};
    std::string result = text;
    curl_free(text);
    return result;
}

/// Returns the parsed URL, or null for anything but a whole http or https URL of allowed length.
Url parseUrl(const std::string& text) {
    Url url(curl_url());
    if (!url || text.find("://") == std::string::npos) return nullptr;
    // Blanks and letters beyond ASCII are escaped, as browsers do; existing escapes stay as they are.
    if (curl_url_set(url.get(), CURLUPART_URL, text.c_str(), CURLU_URLENCODE) != CURLUE_OK) return nullptr;
    const std::string scheme = urlPart(url.get(), CURLUPART_SCHEME);
    if (scheme != "http" && scheme != "https") return nullptr;
    const std::string query = urlPart(url.get(), CURLUPART_QUERY);
    const std::string fragment = urlPart(url.get(), CURLUPART_FRAGMENT);
    const size_t extra =
        (query.empty() ? 0 : 1 + query.size()) + (fragment.empty() ? 0 : 1 + fragment.size());
    if (urlPart(url.get(), CURLUPART_HOST).size() > maxHostLength ||
        urlPart(url.get(), CURLUPART_PATH).size() > maxPathLength || extra > maxQueryLength) {
        return nullptr;
    }
    return url;
}

bool isLoopback(CURLU* url) {
    const std::string host = urlPart(url, CURLUPART_HOST);
    return host == "localhost" || host == "[::1]" || host.rfind("127.", 0) == 0;
}

bool hasHeader(const HttpRequest& request, const std::string& lowerName) {
    return std::any_of(request.headers.begin(), request.headers.end(),
                       [&](const auto& header) { return toLowerAscii(header.first) == lowerName; });
}

List headerList(const HttpRequest& request) {
    List list;
    const auto append = [&](const std::string& line) {
        if (curl_slist* longer = curl_slist_append(list.get(), line.c_str())) {
            (void)list.release();
            list.reset(longer);
        }
    };
    for (const auto& [name, value] : request.headers) {
        std::string line = name;
        line += value.empty() ? ";" : ": ";
        append(line += value);
    }
    if (!hasHeader(request, "accept")) append("Accept: */*");
    if (request.rangeStart != 0) append("Range: bytes=" + std::to_string(request.rangeStart) + "-");
    // Two headers that the library would add by itself.
    if (!hasHeader(request, "content-type")) append("Content-Type:");
    if (!hasHeader(request, "expect")) append("Expect:");
    return list;
}

/// Returns the first byte: 100 for "bytes 100-199/200".
std::optional<uint64_t> contentRangeStart(std::string_view value) {
    const size_t digits = value.find_first_of("0123456789");
    if (digits == std::string_view::npos) return std::nullopt;
    uint64_t start = 0;
    const auto parsed = std::from_chars(value.data() + digits, value.data() + value.size(), start);
    return parsed.ec == std::errc() ? std::optional(start) : std::nullopt;
}

/// One call of `HttpClient::send`: the response so far, and the reason for its end.
class Exchange {
public:
    explicit Exchange(const HttpRequest& theRequest)
        : request(theRequest),
          cancelledBefore(theRequest.startsCancelled && theRequest.cancel != nullptr && *theRequest.cancel) {}

    HttpResponse run(CURLU* url);

private:
    /// Runs a callback for the library. No exception may cross it, so the exception is kept for the caller.
    template <typename Call>
    bool guarded(Call call) {
        try {
            return call();
        } catch (...) {
            thrown = std::current_exception();
            return false;
        }
    }

    void configure(CURLU* url, curl_slist* headers);
    void perform();
    void finish(CURLcode result);
    bool onHeader(std::string_view line);
    bool onBody(const char* bytes, size_t count);

    [[nodiscard]] bool isCancelled() const { return request.cancel != nullptr && *request.cancel; }

    /// Returns whether to give up now. A flag that was set before the call counts only after the headers.
    [[nodiscard]] bool mustStop() const { return isCancelled() && (!cancelledBefore || headComplete); }

    /// Returns how long the current wait may last.
    [[nodiscard]] uint64_t waitLimit() const {
        const int32_t limit = requestSent ? request.receiveTimeoutMs : request.connectTimeoutMs;
        return static_cast<uint64_t>(std::max(limit, 0));
    }

    void noteProgress() { lastProgress = tickCount(); }

    const HttpRequest& request;
    const bool cancelledBefore;
    Easy easy;
    HttpResponse response;
    HttpResponseHead head;
    uint64_t done = 0;
    uint64_t total = 0;
    uint64_t lastProgress = 0;
    curl_off_t sentBytes = 0;
    bool requestSent = false;
    bool headIsRedirect = false;
    bool headIsPacked = false;
    bool headComplete = false;
    bool aborted = false;
    std::exception_ptr thrown;
};

bool Exchange::onHeader(std::string_view line) {
    noteProgress();
    requestSent = true;
    if (line.rfind("HTTP/", 0) == 0) {
        head = {};
        headIsRedirect = false;
        headIsPacked = false;
        const size_t blank = line.find(' ');
        if (blank != std::string_view::npos) {
            std::from_chars(line.data() + blank + 1, line.data() + line.size(), head.status);
        }
        return true;
    }
    if (const size_t colon = line.find(':'); colon != std::string_view::npos) {
        const std::string name = toLowerAscii(std::string(line.substr(0, colon)));
        const std::string_view value = trimmed(line.substr(colon + 1));
        // Without a target there is nothing to follow.
        if (name == "location") headIsRedirect = !value.empty() && head.status >= 300 && head.status < 400;
        if (name == "content-encoding") headIsPacked = toLowerAscii(std::string(value)) != "identity";
        if (name == "content-range") head.rangeStart = contentRangeStart(value);
        return true;
    }
    // The empty line. Interim responses and redirects that are followed don't count.
    if (head.status < 200 || headIsRedirect || headComplete) return true;
    headComplete = true;
    response.status = head.status;
    curl_off_t length = -1;
    curl_easy_getinfo(easy.get(), CURLINFO_CONTENT_LENGTH_DOWNLOAD_T, &length);
    const bool partial = head.status == 206;
    done = partial ? request.rangeStart : 0;
    total = length < 0 ? 0 : static_cast<uint64_t>(length) + done;
    if (length >= 0 && !headIsPacked) head.bodyBytes = static_cast<uint64_t>(length);
    if (mustStop()) return false;
    if (request.onHead && !request.onHead(head)) aborted = true;
    noteProgress();  // what a callback takes is no wait on the server
    return !aborted;
}

bool Exchange::onBody(const char* bytes, size_t count) {
    noteProgress();
    if (mustStop()) return false;
    if (request.onData) {
        if (!request.onData(bytes, count)) {
            aborted = true;
            return false;
        }
    } else if (response.body.size() < request.maxBodyBytes) {
        response.body.append(bytes, count);
    }
    done += count;
    if (request.onProgress) request.onProgress(done, total);
    noteProgress();  // what a callback takes is no wait on the server
    return true;
}

void Exchange::configure(CURLU* url, curl_slist* headers) {
    CURL* handle = easy.get();
    curl_easy_setopt(handle, CURLOPT_CURLU, url);
    curl_easy_setopt(handle, CURLOPT_USERAGENT, userAgent);
    curl_easy_setopt(handle, CURLOPT_HTTPHEADER, headers);
    curl_easy_setopt(handle, CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
    curl_easy_setopt(handle, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(handle, CURLOPT_BUFFERSIZE, bufferBytes);
    curl_easy_setopt(handle, CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(request.connectTimeoutMs));
    // Otherwise a cancel would wait for the name resolver's thread.
    curl_easy_setopt(handle, CURLOPT_QUICK_EXIT, 1L);
    curl_easy_setopt(handle, CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(handle, CURLOPT_REDIR_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(handle, CURLOPT_FOLLOWLOCATION, 1L);
    curl_easy_setopt(handle, CURLOPT_MAXREDIRS, maxRedirects);
    curl_easy_setopt(handle, CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L);
    // A proxy can't reach our own loopback servers, and must not see our requests to them.
    if (isLoopback(url)) curl_easy_setopt(handle, CURLOPT_PROXY, "");
    if (!hasHeader(request, "accept-encoding"))
        curl_easy_setopt(handle, CURLOPT_ACCEPT_ENCODING, "gzip, deflate");

    if (!request.body.empty() || request.method == "POST") {
        curl_easy_setopt(handle, CURLOPT_POSTFIELDS, request.body.data());
        curl_easy_setopt(handle, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(request.body.size()));
    }
    if (request.method == "HEAD") curl_easy_setopt(handle, CURLOPT_NOBODY, 1L);
    // The library knows by itself what a GET and a POST become behind a redirect; another verb would be
    // forced.
    const char* known = request.body.empty() ? "GET" : "POST";
    if (request.method != known && request.method != "POST") {
        curl_easy_setopt(handle, CURLOPT_CUSTOMREQUEST, request.method.c_str());
    }

    curl_easy_setopt(handle, CURLOPT_HEADERDATA, this);
    curl_easy_setopt(
        handle, CURLOPT_HEADERFUNCTION, +[](char* bytes, size_t, size_t count, void* self) -> size_t {
            auto* exchange = static_cast<Exchange*>(self);
            const std::string_view line = trimmed({bytes, count}, "\r\n");
            return exchange->guarded([&] { return exchange->onHeader(line); }) ? count : 0;
        });
    curl_easy_setopt(handle, CURLOPT_WRITEDATA, this);
    curl_easy_setopt(
        handle, CURLOPT_WRITEFUNCTION, +[](char* bytes, size_t, size_t count, void* self) -> size_t {
            auto* exchange = static_cast<Exchange*>(self);
            return exchange->guarded([&] { return exchange->onBody(bytes, count); }) ? count
                                                                                     : CURL_WRITEFUNC_ERROR;
        });
    // Only this callback tells how much was sent, which decides which time-out applies.
    curl_easy_setopt(handle, CURLOPT_NOPROGRESS, 0L);
    curl_easy_setopt(handle, CURLOPT_XFERINFODATA, this);
    curl_easy_setopt(
        handle, CURLOPT_XFERINFOFUNCTION,
        +[](void* self, curl_off_t, curl_off_t, curl_off_t, curl_off_t sent) -> int {
            auto* exchange = static_cast<Exchange*>(self);
            if (sent > exchange->sentBytes) {
                exchange->sentBytes = sent;
                exchange->noteProgress();
            }
            return 0;
        });
}

void Exchange::finish(CURLcode result) {
    if (aborted) {
        response.error = "aborted";
    } else if (mustStop()) {
        response.error = "cancelled";
    } else if (result != CURLE_OK && !headComplete) {
        response.error = "request failed (" + std::to_string(result) + ")";
    } else if (result != CURLE_OK && done == 0) {
        response.error = "read failed";
    }
}

void Exchange::perform() {
    const Multi multi(curl_multi_init());
    if (!multi || curl_multi_add_handle(multi.get(), easy.get()) != CURLM_OK) {
        response.error = "connect failed";
        return;
    }
    noteProgress();
    CURLcode result = CURLE_OK;
    for (int running = 1; running != 0;) {
        const CURLMcode code = curl_multi_perform(multi.get(), &running);
        if (code != CURLM_OK) {
            result = CURLE_FAILED_INIT;
            break;
        }
        if (running == 0) {
            int queued = 0;
            const CURLMsg* message = curl_multi_info_read(multi.get(), &queued);
            if (message != nullptr && message->msg == CURLMSG_DONE) result = message->data.result;
            break;
        }
        if (mustStop()) break;
        if (!requestSent) {
            // The library logs this when it begins to wait for the response.
            curl_off_t sent = 0;
            curl_easy_getinfo(easy.get(), CURLINFO_PRETRANSFER_TIME_T, &sent);
            const bool connected = sent > 0;
            if (connected && sentBytes >= static_cast<curl_off_t>(request.body.size())) {
                requestSent = true;
                noteProgress();
            }
        }
        const uint64_t waited = tickCount() - lastProgress;
        if (waited >= waitLimit()) {
            result = CURLE_OPERATION_TIMEDOUT;
            break;
        }
        const uint64_t left = std::min<uint64_t>(waitLimit() - waited, 1000);
        const int slice = request.cancel != nullptr ? cancelSliceMs : 1000;
        curl_multi_poll(multi.get(), nullptr, 0, std::min(static_cast<int>(left), slice), nullptr);
    }
    curl_multi_remove_handle(multi.get(), easy.get());
    finish(result);
}

HttpResponse Exchange::run(CURLU* url) {
    easy.reset(curl_easy_init());
    if (!easy) return {0, {}, "connect failed"};
    const List headers = headerList(request);
    configure(url, headers.get());
    perform();
    easy.reset();
    if (thrown) std::rethrow_exception(thrown);
    return std::move(response);
}

}  // namespace

HttpResponse HttpClient::send(const std::string& url, const HttpRequest& request) {
    // The library's initialisation isn't thread-safe.
    static const bool started = curl_global_init(CURL_GLOBAL_DEFAULT) == CURLE_OK;
    if (!started) return {0, {}, "connect failed"};
    const Url parsed = parseUrl(url);
    if (!parsed) return {0, {}, "bad url"};
    return Exchange(request).run(parsed.get());
}
