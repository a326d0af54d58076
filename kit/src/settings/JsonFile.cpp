#include "settings/JsonFile.h"

#include <json/reader.h>

#include <utf8/checked.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string_view>
#include <system_error>
#include <utility>

namespace QzLogKit
{
    namespace
    {
        constexpr std::size_t kLargestFile = std::size_t{16} << 20;
        constexpr int kDeepestNesting = 64;

        std::unique_ptr<Json::CharReader> MakeReader()
        {
            Json::CharReaderBuilder builder;
            Json::CharReaderBuilder::strictMode(&builder.settings_);
            builder["allowComments"] = true;
            builder["collectComments"] = false;
            // A wrong root is a fault like any other, with its own words.
            builder["strictRoot"] = false;
            builder["stackLimit"] = kDeepestNesting;
            return std::unique_ptr<Json::CharReader>(builder.newCharReader());
        }

        /// JsonCpp's first complaint, "* Line 3, Column 9\n  What is wrong.\n...".
        SettingsFault ToFault(std::string name, std::string_view errors)
        {
            constexpr std::string_view start = "* Line ";
            SettingsFault fault{std::move(name), 0, "", "JSON", ""};
            if (errors.starts_with(start))
                fault.mLine = static_cast<unsigned int>(
                    std::strtoul(std::string(errors.substr(start.size())).c_str(), nullptr, 10));
            std::size_t const lineEnd = errors.find('\n');
            if (lineEnd != errors.npos)
                errors.remove_prefix(lineEnd + 1);
            errors.remove_prefix(std::min(errors.find_first_not_of(' '), errors.size()));
            fault.mFound = "a fault: " + std::string(errors.substr(0, errors.find('\n')));
            return fault;
        }
    }

    JsonFile::JsonFile(std::string name, std::string text, Faults& faults)
        : mName(std::move(name)), mText(std::move(text))
    {
        constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
        if (mText.starts_with(byteOrderMark))
            mText.erase(0, byteOrderMark.size());

        auto const invalid = utf8::find_invalid(mText.cbegin(), mText.cend());
        if (invalid != mText.cend())
        {
            faults.Add({mName, GetLineAt(static_cast<std::size_t>(invalid - mText.cbegin())), "", "UTF-8",
                "bytes that are no character"});
            return;
        }

        std::string errors;
        try
        {
            if (MakeReader()->parse(mText.data(), mText.data() + mText.size(), &mRoot, &errors))
                return;
        }
        catch (Json::Exception const&)
        {
            errors = "* nesting\n  it is nested too deep.";
        }
        mRoot = Json::Value();
        faults.Add(ToFault(mName, errors));
    }

    unsigned int JsonFile::GetLine(Json::Value const& value) const
    {
        return GetLineAt(std::min(static_cast<std::size_t>(value.getOffsetStart()), mText.size()));
    }

    unsigned int JsonFile::GetLineAt(std::size_t offset) const
    {
        unsigned int line = 1;
        // As JsonCpp counts in its own complaints: a CR alone ends a line too.
        for (std::size_t i = 0; i < offset; ++i)
            if (mText[i] == '\n' || (mText[i] == '\r' && mText[i + 1] != '\n'))
                ++line;
        return line;
    }

    std::string ReadWholeFile(std::string const& path, std::string const& name, Faults& faults)
    {
        // To open a pipe would wait for somebody who writes to it.
        std::error_code error;
        auto const status = std::filesystem::status(path, error);
        if (exists(status) && !is_regular_file(status))
        {
            faults.Add({name, 0, "", "a plain file", "a folder, a pipe or a device"});
            return std::string();
        }
        errno = 0;
        std::ifstream file(path, std::ios::binary);
        std::string text;
        char piece[4096];
        while (text.size() <= kLargestFile && (file.read(piece, sizeof piece) || file.gcount() > 0))
            text.append(piece, static_cast<std::size_t>(file.gcount()));
        if (text.size() > kLargestFile)
            faults.Add({name, 0, "", "a file of at most 16 MiB", "more"});
        else if (!file.eof())
            faults.Add({name, 0, "", "a file that can be read", std::generic_category().message(errno)});
        else
            return text;
        return std::string();
    }
}
