// Random transactions into the service's generated stub, in process, over the scriptable fake
// driver. The fake answers every driver call with success and a fresh handle, so a well-formed
// request with ids the service handed out goes through every step of its method, and the only
// refusals are the service's own; no real memory, threads or run times make an execution slow or
// depend on the one before.
//
// Each input is a short series of transactions sent to a fresh service: the code, the flags, the
// interface token (the right one, another one, none, raw bytes or a corrupted one) and values of
// any kind after it (the layout is in tests/fuzz/README.md). The transport may refuse one with a
// STATUS_* number; a request without the interface's token must not be served, a oneway call
// gets no reply, and any other reply must be well-formed (checkReply). Afterwards every session
// the input made is deleted, the shared memory records (which no session deletion sweeps) are
// unfiled, and the service's dump must show nothing filed. Every descriptor opened during the
// input must be closed again, except the input fence of a fenced run on an unknown command, which
// the service deliberately leaves open (command/FencedRun.cpp). A descriptor query that fails
// answers descriptor 0, which the stub's holder closes after the reply, as on the device: the
// process's descriptor 0 is deliberately lost then, so it is opened again on /dev/null after each
// such call.
#include <FakeDriver.h>
#include <aidl/android/hardware/common/NativeHandle.h>
#include <aidl/vendor/korvane/hardware/tessaro/dravik/BnTovanDravikCallback.h>
#include <aidl/vendor/korvane/hardware/tessaro/dravik/ITovanDravik.h>
#include <android/binder_parcel.h>
#include <android/binder_parcel_utils.h>
#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <initializer_list>
#include <iterator>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "ByteReader.h"
#include "Descriptors.h"
#include "Finding.h"
#include "ServiceState.h"
#include "service/DebugConfig.h"
#include "service/TovanDravik.h"

namespace {

using namespace aidl::vendor::korvane::hardware::tessaro::dravik;
using namespace tessaro_fuzz;
using aidl::android::hardware::common::NativeHandle;
using T = ITovanDravik;  // the interface: its codes, token, version and hash

constexpr size_t kMaxTransactions = 16;
constexpr size_t kMaxValues = 48;
// Tags the parcel writes where an object's slot is; raw words can forge them.
constexpr uint32_t kDescriptorTag = 0x46444553;
constexpr uint32_t kBinderTag = 0x444e4942;

// The kinds of id the service hands out, in the order the input names them.
enum IdKind : uint8_t { kSession, kMemory, kCommand, kCommandBuffer, kSubCommand, kIdKinds };

// What a well-formed reply carried.
struct ReplyContent {
    bool succeeded = false;                           // the status header said OK
    int32_t int_result = 0;                           // for the methods that return an int
    std::vector<std::pair<IdKind, int64_t>> created;  // ids handed out
};

// Reads one method's result after a successful status: the problem, or empty.
using ResultReader = std::string (*)(const AParcel* reply, ReplyContent* content);

// A result of type Result. An int is kept for the caller; when kind names a kind of id, the result
// is a new id of that kind: a long that is not 0, or a record holding it in its member id.
template <typename Result, IdKind kind = kIdKinds, auto id = nullptr>
std::string result(const AParcel* reply, ReplyContent* content) {
    Result value{};
    if (ndk::AParcel_readData(reply, &value) != STATUS_OK) return "no result of the method's type";
    if constexpr (std::is_same_v<Result, int32_t>) content->int_result = value;
    if constexpr (std::is_same_v<Result, int64_t> && kind != kIdKinds) {
        if (value == 0) return "a new id of 0 with a successful status";
        content->created.emplace_back(kind, value);
    }
    if constexpr (id != nullptr) content->created.emplace_back(kind, value.*id);
    return "";
}

// The reader of each method's result, by transaction code: an int unless listed here.
const std::map<transaction_code_t, ResultReader>& resultReaders() {
    static_assert(T::TRANSACTION_session_memImportV1 == FIRST_CALL_TRANSACTION + 47,
                  "the methods are codes 1 to 48");
    static const auto table = [] {
        std::map<transaction_code_t, ResultReader> readers;
        for (transaction_code_t code = FIRST_CALL_TRANSACTION; code <= FIRST_CALL_TRANSACTION + 47;
             ++code) {
            readers[code] = result<int32_t>;
        }
        const auto set = [&](std::initializer_list<transaction_code_t> codes, ResultReader reader) {
            for (const transaction_code_t code : codes) readers[code] = reader;
        };
        set({T::TRANSACTION_cmd_getRunInfo, T::TRANSACTION_session_memGetInfoFromHostPtr,
             T::TRANSACTION_session_queryDeviceNum, T::TRANSACTION_session_queryInfo,
             T::TRANSACTION_subCmd_getRunInfo},
            result<int64_t>);
        set({T::TRANSACTION_cmd_getRunInfos, T::TRANSACTION_subCmd_getRunInfos,
             T::TRANSACTION_cmd_cachedAndRunWithTypeExt},
            result<std::vector<int64_t>>);
        set({T::TRANSACTION_session_memAlloc, T::TRANSACTION_session_memAllocWithName,
             T::TRANSACTION_session_memAllocV1, T::TRANSACTION_session_memImport,
             T::TRANSACTION_session_memImportWithFlag, T::TRANSACTION_session_memImportV1},
            result<DRAVIK_MEMINFO_HD, kMemory, &DRAVIK_MEMINFO_HD::mem_id>);
        set({T::TRANSACTION_session_cmdBufAlloc, T::TRANSACTION_session_cmdBufAllocWithName},
            result<DRAVIK_CMDBUF_INFO_HD, kCommandBuffer, &DRAVIK_CMDBUF_INFO_HD::cmd_buf_id>);
        set({T::TRANSACTION_session_createInstance}, result<int64_t, kSession>);
        set({T::TRANSACTION_session_createCmd}, result<int64_t, kCommand>);
        set({T::TRANSACTION_cmd_createSubcmd}, result<int64_t, kSubCommand>);
        set({T::TRANSACTION_session_memGetFdFromHostPtr}, result<ndk::ScopedFileDescriptor>);
        set({T::TRANSACTION_setCallback, T::TRANSACTION_unSetCallback},
            [](const AParcel*, ReplyContent*) { return std::string(); });
        set({T::TRANSACTION_cmd_runFence_v2}, [](const AParcel* reply, ReplyContent* content) {
            // The fence, then the handle.
            const std::string problem = result<int32_t>(reply, content);
            return problem.empty() ? result<NativeHandle>(reply, content) : problem;
        });
        set({T::TRANSACTION_getInterfaceVersion}, [](const AParcel* reply, ReplyContent*) {
            int32_t version = 0;
            const bool read = AParcel_readInt32(reply, &version) == STATUS_OK;
            return std::string(read && version == T::version ? "" : "no version, or another one");
        });
        set({T::TRANSACTION_getInterfaceHash}, [](const AParcel* reply, ReplyContent*) {
            std::string hash;
            const bool read = ndk::AParcel_readString(reply, &hash) == STATUS_OK;
            return std::string(read && hash == T::hash ? "" : "no hash, or another one");
        });
        return readers;
    }();
    return table;
}

// Whether status is one of the platform's STATUS_* numbers, all the transport may answer for a
// transaction that did not reach a method or that the stub refused.
bool isTransportStatus(binder_status_t status) {
    static const std::set<binder_status_t> kStatuses = {
            STATUS_UNKNOWN_ERROR,      STATUS_NO_MEMORY,
            STATUS_INVALID_OPERATION,  STATUS_BAD_VALUE,
            STATUS_BAD_TYPE,           STATUS_NAME_NOT_FOUND,
            STATUS_PERMISSION_DENIED,  STATUS_NO_INIT,
            STATUS_ALREADY_EXISTS,     STATUS_DEAD_OBJECT,
            STATUS_FAILED_TRANSACTION, STATUS_BAD_INDEX,
            STATUS_NOT_ENOUGH_DATA,    STATUS_WOULD_BLOCK,
            STATUS_TIMED_OUT,          STATUS_UNKNOWN_TRANSACTION,
            STATUS_FDS_NOT_ALLOWED,    STATUS_UNEXPECTED_NULL,
    };
    return kStatuses.count(status) != 0;
}

// What is wrong with reply, the answer to a two-way transaction of code that returned STATUS_OK;
// empty when it is a status header that can be read and then an EX_* exception with nothing after
// it, or success followed by exactly the method's result.
std::string checkReply(transaction_code_t code, const AParcel* reply, ReplyContent* content) {
    const auto reader = resultReaders().find(code);
    if (reply == nullptr) return "no reply parcel with STATUS_OK";
    if (reader == resultReaders().end()) return "a code no method has was answered with STATUS_OK";
    ndk::ScopedAStatus status;
    if (AParcel_readStatusHeader(reply, status.getR()) != STATUS_OK) return "no status header";
    // The exceptions are EX_SECURITY (-1) down to EX_PARCELABLE (-9), and EX_TRANSACTION_FAILED.
    const int32_t exception = status.getExceptionCode();
    if ((exception > EX_SECURITY || exception < EX_PARCELABLE) && exception != EX_NONE &&
        exception != EX_TRANSACTION_FAILED) {
        return "exception " + std::to_string(exception) + " is not an EX_* code";
    }
    content->succeeded = status.isOk();
    const std::string problem = content->succeeded ? reader->second(reply, content) : "";
    if (!problem.empty()) return problem;
    if (AParcel_getDataPosition(reply) != AParcel_getDataSize(reply)) {
        return "data after the status or result";
    }
    return "";
}

// How a request begins.
enum TokenMode : uint8_t {
    kCorrect,    // the interface's own token
    kOther,      // another interface's token
    kNone,       // nothing before the values
    kRaw,        // raw bytes of any length, then the values
    kCorrupted,  // the interface's token with one character changed
};

using KnownIds = std::array<std::vector<int64_t>, kIdKinds>;

class Callback : public BnTovanDravikCallback {};

// One request, as the input describes it.
struct Request {
    ByteReader& in;
    const KnownIds& ids;  // handed out so far, by kind
    AIBinder* callback;
    transaction_code_t code = 0;
    binder_flags_t flags = 0;
    uint8_t token = kCorrect;
    ndk::ScopedAParcel parcel;
    AParcel* out = nullptr;              // the parcel, while it is written
    std::vector<int32_t> record_starts;  // where each record still open began
    // The files of the descriptors attached, so that one the service keeps open deliberately can
    // be told apart from a leak.
    std::multiset<FileIdentity> attached;

    Request(ByteReader& input, const KnownIds& known, AIBinder* binder)
        : in(input), ids(known), callback(binder) {}

    // False when the parcel could not be made.
    bool build(AIBinder* binder);
};

// One per value kind, in the order the input names them. A write the parcel refuses is simply not
// there, as for a client whose write failed.
void (*const kValueWriters[])(Request&) = {
        [](Request& r) { AParcel_writeInt32(r.out, static_cast<int32_t>(r.in.u32())); },
        [](Request& r) { AParcel_writeInt64(r.out, static_cast<int64_t>(r.in.u64())); },
        [](Request& r) {  // an id the service handed out
            const std::vector<int64_t>& known = r.ids[r.in.u8() % kIdKinds];
            const uint8_t index = r.in.u8();
            AParcel_writeInt64(r.out, known.empty() ? 0 : known[index % known.size()]);
        },
        [](Request& r) {
            const std::string text = r.in.text(r.in.u8());
            AParcel_writeString(r.out, text.c_str(), static_cast<int32_t>(text.size()));
        },
        [](Request& r) { AParcel_writeString(r.out, nullptr, -1); },
        [](Request& r) {
            const ndk::ScopedFileDescriptor fd = makeDescriptor(r.in.u8());
            if (fd.get() >= 0) r.attached.insert(identityOf(fd.get()));
            AParcel_writeParcelFileDescriptor(r.out, fd.get());
        },
        [](Request& r) { AParcel_writeParcelFileDescriptor(r.out, -1); },
        [](Request& r) { AParcel_writeInt32(r.out, closedDescriptorNumber()); },
        [](Request& r) {  // raw words
            for (uint8_t words = r.in.u8() % 16; words > 0; --words) {
                AParcel_writeInt32(r.out, static_cast<int32_t>(r.in.u32()));
            }
        },
        [](Request& r) {  // an object's tag without the object
            AParcel_writeUint32(r.out, r.in.u8() % 2 == 0 ? kDescriptorTag : kBinderTag);
        },
        [](Request& r) { AParcel_writeStrongBinder(r.out, r.callback); },
        [](Request& r) { AParcel_writeStrongBinder(r.out, nullptr); },
        [](Request& r) { AParcel_writeInt64(r.out, static_cast<int8_t>(r.in.u8())); },
        [](Request& r) {  // a record's start: its size goes here at its end, as its writer does
            r.record_starts.push_back(AParcel_getDataPosition(r.out));
            AParcel_writeInt32(r.out, 0);
        },
        [](Request& r) {
            if (r.record_starts.empty()) return;
            const int32_t start = r.record_starts.back();
            const int32_t end = AParcel_getDataPosition(r.out);
            r.record_starts.pop_back();
            AParcel_setDataPosition(r.out, start);
            AParcel_writeInt32(r.out, end - start);
            AParcel_setDataPosition(r.out, end);
        },
};

bool Request::build(AIBinder* binder) {
    // Codes 1-48 are the methods; selectors 48-55 name codes of no method, the reserved ones, the
    // host runtime's ping ('_PNG') and interface descriptor ('_NTF'), and the call range's edges.
    static constexpr transaction_code_t kOtherCodes[] = {
            0,
            FIRST_CALL_TRANSACTION + 48,
            T::TRANSACTION_getInterfaceVersion,
            T::TRANSACTION_getInterfaceHash,
            0x5f504e47,
            0x5f4e5446,
            LAST_CALL_TRANSACTION,
            LAST_CALL_TRANSACTION + 1,
    };
    const uint8_t selector = in.u8();
    code = selector == 56 ? in.u32() : FIRST_CALL_TRANSACTION + selector % 48;
    if (selector >= 48 && selector < 56) code = kOtherCodes[selector - 48];
    const uint8_t flag_mode = in.u8();
    flags = flag_mode == 1 ? FLAG_ONEWAY : flag_mode == 2 ? in.u32() : 0;
    token = in.u8() % 5;
    if (AIBinder_prepareTransaction(binder, parcel.getR()) != STATUS_OK) return false;
    out = parcel.get();
    if (token != kCorrect) {  // in place of the token prepareTransaction wrote
        std::string text = T::descriptor;
        if (token == kOther) text = ITovanDravikCallback::descriptor;
        const std::vector<uint8_t> raw = in.bytes(token == kRaw ? in.u8() : 0);
        if (token == kCorrupted) {
            const size_t index = in.u8() % text.size();
            text[index] = static_cast<char>(text[index] ^ (1 + in.u8() % 127));
        }
        if (AParcel_unmarshal(out, raw.data(), raw.size()) != STATUS_OK) return false;
        if ((token == kOther || token == kCorrupted) &&
            AParcel_writeString(out, text.c_str(), text.size()) != STATUS_OK) {
            return false;
        }
    }
    const size_t values = in.u8() % kMaxValues;
    for (size_t value = 0; value < values && !in.empty(); ++value) {
        kValueWriters[in.u8() % std::size(kValueWriters)](*this);
    }
    return true;
}

// A fresh service, the ids it handed out, and the descriptors it may keep.
class Exchange {
  public:
    // A session with one of each resource, made by direct calls, so that requests can name them.
    void fileOneOfEach() {
        int64_t session = 0, command = 0, sub_command = 0;
        DRAVIK_MEMINFO_HD memory, shared;
        DRAVIK_CMDBUF_INFO_HD buffer;
        service_->session_createInstance(&session);
        service_->session_memAlloc(session, 4096, 0, 0, 0, &memory);
        service_->session_memAlloc(session, 4096, 0, 1, 0, &shared);
        service_->session_createCmd(session, &command);
        service_->cmd_createSubcmd(session, command, 1, &sub_command);
        service_->session_cmdBufAlloc(session, 4096, 0, &buffer);
        // The fake driver lets every call succeed: these are all real ids.
        ids_ = {{{session},
                 {memory.mem_id, shared.mem_id},
                 {command},
                 {buffer.cmd_buf_id},
                 {sub_command}}};
    }

    void send(ByteReader& input) {
        Request request(input, ids_, callback_binder_.get());
        if (!request.build(binder_.get())) finding("a request parcel could not be prepared");
        // A oneway fenced run drops the reply, and with it the caller's fence: the caller's loss,
        // not the service's, so fenced runs are always sent two-way.
        if (request.code == T::TRANSACTION_cmd_runFence) request.flags &= ~FLAG_ONEWAY;
        if (request.code == T::TRANSACTION_cmd_runFence_v2) {
            deliberately_open_.insert(request.attached.begin(), request.attached.end());
        }
        const std::string what = "code " + std::to_string(request.code) + " flags " +
                                 std::to_string(request.flags) + " token mode " +
                                 std::to_string(request.token);
        AParcel* raw_request = request.parcel.release();
        ndk::ScopedAParcel reply;
        const binder_status_t status = AIBinder_transact(binder_.get(), request.code, &raw_request,
                                                         reply.getR(), request.flags);
        if (raw_request != nullptr) finding("the request was not consumed", what);
        // TESSARO_FUZZ_TRACE=1 shows what an input does.
        static const bool trace = std::getenv("TESSARO_FUZZ_TRACE") != nullptr;
        if (trace) std::fprintf(stderr, "%s: transport status %d\n", what.c_str(), status);
        // Descriptor 0 on /dev/null again, if a failed descriptor query closed it.
        if (request.code == T::TRANSACTION_session_memGetFdFromHostPtr && fcntl(0, F_GETFD) < 0 &&
            open("/dev/null", O_RDWR | O_CLOEXEC) != 0) {
            finding("descriptor 0 could not be opened again");
        }
        judge(request, status, reply.get(), what);
    }

    // Deletes every session the input made, unfiles the shared memory, and checks that nothing
    // is left filed.
    void releaseAndCheck() {
        int32_t ret = 0;
        for (const auto& call : fake_driver::callsTo("dravikSession_createInstance")) {
            service_->session_deleteInstance(call.result, &ret);
        }
        // Memory ids are counted per service from 1, one per filed allocation or import: at most
        // one per transaction, and the two the setup files.
        for (uint64_t id = 1; id <= kMaxTransactions + 2; ++id) {
            service_->eraseDravikMem(kSharedOwner, id);
        }
        checkNothingFiled(*service_);
    }

    const std::multiset<FileIdentity>& deliberatelyOpen() const { return deliberately_open_; }

  private:
    void judge(const Request& request, binder_status_t status, const AParcel* reply,
               const std::string& what) {
        if (status != STATUS_OK) {
            if (!isTransportStatus(status)) finding("answered " + std::to_string(status), what);
            return;
        }
        const bool interface_code =
                request.code >= FIRST_CALL_TRANSACTION && request.code <= LAST_CALL_TRANSACTION;
        const bool known_flags =
                (request.flags & ~(FLAG_ONEWAY | FLAG_CLEAR_BUF | FLAG_PRIVATE_VENDOR)) == 0;
        if (known_flags && interface_code && request.token != kCorrect && request.token != kRaw) {
            finding("a request without the interface's token was served", what);
        }
        if ((request.flags & FLAG_ONEWAY) != 0) {
            if (AParcel_getDataSize(reply) != 0) finding("a oneway call got a reply", what);
            return;
        }
        if (!interface_code) return;  // the runtime's own ping and descriptor
        ReplyContent content;
        const std::string problem = checkReply(request.code, reply, &content);
        if (!problem.empty()) finding("malformed reply: " + problem, what);
        for (const auto& [kind, id] : content.created) ids_[kind].push_back(id);
        // A fence from the plain fenced run is the caller's to close.
        if (content.succeeded && request.code == T::TRANSACTION_cmd_runFence &&
            content.int_result > 2) {
            if (describeDescriptor(content.int_result).find("[eventfd]") == std::string::npos) {
                finding("a fenced run answered a descriptor that is no fence", what);
            }
            close(content.int_result);
        }
    }

    std::shared_ptr<TovanDravik> service_ = ndk::SharedRefBase::make<TovanDravik>();
    ndk::SpAIBinder binder_ = service_->asBinder();
    std::shared_ptr<Callback> callback_ = ndk::SharedRefBase::make<Callback>();
    ndk::SpAIBinder callback_binder_ = callback_->asBinder();
    KnownIds ids_;
    std::multiset<FileIdentity> deliberately_open_;
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
    const auto before = openDescriptors();
    fake_driver::reset();
    ByteReader input(data, size);
    std::multiset<FileIdentity> deliberately_open;
    {
        Exchange exchange;
        if ((input.u8() & 1) != 0) exchange.fileOneOfEach();
        for (size_t sent = 0; sent < kMaxTransactions && !input.empty(); ++sent) {
            exchange.send(input);
        }
        exchange.releaseAndCheck();
        deliberately_open = exchange.deliberatelyOpen();
    }
    checkDescriptors(before, deliberately_open);
    fake_driver::reset();
    return 0;
}
