#pragma once

#include <functional>
#include <string>

/// Picks an archive out of a listing of releases, which is a JSON array, newest first: the download address
/// of the first asset with a wanted name, in the newest release that has one with an address. Unfinished and
/// pre-release versions count like any other. Empty when there is none, also for a body that isn't such an
/// array.
std::string chooseAsset(const std::string& listing,
                        const std::function<bool(const std::string& name)>& isWanted);
