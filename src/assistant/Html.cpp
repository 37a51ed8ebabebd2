#include "assistant/Html.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>

namespace {

constexpr size_t npos = std::string_view::npos;

bool isAlphanumeric(char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

char lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
}

/// Returns whether `text` begins with `prefix`, ignoring case. `prefix` is in lower case.
bool startsWith(std::string_view text, std::string_view prefix) {
    return text.size() >= prefix.size() && lower(text.front()) == prefix.front() &&
           std::equal(prefix.begin(), prefix.end(), text.begin(),
                      [](char a, char b) { return a == lower(b); });
}

// These elements never hold the page's content.
constexpr std::string_view droppedElements[] = {"script", "style",  "noscript", "svg",
                                                "nav",    "footer", "header",   "form"};

/// Returns the name of the dropped element that begins at this "<"; empty when none does.
std::string_view droppedElementAt(std::string_view tag) {
    tag.remove_prefix(1);
    const char first = tag.empty() ? '\0' : lower(tag.front());
    // Most tags are told apart by their first letter.
    if (first != 's' && first != 'n' && first != 'f' && first != 'h') return {};
    for (const std::string_view name : droppedElements) {
        if (startsWith(tag, name) && tag.size() > name.size() && !isAlphanumeric(tag[name.size()]))
            return name;
    }
    return {};
}

/// Returns the position after the next ">" from `at`, or the end.
size_t behindTag(std::string_view html, size_t at) {
    const size_t end = html.find('>', at);
    return end == npos ? html.size() : end + 1;
}

/// Returns the position after the element's first closing tag, or the end. Nesting is ignored.
size_t behindElement(std::string_view html, size_t at, std::string_view name) {
    for (at = html.find('<', at + 1); at != npos; at = html.find('<', at + 1)) {
        const std::string_view tag = html.substr(at + 1);
        if (!tag.empty() && tag.front() == '/' && startsWith(tag.substr(1), name)) {
            return behindTag(html, at);
        }
    }
    return html.size();
}

/// Returns whether the tag that begins at this "<" ends a line: p, br, div, li, tr, h and more, and the
/// closing ones of p, div and h. A prefix is enough.
bool isBlockTag(std::string_view tag) {
    tag.remove_prefix(1);
    const bool closes = !tag.empty() && tag.front() == '/';
    if (closes) tag.remove_prefix(1);
    if (tag.empty()) return false;
    switch (lower(tag.front())) {
        case 'p':
        case 'h':
            return true;
        case 'd':
            return startsWith(tag, "div");
        case 'b':
            return !closes && startsWith(tag, "br");
        case 'l':
            return !closes && startsWith(tag, "li");
        case 't':
            return !closes && startsWith(tag, "tr");
        default:
            return false;
    }
}

std::string withoutTags(std::string_view html) {
    std::string out;
    out.reserve(html.size() / 3);
    for (size_t at = 0; at < html.size();) {
        const size_t tagAt = std::min(html.find('<', at), html.size());
        out.append(html, at, tagAt - at);
        if (tagAt == html.size()) break;
        const std::string_view tag = html.substr(tagAt);
        if (const std::string_view name = droppedElementAt(tag); !name.empty()) {
            at = behindElement(html, tagAt, name);
        } else if (tag.substr(0, 4) == "<!--") {
            const size_t end = html.find("-->", tagAt);
            if (end == npos) break;
            at = end + 3;
        } else {
            const bool block = isBlockTag(tag);
            if (!out.empty() && out.back() != '\n' && (block || out.back() != ' ')) out += block ? '\n' : ' ';
            at = behindTag(html, tagAt);
        }
    }
    return out;
}

std::string tidied(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    size_t newlines = 0;
    bool pendingSpace = false;
    for (const char c : text) {
        if (c == '\n') {
            ++newlines;
            pendingSpace = false;
        } else if (c == ' ' || c == '\t' || c == '\r') {
            pendingSpace = true;
        } else {
            if (newlines > 0) {
                if (!out.empty()) out.append(std::min<size_t>(newlines, 2), '\n');
            } else if (pendingSpace) {
                out += ' ';
            }
            newlines = 0;
            pendingSpace = false;
            out += c;
        }
    }
    return out;
}

struct NamedEntity {
    std::string_view name;
    std::string_view text;
};

constexpr NamedEntity namedEntities[] = {
    {"amp", "&"},
    {"lt", "<"},
    {"gt", ">"},
    {"quot", "\""},
    {"apos", "'"},
    {"nbsp", " "},
    {"mdash", "\xE2\x80\x94"},
    {"ndash", "\xE2\x80\x93"},
    {"hellip", "\xE2\x80\xA6"},
};

void appendUtf8(std::string& out, uint64_t code) {
    const auto tail = [&](int shift) { return static_cast<char>(0x80 | ((code >> shift) & 0x3F)); };
    if (code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF)) {
        out += "\xEF\xBF\xBD";
    } else if (code < 0x80) {
        out += static_cast<char>(code);
    } else if (code < 0x800) {
        out += {static_cast<char>(0xC0 | (code >> 6)), tail(0)};
    } else if (code < 0x10000) {
        out += {static_cast<char>(0xE0 | (code >> 12)), tail(6), tail(0)};
    } else {
        out += {static_cast<char>(0xF0 | (code >> 18)), tail(12), tail(6), tail(0)};
    }
}

/// Returns whether a reference may begin with this character after its "&".
bool beginsReference(char c) {
    if (c < 'a' || c > 'z') return c == '#';
    return std::any_of(std::begin(namedEntities), std::end(namedEntities),
                       [c](const NamedEntity& entity) { return entity.name.front() == c; });
}

/// Appends the meaning of the reference with this name. Returns false and appends nothing for an unknown one.
bool appendMeaning(std::string& out, std::string_view name) {
    if (name.empty()) return false;
    if (name.front() != '#') {
        for (const NamedEntity& entity : namedEntities) {
            if (entity.name.front() != name.front() || entity.name != name) continue;
            out += entity.text;
            return true;
        }
        return false;
    }
    name.remove_prefix(1);
    const bool hexadecimal = !name.empty() && lower(name.front()) == 'x';
    if (hexadecimal) name.remove_prefix(1);
    // What follows the digits is ignored.
    const uint64_t code = std::strtoul(std::string(name).c_str(), nullptr, hexadecimal ? 16 : 10);
    if (code == 0) return false;
    appendUtf8(out, code);
    return true;
}

}  // namespace

std::string decodeEntities(std::string_view text) {
    constexpr size_t longestReference = 10;  // bytes from the "&" to its ";"
    std::string out;
    out.reserve(text.size());
    size_t copied = 0;     // everything before this is in `out`
    size_t semicolon = 0;  // the next one after `at`; searched only once
    for (size_t at = 0; (at = text.find('&', at)) != npos;) {
        if (semicolon <= at) semicolon = text.find(';', at);
        if (semicolon == npos) break;
        if (semicolon - at > longestReference) {
            at = semicolon - longestReference;  // no "&" before that is near enough
            continue;
        }
        ++at;
        if (!beginsReference(text[at])) continue;
        out.append(text, copied, at - 1 - copied);
        copied = at - 1;
        if (appendMeaning(out, text.substr(at, semicolon - at))) copied = at = semicolon + 1;
    }
    out.append(text.substr(copied));
    return out;
}

std::string htmlToText(std::string_view html) {
    return tidied(decodeEntities(withoutTags(html)));
}

bool isHttpUrl(std::string_view text) {
    return text.substr(0, 7) == "http://" || text.substr(0, 8) == "https://";
}
