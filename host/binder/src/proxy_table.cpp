#include "proxy_table.h"

#include "binder.h"
#include "remote_binder.h"
#include "remote_process.h"

namespace host_binder {

ProxyTable& ProxyTable::processTable() {
    static auto* table = new ProxyTable;
    return *table;
}

ndk::SpAIBinder ProxyTable::obtain(const std::shared_ptr<RemoteProcess>& owner, uint64_t id,
                                   bool* created) {
    BinderLifetime* replaced = nullptr;
    ndk::SpAIBinder result;
    {
        std::lock_guard<std::mutex> guard(lock_);
        BinderLifetime*& entry = proxies_[Key(owner->endpoint(), id)];
        if (entry != nullptr && entry->tryIncrementStrong()) {
            *created = false;
            return ndk::SpAIBinder(entry->binder());
        }
        // The entry's proxy is gone or going; a new one takes its place.
        replaced = entry;
        auto* proxy = new RemoteBinder(owner, id);
        entry = &proxy->lifetime();
        entry->incrementWeak();
        result = ndk::SpAIBinder(proxy);
    }
    if (replaced != nullptr) replaced->decrementWeak();
    *created = true;
    return result;
}

void ProxyTable::remove(const std::string& endpoint, uint64_t id, const AIBinder* proxy) {
    BinderLifetime* removed = nullptr;
    {
        std::lock_guard<std::mutex> guard(lock_);
        auto found = proxies_.find(Key(endpoint, id));
        if (found == proxies_.end() || found->second->binder() != proxy) return;
        removed = found->second;
        proxies_.erase(found);
    }
    removed->decrementWeak();
}

std::vector<ndk::SpAIBinder> ProxyTable::proxiesOf(const std::string& endpoint) {
    std::vector<ndk::SpAIBinder> living;
    std::lock_guard<std::mutex> guard(lock_);
    for (auto entry = proxies_.lower_bound(Key(endpoint, 0));
         entry != proxies_.end() && entry->first.first == endpoint; ++entry) {
        if (entry->second->tryIncrementStrong()) living.emplace_back(entry->second->binder());
    }
    return living;
}

}  // namespace host_binder
