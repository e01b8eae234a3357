#include "ServicePerceptron.h"

#include <aidl/android/hardware/common/NativeHandle.h>
#include <dravik_reference_driver.h>
#include <poll.h>

#include <cstring>
#include <utility>

#include "ClientCallTrace.h"
#include "LayerProgram.h"

namespace tessaro_workload {

namespace {

using ::aidl::android::hardware::common::NativeHandle;
using ::aidl::vendor::korvane::hardware::tessaro::dravik::DRAVIK_CMD_RUNINFO_PARAMS_HD;
using ::aidl::vendor::korvane::hardware::tessaro::dravik::DRAVIK_CMDBUF_INFO_HD;
using ::aidl::vendor::korvane::hardware::tessaro::dravik::DRAVIK_MEMINFO_HD;
using ::aidl::vendor::korvane::hardware::tessaro::dravik::DRAVIK_SUBCMD_RUNINFO_PARAMS_HD;

constexpr int32_t kShareableMemory = DRAVIK_REFERENCE_MEM_TYPE_SHAREABLE;
constexpr int32_t kMatrixEngine = DRAVIK_REFERENCE_DEVICE_MATRIX_ENGINE;
constexpr int32_t kRunType = DRAVIK_REFERENCE_RUN_TYPE_LOW_LATENCY;
constexpr int kFenceWaitMilliseconds = 30000;

bool failed(const std::string& call, const ndk::ScopedAStatus& status, std::string* error) {
    if (status.isOk()) return false;
    *error = call + ": " + status.getDescription();
    return true;
}

bool failed(const std::string& call, const ndk::ScopedAStatus& status, int64_t ret,
            std::string* error) {
    if (failed(call, status, error)) return true;
    if (ret == 0) return false;
    *error = call + " answered " + std::to_string(ret);
    return true;
}

// Waits until fence polls readable.
bool awaitFence(int fence, std::string* error) {
    pollfd entry{fence, POLLIN, 0};
    const int ready = poll(&entry, 1, kFenceWaitMilliseconds);
    if (ready == 1 && (entry.revents & POLLIN) != 0) return true;
    *error = ready == 0 ? "the fence was not signalled in time"
                        : std::string("cannot wait on the fence: ") + std::strerror(errno);
    return false;
}

}  // namespace

ServicePerceptron::ServicePerceptron(std::shared_ptr<ITovanDravik> service, int batch)
    : service_(std::move(service)), batch_(batch) {}

std::unique_ptr<ServicePerceptron> ServicePerceptron::create(std::shared_ptr<ITovanDravik> service,
                                                             const PerceptronModel& model,
                                                             int batch, std::string* error) {
    std::unique_ptr<ServicePerceptron> perceptron(new ServicePerceptron(std::move(service), batch));
    if (!perceptron->setUp(model, error)) return nullptr;
    return perceptron;
}

ServicePerceptron::~ServicePerceptron() {
    // The mappings stay valid after the session goes; they are unmapped with the blocks.
    if (session_id_ != 0) {
        int32_t ret = 0;
        service_->session_deleteInstance(session_id_, &ret);
    }
}

bool ServicePerceptron::setUp(const PerceptronModel& model, std::string* error) {
    if (failed("session_createInstance", service_->session_createInstance(&session_id_), error)) {
        session_id_ = 0;
        return false;
    }
    if (failed("session_createCmd", service_->session_createCmd(session_id_, &command_id_),
               error)) {
        return false;
    }
    activations_.resize(model.layers().size() + 1);
    if (!allocate(sizeof(float) * batch_ * model.inputWidth(), &activations_[0], error)) {
        return false;
    }
    for (size_t index = 0; index < model.layers().size(); ++index) {
        const DenseLayer& layer = model.layers()[index];
        DeviceBlock weights;
        DeviceBlock bias;
        if (!allocate(sizeof(float) * layer.weights.size(), &weights, error) ||
            !allocate(sizeof(float) * layer.bias.size(), &bias, error) ||
            !allocate(sizeof(float) * batch_ * layer.outputs, &activations_[index + 1], error)) {
            return false;
        }
        std::memcpy(weights.mapping.as<float>(), layer.weights.data(),
                    sizeof(float) * layer.weights.size());
        std::memcpy(bias.mapping.as<float>(), layer.bias.data(), sizeof(float) * layer.bias.size());
        const bool last = index + 1 == model.layers().size();
        if (!addLayer(layer, last, activations_[index], weights, bias, activations_[index + 1],
                      error)) {
            return false;
        }
        // The weights reach the device before the first run.
        for (const DeviceBlock* block : {&weights, &bias}) {
            int32_t ret = 0;
            if (failed("session_memFlush",
                       service_->session_memFlush(session_id_, block->mem_id, &ret), ret, error)) {
                return false;
            }
        }
        blocks_.push_back(std::move(weights));
        blocks_.push_back(std::move(bias));
    }
    int32_t ret = 0;
    return !failed("cmd_build", service_->cmd_build(session_id_, command_id_, &ret), ret, error);
}

bool ServicePerceptron::allocate(size_t bytes, DeviceBlock* block, std::string* error) {
    DRAVIK_MEMINFO_HD memory;
    if (failed("session_memAlloc",
               service_->session_memAlloc(session_id_, static_cast<int32_t>(bytes), 0,
                                          kShareableMemory, 0, &memory),
               error)) {
        return false;
    }
    if (memory.fds.size() != 1) {
        *error = "session_memAlloc returned " + std::to_string(memory.fds.size()) + " descriptors";
        return false;
    }
    int64_t address = 0;
    if (failed("session_memGetInfoFromHostPtr",
               service_->session_memGetInfoFromHostPtr(session_id_, memory.mem_id,
                                                       DRAVIK_REFERENCE_MEM_INFO_DEVICE_ADDRESS,
                                                       &address),
               error)) {
        return false;
    }
    block->mem_id = memory.mem_id;
    block->device_address = static_cast<uint64_t>(address);
    block->mapping = MappedMemory(memory.fds[0], bytes);
    if (!block->mapping.valid()) {
        *error = block->mapping.error();
        return false;
    }
    return true;
}

bool ServicePerceptron::addLayer(const DenseLayer& layer, bool last, const DeviceBlock& input,
                                 const DeviceBlock& weights, const DeviceBlock& bias,
                                 const DeviceBlock& output, std::string* error) {
    const std::vector<uint8_t> program = encodeDenseLayer(
            LayerOperands{batch_, layer.inputs, layer.outputs, input.device_address,
                          weights.device_address, bias.device_address, output.device_address},
            last ? Activation::kSoftmax : Activation::kRelu);
    DRAVIK_CMDBUF_INFO_HD buffer;
    if (failed("session_cmdBufAlloc",
               service_->session_cmdBufAlloc(session_id_, static_cast<int32_t>(program.size()), 0,
                                             &buffer),
               error)) {
        return false;
    }
    if (buffer.fds.size() != 1) {
        *error = "session_cmdBufAlloc returned " + std::to_string(buffer.fds.size()) +
                 " descriptors";
        return false;
    }
    {
        const MappedMemory mapping(buffer.fds[0], program.size());
        if (!mapping.valid()) {
            *error = mapping.error();
            return false;
        }
        std::memcpy(mapping.as<uint8_t>(), program.data(), program.size());
    }
    int64_t sub_command = 0;
    if (failed("cmd_createSubcmd",
               service_->cmd_createSubcmd(session_id_, command_id_, kMatrixEngine, &sub_command),
               error)) {
        return false;
    }
    int32_t ret = 0;
    if (failed("subCmd_addCmdBuf",
               service_->subCmd_addCmdBuf(session_id_, sub_command, buffer.cmd_buf_id, 0, &ret),
               ret, error)) {
        return false;
    }
    // Each layer reads what the one before it wrote.
    if (!layer_sub_commands_.empty() &&
        failed("cmd_setDependencyEdge",
               service_->cmd_setDependencyEdge(session_id_, command_id_, layer_sub_commands_.back(),
                                               sub_command, &ret),
               ret, error)) {
        return false;
    }
    layer_sub_commands_.push_back(sub_command);
    return true;
}

void ServicePerceptron::writeInputs(const std::vector<float>& inputs) {
    const DeviceBlock& block = activations_.front();
    std::memcpy(block.mapping.as<float>(), inputs.data(),
                std::min(block.mapping.size(), sizeof(float) * inputs.size()));
}

std::vector<float> ServicePerceptron::readOutputs() const {
    const DeviceBlock& block = activations_.back();
    const float* values = block.mapping.as<const float>();
    return std::vector<float>(values, values + block.mapping.size() / sizeof(float));
}

bool ServicePerceptron::run(RunStyle style, std::string* error) {
    const ClientCallTrace trace(runStyleName(style));
    const std::vector<int64_t> flushes{activations_.front().mem_id};
    const std::vector<int64_t> invalidates{activations_.back().mem_id};
    int32_t ret = 0;
    switch (style) {
        case RunStyle::kRun:
            return !failed("cmd_run", service_->cmd_run(session_id_, command_id_, &ret), ret,
                           error);
        case RunStyle::kRunWithType:
            return !failed("cmd_runWithType",
                           service_->cmd_runWithType(session_id_, command_id_, kRunType, &ret), ret,
                           error);
        case RunStyle::kRunAsyncAndWait:
            if (failed("cmd_runAsync", service_->cmd_runAsync(session_id_, command_id_, &ret), ret,
                       error)) {
                return false;
            }
            return !failed("cmd_wait", service_->cmd_wait(session_id_, command_id_, &ret), ret,
                           error);
        case RunStyle::kRunFence:
            return runFenced(error);
        case RunStyle::kRunFenceV2:
            return runFencedWithHandles(error);
        case RunStyle::kCachedRun:
            return !failed("cmd_cachedAndRun",
                           service_->cmd_cachedAndRun(session_id_, command_id_, flushes,
                                                      invalidates, &ret),
                           ret, error);
        case RunStyle::kCachedRunWithType:
            return !failed("cmd_cachedAndRunWithType",
                           service_->cmd_cachedAndRunWithType(session_id_, command_id_, flushes,
                                                              invalidates, kRunType, &ret),
                           ret, error);
        case RunStyle::kCachedRunWithTypeExt: {
            std::vector<int64_t> extension;
            if (failed("cmd_cachedAndRunWithTypeExt",
                       service_->cmd_cachedAndRunWithTypeExt(session_id_, command_id_, flushes,
                                                             invalidates, kRunType, &extension),
                       error)) {
                return false;
            }
            if (extension.size() == 1 && extension[0] != 0) return true;
            *error = "cmd_cachedAndRunWithTypeExt answered no extension id";
            return false;
        }
    }
    *error = "unknown run style";
    return false;
}

// The fence number belongs to the service's process; only a client inside it can wait on it.
bool ServicePerceptron::runFenced(std::string* error) {
    int32_t fence = 0;
    if (failed("cmd_runFence", service_->cmd_runFence(session_id_, command_id_, -1, 0, &fence),
               error)) {
        return false;
    }
    if (fence < 1) {
        *error = "cmd_runFence answered " + std::to_string(fence);
        return false;
    }
    const ndk::ScopedFileDescriptor owned(fence);
    return awaitFence(owned.get(), error) && fencedRunSucceeded(error);
}

// A signalled fence says the run is over; its status in the run information says how it went.
bool ServicePerceptron::fencedRunSucceeded(std::string* error) {
    int64_t status = 0;
    if (!failed("cmd_getRunInfo",
                service_->cmd_getRunInfo(session_id_, command_id_,
                                         DRAVIK_REFERENCE_CMD_RUN_INFO_STATUS, &status),
                status, error)) {
        return true;
    }
    *error = "the fenced run failed: " + *error;
    return false;
}

bool ServicePerceptron::runFencedWithHandles(std::string* error) {
    NativeHandle no_input;
    NativeHandle output;
    int32_t fence = 0;
    if (failed("cmd_runFence_v2",
               service_->cmd_runFence_v2(session_id_, command_id_, no_input, 0, &output, &fence),
               error)) {
        return false;
    }
    if (fence < 1 || output.fds.size() != 1) {
        *error = "cmd_runFence_v2 answered " + std::to_string(fence) + " with " +
                 std::to_string(output.fds.size()) + " descriptors";
        return false;
    }
    if (!awaitFence(output.fds[0].get(), error) || !fencedRunSucceeded(error)) return false;
    // The device wrote the outputs; make them visible to this side.
    int32_t ret = 0;
    return !failed("session_memInvalidate",
                   service_->session_memInvalidate(session_id_, activations_.back().mem_id, &ret),
                   ret, error);
}

bool ServicePerceptron::readRunFigures(RunFigures* figures, std::string* error) {
    std::vector<DRAVIK_CMD_RUNINFO_PARAMS_HD> command_queries(3);
    const int32_t kinds[] = {DRAVIK_REFERENCE_CMD_RUN_INFO_DURATION_NS,
                             DRAVIK_REFERENCE_CMD_RUN_INFO_EXTENSION_ID,
                             DRAVIK_REFERENCE_CMD_RUN_INFO_RUN_COUNT};
    for (size_t index = 0; index < command_queries.size(); ++index) {
        command_queries[index].cmd_id = command_id_;
        command_queries[index].type = kinds[index];
    }
    std::vector<int64_t> answers;
    if (failed("cmd_getRunInfos", service_->cmd_getRunInfos(session_id_, command_queries, &answers),
               error)) {
        return false;
    }
    if (answers.size() != command_queries.size()) {
        *error = "cmd_getRunInfos answered " + std::to_string(answers.size()) + " values";
        return false;
    }
    figures->duration_ns = answers[0];
    figures->extension_id = answers[1];
    figures->run_count = answers[2];

    std::vector<DRAVIK_SUBCMD_RUNINFO_PARAMS_HD> layer_queries;
    for (const int64_t sub_command : layer_sub_commands_) {
        DRAVIK_SUBCMD_RUNINFO_PARAMS_HD query;
        query.sub_cmd_id = sub_command;
        query.type = DRAVIK_REFERENCE_SUBCMD_RUN_INFO_DURATION_NS;
        layer_queries.push_back(query);
    }
    figures->layer_durations_ns.clear();
    if (failed("subCmd_getRunInfos",
               service_->subCmd_getRunInfos(session_id_, layer_queries,
                                            &figures->layer_durations_ns),
               error)) {
        return false;
    }
    return true;
}

}  // namespace tessaro_workload
