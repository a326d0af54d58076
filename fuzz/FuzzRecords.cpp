// Bytes as a log: records and the parts of long ones make up all bytes, however the bytes come in pieces, and each
// stands where it says. With a needle come those of the same records that have it.

#include "Fuzz.h"
#include "reading/HeaderParser.h"
#include "reading/RecordSplitter.h"
#include "time/LogTime.h"

#include <string_view>
#include <vector>

namespace
{
    using namespace QzLogTool;

    class Bytes : public ByteSource
    {
    public:
        Bytes(std::string_view text, std::size_t pieceSize) : mText(text), mPieceSize(pieceSize) {}

        bool OpenNext() override { return !std::exchange(mIsOpen, true); }
        bool CanMove() const override { return true; }
        void MoveTo(std::uint64_t offset) override { mAt = offset; }
        std::uint64_t GetOffset() const override { return mAt; }
        std::string const& GetPath() const override { return mPath; }

        std::size_t Read(char* buffer, std::size_t size) override
        {
            std::size_t const count = std::min({size, mPieceSize, mText.size() - mAt});
            mText.copy(buffer, count, mAt);
            mAt += count;
            return count;
        }

    private:
        std::string_view const mText;
        std::size_t const mPieceSize;
        std::string const mPath = "log";
        std::size_t mAt = 0;
        bool mIsOpen = false;
    };

    struct Found
    {
        std::uint64_t mOffset;
        std::string mText;
        Record::Kind mKind;
        std::int64_t mTime;

        bool operator==(Found const&) const = default;
    };

    std::vector<Found> Split(std::string_view text, std::size_t pieceSize, std::string const& needle)
    {
        RecordSplitter splitter(std::make_unique<Bytes>(text, pieceSize));
        if (!needle.empty())
            splitter.SetNeedle(Needle(needle));
        std::vector<Found> all;
        for (Record record; splitter.Next(record);)
        {
            Fuzz::Check(!record.mText.empty(), "a record is not empty");
            all.push_back({record.mOffset, std::string(record.mText), record.mKind, record.mTime});
            for (std::string_view part; splitter.NextPart(part);)
                all.back().mText += part;
            Fuzz::Check(text.substr(record.mOffset, all.back().mText.size()) == all.back().mText,
                "a record stands where it says");
        }
        return all;
    }

    void CheckHeader(Found const& record)
    {
        std::int64_t time = 0;
        Fuzz::Check(
            record.mKind != Record::Kind::Message || (ReadTime(record.mText, time) != 0 && time == record.mTime),
            "a record begins with its time");
        HeaderParser parser;
        if (!parser.Parse(record.mText))
            return;
        Fuzz::Check(parser.GetLength() <= record.mText.size() && parser.GetTimeLength() <= parser.GetLength(),
            "a header ends within its record");
        Fuzz::Check(parser.GetHeader().size() + parser.GetMessage().size() <= record.mText.size(),
            "header and message are in the record");
        parser.ReadHeader();
        MissedMessages missed;
        ReadMissedMessages(parser, missed);
    }
}

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    std::string const input(data, data + size);
    std::size_t const first = std::min(input.find('\n'), input.size());
    std::string const needle = input.substr(0, first);
    std::string_view const text = std::string_view(input).substr(std::min(first + 1, input.size()));

    std::vector<Found> const all = Split(text, text.size() + 1, "");
    std::string sum;
    for (Found const& record : all)
    {
        sum += record.mText;
        CheckHeader(record);
    }
    Fuzz::Check(sum == text, "all bytes are in records");
    for (std::size_t const pieceSize : {std::size_t{1}, std::size_t{7}})
        Fuzz::Check(Split(text, pieceSize, "") == all, "records do not depend on the pieces");

    std::vector<Found> const chosen = Split(text, text.size() + 1, needle);
    for (Found const& record : all)
        Fuzz::Check(record.mText.find(needle) == std::string::npos ||
                        std::ranges::any_of(chosen, [&](Found const& one) { return one.mOffset == record.mOffset; }),
            "no record with the needle is skipped");
    return 0;
}
