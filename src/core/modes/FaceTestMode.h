#pragma once

#include <string>
#include <vector>

class Eyes;

/// Returns the paths of the pictures behind `--facetest`: texts in double quotes, and single words, because a
/// shell removes the quotes around paths without blanks. A word that touches a quoted path isn't a path. A
/// quote that isn't closed ends the list.
std::vector<std::string> facePaths(const std::string& arguments);

/// Returns what the eyes find in the pictures: the faces in each, then how alike the first faces of each two
/// neighbours are. The eyes must have their models.
std::string faceTestReport(Eyes& eyes, const std::vector<std::string>& paths);

/// The run mode `--facetest`, with the models in the folder `models`. Returns the exit code: 1 when they
/// can't be loaded.
int runFaceTestMode(Eyes& eyes, const std::string& models, const std::vector<std::string>& paths);
