#pragma once

#include "mask/SecretFinder.h"

#include <re2/re2.h>

#include <string>
#include <vector>

namespace QzLogTool
{
    /// Finds the values of names, whose case is ignored and which must be whole:
    ///
    ///     "name": "value"   "name": 12   "name": {...}     JSON, also within a JSON text, whose quotes are \"
    ///     name=value        up to a blank, & or ;          query strings, form bodies, cookies, properties
    ///     name="value"      up to the quote                attributes
    ///     Name: value       up to the end of the line      headers
    ///     <name>value<      up to the next <               elements
    ///
    /// In doubt it takes too much: a value that is not ended goes on up to the end of its line, and one in brackets up
    /// to the next record.
    class KeyFinder : public SecretFinder
    {
    public:
        explicit KeyFinder(std::vector<std::string> const& names);

        bool Find(std::string_view text, std::size_t from, Secret& secret) const override;

    private:
        RE2 const mNames;
    };
}
