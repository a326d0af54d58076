#pragma once

#include "routing/Loan.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <bit>
#include <cstddef>
#include <memory>
#include <utility>

namespace QzLog
{
    /// A list that only grows, and whose entries can be borrowed without a lock: it grows by pieces that stay where
    /// they are. All but Find is called under the lock of the owner.
    template <class T>
    class LendableList
    {
    public:
        static constexpr std::size_t kMaxSize = 0x10000;

        LendableList() = default;
        LendableList(LendableList const&) = delete;
        LendableList& operator=(LendableList const&) = delete;

        std::size_t GetSize() const noexcept { return mSize.load(std::memory_order_relaxed); }
        T* operator[](std::size_t index) const noexcept { return GetEntry(index).Get(); }

        /// Null past the end of the list.
        Lendable<T> const* Find(std::size_t index) const noexcept
        {
            // Acquires the piece and the entry, which were there before the size was set.
            return index < mSize.load(std::memory_order_acquire) ? &GetEntry(index) : nullptr;
        }

        [[nodiscard]] Replaced<T> Exchange(std::size_t index, QzBase::ReturnPtrI<T> object) noexcept
        {
            return GetEntry(index).Exchange(std::move(object));
        }

        /// \param object  not null.
        void Append(QzBase::ReturnPtrI<T> object)
        {
            std::size_t const size = GetSize();
            std::unique_ptr<Lendable<T>[]>& piece = mPieces[GetPiece(size)];
            if (!piece)
                piece = std::make_unique<Lendable<T>[]>(std::max(size, kFirstPiece));
            static_cast<void>(Exchange(size, std::move(object)));
            mSize.store(size + 1, std::memory_order_release);
        }

    private:
        // Each further piece has as many entries as all those before it.
        static constexpr std::size_t kFirstPiece = 4;

        static std::size_t GetPiece(std::size_t index) noexcept
        {
            return static_cast<std::size_t>(std::bit_width(index / kFirstPiece));
        }

        Lendable<T>& GetEntry(std::size_t index) const noexcept
        {
            std::size_t const begin = index < kFirstPiece ? 0 : std::bit_floor(index);
            return mPieces[GetPiece(index)][index - begin];
        }

        std::array<std::unique_ptr<Lendable<T>[]>, std::bit_width((kMaxSize - 1) / kFirstPiece) + 1> mPieces;
        std::atomic<std::size_t> mSize = 0;
    };
}
