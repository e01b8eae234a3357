#include "AdderInterface.h"

#include <android/binder_parcel_utils.h>
#include <unistd.h>

#include <climits>
#include <string>

namespace adder {

const char* IAdder::descriptor = "test.adder.IAdder";
std::atomic<int> Adder::live_count{0};
std::atomic<int> Adder::transaction_count{0};

namespace {

binder_status_t onTransact(AIBinder* binder, transaction_code_t code, const AParcel* in,
                           AParcel* out) {
    ++Adder::transaction_count;
    auto adder = std::static_pointer_cast<IAdder>(ndk::ICInterface::asInterface(binder));
    if (code != IAdder::TRANSACTION_add) return STATUS_UNKNOWN_TRANSACTION;
    int32_t left = 0;
    int32_t right = 0;
    binder_status_t status = ndk::AParcel_readData(in, &left);
    if (status == STATUS_OK) status = ndk::AParcel_readData(in, &right);
    if (status != STATUS_OK) return status;
    int32_t sum = 0;
    ndk::ScopedAStatus result = adder->add(left, right, &sum);
    status = AParcel_writeStatusHeader(out, result.get());
    if (status != STATUS_OK || !result.isOk()) return status;
    return ndk::AParcel_writeData(out, sum);
}

}  // namespace

AIBinder_Class* IAdder::binderClass() {
    static AIBinder_Class* const binder_class = defineClass(descriptor, onTransact);
    return binder_class;
}

std::shared_ptr<IAdder> IAdder::fromBinder(const ndk::SpAIBinder& binder) {
    if (!AIBinder_associateClass(binder.get(), binderClass())) return nullptr;
    std::shared_ptr<ndk::ICInterface> local = asInterface(binder.get());
    if (local != nullptr) return std::static_pointer_cast<IAdder>(local);
    return ndk::SharedRefBase::make<BpAdder>(binder);
}

binder_status_t IAdder::writeToParcel(AParcel* parcel, const std::shared_ptr<IAdder>& adder) {
    return AParcel_writeStrongBinder(parcel, adder == nullptr ? nullptr : adder->asBinder().get());
}

binder_status_t IAdder::readFromParcel(const AParcel* parcel, std::shared_ptr<IAdder>* adder) {
    ndk::SpAIBinder binder;
    binder_status_t status = AParcel_readStrongBinder(parcel, binder.getR());
    if (status == STATUS_OK) *adder = binder.get() == nullptr ? nullptr : fromBinder(binder);
    return status;
}

ndk::SpAIBinder BnAdder::createBinder() {
    return ndk::SpAIBinder(AIBinder_new(binderClass(), static_cast<void*>(this)));
}

ndk::ScopedAStatus BpAdder::add(int32_t left, int32_t right, int32_t* sum) {
    ndk::ScopedAParcel in;
    ndk::ScopedAParcel out;
    binder_status_t status = AIBinder_prepareTransaction(asBinder().get(), in.getR());
    if (status == STATUS_OK) status = ndk::AParcel_writeData(in.get(), left);
    if (status == STATUS_OK) status = ndk::AParcel_writeData(in.get(), right);
    if (status == STATUS_OK) {
        status = AIBinder_transact(asBinder().get(), TRANSACTION_add, in.getR(), out.getR(), 0);
    }
    if (status != STATUS_OK) return ndk::ScopedAStatus::fromStatus(status);
    ndk::ScopedAStatus result;
    status = AParcel_readStatusHeader(out.get(), result.getR());
    if (status != STATUS_OK) return ndk::ScopedAStatus::fromStatus(status);
    if (!result.isOk()) return result;
    status = ndk::AParcel_readData(out.get(), sum);
    return status == STATUS_OK ? std::move(result) : ndk::ScopedAStatus::fromStatus(status);
}

ndk::ScopedAStatus Adder::add(int32_t left, int32_t right, int32_t* sum) {
    const int64_t exact = int64_t{left} + right;
    if (exact > INT32_MAX || exact < INT32_MIN) {
        return ndk::ScopedAStatus::fromServiceSpecificErrorWithMessage(kOverflow, "sum overflows");
    }
    *sum = static_cast<int32_t>(exact);
    last_sum = *sum;
    return ndk::ScopedAStatus::ok();
}

binder_status_t Adder::dump(int fd, const char** args, uint32_t numArgs) {
    std::string text = "adder";
    for (uint32_t index = 0; index < numArgs; ++index) text += std::string(" ") + args[index];
    return write(fd, text.data(), text.size()) == static_cast<ssize_t>(text.size())
                   ? STATUS_OK
                   : STATUS_UNKNOWN_ERROR;
}

}  // namespace adder
