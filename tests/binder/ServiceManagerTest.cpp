// The in-process service manager: registration, look-up, waiting, and the
// references it holds.
#include <android/binder_auto_utils.h>
#include <android/binder_manager.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <future>
#include <string>
#include <vector>

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
  EXPECT_EQ(AIBinder_debugGetRefCount(binder.get()),
            2); // ours and the manager's

  ndk::SpAIBinder checked(AServiceManager_checkService(name.c_str()));
  ndk::SpAIBinder got(AServiceManager_getService(name.c_str()));
  EXPECT_EQ(checked, binder);
  EXPECT_EQ(got, binder);
  EXPECT_EQ(AIBinder_debugGetRefCount(binder.get()),
            4); // each caller owns its reference
  EXPECT_FALSE(host_binder::ServiceTable::processTable().isLazy(name));

  EXPECT_EQ(AServiceManager_checkService("test.never.registered/default"),
            nullptr);
  for (const char *bad :
       {"", "has space", "semi;colon", static_cast<const char *>(nullptr)}) {
    EXPECT_EQ(AServiceManager_addService(binder.get(), bad),
              EX_ILLEGAL_ARGUMENT);
    EXPECT_EQ(AServiceManager_checkService(bad), nullptr);
    EXPECT_EQ(AServiceManager_waitForService(bad), nullptr);
  }
  const std::string too_long(128, 'x');
  EXPECT_EQ(AServiceManager_addService(binder.get(), too_long.c_str()),
            EX_ILLEGAL_ARGUMENT);
  EXPECT_EQ(AServiceManager_addService(nullptr, "test.null/default"),
            EX_ILLEGAL_ARGUMENT);
}

TEST(ServiceManagerTest, RegisteredObjectLivesUntilReplaced) {
  const int live = Adder::live_count;
  const char *name = "test.adder.IAdder/kept-alive";
  {
    auto service = ndk::SharedRefBase::make<Adder>();
    ASSERT_EQ(AServiceManager_addService(service->asBinder().get(), name),
              EX_NONE);
  }
  EXPECT_EQ(Adder::live_count, live + 1); // only the manager holds it now

  std::shared_ptr<IAdder> found =
      IAdder::fromBinder(ndk::SpAIBinder(AServiceManager_checkService(name)));
  ASSERT_NE(found, nullptr);
  int32_t sum = 0;
  EXPECT_TRUE(found->add(1, 1, &sum).isOk());
  EXPECT_EQ(sum, 2);
  found.reset();

  auto replacement = ndk::SharedRefBase::make<Adder>();
  ASSERT_EQ(AServiceManager_addService(replacement->asBinder().get(), name),
            EX_NONE);
  EXPECT_EQ(Adder::live_count,
            live + 1); // the first one went with the manager's reference
  ndk::SpAIBinder current(AServiceManager_checkService(name));
  EXPECT_EQ(IAdder::fromBinder(current), replacement);
}

TEST(ServiceManagerTest, LazyRegistration) {
  auto service = ndk::SharedRefBase::make<Adder>();
  ndk::SpAIBinder binder = service->asBinder();
  const char *name = "test.adder.IAdder/lazy";
  EXPECT_EQ(AServiceManager_registerLazyService(binder.get(), name), STATUS_OK);
  EXPECT_TRUE(host_binder::ServiceTable::processTable().isLazy(name));
  ndk::SpAIBinder found(AServiceManager_checkService(name));
  EXPECT_EQ(found, binder);

  EXPECT_EQ(AServiceManager_registerLazyService(nullptr, name),
            STATUS_UNEXPECTED_NULL);
  EXPECT_EQ(AServiceManager_registerLazyService(binder.get(), nullptr),
            STATUS_UNEXPECTED_NULL);
  EXPECT_EQ(AServiceManager_registerLazyService(binder.get(), "bad name"),
            STATUS_BAD_VALUE);
  ASSERT_EQ(AServiceManager_addService(binder.get(), name), EX_NONE);
  EXPECT_FALSE(host_binder::ServiceTable::processTable().isLazy(name));
}

TEST(ServiceManagerTest, WaitForServiceReturnsOnceRegistered) {
  const char *name = "test.adder.IAdder/late";
  auto waiter = std::async(std::launch::async, [name] {
    return ndk::SpAIBinder(AServiceManager_waitForService(name));
  });
  auto service = ndk::SharedRefBase::make<Adder>();
  ndk::SpAIBinder binder = service->asBinder();
  ASSERT_EQ(AServiceManager_addService(binder.get(), name), EX_NONE);
  EXPECT_EQ(waiter.get(), binder);
}

} // namespace

// Declared instances come from the manifest fragments of the folder
// $TESSARO_VINTF_DIR names, in both forms of an AIDL <hal>; other formats,
// comments and what follows a fault declare nothing.
TEST(ServiceManagerTest, DeclaredInstancesComeFromManifestFragments) {
  char folder[] = "/tmp/vintf-XXXXXX";
  ASSERT_NE(mkdtemp(folder), nullptr);
  const auto write = [&](const char *name, const char *text) {
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
  write(
      "notes.txt",
      R"(<hal format="aidl"><name>test.txt</name><fqname>IFoo/x</fqname></hal>)");
  setenv("TESSARO_VINTF_DIR", folder, 1);

  std::vector<std::string> instances;
  const auto collect = [](const char *instance, void *context) {
    static_cast<std::vector<std::string> *>(context)->push_back(instance);
  };
  AServiceManager_forEachDeclaredInstance("test.pkg.IFoo", &instances, collect);
  EXPECT_EQ(instances, (std::vector<std::string>{"default", "second"}));
  instances.clear();
  AServiceManager_forEachDeclaredInstance("test.pkg.IBar", &instances, collect);
  EXPECT_EQ(instances, (std::vector<std::string>{"one", "two"}));
  EXPECT_TRUE(AServiceManager_isDeclared("test.pkg.IFoo/default"));
  EXPECT_TRUE(AServiceManager_isDeclared("test.late.IFoo/late"));
  for (const char *undeclared :
       {"test.pkg.IFoo/third", "test.commented.IX/default",
        "test.hidl.IOld/default", "test.unformatted.IOld/default",
        "test.txt.IFoo/x", "test.pkg.IFoo", ""}) {
    EXPECT_FALSE(AServiceManager_isDeclared(undeclared)) << undeclared;
  }
  EXPECT_FALSE(AServiceManager_isDeclared(nullptr));

  setenv("TESSARO_VINTF_DIR", (std::string(folder) + "/missing").c_str(), 1);
  EXPECT_FALSE(AServiceManager_isDeclared("test.pkg.IFoo/default"));
  unsetenv("TESSARO_VINTF_DIR");
  std::filesystem::remove_all(folder);
}
