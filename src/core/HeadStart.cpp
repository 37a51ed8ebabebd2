#include "core/HeadStart.h"

#include "foundation/Files.h"
#include "foundation/Log.h"
#include "foundation/Paths.h"
#include "platform/desktop.h"
#include "platform/texts.h"

bool startRenderer(HeadRenderer& renderer, const HeadSurface* surface, const std::string& problem,
                   int32_t width, int32_t height) {
    if (surface == nullptr) logLine("%s", problem.c_str());
    const std::string model = joinPath(assetPath("models"), "VeluHead.glb");
    if (surface != nullptr && renderer.initialize(*surface, width, height, model)) return true;
    showErrorBox("Velu", platformTexts.rendererFailed);
    return false;
}
