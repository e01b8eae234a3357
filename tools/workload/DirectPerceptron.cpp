#include "DirectPerceptron.h"

#include <dravik_reference_driver.h>

#include <cerrno>
#include <cstring>

#include "LayerProgram.h"

namespace tessaro_workload {

namespace {

bool failed(const char* call, bool succeeded, std::string* error) {
    if (succeeded) return false;
    *error = std::string(call) + " failed: " + std::strerror(errno);
    return true;
}

}  // namespace

std::unique_ptr<DirectPerceptron> DirectPerceptron::create(const PerceptronModel& model, int batch,
                                                           std::string* error) {
    std::unique_ptr<DirectPerceptron> perceptron(new DirectPerceptron(batch));
    if (!perceptron->setUp(model, error)) return nullptr;
    return perceptron;
}

DirectPerceptron::~DirectPerceptron() {
    if (session_ != nullptr) dravikSession_deleteInstance(session_);
}

bool DirectPerceptron::setUp(const PerceptronModel& model, std::string* error) {
    session_ = dravikSession_createInstance();
    if (failed("dravikSession_createInstance", session_ != nullptr, error)) return false;
    command_ = dravikSession_createCmd(session_);
    if (failed("dravikSession_createCmd", command_ != nullptr, error)) return false;
    activations_.resize(model.layers().size() + 1);
    if (!allocate(sizeof(float) * batch_ * model.inputWidth(), &activations_[0], error)) {
        return false;
    }
    dravik_subcmd* previous = nullptr;
    for (size_t index = 0; index < model.layers().size(); ++index) {
        const DenseLayer& layer = model.layers()[index];
        Block weights;
        Block bias;
        if (!allocate(sizeof(float) * layer.weights.size(), &weights, error) ||
            !allocate(sizeof(float) * layer.bias.size(), &bias, error) ||
            !allocate(sizeof(float) * batch_ * layer.outputs, &activations_[index + 1], error)) {
            return false;
        }
        std::memcpy(weights.host, layer.weights.data(), weights.bytes);
        std::memcpy(bias.host, layer.bias.data(), bias.bytes);
        const bool last = index + 1 == model.layers().size();
        const std::vector<uint8_t> program = encodeDenseLayer(
                LayerOperands{batch_, layer.inputs, layer.outputs,
                              activations_[index].device_address, weights.device_address,
                              bias.device_address, activations_[index + 1].device_address},
                last ? Activation::kSoftmax : Activation::kRelu);
        dravik_mem* buffer =
                dravikSession_cmdBufAlloc(session_, static_cast<uint32_t>(program.size()), 0);
        if (failed("dravikSession_cmdBufAlloc", buffer != nullptr, error)) return false;
        auto* buffer_host = reinterpret_cast<uint8_t*>(dravikSession_memGetInfoFromHostPtr(
                session_, buffer, DRAVIK_REFERENCE_MEM_INFO_HOST_ADDRESS));
        if (failed("dravikSession_memGetInfoFromHostPtr", buffer_host != nullptr, error)) {
            return false;
        }
        std::memcpy(buffer_host, program.data(), program.size());
        dravik_subcmd* sub_command =
                dravikCmd_createSubcmd(command_, DRAVIK_REFERENCE_DEVICE_MATRIX_ENGINE);
        if (failed("dravikCmd_createSubcmd", sub_command != nullptr, error) ||
            failed("dravikSubCmd_addCmdBuf", dravikSubCmd_addCmdBuf(sub_command, buffer, 0) == 0,
                   error)) {
            return false;
        }
        if (previous != nullptr &&
            failed("dravikCmd_setDependencyEdge",
                   dravikCmd_setDependencyEdge(command_, previous, sub_command) == 0, error)) {
            return false;
        }
        previous = sub_command;
    }
    return !failed("dravikCmd_build", dravikCmd_build(command_) == 0, error);
}

bool DirectPerceptron::allocate(size_t bytes, Block* block, std::string* error) {
    block->memory = dravikSession_memAlloc(session_, static_cast<uint32_t>(bytes), 0,
                                           DRAVIK_REFERENCE_MEM_TYPE_SHAREABLE, 0);
    if (failed("dravikSession_memAlloc", block->memory != nullptr, error)) return false;
    block->device_address = static_cast<uint64_t>(dravikSession_memGetInfoFromHostPtr(
            session_, block->memory, DRAVIK_REFERENCE_MEM_INFO_DEVICE_ADDRESS));
    block->host = reinterpret_cast<float*>(dravikSession_memGetInfoFromHostPtr(
            session_, block->memory, DRAVIK_REFERENCE_MEM_INFO_HOST_ADDRESS));
    block->bytes = bytes;
    return !failed("dravikSession_memGetInfoFromHostPtr",
                   block->device_address != 0 && block->host != nullptr, error);
}

void DirectPerceptron::writeInputs(const std::vector<float>& inputs) {
    const Block& block = activations_.front();
    std::memcpy(block.host, inputs.data(), std::min(block.bytes, sizeof(float) * inputs.size()));
}

std::vector<float> DirectPerceptron::readOutputs() const {
    const Block& block = activations_.back();
    return std::vector<float>(block.host, block.host + block.bytes / sizeof(float));
}

bool DirectPerceptron::run(std::string* error) {
    return !failed("dravikCmd_run", dravikCmd_run(command_) == 0, error);
}

}  // namespace tessaro_workload
