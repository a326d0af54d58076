#pragma once

#include <cstddef>
#include <utility>

namespace QzBase
{
    /// Deletes an object through its own virtual operation `Delete`. For locks and thread-local storages,
    /// which the library that created them must free.
    template <class T>
    struct DeleteOperatorGeneric
    {
        static void Delete(T* object) { object->Delete(); }
    };

    /// Sole owner of an object that is not reference counted. Can be moved, not copied. Used by one
    /// thread at a time.
    template <class T, class DeleteOperator = DeleteOperatorGeneric<T>>
    class StrongPtr
    {
    public:
        constexpr StrongPtr() noexcept = default;
        constexpr StrongPtr(std::nullptr_t) noexcept {}

        /// Becomes the owner of `object`, which may be null.
        constexpr explicit StrongPtr(T* object) noexcept : mpObject(object) {}

        StrongPtr(StrongPtr&& other) noexcept : mpObject(other.release()) {}

        StrongPtr& operator=(StrongPtr&& other) noexcept
        {
            reset(other.release());
            return *this;
        }

        StrongPtr(StrongPtr const&) = delete;
        StrongPtr& operator=(StrongPtr const&) = delete;

        ~StrongPtr() { reset(); }

        T* get() const noexcept { return mpObject; }
        T* operator->() const noexcept { return mpObject; }
        T& operator*() const noexcept { return *mpObject; }
        explicit operator bool() const noexcept { return mpObject != nullptr; }

        /// Gives the object up without deleting it.
        [[nodiscard]] T* release() noexcept { return std::exchange(mpObject, nullptr); }

        /// Deletes the present object, if there is one, and becomes the owner of `object`.
        void reset(T* object = nullptr)
        {
            T* const old = std::exchange(mpObject, object);
            if (old && old != object)
                DeleteOperator::Delete(old);
        }

    private:
        T* mpObject = nullptr;
    };
}
