/**
 * C++ base classes of interfaces (header only): SharedRefBase (objects owned by shared
 * pointers), ICInterface (an interface, local or remote), BnCInterface (the local side, served
 * through a binder) and BpCInterface (the calling side of a binder).
 */
#pragma once

#include <android/binder_auto_utils.h>
#include <android/binder_ibinder.h>
#include <android/binder_stability.h>
#include <android/binder_status.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <new>
#include <string>
#include <utility>

namespace ndk {

/**
 * Base of objects that live in std::shared_ptr. They are created only by make<T>(...); ref()
 * gives another owner of the same object from inside it. Destroying such an object other than
 * through its last shared owner (deleting it directly, destroying it on the stack, or owning it
 * through a std::shared_ptr that make did not create) aborts the process, as on the platform:
 * every such path would destroy it twice or under its owners.
 */
class SharedRefBase {
  public:
    SharedRefBase() = default;
    SharedRefBase(const SharedRefBase&) = delete;
    SharedRefBase& operator=(const SharedRefBase&) = delete;
    virtual ~SharedRefBase() {
        if (!destroyed_by_owner_) abortMisuse("destroyed without its owning shared pointer");
    }

    /** Another owner of this object; aborts for an object that make did not create. */
    std::shared_ptr<SharedRefBase> ref() {
        std::shared_ptr<SharedRefBase> owner = self_.lock();
        if (owner == nullptr) abortMisuse("ref() of an object not created by make");
        return owner;
    }

    /** As ref(), as a pointer to the derived class Child. */
    template <typename Child>
    std::shared_ptr<Child> ref() {
        return std::static_pointer_cast<Child>(ref());
    }

    /** Creates a T from args, owned by the returned shared pointer. */
    template <typename T, typename... Args>
    static std::shared_ptr<T> make(Args&&... args) {
        T* object = new T(std::forward<Args>(args)...);
        std::shared_ptr<T> owner(object, [](T* destroyed) {
            static_cast<SharedRefBase*>(destroyed)->destroyed_by_owner_ = true;
            delete destroyed;
        });
        static_cast<SharedRefBase*>(object)->self_ = owner;
        return owner;
    }

    static void operator delete(void* memory) { ::operator delete(memory); }

  private:
    // Only make may allocate, so that every object has its owner from the start.
    static void* operator new(size_t size) { return ::operator new(size); }

    [[noreturn]] static void abortMisuse(const char* what) {
        std::fprintf(stderr, "ndk::SharedRefBase: object %s\n", what);
        std::abort();
    }

    std::weak_ptr<SharedRefBase> self_;
    bool destroyed_by_owner_ = false;
};

/**
 * An interface: a local object (BnCInterface) or a proxy that calls a binder (BpCInterface).
 */
class ICInterface : public SharedRefBase {
  public:
    ICInterface() = default;
    ~ICInterface() override = default;

    /** The binder of this interface: the local object's binder or the proxy's target. */
    virtual SpAIBinder asBinder() = 0;

    /** Whether calls go to another process. */
    virtual bool isRemote() = 0;

    /** Writes a description of the object to fd; by default nothing. */
    virtual binder_status_t dump(int /*fd*/, const char** /*args*/, uint32_t /*numArgs*/) {
        return STATUS_OK;
    }

    /** The version of the interface the object implements; unknown by default. */
    virtual ScopedAStatus getInterfaceVersion(int32_t* /*version*/) {
        return ScopedAStatus::fromExceptionCode(EX_UNSUPPORTED_OPERATION);
    }

    /** The hash of the interface the object implements; unknown by default. */
    virtual ScopedAStatus getInterfaceHash(std::string* /*hash*/) {
        return ScopedAStatus::fromExceptionCode(EX_UNSUPPORTED_OPERATION);
    }

    /**
     * Defines the class of an interface's binders: their user data is an owner of the local
     * object (created from the AIBinder_new args, which must be the ICInterface*), and dumps go
     * to the object's dump(). Null when an argument is null.
     */
    static AIBinder_Class* defineClass(const char* interfaceDescriptor,
                                       AIBinder_Class_onTransact onTransact);

    /**
     * The local object behind binder, or null for a remote or null binder. binder must be of a
     * class made by defineClass (check with AIBinder_associateClass first).
     */
    static std::shared_ptr<ICInterface> asInterface(AIBinder* binder);

  private:
    /** The user data of a local binder: it keeps the object alive while the binder lives. */
    struct BinderUserData {
        std::shared_ptr<ICInterface> object;
    };

    static void* onCreate(void* args) {
        return new BinderUserData{static_cast<ICInterface*>(args)->ref<ICInterface>()};
    }
    static void onDestroy(void* userData) { delete static_cast<BinderUserData*>(userData); }
    static binder_status_t onDump(AIBinder* binder, int fd, const char** args, uint32_t numArgs) {
        std::shared_ptr<ICInterface> object = asInterface(binder);
        return object == nullptr ? STATUS_OK : object->dump(fd, args, numArgs);
    }
};

inline AIBinder_Class* ICInterface::defineClass(const char* interfaceDescriptor,
                                                AIBinder_Class_onTransact onTransact) {
    AIBinder_Class* binderClass =
            AIBinder_Class_define(interfaceDescriptor, onCreate, onDestroy, onTransact);
    if (binderClass != nullptr) AIBinder_Class_setOnDump(binderClass, onDump);
    return binderClass;
}

inline std::shared_ptr<ICInterface> ICInterface::asInterface(AIBinder* binder) {
    if (binder == nullptr || AIBinder_isRemote(binder)) return nullptr;
    auto* userData = static_cast<BinderUserData*>(AIBinder_getUserData(binder));
    return userData == nullptr ? nullptr : userData->object;
}

/**
 * The local side of INTERFACE. Its binder is created on first use by createBinder() and reused
 * while anyone holds it; the binder keeps this object alive, this object only remembers the
 * binder weakly.
 */
template <typename INTERFACE>
class BnCInterface : public INTERFACE {
  public:
    BnCInterface() = default;
    ~BnCInterface() override = default;

    SpAIBinder asBinder() final;
    bool isRemote() final { return false; }

  protected:
    /** A new local binder for this object (AIBinder_new with this object as args). */
    virtual SpAIBinder createBinder() = 0;

  private:
    std::mutex binder_lock_;
    ScopedAIBinder_Weak binder_;  // guarded by binder_lock_
};

template <typename INTERFACE>
SpAIBinder BnCInterface<INTERFACE>::asBinder() {
    std::lock_guard<std::mutex> guard(binder_lock_);
    SpAIBinder binder(AIBinder_Weak_promote(binder_.get()));
    if (binder.get() == nullptr) {
        binder = createBinder();
        binder_.set(AIBinder_Weak_new(binder.get()));
    }
    return binder;
}

/** The calling side of INTERFACE: its methods transact with a binder. */
template <typename INTERFACE>
class BpCInterface : public INTERFACE {
  public:
    explicit BpCInterface(const SpAIBinder& binder) : binder_(binder) {}
    ~BpCInterface() override = default;

    SpAIBinder asBinder() final { return binder_; }
    bool isRemote() final { return AIBinder_isRemote(binder_.get()); }
    binder_status_t dump(int fd, const char** args, uint32_t numArgs) override {
        return AIBinder_dump(binder_.get(), fd, args, numArgs);
    }

  private:
    SpAIBinder binder_;
};

}  // namespace ndk
