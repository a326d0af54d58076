#include "Commands.h"

#include "Options.h"
#include "StandardStreams.h"
#include "mask/ExpressionFinder.h"
#include "mask/KeyFinder.h"
#include "mask/MaskSets.h"
#include "mask/Masker.h"

#include <string>
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
                constexpr char kName[] = "NAME";
                TakeOneOf(AddList(app, "--set", kName, "Masks what a set knows", mSets), GetMaskSetNames());
                AddList(app, "--key,-k", kName,
                    "Masks the values of this name in JSON, form bodies, query strings, headers and XML", mKeys);
                AddList(app, "--regex,-E", "EXPRESSION",
                    "Masks what this regular expression (RE2) matches, or its first group", mExpressions);
                AddList(app, "--attribute,-a", kName,
                    "Masks the values of this attribute as the library does ( name=\"value\")", mAttributes);
                app.add_flag("--http", mHTTP,
                    "Masks the passwords in the JSON body of an HTTP request as the library does, by ***");
                ShowDefault(app.add_option("--with,-w", mMask, "Replaces such a value"))->option_text("TEXT");
                app.add_flag("--lines,-l", mByLine,
                    "Masks and writes each line at once, for input that goes on; a value of several lines stays "
                    "readable");
            }

            ExitCode Run() override
            {
                Masker masker(mMask);
                AddMasks(masker);
                if (masker.IsEmpty())
                    throw Trouble("mask: nothing to mask; give --set, --key, --regex, --attribute or --http");
                StandardInput input;
                StandardOutput output;
                if (mByLine)
                {
                    for (std::string line; input.ReadLine(line);)
                    {
                        output.Write(masker.Mask(line));
                        output.Flush();
                    }
                }
                else
                    output.Write(masker.Mask(input.ReadAll()));
                output.Flush();
                std::fprintf(stderr, "qzlog: mask: %s\n", masker.GetReport().c_str());
                return ExitCode::Success;
            }

        private:
            /// One that can come several times.
            static CLI::Option* AddList(CLI::App& app, char const* name, char const* valueName, char const* description,
                std::vector<std::string>& values)
            {
                return TakeSeveral(app.add_option(name, values, description))
                    ->option_text(valueName)
                    ->check(RefuseEmpty);
            }

            void AddMasks(Masker& masker) const
            {
                for (std::string const& name : mAttributes)
                    masker.AddAttribute(name);
                if (mHTTP)
                    masker.AddHTTP();
                if (!mKeys.empty())
                    masker.Add("--key", std::make_unique<KeyFinder>(mKeys));
                for (std::string const& expression : mExpressions)
                    masker.Add("--regex", std::make_unique<ExpressionFinder>(expression));
                for (std::string const& name : mSets)
                    for (std::unique_ptr<SecretFinder>& pFinder : MakeMaskSet(name))
                        masker.Add("--set " + name, std::move(pFinder));
            }

            std::vector<std::string> mAttributes;
            std::vector<std::string> mKeys;
            std::vector<std::string> mExpressions;
            std::vector<std::string> mSets;
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
