#pragma once

#include <aidl/tessaro/generator/probe/BnGeneratorProbe.h>
#include <aidl/tessaro/generator/probe/BnProbeListener.h>
#include <android/binder_auto_utils.h>

#include <atomic>
#include <string>

namespace aidl_generator_test {

using ::aidl::android::hardware::common::NativeHandle;
using ::aidl::tessaro::generator::probe::BnGeneratorProbe;
using ::aidl::tessaro::generator::probe::BnProbeListener;
using ::aidl::tessaro::generator::probe::IProbeListener;
using ::aidl::tessaro::generator::probe::ProbeInner;
using ::aidl::tessaro::generator::probe::ProbeRecord;

// A new in-memory file holding the text; the descriptor owns it.
ndk::ScopedFileDescriptor makeMemoryFile(const std::string& text);

// Everything a descriptor's file holds, read from its start.
std::string fileText(int descriptor);

// A deep copy of a record, with duplicated descriptors.
ProbeRecord copyRecord(const ProbeRecord& record);

// Answers each probe method with a result the caller can predict from its arguments, and counts
// the calls that reach it.
class ProbeService : public BnGeneratorProbe {
  public:
    ndk::ScopedAStatus invert(bool in_value, bool* _aidl_return) override;
    ndk::ScopedAStatus add(int32_t in_left, int32_t in_right, int32_t* _aidl_return) override;
    ndk::ScopedAStatus negate(int64_t in_value, int64_t* _aidl_return) override;
    ndk::ScopedAStatus echo(const std::string& in_text, std::string* _aidl_return) override;
    ndk::ScopedAStatus duplicate(const ndk::ScopedFileDescriptor& in_file,
                                 ndk::ScopedFileDescriptor* _aidl_return) override;
    ndk::ScopedAStatus reverseInts(const std::vector<int32_t>& in_values,
                                   std::vector<int32_t>* _aidl_return) override;
    ndk::ScopedAStatus reverseLongs(const std::vector<int64_t>& in_values,
                                    std::vector<int64_t>* _aidl_return) override;
    ndk::ScopedAStatus duplicateAll(const std::vector<ndk::ScopedFileDescriptor>& in_files,
                                    std::vector<ndk::ScopedFileDescriptor>* _aidl_return) override;
    ndk::ScopedAStatus mirror(const ProbeRecord& in_record, ProbeRecord* _aidl_return) override;
    ndk::ScopedAStatus sortInners(const std::vector<ProbeInner>& in_inners,
                                  std::vector<ProbeInner>* _aidl_return) override;
    ndk::ScopedAStatus split(const NativeHandle& in_handle, std::vector<int32_t>* out_ints,
                             NativeHandle* out_copy) override;
    ndk::ScopedAStatus callListener(const std::shared_ptr<IProbeListener>& in_listener,
                                    int32_t in_value, int32_t* _aidl_return) override;
    ndk::ScopedAStatus refuse(int32_t in_exceptionCode, ProbeInner* out_inner) override;

    int calls() const { return calls_.load(); }

  private:
    std::atomic<int> calls_{0};
};

// Answers notify(value) with value * 10.
class ProbeListener : public BnProbeListener {
  public:
    ndk::ScopedAStatus notify(int32_t in_value, int32_t* _aidl_return) override;
};

}  // namespace aidl_generator_test
