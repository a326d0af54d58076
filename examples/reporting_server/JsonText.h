#pragma once

#include <json/value.h>

#include <string>
#include <string_view>

namespace ReportingServer
{
    /// Reads JSON strictly: one value and nothing after it, no comments, no name twice in an object. Throws
    /// Json::Exception with the place and the reason.
    Json::Value ParseJson(std::string_view text);

    /// JSON on one line, in UTF-8.
    std::string FormatJson(Json::Value const& value);
}
