#pragma once

#include <string>
#include <vector>

// The word tests that decide, before the language model is asked, what a question needs: a page, the weather
// or a search. A small model doesn't notice that its knowledge is old.
// Threads: everything here may be called from any thread.

/// Returns the http(s) addresses in the question, at most two, without the punctuation behind them.
std::vector<std::string> linkedUrls(const std::string& question);

/// Returns whether the question is about the weather.
bool asksForWeather(const std::string& question);

/// Returns the place that a weather question names; empty when it names none or the user's own.
std::string weatherPlace(const std::string& question);

/// Returns whether the question is about something current.
bool needsSearch(const std::string& question);

/// Returns what to search for: the question without the wake word and the marks around it, followed by the
/// year unless the question names one.
std::string searchQuery(const std::string& question, int year);

/// Returns the address as activity lines show it: whole up to 60 bytes, else its first 57 and three dots.
std::string shortUrl(const std::string& url);
