// SPDX-License-Identifier: MIT
/// \file
/// The owning reference to a shared object.
#pragma once

#include <MarlCore/foundation/CException.h>
#include <MarlCore/foundation/CSharedObject.h>

#include <compare>
#include <concepts>
#include <cstddef>
#include <functional>
#include <utility>

namespace halyard {

/// Holds one reference to a `T` (derived from `CSharedObject`), or null. Several threads may each hold a
/// reference to one object; one reference itself belongs to one thread at a time.
template <typename T>
class CSharedObjectRef {
public:
    CSharedObjectRef() noexcept = default;
    CSharedObjectRef(std::nullptr_t) noexcept {}
    CSharedObjectRef(T* object) noexcept : mObjectPtr(object) { retain(); }
    CSharedObjectRef(const CSharedObjectRef& other) noexcept : mObjectPtr(other.mObjectPtr) { retain(); }
    CSharedObjectRef(CSharedObjectRef&& other) noexcept
        : mObjectPtr(std::exchange(other.mObjectPtr, nullptr)) {}

    /// A reference to a derived class serves where one to its base is asked for.
    template <typename U>
    requires std::convertible_to<U*, T*> CSharedObjectRef(const CSharedObjectRef<U>& other)
    noexcept : mObjectPtr(other.get()) { retain(); }

    ~CSharedObjectRef() { reset(); }

    /// Does nothing when the pointer is already held.
    CSharedObjectRef& operator=(T* object) noexcept {
        if (object == mObjectPtr) return *this;
        // The new object is retained before the old one goes: the old one may be what kept the new one alive.
        if (object) object->Retain();
        T* const old = std::exchange(mObjectPtr, object);
        if (old) old->Release();
        return *this;
    }
    CSharedObjectRef& operator=(const CSharedObjectRef& other) noexcept { return *this = other.mObjectPtr; }
    CSharedObjectRef& operator=(CSharedObjectRef&& other) noexcept {
        if (this == &other) return *this;
        T* const old = std::exchange(mObjectPtr, std::exchange(other.mObjectPtr, nullptr));
        if (old) old->Release();
        return *this;
    }

    /// Dereferencing null calls `CSharedObject::LogNullRef`, which ends the process.
    T* operator->() const noexcept { return checked(); }
    T& operator*() const noexcept { return *checked(); }

    /// The held pointer, still owned by this reference; may be null.
    T* get() const noexcept { return mObjectPtr; }
    explicit operator bool() const noexcept { return mObjectPtr != nullptr; }

    friend bool operator==(const CSharedObjectRef& a, const CSharedObjectRef& b) noexcept {
        return a.mObjectPtr == b.mObjectPtr;
    }
    /// Compares without a reference in between, which would delete an object that nobody owns yet.
    friend bool operator==(const CSharedObjectRef& a, const T* b) noexcept { return a.mObjectPtr == b; }
    friend bool operator==(const CSharedObjectRef& a, std::nullptr_t) noexcept {
        return a.mObjectPtr == nullptr;
    }

    /// Orders by the pointers, for ordered maps; the order says nothing about the objects.
    friend std::strong_ordering operator<=>(const CSharedObjectRef& a, const CSharedObjectRef& b) noexcept {
        return std::compare_three_way()(a.mObjectPtr, b.mObjectPtr);
    }

    /// The object as a `U`, or null when it is none. Throws `CParamException` "mObjectPtr is NULL" on a null
    /// reference.
    template <typename U>
    U* dynamicCast() const {
        if (!mObjectPtr) throw CParamException(kParameterError, "mObjectPtr is NULL");
        return dynamic_cast<U*>(mObjectPtr);
    }

private:
    void retain() noexcept {
        if (mObjectPtr) mObjectPtr->Retain();
    }
    void reset() noexcept {
        if (T* const old = std::exchange(mObjectPtr, nullptr)) old->Release();
    }
    T* checked() const noexcept {
        if (!mObjectPtr) CSharedObject::LogNullRef();
        return mObjectPtr;
    }

    T* mObjectPtr = nullptr;
};

}  // namespace halyard
