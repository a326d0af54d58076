#pragma once

#include "reading/Decompressor.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

// Everything that the tool asks of the system about files that it reads. Nothing is mapped into memory: a log may be
// truncated at any moment, and a mapped page that is gone would end the process.

namespace QzLogTool
{
    /// Which file it is and in which state. Renaming leaves it alone, writing does not.
    struct FileIdentity
    {
        std::uint64_t mDevice = 0;
        std::uint64_t mNumber = 0;
        std::int64_t mSeconds = 0;
        std::int64_t mNanoseconds = 0;
        std::uint64_t mSize = 0;

        // The checker takes the 0 in what the compiler generates for a pointer.
        auto operator<=>(FileIdentity const&) const = default; // NOLINT(modernize-use-nullptr)
    };

    /// What stands at a path; nothing when mExists is false.
    struct FileStatus
    {
        bool mExists = false;
        bool mIsFolder = false;
        bool mIsRegular = false;
        FileIdentity mIdentity;
    };

    /// Throws Trouble when the system does not tell; a missing file is no trouble.
    FileStatus GetFileStatus(std::string const& path);

    /// Lets this process have as many files open as the system lets it.
    void AllowManyFiles();

    /// A file open for reading, "-" for standard input. A file that is compressed gives its bytes as they were before
    /// that, and offsets count those; going back in it takes as long as reading up to there. Throws Trouble with the
    /// path in its text.
    class InputFile
    {
    public:
        explicit InputFile(std::string path);
        ~InputFile();
        InputFile(InputFile const&) = delete;
        InputFile& operator=(InputFile const&) = delete;

        std::string const& GetPath() const { return mPath; }
        FileStatus GetStatus() const;

        bool IsCompressed() const { return !mCompressedBeginning.empty(); }

        /// In bytes; of a compressed file nobody knows, and it is as large as a number can be.
        std::uint64_t GetLength() const;

        /// Whether Read would return at once, with bytes or with the end.
        bool IsReady() const;

        /// Reads on from the present position; fewer bytes than asked for do not mean the end, 0 does.
        std::size_t Read(char* buffer, std::size_t size);

        /// Reads at an offset from the start and leaves the position alone. Fewer bytes than asked for mean the end.
        std::string ReadAt(std::uint64_t offset, std::size_t size) const;
        std::size_t ReadAt(std::uint64_t offset, char* buffer, std::size_t size) const;

        bool BeginsWith(std::string const& beginning) const { return ReadAt(0, beginning.size()) == beginning; }

        /// Moves to an offset from the start. Not for what is no regular file, such as a pipe.
        void MoveTo(std::uint64_t offset);

        /// While this lives, no writer of this library writes or rolls over this file; they all wait, so it must not
        /// live longer than a glance takes. It is waited for no longer than about a second, in case a writer was
        /// stopped: then the file stands still anyway.
        class WriterPause
        {
        public:
            enum class State
            {
                Held,
                /// A writer does not let go of the file.
                Busy,
                /// The file system has no locks, so that no writer of this library can write either.
                Impossible
            };

            explicit WriterPause(InputFile const& file);
            ~WriterPause();
            State GetState() const { return mState; }
            WriterPause(WriterPause const&) = delete;
            WriterPause& operator=(WriterPause const&) = delete;

        private:
            int const mDescriptor;
            State const mState;
        };

    private:
        std::size_t ReadPlainAt(std::uint64_t offset, char* buffer, std::size_t size) const;
        std::size_t ReadStoredAt(std::uint64_t offset, char* buffer, std::size_t size) const;

        std::string const mPath;
        int mDescriptor;
        // Empty unless the file is compressed.
        std::string mCompressedBeginning;
        std::uint64_t mPosition = 0;
        // Of a compressed file: what reads it, where that stands in it, and what it has given so far.
        mutable std::unique_ptr<Decompressor> mpDecompressor;
        mutable std::uint64_t mStoredOffset = 0;
        mutable std::uint64_t mPlainOffset = 0;
    };
}
