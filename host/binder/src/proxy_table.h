// The proxies of this process, by owner endpoint and object id: one per remote object, so that
// a binder received twice is the same AIBinder both times and identity comparisons hold.
#pragma once

#include <android/binder_auto_utils.h>

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "binder_lifetime.h"

namespace host_binder {

class RemoteProcess;

class ProxyTable {
  public:
    static ProxyTable& processTable();

    // The proxy of object id of owner: the living one, or a new one (*created then true).
    ndk::SpAIBinder obtain(const std::shared_ptr<RemoteProcess>& owner, uint64_t id, bool* created);
    // Forgets proxy, which is being destroyed, unless another proxy already took its place.
    void remove(const std::string& endpoint, uint64_t id, const AIBinder* proxy);
    // The living proxies of objects owned by endpoint.
    std::vector<ndk::SpAIBinder> proxiesOf(const std::string& endpoint);

  private:
    using Key = std::pair<std::string, uint64_t>;

    ProxyTable() = default;

    std::mutex lock_;
    // A weak reference to each proxy's lifetime, so that the table does not keep proxies.
    std::map<Key, BinderLifetime*> proxies_;  // guarded by lock_
};

}  // namespace host_binder
