// Local binders: which object a binder stands for, how long each keeps the other and why it takes
// no death link, and the checks a transaction passes before it reaches onTransact.
#include <android/binder_auto_utils.h>
#include <android/binder_ibinder.h>
#include <gtest/gtest.h>

#include "LocalAdder.h"

namespace {

TEST(LocalBinderTest, BinderAndObjectKeepEachOtherAndTakeNoDeathLinks) {
    const int live = Adder::live_count;
    auto service = ndk::SharedRefBase::make<Adder>();
    ndk::SpAIBinder binder = service->asBinder();
    // A local binder dies with its own process: there is nothing to link to.
    ndk::ScopedAIBinder_DeathRecipient recipient(AIBinder_DeathRecipient_new([](void*) {}));
    EXPECT_EQ(AIBinder_linkToDeath(binder.get(), recipient.get(), nullptr),
              STATUS_INVALID_OPERATION);
    EXPECT_EQ(AIBinder_unlinkToDeath(binder.get(), recipient.get(), nullptr),
              STATUS_INVALID_OPERATION);
    EXPECT_EQ(AIBinder_linkToDeath(nullptr, recipient.get(), nullptr), STATUS_UNEXPECTED_NULL);
    EXPECT_EQ(AIBinder_linkToDeath(binder.get(), nullptr, nullptr), STATUS_UNEXPECTED_NULL);
    EXPECT_TRUE(AIBinder_isAlive(binder.get()));
    EXPECT_EQ(service->asBinder(), binder);  // reused while anyone holds it
    // Only its own class admits a binder: not another one, even of the same descriptor.
    static AIBinder_Class* const twin =
            ndk::ICInterface::defineClass(Adder::kDescriptor,
                                          [](AIBinder*, transaction_code_t, const AParcel*,
                                             AParcel*) -> binder_status_t { return STATUS_OK; });
    EXPECT_FALSE(AIBinder_associateClass(binder.get(), twin));
    EXPECT_FALSE(AIBinder_associateClass(binder.get(), nullptr));
    service.reset();
    EXPECT_EQ(Adder::live_count, live + 1);  // the binder keeps its object

    ndk::ScopedAIBinder_Weak weak(AIBinder_Weak_new(binder.get()));
    ndk::SpAIBinder promoted(AIBinder_Weak_promote(weak.get()));
    EXPECT_EQ(promoted, binder);
    EXPECT_EQ(AIBinder_debugGetRefCount(binder.get()), 2);
    promoted.set(nullptr);
    binder.set(nullptr);  // the last strong reference takes the object with it
    EXPECT_EQ(Adder::live_count, live);
    EXPECT_EQ(AIBinder_Weak_promote(weak.get()), nullptr);

    // The object only remembers its binder weakly: nobody held this one, so both are gone.
    auto unheld = ndk::SharedRefBase::make<Adder>();
    EXPECT_NE(unheld->asBinder().get(), nullptr);
    unheld.reset();
    EXPECT_EQ(Adder::live_count, live);
}

// Sends 40 and 2 in a request prepared for binder; the request is always consumed.
binder_status_t transact(AIBinder* binder, transaction_code_t code, binder_flags_t flags,
                         ndk::ScopedAParcel* reply) {
    ndk::ScopedAParcel request;
    binder_status_t status = AIBinder_prepareTransaction(binder, request.getR());
    if (status != STATUS_OK) return status;
    AParcel_writeInt32(request.get(), 40);
    AParcel_writeInt32(request.get(), 2);
    reply->set(nullptr);  // the reply pointer is overwritten, not released
    status = AIBinder_transact(binder, code, request.getR(), reply->getR(), flags);
    EXPECT_EQ(request.get(), nullptr);
    return status;
}

TEST(LocalBinderTest, TransactionsAreCheckedBeforeTheyRun) {
    auto service = ndk::SharedRefBase::make<Adder>();
    ndk::SpAIBinder binder = service->asBinder();
    const int transactions = Adder::transaction_count;
    // A wrong interface token is refused where every transaction is served; the bad-input tests
    // prove that across processes.
    ndk::ScopedAParcel reply;
    EXPECT_EQ(transact(binder.get(), LAST_CALL_TRANSACTION + 1, 0, &reply),
              STATUS_UNKNOWN_TRANSACTION);
    EXPECT_EQ(reply.get(), nullptr);
    EXPECT_EQ(transact(binder.get(), 0, 0, &reply), STATUS_UNKNOWN_TRANSACTION);
    EXPECT_EQ(transact(binder.get(), FIRST_CALL_TRANSACTION, 0x4, &reply), STATUS_BAD_VALUE);
    AParcel* foreign = AParcel_create();  // not prepared for this binder
    EXPECT_EQ(AIBinder_transact(binder.get(), FIRST_CALL_TRANSACTION, &foreign, reply.getR(), 0),
              STATUS_BAD_VALUE);
    EXPECT_EQ(foreign, nullptr);
    EXPECT_EQ(Adder::transaction_count, transactions);  // none reached onTransact

    EXPECT_EQ(AIBinder_ping(binder.get()), STATUS_OK);  // answered by the runtime itself
    ASSERT_EQ(transact(binder.get(), FIRST_CALL_TRANSACTION, 0, &reply), STATUS_OK);
    int32_t sum = 0;
    EXPECT_EQ(AParcel_readInt32(reply.get(), &sum), STATUS_OK);
    EXPECT_EQ(sum, 42);
    // Oneway runs too, and replies with nothing.
    ASSERT_EQ(transact(binder.get(), FIRST_CALL_TRANSACTION, FLAG_ONEWAY, &reply), STATUS_OK);
    EXPECT_EQ(AParcel_getDataSize(reply.get()), 0);
    EXPECT_EQ(Adder::transaction_count, transactions + 2);
}

}  // namespace
