// A local service built as generated code builds one (BnCInterface over a class that
// ICInterface defines): FIRST_CALL_TRANSACTION answers the sum of two int32 values. It counts its
// live instances and the transactions that reach its onTransact.
#pragma once

#include <android/binder_interface_utils.h>
#include <android/binder_parcel.h>

#include <atomic>

class Adder : public ndk::BnCInterface<ndk::ICInterface> {
  public:
    static constexpr const char* kDescriptor = "test.IAdder";
    static inline std::atomic<int> live_count{0};
    static inline std::atomic<int> transaction_count{0};

    Adder() { ++live_count; }
    ~Adder() override { --live_count; }

    static AIBinder_Class* binderClass() {
        static AIBinder_Class* const binder_class = defineClass(kDescriptor, onTransact);
        return binder_class;
    }

  protected:
    ndk::SpAIBinder createBinder() override {
        return ndk::SpAIBinder(AIBinder_new(binderClass(), static_cast<ndk::ICInterface*>(this)));
    }

  private:
    static binder_status_t onTransact(AIBinder* /*binder*/, transaction_code_t code,
                                      const AParcel* in, AParcel* out) {
        ++transaction_count;
        if (code != FIRST_CALL_TRANSACTION) return STATUS_UNKNOWN_TRANSACTION;
        int32_t left = 0;
        int32_t right = 0;
        binder_status_t status = AParcel_readInt32(in, &left);
        if (status == STATUS_OK) status = AParcel_readInt32(in, &right);
        return status == STATUS_OK ? AParcel_writeInt32(out, left + right) : status;
    }
};
