#pragma once

#include <string>
#include <vector>

class FaceDetector;
class FaceEmbedder;

/// The pictures that are named behind `--facetest`: what stands between double quotes, and words by
/// themselves, for a shell has taken the quotes away from those without blanks. What touches a quoted path is
/// no word by itself. A quote that isn't closed ends it.
std::vector<std::string> facePaths(const std::string& arguments);

/// What the eyes find in the pictures: each one's faces, then how alike the first faces of neighbours are.
std::string faceTestReport(FaceDetector& detector, FaceEmbedder& embedder,
                           const std::vector<std::string>& paths);

/// The run mode `--facetest`, with the networks in the folder `models`. Returns the exit code: 1 when they
/// can't be loaded.
int runFaceTestMode(const std::string& models, const std::vector<std::string>& paths);
