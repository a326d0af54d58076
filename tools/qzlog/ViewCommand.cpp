#include "Commands.h"
#include "reading/LogReader.h"
#include "reading/Merger.h"

#include <cstdio>
#include <string>
#include <vector>

namespace QzLogTool
{
    namespace
    {
        class ViewCommand : public Command
        {
        public:
            char const* GetName() const override { return "view"; }
            char const* GetDescription() const override { return "Shows the records of logs and their back-ups"; }

            void AddOptions(CLI::App& app) override { app.add_option("LOG", mPaths, "Logs")->required(); }

            ExitCode Run() override
            {
                std::vector<std::unique_ptr<RecordSource>> sources;
                for (std::string const& path : mPaths)
                    sources.push_back(std::make_unique<LogReader>(path, LogBytes::Files::WithBackups));
                Merger merger(std::move(sources));
                Record record;
                while (merger.Next(record))
                {
                    fwrite(record.mText.data(), 1, record.mText.size(), stdout);
                    std::string_view part;
                    while (merger.NextPart(part))
                        fwrite(part.data(), 1, part.size(), stdout);
                }
                return ExitCode::Success;
            }

        private:
            std::vector<std::string> mPaths;
        };
    }

    std::unique_ptr<Command> MakeViewCommand()
    {
        return std::make_unique<ViewCommand>();
    }
}
