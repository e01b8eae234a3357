// The service manager in process: registration, look-up, waiting, the references it holds, and
// the instances that manifest fragments declare.
#include <android/binder_auto_utils.h>
#include <android/binder_manager.h>
#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <future>
#include <string>
#include <vector>

#include "LocalAdder.h"

namespace {

// A name no earlier run in this process registered, length characters long.
std::string freshName(size_t length) {
    static int runs = 0;
    const std::string name = "test.IAdder/" + std::to_string(++runs) + "-";
    return name + std::string(length - name.size(), 'x');
}

TEST(ServiceManagerTest, RegisteredBindersAreFoundAndHeld) {
    const int live = Adder::live_count;
    // The longest name: its socket path in the service directory is too long to use as it is.
    const std::string name = freshName(127);
    {
        auto service = ndk::SharedRefBase::make<Adder>();
        ASSERT_EQ(AServiceManager_addService(service->asBinder().get(), name.c_str()), EX_NONE);
    }
    EXPECT_EQ(Adder::live_count, live + 1);  // only the manager holds it now
    ndk::SpAIBinder checked(AServiceManager_checkService(name.c_str()));
    ndk::SpAIBinder got(AServiceManager_getService(name.c_str()));
    ASSERT_NE(checked.get(), nullptr);
    EXPECT_EQ(got, checked);
    EXPECT_FALSE(AIBinder_isRemote(checked.get()));          // this process's own, not a proxy
    EXPECT_EQ(AIBinder_debugGetRefCount(checked.get()), 3);  // each caller owns its reference

    // Registering again replaces the binder and releases the manager's reference to the old one.
    auto replacement = ndk::SharedRefBase::make<Adder>();
    ASSERT_EQ(AServiceManager_addService(replacement->asBinder().get(), name.c_str()), EX_NONE);
    EXPECT_EQ(AIBinder_debugGetRefCount(checked.get()), 2);
    checked.set(nullptr);
    got.set(nullptr);
    EXPECT_EQ(Adder::live_count, live + 1);
    EXPECT_EQ(ndk::SpAIBinder(AServiceManager_checkService(name.c_str())), replacement->asBinder());
    EXPECT_EQ(AServiceManager_checkService("test.never.registered/default"), nullptr);
}

// A wait ends when the name is registered; a bad name is refused at once, never waited for.
TEST(ServiceManagerTest, WaitsEndAtRegistrationAndBadNamesAreRefusedAtOnce) {
    const std::string name = freshName(20);
    auto waiter = std::async(std::launch::async, [&name] {
        return ndk::SpAIBinder(AServiceManager_waitForService(name.c_str()));
    });
    auto service = ndk::SharedRefBase::make<Adder>();
    ndk::SpAIBinder binder = service->asBinder();
    ASSERT_EQ(AServiceManager_registerLazyService(binder.get(), name.c_str()), STATUS_OK);
    EXPECT_EQ(waiter.get(), binder);

    const std::string too_long = "test.IAdder/" + std::string(128 - 12, 'x');
    for (const char* bad : {"", "has space", "semi;colon", too_long.c_str()}) {
        EXPECT_EQ(AServiceManager_addService(binder.get(), bad), EX_ILLEGAL_ARGUMENT) << bad;
        EXPECT_EQ(AServiceManager_registerLazyService(binder.get(), bad), STATUS_BAD_VALUE);
        EXPECT_EQ(AServiceManager_checkService(bad), nullptr);
        EXPECT_EQ(AServiceManager_waitForService(bad), nullptr);
    }
    EXPECT_EQ(AServiceManager_addService(binder.get(), nullptr), EX_ILLEGAL_ARGUMENT);
    EXPECT_EQ(AServiceManager_addService(nullptr, "test.null/default"), EX_ILLEGAL_ARGUMENT);
    EXPECT_EQ(AServiceManager_registerLazyService(nullptr, "test.null/lazy"),
              STATUS_UNEXPECTED_NULL);
    EXPECT_EQ(AServiceManager_waitForService(nullptr), nullptr);
}

// Instances are declared by the manifest fragments of $TESSARO_VINTF_DIR, in both forms of an
// AIDL <hal>; other formats, comments and what follows a fault declare nothing.
TEST(ServiceManagerTest, DeclaredInstancesComeFromManifestFragments) {
    char folder[] = "/tmp/vintf-XXXXXX";
    ASSERT_NE(::mkdtemp(folder), nullptr);
    const auto write = [&](const char* name, const char* text) {
        std::ofstream(std::string(folder) + "/" + name) << text;
    };
    write("a.xml", R"(<?xml version="1.0"?><manifest version="1.0" type="device">
        <!-- <hal format="aidl"><name>test.commented</name><fqname>IX/default</fqname></hal> -->
        <hal format="aidl"><name>test.pkg</name><version>2</version>
            <fqname>IFoo/default</fqname><fqname>IFoo/second</fqname></hal>
        <hal format="aidl"><name>test.pkg</name>
            <interface><name>IBar</name><instance>one</instance><instance>two</instance></interface>
        </hal>
        <hal format="hidl"><name>test.hidl</name><fqname>@1.0::IOld/default</fqname></hal>
        <hal><name>test.unformatted</name><fqname>IOld/default</fqname></hal>
    </manifest>)");
    write("b.xml", R"(<manifest><hal format="aidl"><name>test.late</name>
        <fqname>IFoo/late</fqname></hal><hal format="aidl"><name>test.broken</name></manifest>)");
    ::setenv("TESSARO_VINTF_DIR", folder, 1);

    const auto declared = [](const char* interface) {
        std::vector<std::string> instances;
        AServiceManager_forEachDeclaredInstance(
                interface, &instances, [](const char* instance, void* context) {
                    static_cast<std::vector<std::string>*>(context)->push_back(instance);
                });
        return instances;
    };
    EXPECT_EQ(declared("test.pkg.IFoo"), (std::vector<std::string>{"default", "second"}));
    EXPECT_EQ(declared("test.pkg.IBar"), (std::vector<std::string>{"one", "two"}));
    EXPECT_TRUE(AServiceManager_isDeclared("test.pkg.IFoo/default"));
    EXPECT_TRUE(AServiceManager_isDeclared("test.late.IFoo/late"));
    for (const char* undeclared :
         {"test.pkg.IFoo/third", "test.commented.IX/default", "test.hidl.IOld/default",
          "test.unformatted.IOld/default", "test.pkg.IFoo", ""}) {
        EXPECT_FALSE(AServiceManager_isDeclared(undeclared)) << undeclared;
    }
    ::unsetenv("TESSARO_VINTF_DIR");
    std::filesystem::remove_all(folder);
}

}  // namespace
