// Death recipients: refused on local binders, and the link bookkeeping that remote binders use.
#include <android/binder_auto_utils.h>
#include <android/binder_ibinder.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "AdderInterface.h"
#include "death_recipient.h"

namespace {

std::vector<std::string> events;

void onDied(void* cookie) {
    events.push_back("died " + std::string(static_cast<char*>(cookie)));
}
void onUnlinked(void* cookie) {
    events.push_back("unlinked " + std::string(static_cast<char*>(cookie)));
}

TEST(DeathRecipientTest, LocalBindersRefuseLinks) {
    auto service = ndk::SharedRefBase::make<adder::Adder>();
    ndk::SpAIBinder binder = service->asBinder();
    ndk::ScopedAIBinder_DeathRecipient recipient(AIBinder_DeathRecipient_new(onDied));
    ASSERT_NE(recipient.get(), nullptr);
    char cookie[] = "local";
    EXPECT_EQ(AIBinder_linkToDeath(binder.get(), recipient.get(), cookie),
              STATUS_INVALID_OPERATION);
    EXPECT_EQ(AIBinder_unlinkToDeath(binder.get(), recipient.get(), cookie),
              STATUS_INVALID_OPERATION);
    EXPECT_EQ(AIBinder_linkToDeath(nullptr, recipient.get(), cookie), STATUS_UNEXPECTED_NULL);
    EXPECT_EQ(AIBinder_unlinkToDeath(binder.get(), nullptr, cookie), STATUS_UNEXPECTED_NULL);
    EXPECT_EQ(AIBinder_DeathRecipient_new(nullptr), nullptr);
    EXPECT_EQ(recipient.get()->links->linkCount(binder.get()), 0u);
}

TEST(DeathRecipientTest, LinksEndByDeathUnlinkOrDeletion) {
    events.clear();
    // Stand-ins for two remote binders: only their identity matters to the bookkeeping.
    const auto* first = reinterpret_cast<const AIBinder*>(0x1000);
    const auto* second = reinterpret_cast<const AIBinder*>(0x2000);
    char a[] = "a", b[] = "b", c[] = "c", never[] = "never";
    AIBinder_DeathRecipient* recipient = AIBinder_DeathRecipient_new(onDied);
    AIBinder_DeathRecipient_setOnUnlinked(recipient, onUnlinked);
    std::shared_ptr<host_binder::DeathRecipientLinks> links = recipient->links;
    links->link(first, a);
    links->link(first, b);
    links->link(second, c);

    EXPECT_FALSE(links->unlink(first, never));
    EXPECT_FALSE(links->unlink(second, a));  // linked, but to another binder
    EXPECT_TRUE(links->unlink(first, b));
    EXPECT_FALSE(links->unlink(first, b));  // only once
    EXPECT_EQ(events, (std::vector<std::string>{"unlinked b"}));

    links->notifyDied(first);
    EXPECT_EQ(events, (std::vector<std::string>{"unlinked b", "died a", "unlinked a"}));
    EXPECT_EQ(links->linkCount(first), 0u);
    EXPECT_EQ(links->linkCount(second), 1u);

    events.clear();
    AIBinder_DeathRecipient_delete(recipient);
    EXPECT_EQ(events, (std::vector<std::string>{"unlinked c"}));
    // A binder that learns of its death after the recipient went tells nobody.
    links->notifyDied(second);
    EXPECT_EQ(events.size(), 1u);
}

}  // namespace
