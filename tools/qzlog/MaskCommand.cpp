#include "Commands.h"

#include "StandardStreams.h"

#include <QzLog/Masking.h>

#include <string>
#include <string_view>
#include <vector>

namespace QzLogTool
{
    namespace
    {
        class MaskCommand : public Command
        {
        public:
            char const* GetName() const override { return "mask"; }

            char const* GetDescription() const override
            {
                return "Copies standard input to standard output with its secrets masked";
            }

            void AddOptions(CLI::App& app) override
            {
                app.add_option("-a,--attribute", mAttributes,
                       "Mask the values of this attribute, as in XML ( name=\"value\"); can be given several times")
                    ->option_text("NAME");
                app.add_option("-w,--with", mMask, "Replaces such a value (***)")->option_text("TEXT");
                app.add_flag("--http", mHTTP, "Mask the passwords in the JSON body of an HTTP request");
                app.add_flag("-l,--lines", mByLine,
                    "Mask and write each line at once, for input that goes on; a value of several lines stays "
                    "readable");
            }

            ExitCode Run() override
            {
                if (mAttributes.empty() && !mHTTP)
                    throw Trouble("mask: nothing to mask; give --attribute or --http");
                StandardInput input;
                StandardOutput output;
                if (mByLine)
                {
                    for (std::string line; input.ReadLine(line);)
                    {
                        output.Write(Mask(line));
                        output.Flush();
                    }
                }
                else
                    output.Write(Mask(input.ReadAll()));
                output.Flush();
                return ExitCode::Success;
            }

        private:
            // The masks take texts that end with a zero byte; input that holds some is masked piece by piece.
            std::string Mask(std::string const& text) const
            {
                std::string masked;
                for (std::size_t start = 0;;)
                {
                    std::size_t const end = text.find('\0', start);
                    masked += MaskPiece(text.substr(start, end - start));
                    if (end == std::string::npos)
                        return masked;
                    masked += '\0';
                    start = end + 1;
                }
            }

            std::string MaskPiece(std::string text) const
            {
                for (std::string const& name : mAttributes)
                    text = QzLog::ReplaceSensitiveMessage(text.c_str(), name.c_str(), mMask.c_str()).c_str();
                if (mHTTP)
                    text = QzLog::ReplaceSensitiveMessageInHTTP(text.c_str()).c_str();
                return text;
            }

            std::vector<std::string> mAttributes;
            std::string mMask = "***";
            bool mHTTP = false;
            bool mByLine = false;
        };
    }

    std::unique_ptr<Command> MakeMaskCommand()
    {
        return std::make_unique<MaskCommand>();
    }
}
