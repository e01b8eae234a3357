#include "ProbeService.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <stdexcept>

namespace aidl_generator_test {

ndk::ScopedFileDescriptor makeMemoryFile(const std::string& text) {
    ndk::ScopedFileDescriptor file(::memfd_create("aidl-probe", MFD_CLOEXEC));
    if (file.get() < 0) throw std::runtime_error("memfd_create failed");
    if (::pwrite(file.get(), text.data(), text.size(), 0) != static_cast<ssize_t>(text.size())) {
        throw std::runtime_error("pwrite failed");
    }
    return file;
}

std::string fileText(int descriptor) {
    std::string text;
    char buffer[256];
    ssize_t count = 0;
    while ((count = ::pread(descriptor, buffer, sizeof(buffer), static_cast<off_t>(text.size()))) >
           0) {
        text.append(buffer, static_cast<size_t>(count));
    }
    return text;
}

ProbeRecord copyRecord(const ProbeRecord& record) {
    ProbeRecord copy;
    copy.flag = record.flag;
    copy.count = record.count;
    copy.total = record.total;
    copy.label = record.label;
    copy.file = record.file.dup();
    copy.ints = record.ints;
    copy.longs = record.longs;
    for (const ndk::ScopedFileDescriptor& file : record.files) copy.files.push_back(file.dup());
    copy.inner = record.inner;
    copy.inners = record.inners;
    return copy;
}

ndk::ScopedAStatus ProbeService::invert(bool in_value, bool* _aidl_return) {
    ++calls_;
    *_aidl_return = !in_value;
    return ndk::ScopedAStatus::ok();
}

ndk::ScopedAStatus ProbeService::add(int32_t in_left, int32_t in_right, int32_t* _aidl_return) {
    ++calls_;
    *_aidl_return = in_left + in_right;
    return ndk::ScopedAStatus::ok();
}

ndk::ScopedAStatus ProbeService::negate(int64_t in_value, int64_t* _aidl_return) {
    ++calls_;
    *_aidl_return = -in_value;
    return ndk::ScopedAStatus::ok();
}

ndk::ScopedAStatus ProbeService::echo(const std::string& in_text, std::string* _aidl_return) {
    ++calls_;
    *_aidl_return = "<" + in_text + ">";
    return ndk::ScopedAStatus::ok();
}

ndk::ScopedAStatus ProbeService::duplicate(const ndk::ScopedFileDescriptor& in_file,
                                           ndk::ScopedFileDescriptor* _aidl_return) {
    ++calls_;
    *_aidl_return = in_file.dup();
    return ndk::ScopedAStatus::ok();
}

ndk::ScopedAStatus ProbeService::reverseInts(const std::vector<int32_t>& in_values,
                                             std::vector<int32_t>* _aidl_return) {
    ++calls_;
    _aidl_return->assign(in_values.rbegin(), in_values.rend());
    return ndk::ScopedAStatus::ok();
}

ndk::ScopedAStatus ProbeService::reverseLongs(const std::vector<int64_t>& in_values,
                                              std::vector<int64_t>* _aidl_return) {
    ++calls_;
    _aidl_return->assign(in_values.rbegin(), in_values.rend());
    return ndk::ScopedAStatus::ok();
}

ndk::ScopedAStatus ProbeService::duplicateAll(
        const std::vector<ndk::ScopedFileDescriptor>& in_files,
        std::vector<ndk::ScopedFileDescriptor>* _aidl_return) {
    ++calls_;
    _aidl_return->clear();
    for (const ndk::ScopedFileDescriptor& file : in_files) _aidl_return->push_back(file.dup());
    return ndk::ScopedAStatus::ok();
}

ndk::ScopedAStatus ProbeService::mirror(const ProbeRecord& in_record, ProbeRecord* _aidl_return) {
    ++calls_;
    *_aidl_return = copyRecord(in_record);
    return ndk::ScopedAStatus::ok();
}

ndk::ScopedAStatus ProbeService::sortInners(const std::vector<ProbeInner>& in_inners,
                                            std::vector<ProbeInner>* _aidl_return) {
    ++calls_;
    *_aidl_return = in_inners;
    std::sort(_aidl_return->begin(), _aidl_return->end());
    return ndk::ScopedAStatus::ok();
}

ndk::ScopedAStatus ProbeService::split(const NativeHandle& in_handle,
                                       std::vector<int32_t>* out_ints, NativeHandle* out_copy) {
    ++calls_;
    *out_ints = in_handle.ints;
    out_copy->fds.clear();
    for (const ndk::ScopedFileDescriptor& file : in_handle.fds) {
        out_copy->fds.push_back(file.dup());
    }
    out_copy->ints.assign(in_handle.ints.rbegin(), in_handle.ints.rend());
    return ndk::ScopedAStatus::ok();
}

ndk::ScopedAStatus ProbeService::callListener(const std::shared_ptr<IProbeListener>& in_listener,
                                              int32_t in_value, int32_t* _aidl_return) {
    ++calls_;
    int32_t answer = 0;
    ndk::ScopedAStatus status = in_listener->notify(in_value, &answer);
    if (!status.isOk()) return status;
    *_aidl_return = answer + 1;
    return ndk::ScopedAStatus::ok();
}

// Fills the out parameter before failing: the caller must never see it.
ndk::ScopedAStatus ProbeService::refuse(int32_t in_exceptionCode, ProbeInner* out_inner) {
    ++calls_;
    out_inner->value = 99;
    out_inner->name = "must not arrive";
    return ndk::ScopedAStatus::fromExceptionCode(in_exceptionCode);
}

ndk::ScopedAStatus ProbeListener::notify(int32_t in_value, int32_t* _aidl_return) {
    *_aidl_return = in_value * 10;
    return ndk::ScopedAStatus::ok();
}

}  // namespace aidl_generator_test
