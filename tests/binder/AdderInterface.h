// A tiny interface written by hand in the shape of generated NDK code, so that the runtime's C++
// classes and transactions can be exercised without the generator.
#pragma once

#include <android/binder_auto_utils.h>
#include <android/binder_ibinder.h>
#include <android/binder_interface_utils.h>

#include <atomic>
#include <cstdint>
#include <memory>

namespace adder {

class IAdder : public ndk::ICInterface {
  public:
    static const char* descriptor;
    static constexpr transaction_code_t TRANSACTION_add = FIRST_CALL_TRANSACTION + 0;
    // The service-specific error of a sum that does not fit an int32.
    static constexpr int32_t kOverflow = 7;

    virtual ndk::ScopedAStatus add(int32_t left, int32_t right, int32_t* sum) = 0;

    static AIBinder_Class* binderClass();
    static std::shared_ptr<IAdder> fromBinder(const ndk::SpAIBinder& binder);
    static binder_status_t writeToParcel(AParcel* parcel, const std::shared_ptr<IAdder>& adder);
    static binder_status_t readFromParcel(const AParcel* parcel, std::shared_ptr<IAdder>* adder);
};

class BnAdder : public ndk::BnCInterface<IAdder> {
  protected:
    ndk::SpAIBinder createBinder() override;
};

class BpAdder : public ndk::BpCInterface<IAdder> {
  public:
    explicit BpAdder(const ndk::SpAIBinder& binder) : BpCInterface(binder) {}
    ndk::ScopedAStatus add(int32_t left, int32_t right, int32_t* sum) override;
};

// The local service. Counts its live instances and the transactions that reached it.
class Adder : public BnAdder {
  public:
    Adder() { ++live_count; }
    ~Adder() override { --live_count; }
    ndk::ScopedAStatus add(int32_t left, int32_t right, int32_t* sum) override;
    binder_status_t dump(int fd, const char** args, uint32_t numArgs) override;

    static std::atomic<int> live_count;
    static std::atomic<int> transaction_count;
    std::atomic<int32_t> last_sum{0};
};

}  // namespace adder
