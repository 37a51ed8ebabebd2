#include "platform/neural_network.h"

#include <dlfcn.h>
#include <onnxruntime_c_api.h>

#include <stdexcept>

#include "platform/system.h"

namespace {

/// What one of the runtime's calls has made, with the runtime's function that releases it.
template <typename Thing>
using Owned = std::unique_ptr<Thing, void (*)(Thing*)>;

void check(const OrtApi& api, OrtStatus* status) {
    if (status == nullptr) return;
    const Owned<OrtStatus> owned(status, api.ReleaseStatus);
    throw std::runtime_error(api.GetErrorMessage(status));
}

const OrtApi& findApi() {
    const std::string ours = executableFolder() + "/libonnxruntime.so.1";
    void* library = nullptr;
    std::string problem;
    for (const char* const file : {ours.c_str(), "libonnxruntime.so.1", "libonnxruntime.so"}) {
        // It has threads of its own and is shared by all networks, so it stays for as long as the process.
        library = dlopen(file, RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
        if (library != nullptr) break;
        if (problem.empty()) problem = dlerror();  // NOLINT(concurrency-mt-unsafe): each thread has its own
    }
    if (library == nullptr) throw std::runtime_error("ONNX Runtime can't be loaded: " + problem);
    using ApiBase = decltype(&OrtGetApiBase);
    const auto apiBase = reinterpret_cast<ApiBase>(dlsym(library, "OrtGetApiBase"));
    dlclose(library);
    if (apiBase == nullptr) throw std::runtime_error("what is installed as ONNX Runtime isn't it");
    const OrtApi* const api = apiBase()->GetApi(ORT_API_VERSION);
    if (api == nullptr) {
        throw std::runtime_error(std::string("ONNX Runtime ") + apiBase()->GetVersionString() +
                                 " is too old: its interface " + std::to_string(ORT_API_VERSION) +
                                 " is needed");
    }
    return *api;
}

/// The runtime, of which a process has one.
struct Runtime {
    const OrtApi& api = findApi();
    OrtEnv* env = nullptr;

    Runtime() { check(api, api.CreateEnv(ORT_LOGGING_LEVEL_ERROR, "velu", &env)); }

    /// Where it couldn't be set up it is tried anew the next time.
    static const Runtime& get() {
        static const Runtime runtime;
        return runtime;
    }
};

Owned<OrtSession> openSession(const Runtime& runtime, const std::string& path) {
    const OrtApi& api = runtime.api;
    OrtSessionOptions* made = nullptr;
    check(api, api.CreateSessionOptions(&made));
    const Owned<OrtSessionOptions> options(made, api.ReleaseSessionOptions);
    check(api, api.SetIntraOpNumThreads(made, 2));
    check(api, api.SetSessionGraphOptimizationLevel(made, ORT_ENABLE_ALL));
    // A thread that has nothing to do sleeps; by default it would use up a core for a while after each run.
    check(api, api.AddSessionConfigEntry(made, "session.intra_op.allow_spinning", "0"));
    OrtSession* session = nullptr;
    check(api, api.CreateSession(runtime.env, path.c_str(), made, &session));
    return {session, api.ReleaseSession};
}

/// The shape of a tensor of floats, as the network's file has it. Throws when it isn't one.
std::vector<int64_t> floatShape(const OrtApi& api, OrtTypeInfo* info, const std::string& name) {
    const Owned<OrtTypeInfo> owned(info, api.ReleaseTypeInfo);
    const OrtTensorTypeAndShapeInfo* tensor = nullptr;
    check(api, api.CastTypeInfoToTensorInfo(info, &tensor));
    ONNXTensorElementDataType type = ONNX_TENSOR_ELEMENT_DATA_TYPE_UNDEFINED;
    if (tensor != nullptr) check(api, api.GetTensorElementType(tensor, &type));
    if (type != ONNX_TENSOR_ELEMENT_DATA_TYPE_FLOAT) {
        throw std::runtime_error("the network's \"" + name + "\" isn't a tensor of floats");
    }
    size_t count = 0;
    check(api, api.GetDimensionsCount(tensor, &count));
    std::vector<int64_t> shape(count);
    check(api, api.GetDimensions(tensor, shape.data(), count));
    return shape;
}

std::string takeName(const OrtApi& api, OrtAllocator* allocator, char* name) {
    std::string text = name;
    check(api, api.AllocatorFree(allocator, name));
    return text;
}

}  // namespace

struct NeuralNetwork::Parts {
    const Runtime& runtime = Runtime::get();
    Owned<OrtSession> session;
    Owned<OrtMemoryInfo> memory{nullptr, runtime.api.ReleaseMemoryInfo};
    std::string inputName;
    std::vector<int64_t> inputShape;
    std::vector<std::string> outputNames;
    std::vector<Owned<OrtValue>> outputs;
    std::vector<std::span<const float>> values;  ///< in `outputs`

    explicit Parts(const std::string& path) : session(openSession(runtime, path)) {
        const OrtApi& api = runtime.api;
        OrtMemoryInfo* info = nullptr;
        check(api, api.CreateCpuMemoryInfo(OrtArenaAllocator, OrtMemTypeDefault, &info));
        memory.reset(info);
        OrtAllocator* allocator = nullptr;
        check(api, api.GetAllocatorWithDefaultOptions(&allocator));
        readInput(api, allocator);
        readOutputs(api, allocator);
    }

    void readInput(const OrtApi& api, OrtAllocator* allocator) {
        size_t count = 0;
        check(api, api.SessionGetInputCount(session.get(), &count));
        if (count != 1) {
            throw std::runtime_error("the network has " + std::to_string(count) + " inputs instead of one");
        }
        char* name = nullptr;
        check(api, api.SessionGetInputName(session.get(), 0, allocator, &name));
        inputName = takeName(api, allocator, name);
        OrtTypeInfo* type = nullptr;
        check(api, api.SessionGetInputTypeInfo(session.get(), 0, &type));
        inputShape = floatShape(api, type, inputName);
    }

    void readOutputs(const OrtApi& api, OrtAllocator* allocator) {
        size_t count = 0;
        check(api, api.SessionGetOutputCount(session.get(), &count));
        for (size_t i = 0; i < count; ++i) {
            char* name = nullptr;
            check(api, api.SessionGetOutputName(session.get(), i, allocator, &name));
            outputNames.push_back(takeName(api, allocator, name));
            OrtTypeInfo* type = nullptr;
            check(api, api.SessionGetOutputTypeInfo(session.get(), i, &type));
            (void)floatShape(api, type, outputNames.back());
        }
    }
};

NeuralNetwork::NeuralNetwork(const std::string& path) : parts(std::make_unique<Parts>(path)) {}
NeuralNetwork::~NeuralNetwork() = default;
NeuralNetwork::NeuralNetwork(NeuralNetwork&&) noexcept = default;
NeuralNetwork& NeuralNetwork::operator=(NeuralNetwork&&) noexcept = default;

const std::vector<int64_t>& NeuralNetwork::inputShape() const {
    return parts->inputShape;
}

const std::vector<std::string>& NeuralNetwork::outputNames() const {
    return parts->outputNames;
}

const std::vector<std::span<const float>>& NeuralNetwork::run(std::span<const float> values,
                                                              const std::array<int64_t, 4>& shape) {
    const OrtApi& api = parts->runtime.api;
    parts->values.clear();
    parts->outputs.clear();
    OrtValue* made = nullptr;
    // A run only reads its inputs; the call that wraps them doesn't say so.
    check(api, api.CreateTensorWithDataAsOrtValue(parts->memory.get(), const_cast<float*>(values.data()),
                                                  values.size_bytes(), shape.data(), shape.size(),
                                                  ONNX_TENSOR_ELEMENT_DATA_TYPE_FLOAT, &made));
    const Owned<OrtValue> input(made, api.ReleaseValue);

    const char* const inputName = parts->inputName.c_str();
    std::vector<const char*> names;
    for (const std::string& name : parts->outputNames)
        names.push_back(name.c_str());
    std::vector<OrtValue*> results(names.size(), nullptr);
    OrtStatus* const status = api.Run(parts->session.get(), nullptr, &inputName, &made, 1, names.data(),
                                      names.size(), results.data());
    for (OrtValue* const result : results)
        parts->outputs.emplace_back(result, api.ReleaseValue);
    check(api, status);

    for (const Owned<OrtValue>& output : parts->outputs) {
        OrtTensorTypeAndShapeInfo* info = nullptr;
        check(api, api.GetTensorTypeAndShape(output.get(), &info));
        const Owned<OrtTensorTypeAndShapeInfo> owned(info, api.ReleaseTensorTypeAndShapeInfo);
        size_t count = 0;
        check(api, api.GetTensorShapeElementCount(info, &count));
        float* data = nullptr;
        check(api, api.GetTensorMutableData(output.get(), reinterpret_cast<void**>(&data)));
        parts->values.emplace_back(data, count);
    }
    return parts->values;
}
