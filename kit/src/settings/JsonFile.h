#pragma once

#include "settings/Faults.h"

#include <json/value.h>

#include <string>

namespace QzLogKit
{
    /// A JSON file in memory, whose values know their lines.
    class JsonFile
    {
    public:
        /// Reads strictly, but with comments: valid UTF-8, one value and nothing after it, no key twice in an object.
        /// What is wrong goes to `faults`; the value is then null.
        /// \param name  what faults call the file.
        JsonFile(std::string name, std::string text, Faults& faults);

        Json::Value const& GetRoot() const { return mRoot; }
        std::string const& GetName() const { return mName; }

        /// The line in which a value of this file begins, counted from 1.
        unsigned int GetLine(Json::Value const& value) const;

    private:
        unsigned int GetLineAt(std::size_t offset) const;

        std::string mName;
        std::string mText;
        Json::Value mRoot;
    };

    /// The content of a plain file. If it is another kind or cannot be read, that goes to `faults`, and the text is
    /// empty.
    std::string ReadWholeFile(std::string const& path, std::string const& name, Faults& faults);
}
