#include "Request.h"

#include "Commands.h"
#include "JsonText.h"
#include "Messages.h"

#include <algorithm>

namespace ReportingServer
{
    namespace
    {
        constexpr std::string_view kBlanks = " \t";

        [[noreturn]] void Reject(unsigned int number, char const* reason)
        {
            QzBase::ExceptionImpl<QzBase::Message> fault(MakeMessage(kRequestMalformed));
            fault << number << reason;
            throw fault;
        }

        bool IsJson(std::string_view text)
        {
            try
            {
                ParseJson(text);
                return true;
            }
            catch (Json::Exception const&)
            {
                return false;
            }
        }

        /// Takes a request line apart from left to right.
        class LineReader
        {
        public:
            LineReader(unsigned int number, std::string_view line) : mNumber(number), mRest(line) {}

            std::string ReadWord()
            {
                SkipBlanks();
                std::string_view const word = mRest.substr(0, mRest.find_first_of(kBlanks));
                if (word.empty())
                    Reject(mNumber, "fewer than four words");
                mRest.remove_prefix(word.size());
                return word == "-" ? std::string() : std::string(word);
            }

            bool IsAtEnd()
            {
                SkipBlanks();
                return mRest.empty();
            }

            bool IsAtBody() const { return mRest.starts_with(kBody); }

            std::pair<std::string, std::string> ReadAttribute()
            {
                std::size_t const equals = mRest.find("=\"");
                if (equals == 0 || equals == mRest.npos || mRest.find_first_of(" \t\"") < equals)
                    Reject(mNumber, "an attribute is not of the form name=\"value\"");
                std::size_t const value = equals + 2;
                std::size_t const quote = mRest.find('"', value);
                if (quote == mRest.npos)
                    Reject(mNumber, "the value of an attribute has no end");

                std::pair<std::string, std::string> attribute(
                    mRest.substr(0, equals), mRest.substr(value, quote - value));
                mRest.remove_prefix(quote + 1);
                return attribute;
            }

            std::string ReadBody()
            {
                mRest.remove_prefix(kBody.size());
                if (!IsJson(mRest))
                    Reject(mNumber, "the body is no JSON");
                return std::string(std::exchange(mRest, {}));
            }

        private:
            static constexpr std::string_view kBody = "body=";

            void SkipBlanks() { mRest.remove_prefix(std::min(mRest.find_first_not_of(kBlanks), mRest.size())); }

            unsigned int mNumber;
            std::string_view mRest;
        };

        bool IsControlCharacter(char character)
        {
            unsigned char const byte = static_cast<unsigned char>(character);
            return (byte < 0x20 && byte != '\t') || byte == 0x7F;
        }
    }

    std::string Request::GetAttribute(std::string_view name) const
    {
        auto const found = std::ranges::find(mAttributes, name, [](auto const& attribute) { return attribute.first; });
        return found == mAttributes.end() ? std::string() : found->second;
    }

    bool IsIdleLine(std::string_view line)
    {
        std::size_t const first = line.find_first_not_of(kBlanks);
        return first == line.npos || line[first] == '#';
    }

    Request ParseRequest(unsigned int number, std::string_view line)
    {
        if (line.size() > kLongestLine)
            Reject(number, "the line is too long");
        // Nobody moves the cursor of the terminal on which the log is read.
        if (std::ranges::any_of(line, IsControlCharacter))
            Reject(number, "it holds a control character");

        LineReader reader(number, line);
        Request request;
        request.mNumber = number;
        request.mCommandName = reader.ReadWord();
        request.mUser = reader.ReadWord();
        request.mSession = reader.ReadWord();
        request.mObject = reader.ReadWord();
        while (!reader.IsAtEnd())
        {
            if (reader.IsAtBody())
                request.mBody = reader.ReadBody();
            else
                request.mAttributes.push_back(reader.ReadAttribute());
        }

        request.mCommand = FindCommand(request.mCommandName);
        if (request.mCommand < 0)
            Reject(number, "the command is unknown");
        return request;
    }
}
