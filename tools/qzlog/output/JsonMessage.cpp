#include "output/JsonMessage.h"

#include "Characters.h"
#include "output/Lines.h"

#include <algorithm>

namespace QzLogTool
{
    namespace
    {
        constexpr std::size_t kPiece = std::size_t{64} << 10;

        class MessageWriter
        {
        public:
            MessageWriter(std::string& json, Output& output) : mJson(json), mOutput(output) {}

            /// The last line end of a message is not part of it; whether one is the last shows when something follows.
            void Append(std::string_view text)
            {
                while (!text.empty())
                {
                    if (mOwesLineEnd)
                        mJson += "\\n";
                    // In pieces, or a long line would stand in memory several times over. Each ends with a character.
                    std::size_t length = std::min(text.find('\n'), text.size());
                    mOwesLineEnd = length < text.size();
                    if (length > kPiece)
                    {
                        length = kPiece;
                        while (length > kPiece - 3 && ContinuesCharacter(text[length]))
                            --length;
                        mOwesLineEnd = false;
                    }
                    std::string_view const line = text.substr(0, length);
                    AppendJson(mJson, mOwesLineEnd && line.ends_with('\r') ? line.substr(0, length - 1) : line);
                    text.remove_prefix(length + mOwesLineEnd);
                    if (mJson.size() >= kPiece)
                    {
                        mOutput.Write(mJson);
                        mJson.clear();
                    }
                }
            }

        private:
            std::string& mJson;
            Output& mOutput;
            bool mOwesLineEnd = false;
        };
    }

    void AppendMessage(std::string& json, std::string_view text, RecordSource& source, Output& output)
    {
        MessageWriter writer(json, output);
        writer.Append(text);
        std::string_view part;
        while (source.NextPart(part))
            writer.Append(part);
    }
}
