#pragma once

#include "settings/Faults.h"
#include "settings/JsonFile.h"

#include <json/value.h>

#include <functional>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace QzLogKit
{
    /// One object of a JSON file. What is asked for and is not as expected goes to the faults, and the caller goes on
    /// with a value that will do, so that one pass finds all faults.
    class Section
    {
    public:
        /// \param value  must outlive the section, as file and faults. If it is no object, that is a fault, and the
        ///               section is empty.
        /// \param key    the keys down to here; empty for the root.
        Section(JsonFile const& file, Json::Value const& value, std::string key, Faults& faults);

        std::string const& GetKey() const { return mKey; }
        /// False for what stands in for something that is no object.
        bool IsObject() const { return mIsObject; }
        bool Has(std::string const& name) const { return mpValue->isMember(name); }
        std::vector<std::string> GetNames() const { return mpValue->getMemberNames(); }

        /// A text that is not empty and has no zero character. `expected` describes it for a fault.
        std::string ReadText(std::string const& name, std::string const& expected = "a text");
        /// The same; nothing if there is no such key.
        std::optional<std::string> ReadOptionalText(std::string const& name, std::string const& expected = "a text");
        unsigned int ReadNumber(
            std::string const& name, unsigned int least, unsigned int largest, unsigned int otherwise);
        bool ReadBool(std::string const& name, bool otherwise);
        /// The index of the text in `choices`; `otherwise` if there is no such key.
        std::size_t ReadChoice(std::string const& name, std::span<char const* const> choices, std::size_t otherwise);
        /// A text, a whole number, true or false, as a text.
        std::string ReadScalar(std::string const& name);
        /// A list, each element of it read by `read`; no list is an empty one.
        template <class Value>
        std::vector<Value> ReadList(std::string const& name, std::string const& expected,
            std::function<std::optional<Value>(Json::Value const&)> const& read);
        Section ReadSection(std::string const& name);
        /// Nothing if there is no such key.
        std::optional<Section> ReadOptionalSection(std::string const& name);

        /// Marks a key as known and returns its value; null if there is none.
        Json::Value const& Take(std::string const& name);
        /// Adds a fault at a value of this section. What is no object has that fault only.
        void Reject(Json::Value const& value, std::string const& name, std::string const& expected);
        /// The same with words of the caller's for what was found.
        void Reject(
            Json::Value const& value, std::string const& name, std::string const& expected, std::string const& found);
        /// Adds a fault of the section itself: it lacks this.
        void Reject(std::string const& expected);

        /// Every key that nobody has asked for is a fault.
        void RejectRest();

    private:
        std::string GetKeyOf(std::string const& name) const;

        JsonFile const& mFile;
        Json::Value const* mpValue;
        bool mIsObject = true;
        std::string mKey;
        Faults& mFaults;
        std::set<std::string> mTaken;
    };

    template <class Value>
    std::vector<Value> Section::ReadList(std::string const& name, std::string const& expected,
        std::function<std::optional<Value>(Json::Value const&)> const& read)
    {
        std::vector<Value> list;
        Json::Value const& value = Take(name);
        if (!value.isArray())
        {
            if (Has(name))
                Reject(value, name, "a list of " + expected);
            return list;
        }
        for (Json::Value const& element : value)
        {
            if (std::optional<Value> read_ = read(element))
                list.push_back(std::move(*read_));
            else
                Reject(element, name, expected);
        }
        return list;
    }

    /// A text without a zero character; nothing if the value is none.
    std::optional<std::string> ToText(Json::Value const& value);

    /// A number of 32 bits, also as a text such as "0x80000304"; nothing if the value is none.
    std::optional<unsigned int> ToNumber(Json::Value const& value);

    /// A language ID above 0: the number, a text such as "0x0407", or a name such as "de".
    std::optional<unsigned short> ToLanguage(Json::Value const& value);

    /// What ToLanguage takes, in the words of a fault.
    inline constexpr char const* kLanguageExpected = "a language such as \"en\", \"de\", \"pt-BR\" or \"0x0409\"";
}
