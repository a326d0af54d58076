#include "reading/Decompressor.h"

#include "Trouble.h"

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#ifdef QZLOG_WITH_GZIP
#include <zlib.h>
#endif
#ifdef QZLOG_WITH_XZ
#include <lzma.h>
#endif
#ifdef QZLOG_WITH_ZSTD
#include <zstd.h>
#endif

namespace QzLogTool
{
    namespace
    {
        constexpr std::string_view kGzip = "\x1F\x8B";
        constexpr std::string_view kZstd = "\x28\xB5\x2F\xFD";
        constexpr std::string_view kXz("\xFD\x37\x7A\x58\x5A\0", 6);

        enum class Step
        {
            /// Goes on, with more input when all that there was is used.
            More,
            /// A part has come to its end; another may follow.
            End,
            Damaged
        };

        /// What the libraries have in common: they turn some bytes into others until one side has no more room.
        class Stepwise : public Decompressor
        {
        public:
            explicit Stepwise(ReadMore readMore) : mReadMore(std::move(readMore)), mInput(kBlock) {}

            std::size_t Read(char* buffer, std::size_t size) override
            {
                for (;;)
                {
                    if (mBegin == mEnd && !mIsAtEnd)
                    {
                        mOffset += mEnd;
                        mBegin = 0;
                        mEnd = mReadMore(mInput.data(), mInput.size());
                        mIsAtEnd = mEnd == 0;
                    }
                    if (mIsAtEnd && mIsBetweenParts)
                        return 0;
                    std::size_t made = 0;
                    std::size_t used = 0;
                    Step const step = TakeStep({mInput.data() + mBegin, mEnd - mBegin}, used, buffer, size, made);
                    mBegin += used;
                    mIsBetweenParts = step == Step::End;
                    if (step == Step::Damaged)
                        Fail("are damaged near");
                    if (made != 0)
                        return made;
                    if (mIsAtEnd && step == Step::More)
                        Fail("end too early (are they still being written?), at");
                }
            }

        private:
            static constexpr std::size_t kBlock = std::size_t{64} << 10;

            [[noreturn]] void Fail(std::string const& what) const
            {
                throw Trouble("the compressed data " + what + " byte " + std::to_string(mOffset + mBegin) +
                              "; what stands before was read, but for its last record");
            }

            virtual Step TakeStep(
                std::string_view input, std::size_t& used, char* buffer, std::size_t size, std::size_t& made) = 0;

            ReadMore const mReadMore;
            std::vector<char> mInput;
            std::uint64_t mOffset = 0; // of this block
            std::size_t mBegin = 0;
            std::size_t mEnd = 0;
            bool mIsAtEnd = false;
            bool mIsBetweenParts = false;
        };

#if defined(QZLOG_WITH_GZIP) || defined(QZLOG_WITH_XZ)
        // The libraries only read what they are given, but zlib takes a pointer to what it might change.
        template <class Byte>
        Byte* ToBytes(char const* text)
        {
            return reinterpret_cast<Byte*>(const_cast<char*>(text));
        }
#endif

#ifdef QZLOG_WITH_GZIP
        class Gzip : public Stepwise
        {
        public:
            explicit Gzip(ReadMore readMore) : Stepwise(std::move(readMore))
            {
                constexpr int kGzipOnly = 16;
                if (inflateInit2(&mStream, MAX_WBITS + kGzipOnly) != Z_OK)
                    throw Trouble("no memory to decompress in");
            }
            ~Gzip() override { inflateEnd(&mStream); }

        private:
            Step TakeStep(
                std::string_view input, std::size_t& used, char* buffer, std::size_t size, std::size_t& made) override
            {
                mStream.next_in = ToBytes<Bytef>(input.data());
                mStream.avail_in = static_cast<uInt>(input.size());
                mStream.next_out = ToBytes<Bytef>(buffer);
                mStream.avail_out = static_cast<uInt>(size);
                int const result = inflate(&mStream, Z_NO_FLUSH);
                used = input.size() - mStream.avail_in;
                made = size - mStream.avail_out;
                if (result == Z_STREAM_END)
                    return inflateReset(&mStream) == Z_OK ? Step::End : Step::Damaged;
                return result == Z_OK || result == Z_BUF_ERROR ? Step::More : Step::Damaged;
            }

            z_stream mStream{};
        };
#endif

#ifdef QZLOG_WITH_XZ
        class Xz : public Stepwise
        {
        public:
            explicit Xz(ReadMore readMore) : Stepwise(std::move(readMore)) { Begin(); }
            ~Xz() override { lzma_end(&mStream); }

        private:
            void Begin()
            {
                // What xz -9 takes.
                constexpr std::uint64_t kMostMemory = std::uint64_t{80} << 20;
                if (lzma_stream_decoder(&mStream, kMostMemory, 0) != LZMA_OK)
                    throw Trouble("no memory to decompress in");
            }

            Step TakeStep(
                std::string_view input, std::size_t& used, char* buffer, std::size_t size, std::size_t& made) override
            {
                mStream.next_in = ToBytes<std::uint8_t>(input.data());
                mStream.avail_in = input.size();
                mStream.next_out = ToBytes<std::uint8_t>(buffer);
                mStream.avail_out = size;
                lzma_ret const result = lzma_code(&mStream, LZMA_RUN);
                used = input.size() - mStream.avail_in;
                made = size - mStream.avail_out;
                if (result == LZMA_STREAM_END)
                    Begin();
                if (result == LZMA_STREAM_END)
                    return Step::End;
                return result == LZMA_OK || result == LZMA_BUF_ERROR ? Step::More : Step::Damaged;
            }

            lzma_stream mStream = LZMA_STREAM_INIT;
        };
#endif

#ifdef QZLOG_WITH_ZSTD
        class Zstd : public Stepwise
        {
        public:
            explicit Zstd(ReadMore readMore) : Stepwise(std::move(readMore)), mpStream(ZSTD_createDStream())
            {
                if (!mpStream)
                    throw Trouble("no memory to decompress in");
            }
            ~Zstd() override { ZSTD_freeDStream(mpStream); }

        private:
            Step TakeStep(
                std::string_view input, std::size_t& used, char* buffer, std::size_t size, std::size_t& made) override
            {
                ZSTD_inBuffer in{input.data(), input.size(), 0};
                ZSTD_outBuffer out{buffer, size, 0};
                std::size_t const result = ZSTD_decompressStream(mpStream, &out, &in);
                used = in.pos;
                made = out.pos;
                if (ZSTD_isError(result))
                    return Step::Damaged;
                return result == 0 ? Step::End : Step::More;
            }

            ZSTD_DStream* const mpStream;
        };
#endif
    }

    bool Decompressor::IsCompressed(std::string_view beginning)
    {
        return beginning.starts_with(kGzip) || beginning.starts_with(kZstd) || beginning.starts_with(kXz);
    }

    std::unique_ptr<Decompressor> Decompressor::Make(std::string_view beginning, ReadMore readMore)
    {
#ifdef QZLOG_WITH_GZIP
        if (beginning.starts_with(kGzip))
            return std::make_unique<Gzip>(std::move(readMore));
#endif
#ifdef QZLOG_WITH_XZ
        if (beginning.starts_with(kXz))
            return std::make_unique<Xz>(std::move(readMore));
#endif
#ifdef QZLOG_WITH_ZSTD
        if (beginning.starts_with(kZstd))
            return std::make_unique<Zstd>(std::move(readMore));
#endif
        std::string const name = beginning.starts_with(kGzip) ? "gzip" : beginning.starts_with(kXz) ? "xz" : "zstd";
        throw Trouble("is compressed by " + name + ", which this qzlog was built without; decompress it first");
    }
}
