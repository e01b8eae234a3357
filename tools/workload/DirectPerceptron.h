// The same perceptron set up on the driver library called directly in this process, with no
// service in between: the baseline that tells how much of a run's time the service adds.
#pragma once

#include <dravik_mdw.h>

#include <memory>
#include <string>
#include <vector>

#include "PerceptronModel.h"

namespace tessaro_workload {

class DirectPerceptron {
  public:
    // Null, with error naming the driver call that failed, when any step fails; what was made
    // by then is released.
    static std::unique_ptr<DirectPerceptron> create(const PerceptronModel& model, int batch,
                                                    std::string* error);
    // Deletes the driver session, and with it everything in it.
    ~DirectPerceptron();
    DirectPerceptron(const DirectPerceptron&) = delete;
    DirectPerceptron& operator=(const DirectPerceptron&) = delete;

    void writeInputs(const std::vector<float>& inputs);
    std::vector<float> readOutputs() const;
    // One synchronous run; false with error on failure.
    bool run(std::string* error);

  private:
    struct Block {
        dravik_mem* memory = nullptr;
        uint64_t device_address = 0;
        float* host = nullptr;
        size_t bytes = 0;
    };

    explicit DirectPerceptron(int batch) : batch_(batch) {}
    bool setUp(const PerceptronModel& model, std::string* error);
    bool allocate(size_t bytes, Block* block, std::string* error);

    const int batch_;
    dravik_session* session_ = nullptr;
    dravik_cmd* command_ = nullptr;
    std::vector<Block> activations_;
};

}  // namespace tessaro_workload
