// A perceptron set up on the service the way a client runtime does it: device memory for the
// weights, inputs and activations, shared through the descriptors the service returns; one
// command buffer per layer encoding its instructions; one sub-command per layer with an edge from
// each layer to the next; the command built once and then run as often as wanted.
#pragma once

#include <aidl/vendor/korvane/hardware/tessaro/dravik/ITovanDravik.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "MappedMemory.h"
#include "PerceptronModel.h"
#include "RunStyle.h"

namespace tessaro_workload {

using ::aidl::vendor::korvane::hardware::tessaro::dravik::ITovanDravik;

// What the driver reports about the last run.
struct RunFigures {
    int64_t duration_ns = 0;
    int64_t extension_id = 0;
    int64_t run_count = 0;
    std::vector<int64_t> layer_durations_ns;
};

class ServicePerceptron {
  public:
    // Sets model up in a new session of service for batches of batch rows. Null, with error
    // saying which call failed, when any step fails; what was made by then is released.
    static std::unique_ptr<ServicePerceptron> create(std::shared_ptr<ITovanDravik> service,
                                                     const PerceptronModel& model, int batch,
                                                     std::string* error);
    // Deletes the session, and with it everything filed under it.
    ~ServicePerceptron();
    ServicePerceptron(const ServicePerceptron&) = delete;
    ServicePerceptron& operator=(const ServicePerceptron&) = delete;

    int64_t sessionId() const { return session_id_; }
    int64_t commandId() const { return command_id_; }
    int batch() const { return batch_; }

    // Writes batch rows of inputs through the shared mapping.
    void writeInputs(const std::vector<float>& inputs);
    // Reads the last layer's answers through the shared mapping.
    std::vector<float> readOutputs() const;

    // Runs the command once in style; false, with error naming the call and its result, when
    // the run did not succeed.
    bool run(RunStyle style, std::string* error);
    // The run information of the last run, read in two batch calls.
    bool readRunFigures(RunFigures* figures, std::string* error);

  private:
    struct DeviceBlock {
        int64_t mem_id = 0;
        uint64_t device_address = 0;
        MappedMemory mapping;
    };

    explicit ServicePerceptron(std::shared_ptr<ITovanDravik> service, int batch);
    bool setUp(const PerceptronModel& model, std::string* error);
    bool allocate(size_t bytes, DeviceBlock* block, std::string* error);
    bool addLayer(const DenseLayer& layer, bool last, const DeviceBlock& input,
                  const DeviceBlock& weights, const DeviceBlock& bias, const DeviceBlock& output,
                  std::string* error);
    bool runFenced(std::string* error);
    bool runFencedWithHandles(std::string* error);
    bool fencedRunSucceeded(std::string* error);

    const std::shared_ptr<ITovanDravik> service_;
    const int batch_;
    int64_t session_id_ = 0;
    int64_t command_id_ = 0;
    std::vector<DeviceBlock> blocks_;       // weights and biases, kept mapped while the model lives
    std::vector<DeviceBlock> activations_;  // inputs, then each layer's outputs
    std::vector<int64_t> layer_sub_commands_;
};

}  // namespace tessaro_workload
