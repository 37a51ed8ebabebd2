#pragma once

#include <string>
#include <vector>

// The word tests that decide, before the language model is asked, what a question needs: a page, the weather
// or a search. A small model doesn't notice that its knowledge is old. Threads: any.

/// The http(s) addresses in the question, at most two, without the punctuation behind them.
std::vector<std::string> linkedUrls(const std::string& question);

/// Whether the question is about the weather.
bool asksForWeather(const std::string& question);

/// The place that a weather question names; empty when it names none or the user's own.
std::string weatherPlace(const std::string& question);

/// Whether the question is about something current.
bool needsSearch(const std::string& question);

/// What to search for: the question without the wake word and the marks around it, with the year behind it
/// unless it names one.
std::string searchQuery(const std::string& question, int year);

/// An address for an activity line: whole up to 60 bytes, else its beginning and three dots.
std::string shortUrl(const std::string& url);
