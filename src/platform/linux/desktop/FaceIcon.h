#pragma once

#include <QIcon>

/// Returns the robot's face in the sizes for trays, task bars and window frames.
QIcon faceIcon();
