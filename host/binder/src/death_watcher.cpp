#include "death_watcher.h"

#include <errno.h>
#include <sys/epoll.h>

#include <cstring>
#include <thread>
#include <utility>

#include "log.h"
#include "thread_pool.h"

namespace host_binder {

DeathWatcher& DeathWatcher::processWatcher() {
    static auto* watcher = new DeathWatcher;
    return *watcher;
}

DeathWatcher::DeathWatcher() : epoll_(::epoll_create1(EPOLL_CLOEXEC)) {
    if (epoll_.get() < 0) {
        logError("binder death watcher: epoll_create1 failed: %s", std::strerror(errno));
        return;
    }
    std::thread([this] { run(); }).detach();
}

bool DeathWatcher::watch(ndk::ScopedFileDescriptor fd, std::function<void()> on_death) {
    std::lock_guard<std::mutex> guard(lock_);
    epoll_event event{};
    event.events = EPOLLIN | EPOLLRDHUP | EPOLLHUP;
    event.data.fd = fd.get();
    if (epoll_.get() < 0 || ::epoll_ctl(epoll_.get(), EPOLL_CTL_ADD, fd.get(), &event) != 0) {
        logError("binder death watcher: cannot watch descriptor %d: %s", fd.get(),
                 std::strerror(errno));
        return false;
    }
    const int key = fd.get();
    watched_[key] = {std::move(fd), std::move(on_death)};
    return true;
}

void DeathWatcher::run() {
    for (;;) {
        epoll_event events[16];
        const int count = ::epoll_wait(epoll_.get(), events, 16, -1);
        if (count < 0) {
            if (errno != EINTR) logError("binder death watcher: %s", std::strerror(errno));
            continue;
        }
        for (int index = 0; index < count; ++index) {
            std::function<void()> on_death;
            {
                std::lock_guard<std::mutex> guard(lock_);
                auto found = watched_.find(events[index].data.fd);
                if (found == watched_.end()) continue;
                ::epoll_ctl(epoll_.get(), EPOLL_CTL_DEL, found->first, nullptr);
                on_death = std::move(found->second.second);
                watched_.erase(found);
            }
            ThreadPool::processPool().post(std::move(on_death));
        }
    }
}

}  // namespace host_binder
