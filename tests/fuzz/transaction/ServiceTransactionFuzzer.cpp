// Random transactions into the service's generated stub, in process, over the scriptable fake
// driver. The fake answers every driver call with success and a fresh handle, so a well-formed
// request with ids the service handed out goes through every step of its method, and the only
// refusals are the service's own; no real memory, threads or run times make an execution slow or
// depend on the one before.
//
// Each input is a short series of transactions (RequestBuilder.h) sent to a fresh service. Every
// answer must be a well-formed status (ReplyCheck.h); afterwards every session the input made is
// deleted, the shared memory records (which no session deletion sweeps) are unfiled, and the
// service's dump must show nothing filed. Every descriptor opened during the input must be closed
// again, except the input fence of a fenced run on an unknown command, which the service
// deliberately leaves open (command/FencedRun.cpp): those are recognised by the file they name
// and closed here. A descriptor query that fails answers descriptor 0, which the stub's holder
// closes after the reply, as on the device: the process's descriptor 0 is deliberately lost
// then, so it is opened again on /dev/null after each such call.
#include <FakeDriver.h>
#include <aidl/vendor/korvane/hardware/tessaro/dravik/BnTovanDravikCallback.h>
#include <aidl/vendor/korvane/hardware/tessaro/dravik/ITovanDravik.h>
#include <android/binder_parcel.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <string>

#include "ByteReader.h"
#include "Descriptors.h"
#include "ReplyCheck.h"
#include "RequestBuilder.h"
#include "ServiceState.h"
#include "service/DebugConfig.h"
#include "service/TovanDravik.h"

namespace {

using namespace aidl::vendor::korvane::hardware::tessaro::dravik;
using tessaro_fuzz::ByteReader;
using tessaro_fuzz::IdKind;

constexpr size_t kMaxTransactions = 16;

class Callback : public BnTovanDravikCallback {};

[[noreturn]] void finding(const std::string& what, const std::string& detail = "") {
    std::fprintf(stderr, "\n==== service transaction fuzzer finding: %s\n%s\n", what.c_str(),
                 detail.c_str());
    std::abort();
}

// TESSARO_FUZZ_TRACE=1 prints each transaction and its answer, to see what an input does.
bool tracing() {
    static const bool enabled = std::getenv("TESSARO_FUZZ_TRACE") != nullptr;
    return enabled;
}

bool isEventfd(int fd) {
    return tessaro_fuzz::describeDescriptor(fd).find("anon_inode:[eventfd]") != std::string::npos;
}

// Descriptor 0 on /dev/null again, if a failed descriptor query closed it.
void reopenDescriptorZero() {
    if (fcntl(0, F_GETFD) >= 0) return;
    const int fd = open("/dev/null", O_RDWR | O_CLOEXEC);
    if (fd != 0) finding("descriptor 0 could not be opened again", std::to_string(fd));
}

class Exchange {
  public:
    Exchange() : service_(ndk::SharedRefBase::make<TovanDravik>()), binder_(service_->asBinder()) {
        callback_ = ndk::SharedRefBase::make<Callback>();
        callback_binder_ = callback_->asBinder();
        context_.callback = callback_binder_.get();
    }

    // A session with one of each resource, made by direct calls, so that requests can name them.
    void fileOneOfEach() {
        int64_t session = 0;
        if (!service_->session_createInstance(&session).isOk()) finding("setup: no session");
        note(IdKind::kSession, session);
        DRAVIK_MEMINFO_HD memory;
        if (service_->session_memAlloc(session, 4096, 0, 0, 0, &memory).isOk()) {
            note(IdKind::kMemory, memory.mem_id);
        }
        DRAVIK_MEMINFO_HD shared;
        if (service_->session_memAlloc(session, 4096, 0, 1, 0, &shared).isOk()) {
            note(IdKind::kMemory, shared.mem_id);
        }
        int64_t command = 0;
        if (service_->session_createCmd(session, &command).isOk()) note(IdKind::kCommand, command);
        int64_t sub_command = 0;
        if (service_->cmd_createSubcmd(session, command, 1, &sub_command).isOk()) {
            note(IdKind::kSubCommand, sub_command);
        }
        DRAVIK_CMDBUF_INFO_HD buffer;
        if (service_->session_cmdBufAlloc(session, 4096, 0, &buffer).isOk()) {
            note(IdKind::kCommandBuffer, buffer.cmd_buf_id);
        }
    }

    void send(ByteReader& input) {
        tessaro_fuzz::Request request;
        if (!tessaro_fuzz::buildRequest(input, binder_.get(), context_, &request)) {
            finding("a request parcel could not be prepared");
        }
        // A oneway fenced run drops the reply, and with it the caller's fence: the caller's loss,
        // not the service's, so fenced runs are always sent two-way.
        if (request.code == ITovanDravik::TRANSACTION_cmd_runFence) {
            request.flags &= ~static_cast<binder_flags_t>(FLAG_ONEWAY);
        }
        if (request.code == ITovanDravik::TRANSACTION_cmd_runFence_v2) {
            fenced_run_inputs_.insert(request.attached.begin(), request.attached.end());
        }
        const std::string what = "code " + std::to_string(request.code) + " flags " +
                                 std::to_string(request.flags) + " token mode " +
                                 std::to_string(static_cast<int>(request.token));
        AParcel* raw_request = request.parcel.release();
        ndk::ScopedAParcel reply;
        const binder_status_t status = AIBinder_transact(binder_.get(), request.code, &raw_request,
                                                         reply.getR(), request.flags);
        if (raw_request != nullptr) finding("the request was not consumed", what);
        if (request.code == ITovanDravik::TRANSACTION_session_memGetFdFromHostPtr) {
            reopenDescriptorZero();
        }
        judge(request, status, reply.get(), what);
    }

    // Deletes every session the input made, unfiles the shared memory, and checks that nothing
    // is left filed.
    void releaseAndCheck() {
        for (const auto& call : fake_driver::callsTo("dravikSession_createInstance")) {
            int32_t ret = 0;
            service_->session_deleteInstance(call.result, &ret);
        }
        // Memory ids are counted per service from 1, one per filed allocation or import.
        size_t memory_ids = 0;
        for (const char* function :
             {"dravikSession_memAlloc", "dravikSession_memAllocWithName",
              "dravikSession_memAllocV1", "dravikSession_memImport",
              "dravikSession_memImportWithFlag", "dravikSession_memImportV1"}) {
            memory_ids += fake_driver::callsTo(function).size();
        }
        for (uint64_t id = 1; id <= memory_ids; ++id) service_->eraseDravikMem(kSharedOwner, id);
        const tessaro_fuzz::FiledCounts counts = tessaro_fuzz::filedCounts(*service_);
        if (!counts.empty())
            finding("entries left filed after every session was deleted", counts.text);
    }

    const std::set<tessaro_fuzz::FileIdentity>& fencedRunInputs() const {
        return fenced_run_inputs_;
    }

  private:
    void note(IdKind kind, int64_t id) { context_.ids[static_cast<size_t>(kind)].push_back(id); }

    void judge(const tessaro_fuzz::Request& request, binder_status_t status, const AParcel* reply,
               const std::string& what) {
        const bool interface_code =
                request.code >= FIRST_CALL_TRANSACTION && request.code <= LAST_CALL_TRANSACTION;
        const bool known_flags =
                (request.flags & ~(FLAG_ONEWAY | FLAG_CLEAR_BUF | FLAG_PRIVATE_VENDOR)) == 0;
        const bool foreign_token = request.token == tessaro_fuzz::TokenMode::kOther ||
                                   request.token == tessaro_fuzz::TokenMode::kCorrupted ||
                                   request.token == tessaro_fuzz::TokenMode::kNone;
        if (tracing()) std::fprintf(stderr, "%s: transport status %d\n", what.c_str(), status);
        if (status != STATUS_OK) {
            if (!tessaro_fuzz::isTransportStatus(status)) {
                finding("transaction answered " + std::to_string(status), what);
            }
            return;
        }
        if (known_flags && interface_code && foreign_token) {
            finding("a request without the interface's token was served", what);
        }
        if ((request.flags & FLAG_ONEWAY) != 0) {
            if (AParcel_getDataSize(reply) != 0) finding("a oneway call got a reply", what);
            return;
        }
        if (!interface_code) return;  // the runtime's own ping and descriptor
        const tessaro_fuzz::ReplyVerdict verdict = tessaro_fuzz::checkReply(request.code, reply);
        if (tracing()) {
            std::fprintf(stderr, "  method %s, int result %d, %zu new ids\n",
                         verdict.method_succeeded ? "succeeded" : "failed", verdict.int_result,
                         verdict.created.size());
        }
        if (!verdict.problem.empty()) finding("malformed reply: " + verdict.problem, what);
        for (const auto& created : verdict.created) note(created.kind, created.id);
        // A fence from the plain fenced run is the caller's to close.
        if (verdict.method_succeeded && request.code == ITovanDravik::TRANSACTION_cmd_runFence &&
            verdict.int_result > 2) {
            if (!isEventfd(verdict.int_result)) {
                finding("a fenced run answered a descriptor that is no fence", what);
            }
            close(verdict.int_result);
        }
    }

    std::shared_ptr<TovanDravik> service_;
    ndk::SpAIBinder binder_;
    std::shared_ptr<Callback> callback_;
    ndk::SpAIBinder callback_binder_;
    tessaro_fuzz::BuildContext context_;
    std::set<tessaro_fuzz::FileIdentity> fenced_run_inputs_;
};

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
    // Debug logging on, so its lines are formatted (and checked) too.
    DEBUG_LOG_DRAVIK = 1;
    // Descriptor 0 is the one a failed descriptor query closes: the same file before every input.
    const int null_device = open("/dev/null", O_RDWR | O_CLOEXEC);
    if (null_device < 0 || dup3(null_device, 0, O_CLOEXEC) != 0) finding("no /dev/null");
    if (null_device != 0) close(null_device);
    // The fake's shared memfd lives for the whole process; open it before the first snapshot.
    fake_driver::sharedMemoryDescriptor();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const auto before = tessaro_fuzz::openDescriptors();
    fake_driver::reset();
    ByteReader input(data, size);
    std::set<tessaro_fuzz::FileIdentity> deliberately_open;
    {
        Exchange exchange;
        if ((input.u8() & 1) != 0) exchange.fileOneOfEach();
        for (size_t sent = 0; sent < kMaxTransactions && !input.empty(); ++sent) {
            exchange.send(input);
        }
        exchange.releaseAndCheck();
        deliberately_open = exchange.fencedRunInputs();
    }
    std::string closed;
    for (int fd : tessaro_fuzz::descriptorsClosedSince(before)) {
        closed += std::to_string(fd) + " (now " + tessaro_fuzz::describeDescriptor(fd) + ")\n";
    }
    if (!closed.empty()) finding("descriptors of the process were closed", closed);
    std::string leaked;
    for (int fd : tessaro_fuzz::descriptorsOpenedSince(before)) {
        if (deliberately_open.count(tessaro_fuzz::identityOf(fd)) != 0) {
            close(fd);
            continue;
        }
        leaked += tessaro_fuzz::describeDescriptor(fd) + "\n";
    }
    if (!leaked.empty()) finding("descriptors left open", leaked);
    fake_driver::reset();
    return 0;
}
