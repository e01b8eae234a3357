// Local binders: transactions through parcels, their checks, lifetimes and references.
#include <android/binder_auto_utils.h>
#include <android/binder_ibinder.h>
#include <android/binder_parcel_utils.h>
#include <android/binder_stability.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <string>
#include <thread>

#include "AdderInterface.h"
#include "binder.h"
#include "calling_identity.h"
#include "transaction_codes.h"

namespace {

using adder::Adder;
using adder::BpAdder;
using adder::IAdder;

TEST(LocalBinderTest, ProxyTransactsThroughTheLocalBinder) {
    auto service = ndk::SharedRefBase::make<Adder>();
    ndk::SpAIBinder binder = service->asBinder();
    EXPECT_EQ(service->asBinder(), binder);  // reused while alive
    EXPECT_FALSE(service->isRemote());
    EXPECT_EQ(IAdder::fromBinder(binder), service);  // a local binder gives the local object

    auto proxy = ndk::SharedRefBase::make<BpAdder>(binder);
    EXPECT_FALSE(proxy->isRemote());
    EXPECT_EQ(proxy->asBinder(), binder);
    const int transactions = Adder::transaction_count;
    int32_t sum = 0;
    ndk::ScopedAStatus status = proxy->add(40, 2, &sum);
    EXPECT_TRUE(status.isOk()) << status.getDescription();
    EXPECT_EQ(sum, 42);
    EXPECT_EQ(Adder::transaction_count, transactions + 1);

    status = proxy->add(INT32_MAX, 1, &sum);
    EXPECT_EQ(status.getExceptionCode(), EX_SERVICE_SPECIFIC);
    EXPECT_EQ(status.getServiceSpecificError(), IAdder::kOverflow);
    EXPECT_STREQ(status.getMessage(), "sum overflows");
    EXPECT_EQ(sum, 42);  // nothing read after a failed status

    // Dumps reach the object's dump().
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    const char* args[] = {"-a"};
    EXPECT_EQ(proxy->dump(ends[1], args, 1), STATUS_OK);
    close(ends[1]);
    char text[16] = {};
    EXPECT_EQ(read(ends[0], text, sizeof(text) - 1), 8);
    close(ends[0]);
    EXPECT_STREQ(text, "adder -a");
    EXPECT_EQ(AIBinder_dump(binder.get(), -1, nullptr, 1), STATUS_UNEXPECTED_NULL);
}

TEST(LocalBinderTest, BinderKeepsItsObjectAlive) {
    const int live = Adder::live_count;
    auto service = ndk::SharedRefBase::make<Adder>();
    ndk::SpAIBinder binder = service->asBinder();
    Adder* object = service.get();
    service.reset();
    EXPECT_EQ(Adder::live_count, live + 1);
    EXPECT_EQ(IAdder::fromBinder(binder).get(), object);
    binder.set(nullptr);
    EXPECT_EQ(Adder::live_count, live);
}

// Sends a request prepared for binder, after letting edit change it.
template <typename Edit>
binder_status_t transact(AIBinder* binder, transaction_code_t code, binder_flags_t flags, Edit edit,
                         ndk::ScopedAParcel* reply) {
    AParcel* request = nullptr;
    binder_status_t status = AIBinder_prepareTransaction(binder, &request);
    if (status != STATUS_OK) return status;
    edit(request);
    reply->set(nullptr);  // the reply pointer is overwritten, not released
    status = AIBinder_transact(binder, code, &request, reply->getR(), flags);
    EXPECT_EQ(request, nullptr);  // consumed whatever the outcome
    return status;
}

TEST(LocalBinderTest, TransactionsAreCheckedBeforeTheyRun) {
    auto service = ndk::SharedRefBase::make<Adder>();
    ndk::SpAIBinder binder = service->asBinder();
    const int transactions = Adder::transaction_count;
    auto arguments = [](AParcel* request) {
        AParcel_writeInt32(request, 1);
        AParcel_writeInt32(request, 2);
    };
    auto wrong_token = [](AParcel* request) {
        AParcel_setDataPosition(request, 0);
        ndk::AParcel_writeString(request, std::string("test.other.IOther"));
    };
    ndk::ScopedAParcel reply;
    EXPECT_EQ(transact(binder.get(), IAdder::TRANSACTION_add, 0, wrong_token, &reply),
              STATUS_BAD_TYPE);
    EXPECT_EQ(reply.get(), nullptr);
    EXPECT_EQ(transact(binder.get(), LAST_CALL_TRANSACTION + 1, 0, arguments, &reply),
              STATUS_UNKNOWN_TRANSACTION);
    EXPECT_EQ(transact(binder.get(), 0, 0, arguments, &reply), STATUS_UNKNOWN_TRANSACTION);
    EXPECT_EQ(transact(binder.get(), IAdder::TRANSACTION_add, 0x4, arguments, &reply),
              STATUS_BAD_VALUE);
    EXPECT_EQ(Adder::transaction_count, transactions);  // none reached onTransact

    // A parcel that was not prepared for this binder is refused.
    AParcel* foreign = AParcel_create();
    EXPECT_EQ(AIBinder_transact(binder.get(), IAdder::TRANSACTION_add, &foreign, reply.getR(), 0),
              STATUS_BAD_VALUE);
    EXPECT_EQ(foreign, nullptr);
    EXPECT_EQ(AIBinder_transact(binder.get(), 1, nullptr, reply.getR(), 0), STATUS_UNEXPECTED_NULL);

    // Codes the interface does not know are its own answer; the runtime's codes are answered.
    EXPECT_EQ(transact(binder.get(), IAdder::TRANSACTION_add + 1, 0, arguments, &reply),
              STATUS_UNKNOWN_TRANSACTION);
    EXPECT_EQ(Adder::transaction_count, transactions + 1);
    EXPECT_EQ(transact(binder.get(), host_binder::kInterfaceTransaction, 0, arguments, &reply),
              STATUS_OK);
    std::string descriptor;
    EXPECT_EQ(ndk::AParcel_readString(reply.get(), &descriptor), STATUS_OK);
    EXPECT_EQ(descriptor, IAdder::descriptor);
    EXPECT_EQ(transact(binder.get(), host_binder::kPingTransaction, 0, arguments, &reply),
              STATUS_OK);
    EXPECT_EQ(AIBinder_ping(binder.get()), STATUS_OK);

    // Oneway still runs at once, and replies with nothing.
    EXPECT_EQ(transact(binder.get(), IAdder::TRANSACTION_add, FLAG_ONEWAY, arguments, &reply),
              STATUS_OK);
    EXPECT_EQ(service->last_sum, 3);
    ASSERT_NE(reply.get(), nullptr);
    EXPECT_EQ(AParcel_getDataSize(reply.get()), 0);
}

TEST(LocalBinderTest, ClassesAndUserData) {
    static int destroyed = 0;
    static AIBinder_Class* const counted = AIBinder_Class_define(
            "test.Counted", [](void* args) { return args; },
            [](void* data) { destroyed += *static_cast<int*>(data); },
            [](AIBinder*, transaction_code_t, const AParcel*, AParcel*) -> binder_status_t {
                return STATUS_OK;
            });
    static AIBinder_Class* const twin =
            ndk::ICInterface::defineClass("test.Counted",
                                          [](AIBinder*, transaction_code_t, const AParcel*,
                                             AParcel*) -> binder_status_t { return STATUS_OK; });
    ASSERT_NE(counted, nullptr);
    EXPECT_STREQ(AIBinder_Class_getDescriptor(counted), "test.Counted");
    EXPECT_EQ(AIBinder_Class_define(nullptr, nullptr, nullptr, nullptr), nullptr);
    EXPECT_EQ(AIBinder_new(nullptr, nullptr), nullptr);

    int weight = 5;
    AIBinder* binder = AIBinder_new(counted, &weight);
    ASSERT_NE(binder, nullptr);
    EXPECT_EQ(AIBinder_getUserData(binder), &weight);
    EXPECT_EQ(AIBinder_getClass(binder), counted);
    EXPECT_FALSE(AIBinder_isRemote(binder));
    EXPECT_TRUE(AIBinder_isAlive(binder));
    EXPECT_TRUE(AIBinder_associateClass(binder, counted));
    EXPECT_FALSE(AIBinder_associateClass(binder, IAdder::binderClass()));
    EXPECT_FALSE(AIBinder_associateClass(binder, twin));  // same descriptor, another class
    EXPECT_FALSE(AIBinder_associateClass(binder, nullptr));
    EXPECT_EQ(IAdder::fromBinder(ndk::SpAIBinder(binder)), nullptr);  // takes our reference
    EXPECT_EQ(destroyed, 5);

    // Stability is recorded with the binder.
    auto service = ndk::SharedRefBase::make<Adder>();
    ndk::SpAIBinder adder_binder = service->asBinder();
    EXPECT_EQ(adder_binder.get()->stability(), host_binder::Stability::kLocal);
    AIBinder_markVintfStability(adder_binder.get());
    EXPECT_EQ(adder_binder.get()->stability(), host_binder::Stability::kVintf);
    AIBinder_markVintfStability(nullptr);
}

TEST(LocalBinderTest, StrongAndWeakReferences) {
    const int live = Adder::live_count;
    auto service = ndk::SharedRefBase::make<Adder>();
    AIBinder* binder = service->asBinder().get();  // only the object's weak reference remains
    service.reset();
    EXPECT_EQ(Adder::live_count, live);  // nobody held the binder: both are gone

    service = ndk::SharedRefBase::make<Adder>();
    ndk::SpAIBinder strong = service->asBinder();
    binder = strong.get();
    EXPECT_EQ(AIBinder_debugGetRefCount(binder), 1);
    ndk::SpAIBinder copy = strong;
    AIBinder_incStrong(binder);
    EXPECT_EQ(AIBinder_debugGetRefCount(binder), 3);
    AIBinder_decStrong(binder);

    ndk::ScopedAIBinder_Weak weak(AIBinder_Weak_new(binder));
    ndk::ScopedAIBinder_Weak clone(AIBinder_Weak_clone(weak.get()));
    EXPECT_FALSE(AIBinder_Weak_lt(weak.get(), clone.get()) ||
                 AIBinder_Weak_lt(clone.get(), weak.get()));  // the same binder
    ndk::SpAIBinder promoted(AIBinder_Weak_promote(weak.get()));
    EXPECT_EQ(promoted.get(), binder);
    EXPECT_EQ(AIBinder_debugGetRefCount(binder), 3);

    service.reset();
    copy.set(nullptr);
    promoted.set(nullptr);
    EXPECT_EQ(Adder::live_count, live + 1);
    strong.set(nullptr);  // the last strong reference
    EXPECT_EQ(Adder::live_count, live);
    EXPECT_EQ(AIBinder_Weak_promote(weak.get()), nullptr);
    EXPECT_EQ(AIBinder_Weak_promote(clone.get()), nullptr);
    EXPECT_EQ(AIBinder_debugGetRefCount(nullptr), -1);
    EXPECT_EQ(AIBinder_Weak_new(nullptr), nullptr);
}

TEST(LocalBinderTest, ConcurrentCallersShareOrRecreateTheBinder) {
    auto service = ndk::SharedRefBase::make<Adder>();
    std::atomic<int> failures{0};
    auto caller = [&](int32_t step) {
        for (int32_t round = 0; round < 300; ++round) {
            // Binders come and go as callers drop them; each must still reach the one object.
            ndk::SpAIBinder binder = service->asBinder();
            auto proxy = ndk::SharedRefBase::make<BpAdder>(binder);
            int32_t sum = 0;
            if (IAdder::fromBinder(binder) != service || !proxy->add(round, step, &sum).isOk() ||
                sum != round + step) {
                ++failures;
            }
        }
    };
    std::thread first(caller, 1);
    std::thread second(caller, 2);
    first.join();
    second.join();
    EXPECT_EQ(failures, 0);
}

TEST(LocalBinderTest, CallingIdentityIsPerThread) {
    EXPECT_EQ(AIBinder_getCallingPid(), getpid());
    EXPECT_EQ(AIBinder_getCallingUid(), getuid());
    std::atomic<pid_t> seen_elsewhere{0};
    {
        host_binder::ScopedCallingIdentity outer({1234, 5678});
        EXPECT_EQ(AIBinder_getCallingPid(), 1234);
        {
            host_binder::ScopedCallingIdentity inner({42, 43});
            EXPECT_EQ(AIBinder_getCallingUid(), 43u);
        }
        EXPECT_EQ(AIBinder_getCallingUid(), 5678u);
        std::thread other([&] { seen_elsewhere = AIBinder_getCallingPid(); });
        other.join();
    }
    EXPECT_EQ(seen_elsewhere, getpid());
    EXPECT_EQ(AIBinder_getCallingPid(), getpid());
}

}  // namespace
