#pragma once

#include <QIcon>

/// The robot's face in the sizes that trays, task bars and window frames ask for.
QIcon faceIcon();
