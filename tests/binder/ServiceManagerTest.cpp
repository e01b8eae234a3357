// The in-process service manager: registration, look-up, waiting, and the references it holds.
#include <android/binder_auto_utils.h>
#include <android/binder_manager.h>
#include <gtest/gtest.h>

#include <future>
#include <string>

#include "AdderInterface.h"
#include "service_table.h"

namespace {

using adder::Adder;
using adder::IAdder;

TEST(ServiceManagerTest, AddCheckAndGet) {
    auto service = ndk::SharedRefBase::make<Adder>();
    ndk::SpAIBinder binder = service->asBinder();
    const std::string name = std::string(IAdder::descriptor) + "/add-check-get";
    ASSERT_EQ(AServiceManager_addService(binder.get(), name.c_str()), EX_NONE);
    EXPECT_EQ(AIBinder_debugGetRefCount(binder.get()), 2);  // ours and the manager's

    ndk::SpAIBinder checked(AServiceManager_checkService(name.c_str()));
    ndk::SpAIBinder got(AServiceManager_getService(name.c_str()));
    EXPECT_EQ(checked, binder);
    EXPECT_EQ(got, binder);
    EXPECT_EQ(AIBinder_debugGetRefCount(binder.get()), 4);  // each caller owns its reference
    EXPECT_FALSE(host_binder::ServiceTable::processTable().isLazy(name));

    EXPECT_EQ(AServiceManager_checkService("test.never.registered/default"), nullptr);
    for (const char* bad : {"", "has space", "semi;colon", static_cast<const char*>(nullptr)}) {
        EXPECT_EQ(AServiceManager_addService(binder.get(), bad), EX_ILLEGAL_ARGUMENT);
        EXPECT_EQ(AServiceManager_checkService(bad), nullptr);
        EXPECT_EQ(AServiceManager_waitForService(bad), nullptr);
    }
    const std::string too_long(128, 'x');
    EXPECT_EQ(AServiceManager_addService(binder.get(), too_long.c_str()), EX_ILLEGAL_ARGUMENT);
    EXPECT_EQ(AServiceManager_addService(nullptr, "test.null/default"), EX_ILLEGAL_ARGUMENT);
}

TEST(ServiceManagerTest, RegisteredObjectLivesUntilReplaced) {
    const int live = Adder::live_count;
    const char* name = "test.adder.IAdder/kept-alive";
    {
        auto service = ndk::SharedRefBase::make<Adder>();
        ASSERT_EQ(AServiceManager_addService(service->asBinder().get(), name), EX_NONE);
    }
    EXPECT_EQ(Adder::live_count, live + 1);  // only the manager holds it now

    std::shared_ptr<IAdder> found =
            IAdder::fromBinder(ndk::SpAIBinder(AServiceManager_checkService(name)));
    ASSERT_NE(found, nullptr);
    int32_t sum = 0;
    EXPECT_TRUE(found->add(1, 1, &sum).isOk());
    EXPECT_EQ(sum, 2);
    found.reset();

    auto replacement = ndk::SharedRefBase::make<Adder>();
    ASSERT_EQ(AServiceManager_addService(replacement->asBinder().get(), name), EX_NONE);
    EXPECT_EQ(Adder::live_count, live + 1);  // the first one went with the manager's reference
    ndk::SpAIBinder current(AServiceManager_checkService(name));
    EXPECT_EQ(IAdder::fromBinder(current), replacement);
}

TEST(ServiceManagerTest, LazyRegistration) {
    auto service = ndk::SharedRefBase::make<Adder>();
    ndk::SpAIBinder binder = service->asBinder();
    const char* name = "test.adder.IAdder/lazy";
    EXPECT_EQ(AServiceManager_registerLazyService(binder.get(), name), STATUS_OK);
    EXPECT_TRUE(host_binder::ServiceTable::processTable().isLazy(name));
    ndk::SpAIBinder found(AServiceManager_checkService(name));
    EXPECT_EQ(found, binder);

    EXPECT_EQ(AServiceManager_registerLazyService(nullptr, name), STATUS_UNEXPECTED_NULL);
    EXPECT_EQ(AServiceManager_registerLazyService(binder.get(), nullptr), STATUS_UNEXPECTED_NULL);
    EXPECT_EQ(AServiceManager_registerLazyService(binder.get(), "bad name"), STATUS_BAD_VALUE);
    ASSERT_EQ(AServiceManager_addService(binder.get(), name), EX_NONE);
    EXPECT_FALSE(host_binder::ServiceTable::processTable().isLazy(name));
}

TEST(ServiceManagerTest, WaitForServiceReturnsOnceRegistered) {
    const char* name = "test.adder.IAdder/late";
    auto waiter = std::async(std::launch::async, [name] {
        return ndk::SpAIBinder(AServiceManager_waitForService(name));
    });
    auto service = ndk::SharedRefBase::make<Adder>();
    ndk::SpAIBinder binder = service->asBinder();
    ASSERT_EQ(AServiceManager_addService(binder.get(), name), EX_NONE);
    EXPECT_EQ(waiter.get(), binder);
}

}  // namespace
