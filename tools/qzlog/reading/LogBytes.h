#pragma once

#include "reading/ByteSource.h"
#include "reading/InputFile.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <string>

namespace QzLogTool
{
    /// Is notified of how far the reading has come.
    class ReadObserver
    {
    public:
        virtual ~ReadObserver() = default;
        virtual void OnRead(std::size_t bytes) = 0;
        /// Standard input has nothing to read for now.
        virtual void OnWait() = 0;
    };

    /// A log and its back-ups as bytes, file by file in order of age, up to what the log holds when its end is
    /// reached. Roll-overs that happen meanwhile lose nothing and show nothing twice: back-ups are known by their
    /// identity and not by their number, and when the log is emptied while it is read, the rest of it is read from the
    /// back-up that it went into.
    class LogBytes : public ByteSource
    {
    public:
        enum class Files
        {
            /// The one file.
            LogAlone,
            /// With its back-ups, except for those that a failed or killed roll-over left: their content stands
            /// once more in the next file.
            WithBackups,
            /// With all back-ups.
            WithLeftovers
        };

        /// \param path  of the log, or "-" for standard input. Throws Trouble when there is neither a log nor a
        ///              back-up of it.
        LogBytes(std::string path, Files files);

        bool OpenNext() override;
        std::size_t Read(char* buffer, std::size_t size) override;
        bool CanMove() const override { return mIsRegular; }
        void MoveTo(std::uint64_t offset) override;

        std::uint64_t GetOffset() const override { return mOffset; }
        std::string const& GetPath() const override { return mPath; }

        /// Whether the present file is the log itself, which may still grow, and not a back-up.
        bool IsLog() const { return mIsLog; }

        /// Size in bytes of all files when reading began; 0 when it is not known.
        std::uint64_t GetTotal() const { return mTotal; }

        /// Is notified of every reading. It must outlive this object.
        void SetObserver(ReadObserver* pObserver) { mpObserver = pObserver; }

    private:
        bool IsLeftover(InputFile const& older, InputFile const& newer) const;
        bool OpenOldestUnread();
        void Open(std::unique_ptr<InputFile> file, bool isLog);
        bool FindAgain();

        std::string const mLogPath;
        Files const mFiles;
        std::set<FileIdentity> mVisited;

        std::unique_ptr<InputFile> mpFile;
        std::string mPath;
        std::uint64_t mOffset = 0;
        // What the present file begins with, as far as it was read: no two contents of a log have it in common.
        std::string mBeginning;
        bool mIsLog = false;
        bool mIsRegular = false;
        bool mReachedLog = false;

        std::uint64_t mTotal = 0;
        ReadObserver* mpObserver = nullptr;
    };
}
