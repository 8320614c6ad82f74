#pragma once

#include "Core/Api.h"

#include <boost/smart_ptr/intrusive_ptr.hpp>

#include <atomic>
#include <cstdint>
#include <utility>

namespace Tarsel {

/// A counted pointer to a shared object. Every object that crosses a library boundary travels as one.
template <class T>
using SP = boost::intrusive_ptr<T>;

/// Makes an object and takes its first reference (the count is 1 on return).
/// Thread-safe; throws what the constructor throws, and then nothing is left allocated.
template <class T, class... Args>
SP<T> MakeSP(Args&&... args) {
    return SP<T>(new T(std::forward<Args>(args)...));
}

namespace Core {

/// Base of every shared object. The slot order (destructors, AddRef, GetRefCount, Release) is binary
/// contract.
class TARSEL_API IRefCountable {
public:
    IRefCountable() = default;
    IRefCountable(IRefCountable const&) = delete;
    IRefCountable& operator=(IRefCountable const&) = delete;
    virtual ~IRefCountable();

    /// Adds one reference. Any thread.
    virtual void AddRef() const = 0;
    /// References held now. Any thread; only a snapshot while others hold references too.
    virtual std::int32_t GetRefCount() const = 0;
    /// Gives one reference back; the last one destroys the object on the calling thread. Any thread.
    virtual void Release() const = 0;
};

inline void intrusive_ptr_add_ref(IRefCountable const* object) {
    object->AddRef();
}

inline void intrusive_ptr_release(IRefCountable const* object) {
    object->Release();
}

/// The counter member of a shared object. Starts at 0: the creator takes the first reference.
class RefCountImpl {
public:
    void Add() const noexcept { m_count.fetch_add(1, std::memory_order_relaxed); }
    std::int32_t Get() const noexcept { return m_count.load(std::memory_order_relaxed); }
    /// Returns true when the last reference went, and the object has to be destroyed.
    bool Remove() const noexcept { return m_count.fetch_sub(1, std::memory_order_acq_rel) == 1; }

private:
    mutable std::atomic<std::int32_t> m_count{0};
};

/// Implements the three counting operations of an interface over a RefCountImpl.
template <class Interface>
class RefCounted : public Interface {
public:
    using Interface::Interface;

    void AddRef() const override { m_refCount.Add(); }
    std::int32_t GetRefCount() const override { return m_refCount.Get(); }
    void Release() const override {
        if (m_refCount.Remove())
            delete this;
    }

private:
    RefCountImpl m_refCount;
};

} // namespace Core
} // namespace Tarsel
