#pragma once

#include <string>
#include <vector>

class Eyes;

/// The pictures that are named behind `--facetest`: what stands between double quotes, and words by
/// themselves, for a shell has taken the quotes away from those without blanks. What touches a quoted path is
/// no word by itself. A quote that isn't closed ends it.
std::vector<std::string> facePaths(const std::string& arguments);

/// What the eyes, which have their models, find in the pictures: each one's faces, then how alike the first
/// faces of neighbours are.
std::string faceTestReport(Eyes& eyes, const std::vector<std::string>& paths);

/// The run mode `--facetest`, with the models of this folder. Returns the exit code: 1 when they can't be
/// loaded.
int runFaceTestMode(Eyes& eyes, const std::string& models, const std::vector<std::string>& paths);
