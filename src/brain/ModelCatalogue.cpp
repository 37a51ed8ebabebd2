#include "brain/ModelCatalogue.h"

#include "foundation/Files.h"
#include "platform/texts.h"

const std::vector<ModelInfo>& modelCatalogue() {
    // The sizes of the published files decide whether a download is complete.
    static const std::vector<ModelInfo> models = {
        {"Smart - Qwen3 4B (2.5 GB, best tool use)", "Qwen3-4B-Instruct-2507-Q4_K_M.gguf",
         "/unsloth/Qwen3-4B-Instruct-2507-GGUF/resolve/main/Qwen3-4B-Instruct-2507-Q4_K_M.gguf", 2497281120},
        {"Fast - Qwen3 1.7B (1.1 GB, quicker replies)", "Qwen3-1.7B-Q4_K_M.gguf",
         "/unsloth/Qwen3-1.7B-GGUF/resolve/main/Qwen3-1.7B-Q4_K_M.gguf", 1107409472},
        {"Smarter - Qwen3 8B (5 GB, more accurate, slower)", "Qwen3-8B-Q4_K_M.gguf",
         "/unsloth/Qwen3-8B-GGUF/resolve/main/Qwen3-8B-Q4_K_M.gguf", 5027784512},
    };
    return models;
}

std::string engineFolder(bool useGpu) {
    return createdFolder(useGpu ? "llama-vulkan" : "llama");
}

std::string engineExe(bool useGpu) {
    return joinPath(engineFolder(useGpu), platformTexts.engineProgram);
}
