#include "settings/Section.h"

#include <QzLogKit/Clean.h>

#include <utf8/checked.h>

#include <algorithm>
#include <utility>

namespace QzLogKit
{
    namespace
    {
        /// For a fault: short, on one line.
        std::string Describe(Json::Value const& value)
        {
            switch (value.type())
            {
            case Json::nullValue:
                return "null";
            case Json::objectValue:
                return value.empty() ? "an empty object" : "an object";
            case Json::arrayValue:
                return "a list";
            case Json::stringValue:
                break;
            default:
                return value.asString();
            }
            std::size_t longest = 60;
            std::string text = Clean(value.asString());
            if (text.size() > longest)
            {
                // Not within a character of UTF-8.
                while ((text[longest] & 0xC0) == 0x80)
                    --longest;
                text = text.substr(0, longest) + "...";
            }
            return '"' + text + '"';
        }

        std::string Quote(std::span<char const* const> choices)
        {
            std::string text;
            for (std::size_t i = 0; i < choices.size(); ++i)
            {
                if (i > 0)
                    text += i + 1 < choices.size() ? ", " : " or ";
                text += '"' + std::string(choices[i]) + '"';
            }
            return text;
        }
    }

    Section::Section(JsonFile const& file, Json::Value const& value, std::string key, Faults& faults)
        : mFile(file), mpValue(&value), mKey(std::move(key)), mFaults(faults)
    {
        if (mpValue->isObject())
            return;
        mFaults.Add({mFile.GetName(), mFile.GetLine(value), mKey, "an object", Describe(value)});
        static Json::Value const empty(Json::objectValue);
        mpValue = &empty;
        mIsObject = false;
    }

    std::optional<std::string> Section::ReadOptionalText(std::string const& name, std::string const& expected)
    {
        Json::Value const& value = Take(name);
        if (!Has(name))
            return std::nullopt;
        std::optional<std::string> text = ToText(value);
        if (text && !text->empty())
            return text;
        Reject(value, name, expected);
        return std::nullopt;
    }

    std::string Section::ReadText(std::string const& name, std::string const& expected)
    {
        if (!Has(name))
            Reject(*mpValue, name, expected, "nothing");
        return ReadOptionalText(name, expected).value_or("");
    }

    unsigned int Section::ReadNumber(
        std::string const& name, unsigned int least, unsigned int largest, unsigned int otherwise)
    {
        Json::Value const& value = Take(name);
        if (!Has(name))
            return otherwise;
        if (value.isUInt() && value.asUInt() >= least && value.asUInt() <= largest)
            return value.asUInt();
        Reject(value, name, "a number from " + std::to_string(least) + " to " + std::to_string(largest));
        return otherwise;
    }

    bool Section::ReadBool(std::string const& name, bool otherwise)
    {
        Json::Value const& value = Take(name);
        if (!Has(name))
            return otherwise;
        if (value.isBool())
            return value.asBool();
        Reject(value, name, "true or false");
        return otherwise;
    }

    std::size_t Section::ReadChoice(
        std::string const& name, std::span<char const* const> choices, std::size_t otherwise)
    {
        Json::Value const& value = Take(name);
        if (!Has(name))
            return otherwise;
        auto const found = std::ranges::find(choices, ToText(value).value_or(""));
        if (found != choices.end())
            return static_cast<std::size_t>(found - choices.begin());
        Reject(value, name, Quote(choices));
        return otherwise;
    }

    std::string Section::ReadScalar(std::string const& name)
    {
        Json::Value const& value = Take(name);
        if (std::optional<std::string> text = ToText(value))
            return *std::move(text);
        if (value.isIntegral() || value.isBool())
            return value.asString();
        // The value may be a secret.
        Reject(value, name, "a text, a whole number, true or false", "something else");
        return std::string();
    }

    Section Section::ReadSection(std::string const& name)
    {
        return Section(mFile, Take(name), GetKeyOf(name), mFaults);
    }

    std::optional<Section> Section::ReadOptionalSection(std::string const& name)
    {
        Take(name);
        return Has(name) ? std::optional(ReadSection(name)) : std::nullopt;
    }

    Json::Value const& Section::Take(std::string const& name)
    {
        mTaken.insert(name);
        static Json::Value const nothing;
        Json::Value const* const value = mpValue->find(name.data(), name.data() + name.size());
        return value ? *value : nothing;
    }

    void Section::Reject(Json::Value const& value, std::string const& name, std::string const& expected)
    {
        Reject(value, name, expected, Describe(value));
    }

    void Section::Reject(
        Json::Value const& value, std::string const& name, std::string const& expected, std::string const& found)
    {
        if (mIsObject)
            mFaults.Add({mFile.GetName(), mFile.GetLine(value), GetKeyOf(name), expected, found});
    }

    void Section::Reject(std::string const& expected)
    {
        if (mIsObject)
            mFaults.Add({mFile.GetName(), mFile.GetLine(*mpValue), mKey, expected, "nothing"});
    }

    void Section::RejectRest()
    {
        std::string known;
        for (std::string const& name : mTaken)
            known += (known.empty() ? "" : ", ") + name;
        for (std::string const& name : GetNames())
            if (!mTaken.contains(name))
                Reject(Take(name), name, "one of " + known, "a key that nobody knows");
    }

    std::string Section::GetKeyOf(std::string const& name) const
    {
        return mKey.empty() ? name : mKey + '.' + name;
    }

    std::optional<std::string> ToText(Json::Value const& value)
    {
        if (!value.isString())
            return std::nullopt;
        std::string text = value.asString();
        // JsonCpp makes of an escape such as \udc00 what is no UTF-8.
        if (text.find('\0') != text.npos || !utf8::is_valid(text.begin(), text.end()))
            return std::nullopt;
        return text;
    }
}
