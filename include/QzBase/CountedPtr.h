#pragma once

#include <cstddef>
#include <functional>
#include <utility>

namespace QzBase
{
    /// What every factory returns: one counted reference that the caller takes over, or null. It can be
    /// moved, not copied. A ReturnPtrI that still has its pointer when it is destroyed releases the reference.
    /// Not shared between threads.
    template <class T>
    class ReturnPtrI
    {
    public:
        ReturnPtrI() noexcept = default;
        ReturnPtrI(std::nullptr_t) noexcept {}

        /// Takes a reference on `object`, which may be null.
        explicit ReturnPtrI(T* object) : mpObject(object)
        {
            if (mpObject)
                mpObject->AddRef();
        }

        ReturnPtrI(ReturnPtrI&& other) noexcept : mpObject(other.release()) {}

        template <class U>
        ReturnPtrI(ReturnPtrI<U>&& other) noexcept : mpObject(other.release())
        {
        }

        ReturnPtrI& operator=(ReturnPtrI&& other) noexcept
        {
            ReturnPtrI taken(std::move(other));
            std::swap(mpObject, taken.mpObject);
            return *this;
        }

        ReturnPtrI(ReturnPtrI const&) = delete;
        ReturnPtrI& operator=(ReturnPtrI const&) = delete;

        ~ReturnPtrI()
        {
            if (mpObject)
                mpObject->Release();
        }

        T* get() const noexcept { return mpObject; }
        T* operator->() const noexcept { return mpObject; }
        T& operator*() const noexcept { return *mpObject; }
        explicit operator bool() const noexcept { return mpObject != nullptr; }

        /// Hands the counted reference over to the caller, who now has to release it, and leaves null.
        [[nodiscard]] T* release() noexcept { return std::exchange(mpObject, nullptr); }

    private:
        T* mpObject = nullptr;
    };

    /// The copyable counted pointer: holds one reference for as long as it points to the object.
    /// One CountedPtr is used by one thread at a time; the object behind it may be shared freely.
    template <class T>
    class CountedPtr
    {
    public:
        CountedPtr() noexcept = default;
        CountedPtr(std::nullptr_t) noexcept {}

        /// Takes a new reference on `object`, which may be null.
        CountedPtr(T* object) : mpObject(object)
        {
            if (mpObject)
                mpObject->AddRef();
        }

        /// Takes over the reference that a factory returned.
        template <class U>
        CountedPtr(ReturnPtrI<U>&& other) noexcept : mpObject(other.release())
        {
        }

        CountedPtr(CountedPtr const& other) : CountedPtr(other.mpObject) {}
        CountedPtr(CountedPtr&& other) noexcept : mpObject(std::exchange(other.mpObject, nullptr)) {}

        template <class U>
        CountedPtr(CountedPtr<U> const& other) : CountedPtr(static_cast<T*>(other.get()))
        {
        }

        /// Assignment takes the new reference first and releases the old one last, so assigning an
        /// object that only the old one kept alive is safe.
        CountedPtr& operator=(CountedPtr other) noexcept
        {
            swap(other);
            return *this;
        }

        ~CountedPtr()
        {
            if (mpObject)
                mpObject->Release();
        }

        T* get() const noexcept { return mpObject; }
        T* operator->() const noexcept { return mpObject; }
        T& operator*() const noexcept { return *mpObject; }
        explicit operator bool() const noexcept { return mpObject != nullptr; }

        void reset() noexcept { CountedPtr().swap(*this); }
        void swap(CountedPtr& other) noexcept { std::swap(mpObject, other.mpObject); }

        friend bool operator==(CountedPtr const& a, CountedPtr const& b) noexcept { return a.mpObject == b.mpObject; }
        friend bool operator==(CountedPtr const& a, std::nullptr_t) noexcept { return a.mpObject == nullptr; }
        friend bool operator<(CountedPtr const& a, CountedPtr const& b) noexcept
        {
            return std::less<T*>()(a.mpObject, b.mpObject);
        }

    private:
        T* mpObject = nullptr;
    };
}
