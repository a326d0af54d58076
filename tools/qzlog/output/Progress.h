#pragma once

#include "reading/LogBytes.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <utility>

namespace QzLogTool
{
    /// A bar on standard error that shows how far the reading has come. It appears when that takes long, and only on
    /// a terminal; it is removed when this object is destroyed.
    class Progress : public ReadObserver
    {
    public:
        Progress();
        ~Progress() override { Hide(); }
        Progress(Progress const&) = delete;
        Progress& operator=(Progress const&) = delete;

        /// So many bytes more are to be read.
        void AddTotal(std::uint64_t bytes) { mTotal += bytes; }

        /// `action` is called before standard input is waited for. What it refers to must outlive the reading.
        void CallBeforeWaits(std::function<void()> action) { mBeforeWait = std::move(action); }

        void OnRead(std::size_t bytes) override;
        void OnWait() override;

        /// Takes the bar off the screen until the next reading that it is due at.
        void Hide();

    private:
        void Show();

        bool const mIsTerminal;
        std::uint64_t mTotal = 0;
        std::uint64_t mDone = 0;
        std::chrono::steady_clock::time_point const mBegin = std::chrono::steady_clock::now();
        std::chrono::steady_clock::time_point mNext;
        bool mIsShown = false;
        std::function<void()> mBeforeWait;
    };
}
